/// Interleaves two mono buffers into a stereo buffer, and deinterleaves.
///
/// A stereo buffer is a mux of two planes, and the tiles of AVX-512 process it from kMinTiledFrames frames on. All
/// other frames are processed in steps of a vector, which also accept null buffers. With AVX2, the steps take 0.5 to
/// 0.9 times as long as tiles of two planes for up to 64 frames, and 0.8 to 1.1 times for 1000 frames.
#pragma once

#include "kernels/loops/interleave-inl.h"
#include "kernels/loops/tile-inl.h"

#include <cstdint>

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

/// One channel. A null channel is a dummy block that every step accesses again.
template <class Byte>
struct StereoChannel {
    Byte* pucFirst;
    unsigned long ulSampleBytes;

    Byte* At(unsigned long ulSample) const { return pucFirst + ulSample * ulSampleBytes; }
};

template <class Byte, class Pointer>
StereoChannel<Byte> ChannelOrDummy(Pointer pvChannel, unsigned long ulSampleBytes, Byte* pucDummy)
{
    if (pvChannel == nullptr) {
        return {pucDummy, 0};
    }
    return {static_cast<Byte*>(pvChannel), ulSampleBytes};
}

/// With fewer frames, the steps are faster than tiles.
constexpr unsigned long kMinTiledFrames = 128;

/// True if the tiles of the variant are faster than its steps.
template <class Tiles>
constexpr bool kPrefersTiles = false;
template <class Widest, class... Tile>
constexpr bool kPrefersTiles<TileList<Widest, Tile...>> = Widest::kPrefersTiles;

/// Processes whole tiles and returns the first frame of the remainder, which is at least one step.
template <int Bytes, class Job, class Widest, class... Tile>
unsigned long ProcessTiledFrames(const Job& rJob, unsigned long ulFrames, TileList<Widest, Tile...>)
{
    return ProcessFullTiles<Widest, Bytes>(rJob, 0, ulFrames - NativeSimd::kStereoStepFrames<Bytes>);
}

/// Interleaves by tiles. Returns the first frame of the remainder, which is at least one step. Not inlined, so that
/// calls with few frames save no registers for it.
template <int Bytes>
[[gnu::noinline]] unsigned long InterleaveTiledStereo(const void* pvLeft, const void* pvRight, void* pvStereo,
                                                      unsigned long ulFrames)
{
    const void* apvPlanes[] = {pvLeft, pvRight};
    const InterleaveJob<Bytes> oJob{apvPlanes, {static_cast<std::uint8_t*>(pvStereo), 2}};
    return ProcessTiledFrames<Bytes>(oJob, ulFrames, TilesOf<Bytes>());
}

/// The inverse.
template <int Bytes>
[[gnu::noinline]] unsigned long DeinterleaveTiledStereo(const void* pvStereo, void* pvLeft, void* pvRight,
                                                        unsigned long ulFrames)
{
    void* apvPlanes[] = {pvLeft, pvRight};
    const DeinterleaveJob<Bytes> oJob{{static_cast<const std::uint8_t*>(pvStereo), 2}, apvPlanes};
    return ProcessTiledFrames<Bytes>(oJob, ulFrames, TilesOf<Bytes>());
}

/// Processes all frames in steps of a vector. The last step ends with the last frame and repeats some frames of the
/// step before it. It is loaded before any other step is stored, so that a buffer that shares memory with its source
/// receives what a loop over frames gives.
///
/// LoadAt(instruction set, frame) returns the vectors of a step, StoreAt(frame, vectors) stores them, and
/// CopyFrame(frame) copies one frame of a buffer that is shorter than a step.
template <int Bytes, class LoadStep, class StoreStep, class CopySingleFrame>
void ForEachStereoStep(unsigned long ulFrames, LoadStep LoadAt, StoreStep StoreAt, CopySingleFrame CopyFrame)
{
    constexpr unsigned long kStep = NativeSimd::kStereoStepFrames<Bytes>;
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

template <int Bytes>
void InterleaveStereo(const void* pvLeft, const void* pvRight, void* pvStereo, unsigned long ulFrames) noexcept
{
    static constexpr std::uint8_t kSilence[Bytes * NativeSimd::kStereoStepFrames<Bytes>] = {};
    if constexpr (kPrefersTiles<TilesOf<Bytes>>) {
        if (ulFrames >= kMinTiledFrames && pvLeft != nullptr && pvRight != nullptr) {
            const unsigned long ulProcessed = InterleaveTiledStereo<Bytes>(pvLeft, pvRight, pvStereo, ulFrames);
            pvLeft = static_cast<const std::uint8_t*>(pvLeft) + ulProcessed * Bytes;
            pvRight = static_cast<const std::uint8_t*>(pvRight) + ulProcessed * Bytes;
            pvStereo = static_cast<std::uint8_t*>(pvStereo) + ulProcessed * 2 * Bytes;
            ulFrames -= ulProcessed;
        }
    }
    const auto oLeft = ChannelOrDummy<const std::uint8_t>(pvLeft, Bytes, kSilence);
    const auto oRight = ChannelOrDummy<const std::uint8_t>(pvRight, Bytes, kSilence);
    auto* pucStereo = static_cast<std::uint8_t*>(pvStereo);
    ForEachStereoStep<Bytes>(
        ulFrames,
        [=]<class Simd>(Simd, unsigned long i) {
            return Simd::template LoadInterleaved<Bytes>(oLeft.At(i), oRight.At(i));
        },
        [=]<class Step>(unsigned long i, const Step& rsStep) {
            rsStep.template StoreInterleaved<Bytes>(pucStereo + i * 2 * Bytes);
        },
        [=](unsigned long i) {
            __builtin_memcpy(pucStereo + i * 2 * Bytes, oLeft.At(i), Bytes);
            __builtin_memcpy(pucStereo + (i * 2 + 1) * Bytes, oRight.At(i), Bytes);
        });
}

template <int Bytes>
void DeinterleaveStereo(const void* pvStereo, void* pvLeft, void* pvRight, unsigned long ulFrames) noexcept
{
    static constexpr std::uint8_t kSilence[2 * Bytes * NativeSimd::kStereoStepFrames<Bytes>] = {};
    std::uint8_t aucDropped[Bytes * NativeSimd::kStereoStepFrames<Bytes>];
    if constexpr (kPrefersTiles<TilesOf<Bytes>>) {
        if (ulFrames >= kMinTiledFrames && pvStereo != nullptr && pvLeft != nullptr && pvRight != nullptr) {
            const unsigned long ulProcessed = DeinterleaveTiledStereo<Bytes>(pvStereo, pvLeft, pvRight, ulFrames);
            pvStereo = static_cast<const std::uint8_t*>(pvStereo) + ulProcessed * 2 * Bytes;
            pvLeft = static_cast<std::uint8_t*>(pvLeft) + ulProcessed * Bytes;
            pvRight = static_cast<std::uint8_t*>(pvRight) + ulProcessed * Bytes;
            ulFrames -= ulProcessed;
        }
    }
    const auto oStereo = ChannelOrDummy<const std::uint8_t>(pvStereo, 2 * Bytes, kSilence);
    const auto oLeft = ChannelOrDummy<std::uint8_t>(pvLeft, Bytes, aucDropped);
    const auto oRight = ChannelOrDummy<std::uint8_t>(pvRight, Bytes, aucDropped);
    ForEachStereoStep<Bytes>(
        ulFrames,
        [=]<class Simd>(Simd, unsigned long i) { return Simd::template LoadDeinterleaved<Bytes>(oStereo.At(i)); },
        [=]<class Step>(unsigned long i, const Step& rsStep) {
            rsStep.template StoreDeinterleaved<Bytes>(oLeft.At(i), oRight.At(i));
        },
        [=](unsigned long i) {
            __builtin_memcpy(oLeft.At(i), oStereo.At(i), Bytes);
            __builtin_memcpy(oRight.At(i), oStereo.At(i) + Bytes, Bytes);
        });
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
