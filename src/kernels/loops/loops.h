#pragma once

#include "kernels/loops/fade_curve.h"
#include "support/cpu_features.h"

#include <cstddef>
#include <cstdint>

// clang-format off

/// The conversions, in the order of the dispatch table: X(name, input bytes, output bytes, op)
/// The ops are defined in convert-inl.h. In the names, "24" beside "16" or "32f" is 24-in-32; beside "32" it is
/// 24-in-24.
#define ZTA_CONVERSION_LIST(X) \
    X(16To24,              2, 4, Identity) \
    X(16To32f,             2, 4, Int16ToFloat) \
    X(24To16,              4, 2, Identity) \
    X(24To32f,             4, 4, Int24ToFloat) \
    X(32fTo16,             4, 2, FloatToInt16) \
    X(32fTo24,             4, 4, FloatToInt32) \
    X(24To32,              3, 4, Identity) \
    X(24To32LsbAligned,    3, 4, ShiftRight8) \
    X(32To24,              4, 3, Identity) \
    X(32To24LsbAligned,    4, 3, ByteSwap24) \
    X(16To32,              2, 4, Expand16To24) \
    X(16To32LsbAligned,    2, 4, ShiftRight16) \
    X(MultiFormatTo16,     4, 4, AudioField16) \
    X(MultiFormatTo24,     4, 4, AudioField24) \
    X(MultiFormatTo16In16, 4, 2, AudioField16LsbAligned)

/// The fades: X(op, bytes of an element, fade curve)
/// The ops are defined in fade-inl.h. An element is what an op processes at once: a sample, or a 16-bit stereo frame.
#define ZTA_FADE_LOOP_LIST(X) \
    X(Int16,        2, kFadeCurve16) \
    X(StereoInt16,  4, kFadeCurve16) \
    X(Int24In32,    4, kFadeCurve32) \
    X(MuxInt24In32, 4, kFadeCurveMux)

/// The sample sizes of the loops between two mono buffers and a stereo buffer: X(bytes)
#define ZTA_STEREO_LIST(X) \
    X(2) \
    X(3) \
    X(4)

/// The element sizes of the loops between planes and a mux: X(bytes)
/// An element is a mono sample or a stereo frame; one of 4 bytes can be either.
#define ZTA_ELEMENT_LIST(X) \
    X(2) \
    X(3) \
    X(4) \
    X(6) \
    X(8)

/// The variants, the preferred one first: X(name, required CPU features)
/// Each has a source file variant_<name>.cpp.
#define ZTA_LOOP_VARIANT_LIST(X) \
    X(avx512, keZtaFeatureAvx2 | keZtaFeatureAvxEnabled | keZtaFeatureAvx512F | keZtaFeatureAvx512Bw | \
                keZtaFeatureAvx512Dq | keZtaFeatureAvx512Vl | keZtaFeatureAvx512Vbmi | keZtaFeatureAvx512Enabled) \
    X(avx2,   keZtaFeatureAvx2 | keZtaFeatureAvxEnabled) \
    X(scalar, 0)

// clang-format on

/// Converts samples in their order. Pointers need no alignment, and bytes outside the samples are not accessed. If
/// input and output samples have the same size, the buffers may overlap.
using ZtaConversion = void (*)(const void* pvInput, void* pvOutput, unsigned long ulSamples) noexcept;

/// Fades frames of ulElements elements in place. The gain of frame n is pGains[n * iStep]; other gains are not read.
/// The buffer needs no alignment. Gains for StereoInt16 are at most 32767.
template <class Gain>
using ZtaFade = void (*)(void* pvBuffer, unsigned long ulElements, unsigned long ulFrames, const Gain* pGains,
                         std::ptrdiff_t iStep) noexcept;

/// Interleaves the samples of two buffers: left, right, left, right. A null input reads as silence. An input may lie in
/// the second half of the output; other overlaps are not supported. Pointers need no alignment, and bytes outside the
/// samples are not accessed.
using ZtaInterleaveStereo = void (*)(const void* pvLeft, const void* pvRight, void* pvStereo,
                                     unsigned long ulFrames) noexcept;

/// The inverse. A null input reads as silence, and a null output is dropped. One output may begin at the input's
/// address; other overlaps are not supported. Pointers need no alignment, and bytes outside the samples are not
/// accessed.
using ZtaDeinterleaveStereo = void (*)(const void* pvStereo, void* pvLeft, void* pvRight,
                                       unsigned long ulFrames) noexcept;

/// A gain ramp over interleaved 24-in-32 samples. Four consecutive samples correspond to the four lanes of a group; the
/// next four to the next group, and so on in cycles.
struct SZtaGainRamp {
    static constexpr unsigned long kGroupLanes = 4;
    static constexpr unsigned long kMaxGroups = 16;

    /// For each group four gains, then four increments, with 12 fraction bits. The low 16 bits of a gain are the
    /// multiplier; they stay between 0 and 32767 for all samples.
    std::int32_t* plGroups;
    unsigned long ulGroups;         ///< a power of two up to kMaxGroups
    const std::int32_t* plClampMax; ///< for the four lanes of a group, as 24-bit values
    const std::int32_t* plClampMin;
};

/// Applies a gain ramp: after each sample, the gain of its lane grows by the lane's increment. Results are truncated to
/// 24 bits. With more than one group, ulSamples is a multiple of the lanes of all groups. With more than two groups the
/// gains in plGroups are updated; otherwise they are not changed. Input and output may be the same; otherwise they may
/// not overlap. Pointers need no alignment, and bytes outside the samples are not accessed.
using ZtaApplyGainRamp = void (*)(const void* pvInput, void* pvOutput, unsigned long ulSamples,
                                  const SZtaGainRamp* psRamp) noexcept;

/// Interleaves planes of ulFrames elements. Pointers need no alignment, and bytes outside the elements are not
/// accessed. The mux may not overlap a plane.
using ZtaInterleave = void (*)(const void* const* ppvPlanes, unsigned long ulPlanes, void* pvMux,
                               unsigned long ulFrames) noexcept;

/// The inverse of ZtaInterleave. If a plane occurs twice in the array, the last one wins.
using ZtaDeinterleave = void (*)(const void* pvMux, void* const* ppvPlanes, unsigned long ulPlanes,
                                 unsigned long ulFrames) noexcept;

/// The dispatch table of one variant.
struct SZtaSampleLoops {
    const char* pszName;
#define ZTA_LOOP_ENTRY(name, in, out, op) ZtaConversion pfn##name;
    ZTA_CONVERSION_LIST(ZTA_LOOP_ENTRY)
#undef ZTA_LOOP_ENTRY
#define ZTA_LOOP_ENTRY(bytes)                                                                                          \
    ZtaInterleaveStereo pfnInterleaveStereo##bytes;                                                                    \
    ZtaDeinterleaveStereo pfnDeinterleaveStereo##bytes;
    ZTA_STEREO_LIST(ZTA_LOOP_ENTRY)
#undef ZTA_LOOP_ENTRY
    ZtaApplyGainRamp pfnApplyGainRamp;
#define ZTA_LOOP_ENTRY(op, bytes, gains) ZtaFade<typename decltype(gains)::value_type> pfnFade##op;
    ZTA_FADE_LOOP_LIST(ZTA_LOOP_ENTRY)
#undef ZTA_LOOP_ENTRY
#define ZTA_LOOP_ENTRY(bytes)                                                                                          \
    ZtaInterleave pfnInterleave##bytes;                                                                                \
    ZtaDeinterleave pfnDeinterleave##bytes;
    ZTA_ELEMENT_LIST(ZTA_LOOP_ENTRY)
#undef ZTA_LOOP_ENTRY
};

#define ZTA_LOOP_ENTRY(name, features)                                                                                 \
    namespace zta::loops::name {                                                                                       \
    extern const SZtaSampleLoops g_sLoops;                                                                             \
    }
ZTA_LOOP_VARIANT_LIST(ZTA_LOOP_ENTRY)
#undef ZTA_LOOP_ENTRY

struct SZtaLoopVariant {
    const SZtaSampleLoops* psLoops;
    std::uint64_t ui64Features; ///< required, as a mask of EZtaCpuFeature

    bool IsSupported(std::uint64_t ui64Available) const noexcept { return (ui64Features & ~ui64Available) == 0; }
};

/// All variants, the preferred one first. The last one, the scalar variant, requires no feature.
inline constexpr SZtaLoopVariant kLoopVariants[] = {
#define ZTA_LOOP_ENTRY(name, features) {&zta::loops::name::g_sLoops, features},
    ZTA_LOOP_VARIANT_LIST(ZTA_LOOP_ENTRY)
#undef ZTA_LOOP_ENTRY
};

/// The bytes of input and output together from which conversions use streaming stores. Before the first call of
/// ZtaMinStreamedBytes it is a lower bound. Accessed with relaxed ordering; not std::atomic, whose functions are inline
/// and must not occur in a variant.
extern unsigned long g_ulMinStreamedBytes [[gnu::visibility("hidden")]];

/// Returns g_ulMinStreamedBytes, which the first call computes for the caches of this processor by CPUID.
/// [any thread] [real-time]
unsigned long ZtaMinStreamedBytes() noexcept;

/// Returns the value for a last-level cache of the given size; 0 if the size is unknown.
unsigned long ZtaComputeMinStreamedBytes(std::uint64_t ui64CacheBytes) noexcept;

/// Returns the preferred variant that the given features support.
const SZtaSampleLoops& ZtaBestLoops(std::uint64_t ui64Features) noexcept;

/// Returns the variant with a name, or null if the given features do not support it. A null name selects the preferred
/// variant.
const SZtaSampleLoops* ZtaFindLoops(const char* pszName, std::uint64_t ui64Features) noexcept;

/// Returns the active variant: the one set by ZtaSetActiveLoops, or the preferred one of this processor, which the
/// first call selects by CPUID. [any thread] [real-time]
const SZtaSampleLoops& ZtaActiveLoops() noexcept;

/// Sets the active variant by its name; null selects the preferred one. Returns false and changes nothing if the name
/// is unknown or this processor does not support the variant. [any thread] [real-time]
bool ZtaSetActiveLoops(const char* pszName) noexcept;
