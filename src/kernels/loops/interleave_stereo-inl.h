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

/// Processes all frames in steps of a vector. The last step ends with the last frame and repeats some frames of the
/// step before it. It is loaded before any other step is stored, so that a buffer that shares memory with its source
/// receives what a loop over frames gives.
///
/// LoadAt(instruction set, frame) returns the vectors of a step, StoreAt(frame, vectors) stores them, and
/// CopyFrame(frame) copies one frame of a buffer that is shorter than a step.
template <int ByteShuffle, class LoadStep, class StoreStep, class CopySingleFrame>
void ForEachStereoStep(unsigned long ulFrames, LoadStep LoadAt, StoreStep StoreAt, CopySingleFrame CopyFrame)
{
    constexpr unsigned long kStep = NativeSimd::kStereoStepFrames<ByteShuffle>;
    if constexpr (kStep > 1) {
        if (ulFrames >= kStep) {
            const unsigned long ulLast = ulFrames - kStep;
            const auto oLast = LoadAt(NativeSimd(), ulLast);
            for (unsigned long i = 0; i < ulLast; i += kStep) {
                StoreAt(i, LoadAt(NativeSimd(), i));
            }
            StoreAt(ulLast, oLast);
            return;
        }
    }
    for (unsigned long i = 0; i < ulFrames; ++i) {
        CopyFrame(i);
    }
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
    ForEachStereoStep<ByteShuffle>(
        ulFrames,
        [=]<class Simd>(Simd, unsigned long i) {
            return Simd::template LoadInterleaved<ByteShuffle>(oLeft.At(i), oRight.At(i));
        },
        [=]<class Step>(unsigned long i, const Step& rsStep) {
            rsStep.template StoreInterleaved<ByteShuffle>(pucStereo + i * 2 * ByteShuffle);
        },
        [=](unsigned long i) {
            __builtin_memcpy(pucStereo + i * 2 * ByteShuffle, oLeft.At(i), ByteShuffle);
            __builtin_memcpy(pucStereo + (i * 2 + 1) * ByteShuffle, oRight.At(i), ByteShuffle);
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
    ForEachStereoStep<ByteShuffle>(
        ulFrames,
        [=]<class Simd>(Simd, unsigned long i) { return Simd::template LoadDeinterleaved<ByteShuffle>(oStereo.At(i)); },
        [=]<class Step>(unsigned long i, const Step& rsStep) {
            rsStep.template StoreDeinterleaved<ByteShuffle>(oLeft.At(i), oRight.At(i));
        },
        [=](unsigned long i) {
            __builtin_memcpy(oLeft.At(i), oStereo.At(i), ByteShuffle);
            __builtin_memcpy(oRight.At(i), oStereo.At(i) + ByteShuffle, ByteShuffle);
        });
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
