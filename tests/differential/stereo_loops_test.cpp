// The stereo loops of every variant that this processor supports, compared with a model that copies byte by byte.

#include "kernels/loops/loops.h"
#include "testing/guarded_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

struct StereoLoops {
    std::size_t bytes; ///< of a sample
    ZtaInterleaveStereo SZtaSampleLoops::*interleave;
    ZtaDeinterleaveStereo SZtaSampleLoops::*split;
};

constexpr StereoLoops kStereoLoops[] = {
#define ZTA_TEST_ENTRY(bytes)                                                                                          \
    {bytes, &SZtaSampleLoops::pfnInterleaveStereo##bytes, &SZtaSampleLoops::pfnDeinterleaveStereo##bytes},
    ZTA_STEREO_LIST(ZTA_TEST_ENTRY)
#undef ZTA_TEST_ENTRY
};

constexpr std::size_t kMaxFrames = 300;
constexpr std::uint8_t kPoison = 0xA5;

class StereoLoop : public testing::TestWithParam<std::tuple<std::size_t, std::size_t>> {
protected:
    void SetUp() override
    {
        if (!target_.IsSupported(ZtaDetectCpuFeatures(ZtaReadCpuid()))) {
            GTEST_SKIP() << "not supported by this processor: " << target_.psLoops->pszName;
        }
    }

    Bytes RandomBytes(std::size_t count)
    {
        Bytes bytes(count);
        std::generate(bytes.begin(), bytes.end(), [this] { return static_cast<std::uint8_t>(random_()); });
        return bytes;
    }

    /// The side that byte i of a stereo buffer belongs to.
    std::size_t SideOf(std::size_t i) const { return i / bytes_ % 2; }

    /// The place of byte i of a stereo buffer in its side.
    std::size_t PlaceInSide(std::size_t i) const { return i / (2 * bytes_) * bytes_ + i % bytes_; }

    Bytes Interleaved(const std::uint8_t* left, const std::uint8_t* right, std::size_t frames) const
    {
        Bytes stereo(frames * 2 * bytes_);
        for (std::size_t i = 0; i < stereo.size(); ++i) {
            const std::uint8_t* side = SideOf(i) == 0 ? left : right;
            stereo[i] = side == nullptr ? std::uint8_t{0} : side[PlaceInSide(i)];
        }
        return stereo;
    }

    Bytes Side(const std::uint8_t* stereo, std::size_t side, std::size_t frames) const
    {
        Bytes mono(frames * bytes_);
        for (std::size_t i = 0; i < frames * 2 * bytes_; ++i) {
            if (stereo != nullptr && SideOf(i) == side) {
                mono[PlaceInSide(i)] = stereo[i];
            }
        }
        return mono;
    }

    void Interleave(const std::uint8_t* left, const std::uint8_t* right, std::uint8_t* stereo, std::size_t frames)
    {
        (target_.psLoops->*loops_.interleave)(left, right, stereo, frames);
    }

    void Split(const std::uint8_t* stereo, std::uint8_t* left, std::uint8_t* right, std::size_t frames)
    {
        (target_.psLoops->*loops_.split)(stereo, left, right, frames);
    }

    const SZtaLoopVariant& target_ = kLoopVariants[std::get<0>(GetParam())];
    const StereoLoops& loops_ = kStereoLoops[std::get<1>(GetParam())];
    const std::size_t bytes_ = loops_.bytes;
    std::mt19937 random_{27};
};

/// A buffer in the midst of poison, at any alignment.
class PoisonedBuffer {
public:
    PoisonedBuffer(std::size_t size, std::size_t offset)
        : memory_(size + 2 * kZone + offset, kPoison), at_(kZone + offset)
    {
    }

    std::uint8_t* Data() { return memory_.data() + at_; }

    /// That the buffer begins with these bytes, and all else is poison.
    bool Holds(const Bytes& bytes) const
    {
        for (std::size_t i = 0; i < memory_.size(); ++i) {
            const bool isInside = i >= at_ && i - at_ < bytes.size();
            if (memory_[i] != (isInside ? bytes[i - at_] : kPoison)) {
                return false;
            }
        }
        return true;
    }

private:
    static constexpr std::size_t kZone = 128;

    Bytes memory_;
    std::size_t at_;
};

TEST_P(StereoLoop, MovesEveryCountOfFramesAtEveryAlignmentAndTouchesNoOtherByte)
{
    for (std::size_t frames = 0; frames <= kMaxFrames; ++frames) {
        for (std::size_t k = 0; k < 4; ++k) {
            const Bytes bytes = RandomBytes(frames * 2 * bytes_ + 64);
            const std::uint8_t* first = bytes.data() + random_() % 32;
            const std::uint8_t* second = first + frames * bytes_ + random_() % 32;
            PoisonedBuffer stereo(frames * 2 * bytes_, random_() % 64);
            Interleave(first, second, stereo.Data(), frames);
            ASSERT_TRUE(stereo.Holds(Interleaved(first, second, frames))) << frames;

            PoisonedBuffer left(frames * bytes_, random_() % 64);
            PoisonedBuffer right(frames * bytes_, random_() % 64);
            Split(first, left.Data(), right.Data(), frames);
            ASSERT_TRUE(left.Holds(Side(first, 0, frames))) << frames;
            ASSERT_TRUE(right.Holds(Side(first, 1, frames))) << frames;
        }
    }
}

TEST_P(StereoLoop, ReadsNullAsSilenceAndDropsNullOutputs)
{
    for (std::size_t frames = 0; frames <= kMaxFrames; ++frames) {
        const Bytes bytes = RandomBytes(frames * 2 * bytes_);
        for (const std::uint8_t* left : {static_cast<const std::uint8_t*>(nullptr), bytes.data()}) {
            for (const std::uint8_t* right : {static_cast<const std::uint8_t*>(nullptr), bytes.data()}) {
                PoisonedBuffer stereo(frames * 2 * bytes_, 0);
                Interleave(left, right, stereo.Data(), frames);
                ASSERT_TRUE(stereo.Holds(Interleaved(left, right, frames))) << frames;
            }
        }
        for (const std::uint8_t* stereo : {static_cast<const std::uint8_t*>(nullptr), bytes.data()}) {
            PoisonedBuffer left(frames * bytes_, 0);
            PoisonedBuffer right(frames * bytes_, 0);
            Split(stereo, left.Data(), nullptr, frames);
            ASSERT_TRUE(left.Holds(Side(stereo, 0, frames))) << frames;
            Split(stereo, nullptr, right.Data(), frames);
            ASSERT_TRUE(right.Holds(Side(stereo, 1, frames))) << frames;
            Split(stereo, nullptr, nullptr, frames);
        }
    }
}

TEST_P(StereoLoop, ReadsAndWritesNothingBesideItsSamples)
{
    const GuardedBuffer first(kMaxFrames * bytes_);
    const GuardedBuffer second(kMaxFrames * bytes_);
    const GuardedBuffer both(kMaxFrames * 2 * bytes_);
    for (std::size_t frames = 0; frames <= kMaxFrames; ++frames) {
        for (bool atEnd : {false, true}) {
            const std::size_t size = frames * bytes_;
            std::uint8_t* left = atEnd ? first.End() - size : first.Begin();
            std::uint8_t* right = atEnd ? second.End() - size : second.Begin();
            std::uint8_t* stereo = atEnd ? both.End() - 2 * size : both.Begin();
            const Bytes bytes = RandomBytes(2 * size);
            std::copy(bytes.begin(), bytes.end(), stereo);
            Split(stereo, left, right, frames);
            ASSERT_TRUE(std::equal(left, left + size, Side(bytes.data(), 0, frames).begin())) << frames;
            ASSERT_TRUE(std::equal(right, right + size, Side(bytes.data(), 1, frames).begin())) << frames;
            ASSERT_TRUE(std::equal(bytes.begin(), bytes.end(), stereo)) << frames;
            std::fill_n(stereo, 2 * size, kPoison);
            Interleave(left, right, stereo, frames);
            ASSERT_TRUE(std::equal(bytes.begin(), bytes.end(), stereo)) << frames;
        }
    }
}

TEST_P(StereoLoop, DeinterleavesIntoItsOwnMemory)
{
    for (std::size_t frames = 0; frames <= 2 * kMaxFrames; ++frames) {
        const Bytes input = RandomBytes(frames * 2 * bytes_);
        for (const std::size_t shared : {0U, 1U}) {
            Bytes memory = input;
            Bytes other(frames * bytes_);
            Split(memory.data(), shared == 0 ? memory.data() : other.data(), shared == 1 ? memory.data() : other.data(),
                  frames);
            Bytes expected = Side(input.data(), shared, frames);
            expected.insert(expected.end(), input.begin() + static_cast<std::ptrdiff_t>(expected.size()), input.end());
            ASSERT_EQ(memory, expected) << frames;
            ASSERT_EQ(other, Side(input.data(), 1 - shared, frames)) << frames;
        }
    }
}

TEST_P(StereoLoop, InterleavesFromTheSecondHalfOfItsOutput)
{
    for (std::size_t frames = 0; frames <= 2 * kMaxFrames; ++frames) {
        const Bytes first = RandomBytes(frames * bytes_);
        const Bytes second = RandomBytes(frames * bytes_);
        Bytes memory(frames * 2 * bytes_);
        std::uint8_t* half = memory.data() + frames * bytes_;
        std::copy(first.begin(), first.end(), half);
        Interleave(half, second.data(), memory.data(), frames);
        ASSERT_EQ(memory, Interleaved(first.data(), second.data(), frames)) << frames;
        std::copy(first.begin(), first.end(), half);
        Interleave(second.data(), half, memory.data(), frames);
        ASSERT_EQ(memory, Interleaved(second.data(), first.data(), frames)) << frames;
    }
}

TEST_P(StereoLoop, MovesLongBuffers)
{
    constexpr std::size_t kFrames = 100'003;
    const Bytes left = RandomBytes(kFrames * bytes_);
    const Bytes right = RandomBytes(kFrames * bytes_);
    Bytes stereo(kFrames * 2 * bytes_);
    Interleave(left.data(), right.data(), stereo.data(), kFrames);
    EXPECT_EQ(stereo, Interleaved(left.data(), right.data(), kFrames));
    Bytes first(left.size());
    Bytes second(right.size());
    Split(stereo.data(), first.data(), second.data(), kFrames);
    EXPECT_EQ(first, left);
    EXPECT_EQ(second, right);
}

INSTANTIATE_TEST_SUITE_P(All, StereoLoop,
                         testing::Combine(testing::Range(std::size_t{0}, std::size(kLoopVariants)),
                                          testing::Range(std::size_t{0}, std::size(kStereoLoops))),
                         [](const auto& param) {
                             return std::string(kLoopVariants[std::get<0>(param.param)].psLoops->pszName) + "_" +
                                    std::to_string(kStereoLoops[std::get<1>(param.param)].bytes) + "bytes";
                         });

} // namespace
