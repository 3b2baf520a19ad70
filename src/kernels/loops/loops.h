#pragma once

#include "kernels/loops/fade_curve.h"
#include "support/cpu_features.h"

#include <cstddef>
#include <cstdint>

// clang-format off

/// The conversions of one sample each, in the order of the table: X(name, bytes in, bytes out, law)
/// The laws stand in conversions.inc. In the names "24" beside "16" or "32f" is 24-in-32; beside "32" it is 24-in-24.
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

/// The fades, by the words that a frame consists of: X(law, bytes of a word, gains of the fixed ramp)
/// The laws stand in fades.inc.
#define ZTA_FADE_LOOP_LIST(X) \
    X(Int16,      2, kFadeCurve16) \
    X(StereoInt16, 4, kFadeCurve16) \
    X(Int24In32,    4, kFadeCurve32) \
    X(MuxInt24In32, 4, kFadeCurveMux)

/// The samples that are moved between two mono buffers and a stereo buffer, by their bytes: X(bytes)
#define ZTA_STEREO_LIST(X) \
    X(2) \
    X(3) \
    X(4)

/// The elements that are moved between separate streams and a mux, by their bytes: X(bytes)
/// Each is a mono sample or a stereo frame of one of the containers; 4 bytes can be either.
#define ZTA_ELEMENT_LIST(X) \
    X(2) \
    X(3) \
    X(4) \
    X(6) \
    X(8)

/// The instruction sets that loops are compiled for, the preferred one first: X(name, features that it takes)
/// Each has a file target_<name>.cpp.
#define ZTA_LOOP_VARIANT_LIST(X) \
    X(avx512, keZtaFeatureAvx2 | keZtaFeatureAvxEnabled | keZtaFeatureAvx512F | keZtaFeatureAvx512Bw | \
                keZtaFeatureAvx512Dq | keZtaFeatureAvx512Vl | keZtaFeatureAvx512Vbmi | keZtaFeatureAvx512Enabled) \
    X(avx2,   keZtaFeatureAvx2 | keZtaFeatureAvxEnabled) \
    X(plain,  0)

// clang-format on

/// Converts samples, the first one first. Pointers need no alignment, and bytes outside the samples are not touched.
/// Input and output may be the same or overlap where both sides have the same size; otherwise they may not overlap.
using ZtaConversion = void (*)(const void* pvInput, void* pvOutput, unsigned long ulSamples) noexcept;

/// Fades frames of ulWords words in place: frame n takes the gain n * iStep entries from pGains on. Addresses of words
/// need no alignment, and no gain beside those of the frames is read.
/// For StereoInt16 they are at most 32767.
template <class Gain>
using ZtaFade = void (*)(void* pvBuffer, unsigned long ulWords, unsigned long ulFrames, const Gain* pGains,
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

/// The gains of a ramp over an interleaved stream of 24-in-32 samples. Four samples in a row take the four lanes of a
/// group, and the groups take turns.
struct SZtaGainRamp {
    /// For each group four gains and four increments, with 12 fraction bits. A gain's low 16 bits multiply, and they
    /// stay within 0 and 32767 for all samples.
    std::int32_t* plGroups;
    unsigned long ulGroups;         ///< 1, 2, 4, 8 or 16
    const std::int32_t* plClampMax; ///< the limits of the four lanes of a group, as 24-bit values
    const std::int32_t* plClampMin;
};

/// Scales samples; after each of them its lane's gain moves on by the lane's increment. Bits below the 24th are cut
/// off. With more than one group the samples are whole passes through the groups. With more than two the gains in
/// plGroups move, too; with less they stay, and only copies of them move. Input and output may be the same; otherwise
/// they may not overlap. Pointers need no alignment, and bytes outside the samples are not touched.
using ZtaApplyGainRamp = void (*)(const void* pvInput, void* pvOutput, unsigned long ulSamples,
                                  const SZtaGainRamp* psRamp) noexcept;

/// Interleaves streams: the mux receives frame after frame, in each frame one element of every stream in their order.
/// Pointers need no alignment, and bytes outside the elements are not touched. The mux may not overlap a stream.
using ZtaInterleave = void (*)(const void* const* ppvPlanes, unsigned long ulPlanes, void* pvMux,
                               unsigned long ulFrames) noexcept;

/// The inverse of ZtaInterleave. No two of the buffers may overlap.
using ZtaDeinterleave = void (*)(const void* pvMux, void* const* ppvPlanes, unsigned long ulPlanes,
                                 unsigned long ulFrames) noexcept;

/// The loops of one instruction set.
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
    std::uint64_t ui64Features; ///< all that the loops take, as a mask of EZtaCpuFeature

    bool IsSupported(std::uint64_t ui64Available) const noexcept { return (ui64Features & ~ui64Available) == 0; }
};

/// Every instruction set compiled in, the preferred one first. The last, the plain form, takes nothing.
inline constexpr SZtaLoopVariant kLoopVariants[] = {
#define ZTA_LOOP_ENTRY(name, features) {&zta::loops::name::g_sLoops, features},
    ZTA_LOOP_VARIANT_LIST(ZTA_LOOP_ENTRY)
#undef ZTA_LOOP_ENTRY
};

/// The preferred loops among those that run with the given features.
const SZtaSampleLoops& ZtaBestLoops(std::uint64_t ui64Features) noexcept;

/// The loops of a name if they run with the given features, else null. A null name stands for the preferred ones.
const SZtaSampleLoops* ZtaFindLoops(const char* pszName, std::uint64_t ui64Features) noexcept;

/// The loops in use: those that ZtaSetActiveLoops chose, else the preferred ones of this processor, chosen at the first
/// call. [any thread] [no allocation] [no lock]
const SZtaSampleLoops& ZtaActiveLoops() noexcept;

/// Puts the loops of one instruction set into use, by their name; null stands for the preferred ones. False, and no
/// change, where the name is unknown or this processor does not run them. [any thread] [no allocation] [no lock]
bool ZtaSetActiveLoops(const char* pszName) noexcept;
