// The stereo loops of every variant that this CPU supports, compared with a reference model that copies byte by byte.

#include "testing/guarded_buffer.h"
#include "tests/differential/loop_test.h"

namespace zta::test {
namespace {

struct StereoPair {
    std::size_t bytes; ///< of a sample
    ZtaInterleaveStereo SZtaSampleLoops::*interleave;
    ZtaDeinterleaveStereo SZtaSampleLoops::*deinterleave;
};

constexpr StereoPair kStereoLoops[] = {
#define ZTA_TEST_ENTRY(bytes)                                                                                          \
    {bytes, &SZtaSampleLoops::pfnInterleaveStereo##bytes, &SZtaSampleLoops::pfnDeinterleaveStereo##bytes},
    ZTA_STEREO_LIST(ZTA_TEST_ENTRY)
#undef ZTA_TEST_ENTRY
};

constexpr std::size_t kMaxFrames = 300;

class StereoLoop : public LoopTest {
protected:
    /// The channel of byte i of a stereo buffer.
    std::size_t ChannelOf(std::size_t i) const { return i / bytes_ % 2; }

    /// The offset of byte i of a stereo buffer in its channel.
    std::size_t OffsetInChannel(std::size_t i) const { return i / (2 * bytes_) * bytes_ + i % bytes_; }

    Bytes Interleaved(const std::uint8_t* left, const std::uint8_t* right, std::size_t frames) const
    {
        Bytes stereo(frames * 2 * bytes_);
        for (std::size_t i = 0; i < stereo.size(); ++i) {
            const std::uint8_t* channel = ChannelOf(i) == 0 ? left : right;
            stereo[i] = channel == nullptr ? std::uint8_t{0} : channel[OffsetInChannel(i)];
        }
        return stereo;
    }

    Bytes Channel(const std::uint8_t* stereo, std::size_t channel, std::size_t frames) const
    {
        Bytes mono(frames * bytes_);
        for (std::size_t i = 0; i < frames * 2 * bytes_; ++i) {
            if (stereo != nullptr && ChannelOf(i) == channel) {
                mono[OffsetInChannel(i)] = stereo[i];
            }
        }
        return mono;
    }

    void Interleave(const std::uint8_t* left, const std::uint8_t* right, std::uint8_t* stereo, std::size_t frames)
    {
        (loops_.*pair_.interleave)(left, right, stereo, frames);
    }

    void Deinterleave(const std::uint8_t* stereo, std::uint8_t* left, std::uint8_t* right, std::size_t frames)
    {
        (loops_.*pair_.deinterleave)(stereo, left, right, frames);
    }

    const StereoPair& pair_ = kStereoLoops[CaseIndex()];
    const std::size_t bytes_ = pair_.bytes;
};

TEST_P(StereoLoop, MovesEveryCountOfFramesAtEveryAlignmentAndWritesNothingElse)
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
            Deinterleave(first, left.Data(), right.Data(), frames);
            ASSERT_TRUE(left.Holds(Channel(first, 0, frames))) << frames;
            ASSERT_TRUE(right.Holds(Channel(first, 1, frames))) << frames;
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
            Deinterleave(stereo, left.Data(), nullptr, frames);
            ASSERT_TRUE(left.Holds(Channel(stereo, 0, frames))) << frames;
            Deinterleave(stereo, nullptr, right.Data(), frames);
            ASSERT_TRUE(right.Holds(Channel(stereo, 1, frames))) << frames;
            Deinterleave(stereo, nullptr, nullptr, frames);
        }
    }
}

TEST_P(StereoLoop, ReadsAndWritesNothingOutsideItsSamples)
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
            Deinterleave(stereo, left, right, frames);
            ASSERT_TRUE(std::equal(left, left + size, Channel(bytes.data(), 0, frames).begin())) << frames;
            ASSERT_TRUE(std::equal(right, right + size, Channel(bytes.data(), 1, frames).begin())) << frames;
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
            Deinterleave(memory.data(), shared == 0 ? memory.data() : other.data(),
                         shared == 1 ? memory.data() : other.data(), frames);
            Bytes expected = Channel(input.data(), shared, frames);
            expected.insert(expected.end(), input.begin() + static_cast<std::ptrdiff_t>(expected.size()), input.end());
            ASSERT_EQ(memory, expected) << frames;
            ASSERT_EQ(other, Channel(input.data(), 1 - shared, frames)) << frames;
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
    Deinterleave(stereo.data(), first.data(), second.data(), kFrames);
    EXPECT_EQ(first, left);
    EXPECT_EQ(second, right);
}

INSTANTIATE_TEST_SUITE_P(All, StereoLoop, AllVariants(std::size(kStereoLoops)),
                         VariantAnd([](std::size_t i) { return std::to_string(kStereoLoops[i].bytes) + "bytes"; }));

} // namespace
} // namespace zta::test
