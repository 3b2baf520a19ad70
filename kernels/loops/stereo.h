/// The interleaving of two buffers into one, and its reverse.
#pragma once

#include <cstdint>

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {

/// One side of a pair of buffers. A missing one is a block that every step reads, or writes, again.
template <class Byte>
struct PairSide {
    Byte* pucFirst;
    unsigned long ulSampleBytes;

    Byte* At(unsigned long ulSample) const { return pucFirst + ulSample * ulSampleBytes; }
};

template <class Byte, class Pointer>
PairSide<Byte> SideOrBlock(Pointer pvSide, unsigned long ulSampleBytes, Byte* pucBlock)
{
    if (pvSide == nullptr) {
        return {pucBlock, 0};
    }
    return {static_cast<Byte*>(pvSide), ulSampleBytes};
}

/// Moves all frames by MoveAt(instruction set, first frame of the step). The last step ends with the last frame and
/// repeats some of the one before.
template <int Bytes, class Move>
void MovePairs(unsigned long ulFrames, Move MoveAt)
{
    constexpr unsigned long kStep = Vector::kPairFrames<Bytes>;
    if (ulFrames < kStep) {
        for (unsigned long i = 0; i < ulFrames; ++i) {
            MoveAt(Scalar(), i);
        }
        return;
    }
    const unsigned long ulLast = ulFrames - kStep;
    for (unsigned long i = 0; i < ulLast; i += kStep) {
        MoveAt(Vector(), i);
    }
    MoveAt(Vector(), ulLast);
}

template <int Bytes>
void InterleavePair(const void* pvLeft, const void* pvRight, void* pvStereo, unsigned long ulFrames) noexcept
{
    static constexpr std::uint8_t kSilence[Bytes * Vector::kPairFrames<Bytes>] = {};
    const auto oLeft = SideOrBlock<const std::uint8_t>(pvLeft, Bytes, kSilence);
    const auto oRight = SideOrBlock<const std::uint8_t>(pvRight, Bytes, kSilence);
    auto* pucStereo = static_cast<std::uint8_t*>(pvStereo);
    MovePairs<Bytes>(ulFrames, [=]<class T>(T, unsigned long i) {
        T::template InterleavePairs<Bytes>(oLeft.At(i), oRight.At(i), pucStereo + i * 2 * Bytes);
    });
}

template <int Bytes>
void SplitPair(const void* pvStereo, void* pvLeft, void* pvRight, unsigned long ulFrames) noexcept
{
    static constexpr std::uint8_t kSilence[2 * Bytes * Vector::kPairFrames<Bytes>] = {};
    std::uint8_t aucDropped[Bytes * Vector::kPairFrames<Bytes>];
    const auto oStereo = SideOrBlock<const std::uint8_t>(pvStereo, 2 * Bytes, kSilence);
    const auto oLeft = SideOrBlock<std::uint8_t>(pvLeft, Bytes, aucDropped);
    const auto oRight = SideOrBlock<std::uint8_t>(pvRight, Bytes, aucDropped);
    MovePairs<Bytes>(ulFrames, [=]<class T>(T, unsigned long i) {
        T::template SplitPairs<Bytes>(oStereo.At(i), oLeft.At(i), oRight.At(i));
    });
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET
