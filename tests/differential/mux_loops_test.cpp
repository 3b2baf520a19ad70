// The loops that interleave and deinterleave, of every variant that this CPU supports, compared with a reference model.

#include "testing/guarded_buffer.h"
#include "testing/models/interleave_model.h"
#include "testing/random_seed.h"
#include "tests/differential/loop_test.h"

#include <memory>

namespace zta::test {
namespace {

struct Element {
    std::size_t bytes;
    ZtaInterleave SZtaSampleLoops::*interleave;
    ZtaDeinterleave SZtaSampleLoops::*deinterleave;
};

constexpr Element kElements[] = {
#define ZTA_TEST_ENTRY(bytes) {bytes, &SZtaSampleLoops::pfnInterleave##bytes, &SZtaSampleLoops::pfnDeinterleave##bytes},
    ZTA_ELEMENT_LIST(ZTA_TEST_ENTRY)
#undef ZTA_TEST_ENTRY
};

constexpr std::size_t kMaxPlanes = 64;
constexpr std::size_t kMaxFrames = 1100; ///< more than two of the longest blocks of the loops
constexpr std::size_t kZone = 64;

/// The position of a buffer.
enum class Position {
    Begin,   ///< directly behind a guard page
    End,     ///< directly before one
    Anywhere ///< at a random alignment, between guard bytes
};

/// A buffer at one of the positions.
class PlacedBuffer {
public:
    explicit PlacedBuffer(std::size_t maxBytes) : memory_(maxBytes + 3 * kZone) {}

    void Put(Position position, std::size_t bytes, std::mt19937& random)
    {
        bytes_ = bytes;
        at_ = position == Position::Begin ? memory_.Begin()
              : position == Position::End ? memory_.End() - bytes
                                          : memory_.Begin() + kZone + random() % kZone;
        std::fill(ZoneBegin(), ZoneEnd(), kPoison);
    }

    std::uint8_t* Data() const { return at_; }
    bool Holds(const std::uint8_t* expected) const { return std::equal(at_, at_ + bytes_, expected); }
    bool IsPoisonAround() const
    {
        return std::all_of(ZoneBegin(), at_, IsPoison) && std::all_of(at_ + bytes_, ZoneEnd(), IsPoison);
    }

private:
    std::uint8_t* ZoneBegin() const { return std::max(memory_.Begin(), at_ - kZone); }
    std::uint8_t* ZoneEnd() const { return std::min(memory_.End(), at_ + bytes_ + kZone); }

    GuardedBuffer memory_;
    std::uint8_t* at_ = nullptr;
    std::size_t bytes_ = 0;
};

class MuxLoop : public LoopTest {
protected:
    void SetUp() override
    {
        random_.seed(RandomSeed());
        LoopTest::SetUp();
        const std::size_t planeBytes = kMaxFrames * element_.bytes;
        for (std::size_t s = 0; s < kMaxPlanes; ++s) {
            planes_.push_back(std::make_unique<PlacedBuffer>(planeBytes));
            samples_.push_back(RandomBytes(planeBytes));
        }
        mux_ = std::make_unique<PlacedBuffer>(kMaxPlanes * planeBytes);
    }

    void Check(std::size_t count, std::size_t frames, Position position)
    {
        SCOPED_TRACE(std::to_string(count) + " planes, " + std::to_string(frames) + " frames, position " +
                     std::to_string(static_cast<int>(position)));
        const std::vector<Bytes> used(samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(count));
        const Bytes mux = models::Interleaved(used, element_.bytes, frames);
        void* pointers[kMaxPlanes];
        for (std::size_t s = 0; s < count; ++s) {
            planes_[s]->Put(position, frames * element_.bytes, random_);
            std::copy_n(samples_[s].begin(), frames * element_.bytes, planes_[s]->Data());
            pointers[s] = planes_[s]->Data();
        }
        mux_->Put(position, mux.size(), random_);
        (loops_.*element_.interleave)(pointers, count, mux_->Data(), frames);
        ASSERT_TRUE(mux_->Holds(mux.data()));
        ASSERT_TRUE(mux_->IsPoisonAround());
        for (std::size_t s = 0; s < count; ++s) {
            ASSERT_TRUE(planes_[s]->Holds(samples_[s].data())) << "plane " << s << " was changed";
            planes_[s]->Put(position, frames * element_.bytes, random_);
            pointers[s] = planes_[s]->Data();
        }

        (loops_.*element_.deinterleave)(mux_->Data(), pointers, count, frames);
        for (std::size_t s = 0; s < count; ++s) {
            ASSERT_TRUE(planes_[s]->Holds(samples_[s].data())) << "plane " << s;
            ASSERT_TRUE(planes_[s]->IsPoisonAround()) << "plane " << s;
        }
        ASSERT_TRUE(mux_->Holds(mux.data())) << "the mux was changed";
    }

    void CheckEverywhere(std::size_t count, std::size_t frames)
    {
        for (const Position position : {Position::Begin, Position::End, Position::Anywhere}) {
            ASSERT_NO_FATAL_FAILURE(Check(count, frames, position));
        }
    }

    const Element& element_ = kElements[CaseIndex()];
    std::vector<Bytes> samples_;
    std::vector<std::unique_ptr<PlacedBuffer>> planes_;
    std::unique_ptr<PlacedBuffer> mux_;
};

TEST_P(MuxLoop, MovesEveryLengthOfEveryWidthAndWritesNothingElse)
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
            ASSERT_NO_FATAL_FAILURE(Check(count, frames, Position::Anywhere));
        }
    }
}

TEST_P(MuxLoop, MovesEveryCountOfPlanes)
{
    for (std::size_t count = 1; count <= kMaxPlanes; ++count) {
        for (const std::size_t frames :
             {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 16u, 17u, 31u, 33u, 49u, 63u, 64u, 65u, 97u, 259u}) {
            ASSERT_NO_FATAL_FAILURE(CheckEverywhere(count, frames));
        }
    }
}

TEST_P(MuxLoop, MovesLengthsAroundTheBlockSizes)
{
    for (const std::size_t count : {2u, 4u, 7u, 8u, 16u, 33u, 64u}) {
        for (const std::size_t middle : {64u, 128u, 256u, 512u, 1024u}) {
            for (std::size_t frames = middle - 3; frames <= middle + 10; ++frames) {
                ASSERT_NO_FATAL_FAILURE(Check(count, frames, Position::End));
            }
        }
    }
}

TEST_P(MuxLoop, MovesAtAnyAlignment)
{
    for (const std::size_t count : {2u, 4u, 7u, 8u, 16u, 21u}) {
        for (int i = 0; i < 300; ++i) {
            ASSERT_NO_FATAL_FAILURE(Check(count, random_() % 100, Position::Anywhere));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, MuxLoop, AllVariants(std::size(kElements)),
                         VariantAnd([](std::size_t i) { return std::to_string(kElements[i].bytes) + "bytes"; }));

} // namespace
} // namespace zta::test
