/// The signal functions: rational resampling of 16-bit samples, and memory functions.
///
/// Each function on samples exists in seven variants: m7, n8, y8, e9, l9, n0 and k0, for instruction sets from SSE2 to
/// AVX-512. The first call of any function selects the variant for the CPU; ippSetCpuFeatures selects another.
///
/// The variants differ in speed, and in one kind of result. Filter banks are equal in every byte, and with 16-bit
/// coefficients (ippAlgHintFast, which the engine uses) the outputs are bit-exact. With single-precision coefficients
/// (ippAlgHintAccurate) m7 and n8 round a dot product differently from the other five: an output may differ by 1.
///
/// Each variant is also exported under its own name: `e9_ippsSet_16s` is the AVX variant of `ippsSet_16s`. A caller of
/// such a function must make sure that the CPU supports it.
///
/// Unless documented otherwise, a null pointer gives ippStsNullPtrErr, a count below 1 gives ippStsSizeErr, pointers
/// are checked before counts, and a failing function does not modify memory.
#pragma once

#include <zta/export.h>

#include <cstdint>

/// 0 is success, a negative value an error, a positive value a warning with a valid result.
enum IppStatus : std::int32_t {
    ippStsNullPtrErr = -8,          ///< a pointer is null
    ippStsSizeErr = -6,             ///< a count, rate or length is below 1
    ippStsBadArgErr = -5,           ///< an argument is outside its range
    ippStsNoErr = 0,                ///< success
    ippStsNonIntelCpu = 20,         ///< the CPU is from another vendor; there is no other difference
    ippStsNotSupportedCpu = 36,     ///< the features do not include SSE2
    ippStsFeatureNotSupported = 49, ///< the CPU or the operating system lacks a feature of the mask
    ippStsUnknownFeature = 50,      ///< the mask has a bit without a meaning
    ippStsFeaturesCombination = 51, ///< a feature of the mask lacks those that it requires
};

/// The type of the filter coefficients. Any value except ippAlgHintAccurate selects 16 bits.
enum IppHintAlgorithm : std::uint32_t {
    ippAlgHintFast = 1,     ///< 16-bit coefficients, exact dot products
    ippAlgHintAccurate = 2, ///< single-precision coefficients
};

/// A filter in memory of the caller: see ippsResamplePolyphaseFixedGetSize_16s.
struct IppsResamplingPolyphaseFixed_16s;

extern "C" {

/// Detects the CPU features and selects the variant for them. The call is optional: the first call of any function
/// below does the same. Returns ippStsNonIntelCpu, or the result of ippSetCpuFeatures. [any thread] [real-time]
ZTA_API IppStatus ippInit() noexcept;

/// Same as ippInit; the first call of another function uses it. [any thread] [real-time]
ZTA_API IppStatus ippSafeInit() noexcept;

/// Stores the CPU features. [any thread] [real-time]
/// pFeaturesMask   receives the features, one bit each: 0 MMX, 1 SSE, 2 SSE2, 3 SSE3, 4 SSSE3, 5 MOVBE, 6 SSE4.1,
///                 7 SSE4.2, 8 AVX, 9 AVX enabled by the operating system, 10 AES, 11 PCLMULQDQ, 13 RDRAND, 14 F16C,
///                 15 AVX2 with FMA, BMI1 and BMI2, 16 ADX, 17 RDSEED, 18 PREFETCHW, 19 SHA, 20 to 27 AVX-512 F, CD,
///                 ER, PF, BW, DQ, VL and VBMI, 28 MPX, 29 AVX-512 4FMAPS, 30 AVX-512 4VNNIW, 31 one CPU
///                 model, 32 AVX-512 IFMA, 33 AVX-512 enabled by the operating system, 34 to 36 AVX-512 VPOPCNTDQ,
///                 BITALG and FP16
/// pCpuidInfoRegs  null, or receives EAX, EBX, ECX and EDX of CPUID leaf 1
ZTA_API IppStatus ippGetCpuFeatures(unsigned long* pFeaturesMask, unsigned int* pCpuidInfoRegs) noexcept;

/// Selects the variant for a set of features, for the next calls on all threads. Any nonzero result is a warning; a
/// variant is selected. A variant that the CPU does not support is selected with ippStsFeatureNotSupported, and calls
/// then raise an illegal instruction; it is not selected if the operating system does not save its registers. With
/// bit 63 nothing is checked. [any thread] [real-time]
ZTA_API IppStatus ippSetCpuFeatures(unsigned long mask) noexcept;

/// Stores the enabled features without selecting a variant. [any thread] [real-time]
ZTA_API void ippSetCpuFeaturesMask(unsigned long mask) noexcept;

/// Returns the enabled features: those of the last selection and those that it implies; 0 before the first selection.
/// [any thread] [real-time]
ZTA_API unsigned long ippGetEnabledCpuFeatures() noexcept;

/// Stores the detected features; detects them on the first call. Returns 1. [any thread] [real-time]
ZTA_API int ownGetMaskFeatures(unsigned long* pMask) noexcept;

/// Determines the variant for a set of features without selecting it. [any thread] [real-time]
/// pMask  the features; receives also those that the variant implies
/// pIdx   receives the index of the variant: 0 for m7, then n8, y8, e9, l9, n0 and 6 for k0
ZTA_API IppStatus ownFeaturesToIdx(unsigned long* pMask, unsigned int* pIdx) noexcept;

/// Same as ippSetCpuFeatures without the selection: checks the features, determines the variant and stores the
/// features. [any thread] [real-time]
ZTA_API IppStatus ownSetCpuFeaturesAndIdx(unsigned long mask, unsigned int* pIdx) noexcept;

/// Sets the detected features to the enabled ones. [any thread] [real-time]
ZTA_API void ownMaskIsFeatures() noexcept;

/// Returns 1 if all features of the mask are enabled, otherwise 0. [any thread] [real-time]
ZTA_API int ownGetFeature(unsigned long mask) noexcept;

/// Returns 1 if the CPU vendor is "GenuineIntel", otherwise 0. [any thread] [real-time]
ZTA_API int ipp_is_GenuineIntel() noexcept;

/// Allocates len bytes at a multiple of 64. Only ippsFree can free the block. Returns null if len is below 1 or above
/// 0x7FFFFFFF - 72, or if the allocation fails. [any thread] [allocates]
ZTA_API unsigned char* ippsMalloc_8u(int len) noexcept;

/// Frees a block of ippsMalloc_8u. Null has no effect. [any thread] [allocates]
ZTA_API void ippsFree(void* p) noexcept;

/// Same as ippsMalloc_8u, for blocks of any type. [any thread] [allocates]
ZTA_API void* ippMalloc(int len) noexcept;

/// Frees a block of ippMalloc. Null has no effect. [any thread] [allocates]
ZTA_API void ippFree(void* p) noexcept;

/// Sets len samples to val. [any thread] [real-time]
ZTA_API IppStatus ippsSet_16s(std::int16_t val, std::int16_t* pDst, int len) noexcept;

/// Copies len samples; source and destination may overlap. [any thread] [real-time]
ZTA_API IppStatus ippsMove_16s(const std::int16_t* pSrc, std::int16_t* pDst, int len) noexcept;

/// Computes the memory size of a filter. [any thread] [real-time]
/// inRate, outRate  rates in any unit, at least 1; only their ratio matters
/// len              filter length in input samples, at least 1
/// pSize            receives the size in bytes
/// pLen             receives len rounded up to a multiple of 4
/// pHeight          receives the number of phases: outRate divided by the greatest common divisor of the rates
/// hint             type of the coefficients
/// Errors           ippStsBadArgErr  the size exceeds 0x7FFFFFFE
ZTA_API IppStatus ippsResamplePolyphaseFixedGetSize_16s(int inRate, int outRate, int len, int* pSize, int* pLen,
                                                        int* pHeight, IppHintAlgorithm hint) noexcept;

/// Computes a filter bank: a Kaiser-windowed sinc, divided into phases. The caller owns the memory of the filter, and
/// may free it when no call uses it. [any thread] [real-time], but slow
/// inRate, outRate, len, hint  as for ippsResamplePolyphaseFixedGetSize_16s
/// rollf   cutoff as a fraction of half of the lower rate: above 0.0, at most 1.0
/// alpha   parameter of the window, at least 1.0
/// pSpec   memory of the computed size, at a multiple of 16
/// Errors  ippStsBadArgErr  rollf or alpha is out of range, or the size is too large
ZTA_API IppStatus ippsResamplePolyphaseFixedInit_16s(int inRate, int outRate, int len, float rollf, float alpha,
                                                     IppsResamplingPolyphaseFixed_16s* pSpec,
                                                     IppHintAlgorithm hint) noexcept;

/// Resamples contiguous samples. The filter does not change: several threads may use it. [any thread] [real-time]
/// pSrc     sample at position 0. The function reads half a filter length before the first and after the last position;
///          the caller provides these samples
/// len      number of input positions that outputs may fall on, from the integer part of *pTime on; at least 1
/// pDst     memory for ceil(len * outRate / inRate) + 1 samples
/// norm     gain of every output
/// pTime    position of the first output in input samples; receives that of the next output
/// pOutlen  receives the number of outputs
/// pSpec    filter of ippsResamplePolyphaseFixedInit_16s
ZTA_API IppStatus ippsResamplePolyphaseFixed_16s(const std::int16_t* pSrc, int len, std::int16_t* pDst, float norm,
                                                 double* pTime, int* pOutlen,
                                                 const IppsResamplingPolyphaseFixed_16s* pSpec) noexcept;

} // extern "C"
