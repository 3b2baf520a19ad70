/// The interleaving of two buffers into one, and its reverse.
#pragma once

#include "kernels/loops/interleave-inl.h"

#include <cstdint>

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

/// One side of a pair of buffers. A missing one is a block that every step reads, or writes, again.
template <class Byte>
struct StereoChannel {
    Byte* pucFirst;
    unsigned long ulSampleBytes;

    Byte* At(unsigned long ulSample) const { return pucFirst + ulSample * ulSampleBytes; }
};

template <class Byte, class Pointer>
StereoChannel<Byte> ChannelOrDummy(Pointer pvSide, unsigned long ulSampleBytes, Byte* pucBlock)
{
    if (pvSide == nullptr) {
        return {pucBlock, 0};
    }
    return {static_cast<Byte*>(pvSide), ulSampleBytes};
}

/// A stereo buffer is a mux of two streams, and many frames go by the tiles of wide rows faster than by pairs.
constexpr unsigned long kMinTiledFrames = 128;

template <class Rows>
constexpr bool kPrefersTiles = false;
template <class Widest, class... Tile>
constexpr bool kPrefersTiles<TileList<Widest, Tile...>> = Widest::kPrefersTiles;

template <int ByteShuffle, class Move, class Widest, class... Tile>
unsigned long ProcessTiledFrames(const Move& rMove, unsigned long ulFrames, TileList<Widest, Tile...>)
{
    return ProcessFullTiles<Widest, ByteShuffle>(rMove, 0, ulFrames - NativeSimd::kStereoStepFrames<ByteShuffle>);
}

/// These return the first frame that is left; they leave enough for a step of pairs. They are no part of their
/// callers, so that few frames need not save registers for them.
template <int ByteShuffle>
[[gnu::noinline]] unsigned long InterleaveTiledStereo(const void* pvLeft, const void* pvRight, void* pvStereo,
                                                      unsigned long ulFrames)
{
    const void* apvSides[] = {pvLeft, pvRight};
    const InterleaveJob<ByteShuffle> oMove{apvSides, {static_cast<std::uint8_t*>(pvStereo), 2}};
    return ProcessTiledFrames<ByteShuffle>(oMove, ulFrames, TilesOf<ByteShuffle>());
}

template <int ByteShuffle>
[[gnu::noinline]] unsigned long DeinterleaveTiledStereo(const void* pvStereo, void* pvLeft, void* pvRight,
                                                        unsigned long ulFrames)
{
    void* apvSides[] = {pvLeft, pvRight};
    const DeinterleaveJob<ByteShuffle> oMove{{static_cast<const std::uint8_t*>(pvStereo), 2}, apvSides};
    return ProcessTiledFrames<ByteShuffle>(oMove, ulFrames, TilesOf<ByteShuffle>());
}

/// Moves all frames by MoveAt(instruction set, first frame of the step). The last step ends with the last frame and
/// repeats some of the one before.
template <int ByteShuffle, class Move>
void ForEachStereoStep(unsigned long ulFrames, Move MoveAt)
{
    constexpr unsigned long kStep = NativeSimd::kStereoStepFrames<ByteShuffle>;
    if (ulFrames < kStep) {
        for (unsigned long i = 0; i < ulFrames; ++i) {
            MoveAt(Scalar(), i);
        }
        return;
    }
    const unsigned long ulLast = ulFrames - kStep;
    for (unsigned long i = 0; i < ulLast; i += kStep) {
        MoveAt(NativeSimd(), i);
    }
    MoveAt(NativeSimd(), ulLast);
}

template <int ByteShuffle>
void InterleaveStereo(const void* pvLeft, const void* pvRight, void* pvStereo, unsigned long ulFrames) noexcept
{
    static constexpr std::uint8_t kSilence[ByteShuffle * NativeSimd::kStereoStepFrames<ByteShuffle>] = {};
    if constexpr (kPrefersTiles<TilesOf<ByteShuffle>>) {
        if (ulFrames >= kMinTiledFrames && pvLeft != nullptr && pvRight != nullptr) {
            const unsigned long ulProcessed = InterleaveTiledStereo<ByteShuffle>(pvLeft, pvRight, pvStereo, ulFrames);
            pvLeft = static_cast<const std::uint8_t*>(pvLeft) + ulProcessed * ByteShuffle;
            pvRight = static_cast<const std::uint8_t*>(pvRight) + ulProcessed * ByteShuffle;
            pvStereo = static_cast<std::uint8_t*>(pvStereo) + ulProcessed * 2 * ByteShuffle;
            ulFrames -= ulProcessed;
        }
    }
    const auto oLeft = ChannelOrDummy<const std::uint8_t>(pvLeft, ByteShuffle, kSilence);
    const auto oRight = ChannelOrDummy<const std::uint8_t>(pvRight, ByteShuffle, kSilence);
    auto* pucStereo = static_cast<std::uint8_t*>(pvStereo);
    ForEachStereoStep<ByteShuffle>(ulFrames, [=]<class Simd>(Simd, unsigned long i) {
        Simd::template InterleaveStereoStep<ByteShuffle>(oLeft.At(i), oRight.At(i), pucStereo + i * 2 * ByteShuffle);
    });
}

template <int ByteShuffle>
void DeinterleaveStereo(const void* pvStereo, void* pvLeft, void* pvRight, unsigned long ulFrames) noexcept
{
    static constexpr std::uint8_t kSilence[2 * ByteShuffle * NativeSimd::kStereoStepFrames<ByteShuffle>] = {};
    std::uint8_t aucDropped[ByteShuffle * NativeSimd::kStereoStepFrames<ByteShuffle>];
    if constexpr (kPrefersTiles<TilesOf<ByteShuffle>>) {
        if (ulFrames >= kMinTiledFrames && pvStereo != nullptr && pvLeft != nullptr && pvRight != nullptr) {
            const unsigned long ulProcessed = DeinterleaveTiledStereo<ByteShuffle>(pvStereo, pvLeft, pvRight, ulFrames);
            pvStereo = static_cast<const std::uint8_t*>(pvStereo) + ulProcessed * 2 * ByteShuffle;
            pvLeft = static_cast<std::uint8_t*>(pvLeft) + ulProcessed * ByteShuffle;
            pvRight = static_cast<std::uint8_t*>(pvRight) + ulProcessed * ByteShuffle;
            ulFrames -= ulProcessed;
        }
    }
    const auto oStereo = ChannelOrDummy<const std::uint8_t>(pvStereo, 2 * ByteShuffle, kSilence);
    const auto oLeft = ChannelOrDummy<std::uint8_t>(pvLeft, ByteShuffle, aucDropped);
    const auto oRight = ChannelOrDummy<std::uint8_t>(pvRight, ByteShuffle, aucDropped);
    ForEachStereoStep<ByteShuffle>(ulFrames, [=]<class Simd>(Simd, unsigned long i) {
        Simd::template DeinterleaveStereoStep<ByteShuffle>(oStereo.At(i), oLeft.At(i), oRight.At(i));
    });
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
