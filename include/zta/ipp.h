/// The signal library: rational resampling of 16-bit samples, and the memory functions that go with it.
///
/// Every function that works on samples exists in seven builds, from SSE2 to AVX-512. The first call of any of them
/// picks the build for this processor; `ippSetCpuFeatures` picks another. Builds differ in speed, and in the last bit
/// of a filter's prototype; 16-bit samples come out alike.
///
/// Each build is exported beside the public function under its own name: `e9_ippsSet_16s` is the AVX build of
/// `ippsSet_16s`. Whoever calls one by name answers for the processor being able to run it.
///
/// Unless told otherwise a null pointer gives ippStsNullPtrErr, a count below 1 ippStsSizeErr, pointers are looked at
/// before counts, and an error leaves all memory as it was.
#pragma once

#include <zta/export.h>

#include <cstdint>

/// 0 is success, below 0 an error that stopped the function, above 0 a warning beside a valid result.
enum IppStatus : std::int32_t {
    ippStsNullPtrErr = -8,          ///< a pointer is null
    ippStsSizeErr = -6,             ///< a count, rate or length is below 1
    ippStsBadArgErr = -5,           ///< an argument is outside its range
    ippStsNoErr = 0,                ///< success
    ippStsNonIntelCpu = 20,         ///< the processor is of another vendor; it is served alike
    ippStsNotSupportedCpu = 36,     ///< the features do not even have SSE2
    ippStsFeatureNotSupported = 49, ///< the processor or the operating system lacks a feature of the mask
    ippStsUnknownFeature = 50,      ///< the mask has a bit that means nothing
    ippStsFeaturesCombination = 51, ///< a feature of the mask comes without those that go before it
};

/// How the taps of a filter are held. Only ippAlgHintAccurate is told apart: any other value means 16-bit taps.
enum IppHintAlgorithm : std::uint32_t {
    ippAlgHintFast = 1,     ///< 16-bit taps, and exact sums
    ippAlgHintAccurate = 2, ///< single-precision taps
};

/// A filter, in memory of the caller's: see ippsResamplePolyphaseFixedGetSize_16s.
struct IppsResamplingPolyphaseFixed_16s;

extern "C" {

/// Detects the features of the processor and selects the build for them. Needs no call: the first use of any function
/// below does the same. Returns ippStsNonIntelCpu, or what ippSetCpuFeatures returns. [any thread]
ZTA_API IppStatus ippInit() noexcept;

/// The same, from inside a call of another function, whose arguments stay as they are. [any thread]
ZTA_API IppStatus ippSafeInit() noexcept;

/// Tells what the processor can do. [any thread]
/// pFeaturesMask   receives the features, a bit each: 0 MMX, 1 SSE, 2 SSE2, 3 SSE3, 4 SSSE3, 5 MOVBE, 6 SSE4.1,
///                 7 SSE4.2, 8 AVX, 9 AVX enabled by the operating system, 10 AES, 11 PCLMULQDQ, 13 RDRAND, 14 F16C,
///                 15 AVX2 with FMA, BMI1 and BMI2, 16 ADX, 17 RDSEED, 18 PREFETCHW, 19 SHA, 20 to 27 AVX-512 F, CD,
///                 ER, PF, BW, DQ, VL and VBMI, 28 MPX, 29 AVX-512 4FMAPS, 30 AVX-512 4VNNIW, 31 a processor model of
///                 its own, 32 AVX-512 IFMA, 33 AVX-512 enabled by the operating system, 34 to 36 AVX-512 VPOPCNTDQ,
///                 BITALG and FP16
/// pCpuidInfoRegs  null, or receives EAX, EBX, ECX and EDX of CPUID leaf 1
ZTA_API IppStatus ippGetCpuFeatures(unsigned long* pFeaturesMask, unsigned int* pCpuidInfoRegs) noexcept;

/// Selects the build for a set of features, on all threads, from their next call on. All statuses but 0 are warnings,
/// and leave a valid build selected. A build that takes more than the processor has is selected, too, with
/// ippStsFeatureNotSupported, unless the operating system keeps its registers from use; calls then end in an illegal
/// instruction. Bit 63 takes the caller's word: nothing is checked. [any thread]
ZTA_API IppStatus ippSetCpuFeatures(unsigned long mask) noexcept;

/// Stores the enabled features, and selects nothing. [any thread]
ZTA_API void ippSetCpuFeaturesMask(unsigned long mask) noexcept;

/// The enabled features: those of the last selection, with all that it implies. 0 before the first. [any thread]
ZTA_API unsigned long ippGetEnabledCpuFeatures() noexcept;

/// Gives the detected features; detects them if that has not been done. Returns 1. [any thread]
ZTA_API int ownGetMaskFeatures(unsigned long* pMask) noexcept;

/// Chooses the build for a set of features and completes the set with all that the build implies. Selects nothing.
/// pIdx  receives the build's index: m7, n8, y8, e9, l9, n0 and k0 from 0 on
ZTA_API IppStatus ownFeaturesToIdx(unsigned long* pMask, unsigned int* pIdx) noexcept;

/// What ippSetCpuFeatures does but for the selection: checks the features, chooses the build and stores the set.
ZTA_API IppStatus ownSetCpuFeaturesAndIdx(unsigned long mask, unsigned int* pIdx) noexcept;

/// Takes the enabled features for those that the processor has. [any thread]
ZTA_API void ownMaskIsFeatures() noexcept;

/// 1 if all features of the mask are enabled, else 0.
ZTA_API int ownGetFeature(unsigned long mask) noexcept;
/// 1 if the processor calls itself "GenuineIntel", else 0.
ZTA_API int ipp_is_GenuineIntel() noexcept;

/// Allocates len bytes at an address that is a multiple of 64. The block goes back to ippsFree, and to nothing else.
/// Returns null if len is below 1 or above 0x7FFFFFFF - 72, or if there is no memory. [any thread]
ZTA_API unsigned char* ippsMalloc_8u(int len) noexcept;

/// Frees a block of ippsMalloc_8u. Null does nothing. [any thread]
ZTA_API void ippsFree(void* p) noexcept;

/// What ippsMalloc_8u does, for blocks of any content.
ZTA_API void* ippMalloc(int len) noexcept;

/// What ippsFree does, for those.
ZTA_API void ippFree(void* p) noexcept;

/// Writes val into len samples. [any thread] [no allocation] [no lock]
ZTA_API IppStatus ippsSet_16s(std::int16_t val, std::int16_t* pDst, int len) noexcept;

/// Copies len samples; source and destination may overlap. [any thread] [no allocation] [no lock]
ZTA_API IppStatus ippsMove_16s(const std::int16_t* pSrc, std::int16_t* pDst, int len) noexcept;

/// Tells how much memory a filter takes. [any thread] [no allocation] [no lock]
/// inRate, outRate  the rates, in any unit, not below 1; only their quotient counts
/// len              the filter's length in input samples, not below 1
/// pSize            receives the size in bytes
/// pLen             receives len, rounded up to a multiple of 4
/// pHeight          receives the number of phases, which is outRate in lowest terms
/// Errors           ippStsBadArgErr: the size would be above 0x7FFFFFFE
ZTA_API IppStatus ippsResamplePolyphaseFixedGetSize_16s(int inRate, int outRate, int len, int* pSize, int* pLen,
                                                        int* pHeight, IppHintAlgorithm hint) noexcept;

/// Builds a filter: a sinc under a Kaiser window, cut into one row of taps for each phase. [any thread] [no allocation]
/// inRate, outRate, len, hint  as told to ippsResamplePolyphaseFixedGetSize_16s
/// rollf   the cut-off as a fraction of half of the lower rate: above 0.0, up to 1.0
/// alpha   the parameter of the window, at least 1.0
/// pSpec   memory of the size that was told, at a multiple of 16
/// Errors  ippStsBadArgErr: rollf, alpha, or a size that is too large
ZTA_API IppStatus ippsResamplePolyphaseFixedInit_16s(int inRate, int outRate, int len, float rollf, float alpha,
                                                     IppsResamplingPolyphaseFixed_16s* pSpec,
                                                     IppHintAlgorithm hint) noexcept;

/// Resamples a stretch of samples. [any thread] [no allocation] [no lock]
/// pSrc     the origin of the time scale. Read are the samples from half a filter's length before the first position to
///          half a filter's length behind the last one: the caller keeps such margins on both sides
/// len      how many input positions, from the whole part of *pTime on, outputs may fall on; at least 1
/// pDst     room for ceil(len * outRate / inRate) + 1 samples
/// norm     a gain on every output
/// pTime    the position of the first output in input samples; receives that of the next
/// pOutlen  receives the number of outputs
ZTA_API IppStatus ippsResamplePolyphaseFixed_16s(const std::int16_t* pSrc, int len, std::int16_t* pDst, float norm,
                                                 double* pTime, int* pOutlen,
                                                 const IppsResamplingPolyphaseFixed_16s* pSpec) noexcept;

} // extern "C"
