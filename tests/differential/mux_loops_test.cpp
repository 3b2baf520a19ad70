// The moves between streams and a mux, of every instruction set that this processor runs, against a plain model.

#include "kernels/loops/loops.h"
#include "testing/guarded_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

struct Element {
    std::size_t bytes;
    ZtaInterleave SZtaSampleLoops::*interleave;
    ZtaDeinterleave SZtaSampleLoops::*split;
};

constexpr Element kElements[] = {
#define ZTA_TEST_ENTRY(bytes) {bytes, &SZtaSampleLoops::pfnInterleave##bytes, &SZtaSampleLoops::pfnDeinterleave##bytes},
    ZTA_ELEMENT_LIST(ZTA_TEST_ENTRY)
#undef ZTA_TEST_ENTRY
};

constexpr std::size_t kMostStreams = 64;
constexpr std::size_t kMostFrames = 1100; ///< more than two of the longest pieces that the loops work in
constexpr std::size_t kZone = 64;
constexpr std::uint8_t kPoison = 0xA5;

unsigned Seed()
{
    static const unsigned seed = [] {
        const char* chosen = std::getenv("ZTA_TEST_SEED");
        const unsigned value =
            chosen != nullptr ? static_cast<unsigned>(std::strtoul(chosen, nullptr, 10)) : std::random_device{}();
        std::cout << "ZTA_TEST_SEED=" << value << "\n";
        return value;
    }();
    return seed;
}

/// Where a test puts its buffers.
enum class Place {
    Begin,   ///< right behind a page that must not be touched
    End,     ///< right before one
    Anywhere ///< at a random alignment, between zones of poison
};

/// Some bytes inside guarded memory.
class Placed {
public:
    explicit Placed(std::size_t mostBytes) : memory_(mostBytes + 3 * kZone) {}

    void Put(Place place, std::size_t bytes, std::mt19937& random)
    {
        bytes_ = bytes;
        at_ = place == Place::Begin ? memory_.Begin()
              : place == Place::End ? memory_.End() - bytes
                                    : memory_.Begin() + kZone + random() % kZone;
        std::fill(ZoneBegin(), ZoneEnd(), kPoison);
    }

    std::uint8_t* Data() const { return at_; }
    bool Holds(const std::uint8_t* expected) const { return std::equal(at_, at_ + bytes_, expected); }
    bool IsPoisonAround() const
    {
        const auto IsPoison = [](std::uint8_t byte) { return byte == kPoison; };
        return std::all_of(ZoneBegin(), at_, IsPoison) && std::all_of(at_ + bytes_, ZoneEnd(), IsPoison);
    }

private:
    std::uint8_t* ZoneBegin() const { return std::max(memory_.Begin(), at_ - kZone); }
    std::uint8_t* ZoneEnd() const { return std::min(memory_.End(), at_ + bytes_ + kZone); }

    GuardedBuffer memory_;
    std::uint8_t* at_ = nullptr;
    std::size_t bytes_ = 0;
};

class MuxLoop : public testing::TestWithParam<std::tuple<std::size_t, std::size_t>> {
protected:
    void SetUp() override
    {
        if (!target_.IsSupported(ZtaDetectCpuFeatures(ZtaReadCpuid()))) {
            GTEST_SKIP() << "not supported by this processor: " << target_.psLoops->pszName;
        }
        random_.seed(Seed());
        const std::size_t streamBytes = kMostFrames * element_.bytes;
        for (std::size_t s = 0; s < kMostStreams; ++s) {
            streams_.push_back(std::make_unique<Placed>(streamBytes));
            samples_.emplace_back(streamBytes);
            std::generate(samples_[s].begin(), samples_[s].end(),
                          [this] { return static_cast<std::uint8_t>(random_()); });
        }
        mux_ = std::make_unique<Placed>(kMostStreams * streamBytes);
    }

    /// Reference model: the offset of each byte of the planes in the mux.
    Bytes Muxed(std::size_t count, std::size_t frames) const
    {
        Bytes mux(count * frames * element_.bytes);
        std::size_t at = 0;
        for (std::size_t frame = 0; frame < frames; ++frame) {
            for (std::size_t s = 0; s < count; ++s) {
                for (std::size_t byte = 0; byte < element_.bytes; ++byte) {
                    mux[at++] = samples_[s][frame * element_.bytes + byte];
                }
            }
        }
        return mux;
    }

    void Check(std::size_t count, std::size_t frames, Place place)
    {
        SCOPED_TRACE(std::to_string(count) + " streams, " + std::to_string(frames) + " frames, place " +
                     std::to_string(static_cast<int>(place)));
        const Bytes mux = Muxed(count, frames);
        void* pointers[kMostStreams];
        for (std::size_t s = 0; s < count; ++s) {
            streams_[s]->Put(place, frames * element_.bytes, random_);
            std::copy_n(samples_[s].begin(), frames * element_.bytes, streams_[s]->Data());
            pointers[s] = streams_[s]->Data();
        }
        mux_->Put(place, mux.size(), random_);
        (target_.psLoops->*element_.interleave)(pointers, count, mux_->Data(), frames);
        ASSERT_TRUE(mux_->Holds(mux.data()));
        ASSERT_TRUE(mux_->IsPoisonAround());
        for (std::size_t s = 0; s < count; ++s) {
            ASSERT_TRUE(streams_[s]->Holds(samples_[s].data())) << "stream " << s << " was changed";
            streams_[s]->Put(place, frames * element_.bytes, random_);
            pointers[s] = streams_[s]->Data();
        }

        (target_.psLoops->*element_.split)(mux_->Data(), pointers, count, frames);
        for (std::size_t s = 0; s < count; ++s) {
            ASSERT_TRUE(streams_[s]->Holds(samples_[s].data())) << "stream " << s;
            ASSERT_TRUE(streams_[s]->IsPoisonAround()) << "stream " << s;
        }
        ASSERT_TRUE(mux_->Holds(mux.data())) << "the mux was changed";
    }

    void CheckEverywhere(std::size_t count, std::size_t frames)
    {
        for (const Place place : {Place::Begin, Place::End, Place::Anywhere}) {
            ASSERT_NO_FATAL_FAILURE(Check(count, frames, place));
        }
    }

    const SZtaLoopVariant& target_ = kLoopVariants[std::get<0>(GetParam())];
    const Element& element_ = kElements[std::get<1>(GetParam())];
    std::mt19937 random_;
    std::vector<Bytes> samples_;
    std::vector<std::unique_ptr<Placed>> streams_;
    std::unique_ptr<Placed> mux_;
};

TEST_P(MuxLoop, MovesEveryLengthOfEveryWidthAndTouchesNoOtherBytes)
{
    for (const std::size_t count : {2u, 4u, 8u, 16u}) {
        for (std::size_t frames = 0; frames <= 300; ++frames) {
            ASSERT_NO_FATAL_FAILURE(CheckEverywhere(count, frames));
        }
    }
    for (const std::size_t count : {32u, 64u}) {
        for (std::size_t frames = 0; frames <= 70; ++frames) {
            ASSERT_NO_FATAL_FAILURE(CheckEverywhere(count, frames));
        }
        for (std::size_t frames = 71; frames <= 300; ++frames) {
            ASSERT_NO_FATAL_FAILURE(Check(count, frames, Place::Anywhere));
        }
    }
}

TEST_P(MuxLoop, MovesEveryCountOfStreams)
{
    for (std::size_t count = 1; count <= kMostStreams; ++count) {
        for (const std::size_t frames :
             {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 16u, 17u, 31u, 33u, 49u, 63u, 64u, 65u, 97u, 259u}) {
            ASSERT_NO_FATAL_FAILURE(CheckEverywhere(count, frames));
        }
    }
}

TEST_P(MuxLoop, MovesLengthsAroundItsPieces)
{
    for (const std::size_t count : {2u, 4u, 7u, 8u, 16u, 33u, 64u}) {
        for (const std::size_t middle : {64u, 128u, 256u, 512u, 1024u}) {
            for (std::size_t frames = middle - 3; frames <= middle + 10; ++frames) {
                ASSERT_NO_FATAL_FAILURE(Check(count, frames, Place::End));
            }
        }
    }
}

TEST_P(MuxLoop, MovesFromAndToAnyAlignment)
{
    for (const std::size_t count : {2u, 4u, 7u, 8u, 16u, 21u}) {
        for (int i = 0; i < 300; ++i) {
            ASSERT_NO_FATAL_FAILURE(Check(count, random_() % 100, Place::Anywhere));
        }
    }
}

std::string Name(const testing::TestParamInfo<std::tuple<std::size_t, std::size_t>>& param)
{
    return std::string(kLoopVariants[std::get<0>(param.param)].psLoops->pszName) + "_" +
           std::to_string(kElements[std::get<1>(param.param)].bytes) + "bytes";
}

INSTANTIATE_TEST_SUITE_P(All, MuxLoop,
                         testing::Combine(testing::Range(std::size_t{0}, std::size(kLoopVariants)),
                                          testing::Range(std::size_t{0}, std::size(kElements))),
                         Name);

} // namespace
