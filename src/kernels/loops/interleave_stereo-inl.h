/// The interleaving of two buffers into one, and its reverse.
#pragma once

#include "kernels/loops/interleave-inl.h"

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

/// A stereo buffer is a mux of two streams, and many frames go by the tiles of wide rows faster than by pairs.
constexpr unsigned long kManyPairs = 128;

template <class Rows>
constexpr bool kBeatsPairs = false;
template <class Widest, class... R>
constexpr bool kBeatsPairs<RowsList<Widest, R...>> = Widest::kBeatsPairs;

template <int Bytes, class Move, class Widest, class... R>
unsigned long MoveManyPairs(const Move& rMove, unsigned long ulFrames, RowsList<Widest, R...>)
{
    return MoveByTiles<Widest, Bytes>(rMove, 0, ulFrames - Vector::kPairFrames<Bytes>);
}

/// These return the first frame that is left; they leave enough for a step of pairs. They are no part of their
/// callers, so that few frames need not save registers for them.
template <int Bytes>
[[gnu::noinline]] unsigned long InterleaveManyPairs(const void* pvLeft, const void* pvRight, void* pvStereo,
                                                    unsigned long ulFrames)
{
    const void* apvSides[] = {pvLeft, pvRight};
    const ToMux<Bytes> oMove{apvSides, {static_cast<std::uint8_t*>(pvStereo), 2}};
    return MoveManyPairs<Bytes>(oMove, ulFrames, RowsOf<Bytes>());
}

template <int Bytes>
[[gnu::noinline]] unsigned long SplitManyPairs(const void* pvStereo, void* pvLeft, void* pvRight,
                                               unsigned long ulFrames)
{
    void* apvSides[] = {pvLeft, pvRight};
    const FromMux<Bytes> oMove{{static_cast<const std::uint8_t*>(pvStereo), 2}, apvSides};
    return MoveManyPairs<Bytes>(oMove, ulFrames, RowsOf<Bytes>());
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
    if constexpr (kBeatsPairs<RowsOf<Bytes>>) {
        if (ulFrames >= kManyPairs && pvLeft != nullptr && pvRight != nullptr) {
            const unsigned long ulMoved = InterleaveManyPairs<Bytes>(pvLeft, pvRight, pvStereo, ulFrames);
            pvLeft = static_cast<const std::uint8_t*>(pvLeft) + ulMoved * Bytes;
            pvRight = static_cast<const std::uint8_t*>(pvRight) + ulMoved * Bytes;
            pvStereo = static_cast<std::uint8_t*>(pvStereo) + ulMoved * 2 * Bytes;
            ulFrames -= ulMoved;
        }
    }
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
    if constexpr (kBeatsPairs<RowsOf<Bytes>>) {
        if (ulFrames >= kManyPairs && pvStereo != nullptr && pvLeft != nullptr && pvRight != nullptr) {
            const unsigned long ulMoved = SplitManyPairs<Bytes>(pvStereo, pvLeft, pvRight, ulFrames);
            pvStereo = static_cast<const std::uint8_t*>(pvStereo) + ulMoved * 2 * Bytes;
            pvLeft = static_cast<std::uint8_t*>(pvLeft) + ulMoved * Bytes;
            pvRight = static_cast<std::uint8_t*>(pvRight) + ulMoved * Bytes;
            ulFrames -= ulMoved;
        }
    }
    const auto oStereo = SideOrBlock<const std::uint8_t>(pvStereo, 2 * Bytes, kSilence);
    const auto oLeft = SideOrBlock<std::uint8_t>(pvLeft, Bytes, aucDropped);
    const auto oRight = SideOrBlock<std::uint8_t>(pvRight, Bytes, aucDropped);
    MovePairs<Bytes>(ulFrames, [=]<class T>(T, unsigned long i) {
        T::template SplitPairs<Bytes>(oStereo.At(i), oLeft.At(i), oRight.At(i));
    });
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET
