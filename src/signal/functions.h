/// The functions that exist once for each variant, and their declarations: m7_ippsSet_16s and so on.
#pragma once

#include "signal/variant_list.h"

#include <zta/ipp.h>

struct SZtaPackedFilterBank;

// clang-format off

/// The functions behind a public one of the same name, which calls that of the selected variant:
/// X(result, name, prefix, parameters, arguments). The prefix is passed through.
#define ZTA_IPP_DISPATCHED_LIST(X, prefix) \
    X(void, ippsFree, prefix, (void* p), (p)) \
    X(unsigned char*, ippsMalloc_8u, prefix, (int len), (len)) \
    X(IppStatus, ippsMove_16s, prefix, \
        (const std::int16_t* pSrc, std::int16_t* pDst, int len), \
        (pSrc, pDst, len)) \
    X(IppStatus, ippsResamplePolyphaseFixedGetSize_16s, prefix, \
        (int inRate, int outRate, int len, int* pSize, int* pLen, int* pHeight, IppHintAlgorithm hint), \
        (inRate, outRate, len, pSize, pLen, pHeight, hint)) \
    X(IppStatus, ippsResamplePolyphaseFixedInit_16s, prefix, \
        (int inRate, int outRate, int len, float rollf, float alpha, IppsResamplingPolyphaseFixed_16s* pSpec, \
         IppHintAlgorithm hint), \
        (inRate, outRate, len, rollf, alpha, pSpec, hint)) \
    X(IppStatus, ippsResamplePolyphaseFixed_16s, prefix, \
        (const std::int16_t* pSrc, int len, std::int16_t* pDst, float norm, double* pTime, int* pOutlen, \
         const IppsResamplingPolyphaseFixed_16s* pSpec), \
        (pSrc, len, pDst, norm, pTime, pOutlen, pSpec)) \
    X(IppStatus, ippsSet_16s, prefix, \
        (std::int16_t val, std::int16_t* pDst, int len), \
        (val, pDst, len))

/// The same for functions that are not exported: streams call them, which pack the filter bank once.
#define ZTA_IPP_INTERNAL_LIST(X, prefix) \
    X(void, ownPackFilterBank_16s, prefix, \
        (const IppsResamplingPolyphaseFixed_16s* pSpec, SZtaPackedFilterBank* pBank), \
        (pSpec, pBank))

/// The functions that only others of the same variant call. The columns are the same.
#define ZTA_IPP_VARIANT_ONLY_LIST(X, prefix) \
    X(IppStatus, ippsMulC_64f_I, prefix, (double val, double* pSrcDst, int len), (val, pSrcDst, len)) \
    X(double, ippsSinOne, prefix, (double x), (x)) \
    X(double, ippsSqrtOne, prefix, (double x), (x)) \
    X(IppStatus, ippsZero_64f, prefix, (double* pDst, int len), (pDst, len)) \
    X(void, ownsKaiserPrototypeDown, prefix, \
        (int M, int outRate, int halfLen, int N, double* pPrototype, double rollf, double alpha), \
        (M, outRate, halfLen, N, pPrototype, rollf, alpha)) \
    X(void, ownsKaiserPrototypeUp, prefix, \
        (int M, int outRate, int halfLen, int N, double* pPrototype, double rollf, double alpha), \
        (M, outRate, halfLen, N, pPrototype, rollf, alpha))

/// The dot products. The variants up to SSSE3 and the later ones have different functions. The columns are the same.
#define ZTA_IPP_DOT_PRODUCT_LIST(X) \
    X(void, ownDotProd16_16s64s_M7, m7, ZTA_IPP_DOT_16S, ) \
    X(void, ownDotProd16_16s64s_M7, n8, ZTA_IPP_DOT_16S, ) \
    X(void, ownDotProd16_16s64s, y8, ZTA_IPP_DOT_16S, ) \
    X(void, ownDotProd16_16s64s, e9, ZTA_IPP_DOT_16S, ) \
    X(void, ownDotProd16_16s64s, l9, ZTA_IPP_DOT_16S, ) \
    X(void, ownDotProd16_16s64s, n0, ZTA_IPP_DOT_16S, ) \
    X(void, ownDotProd16_16s64s, k0, ZTA_IPP_DOT_16S, ) \
    X(void, ownsDotProd_16s32f64f, y8, ZTA_IPP_DOT_32F, ) \
    X(void, ownsDotProd_16s32f64f, e9, ZTA_IPP_DOT_32F, ) \
    X(void, ownsDotProd_16s32f64f, l9, ZTA_IPP_DOT_32F, ) \
    X(void, ownsDotProd_16s32f64f, n0, ZTA_IPP_DOT_32F, ) \
    X(void, ownsDotProd_16s32f64f, k0, ZTA_IPP_DOT_32F, )
#define ZTA_IPP_DOT_16S (const std::int16_t* pSamples, const std::int16_t* pTaps, std::int64_t* pResult, int n)
#define ZTA_IPP_DOT_32F (const std::int16_t* pSamples, const float* pTaps, int n, double* pResult)

// clang-format on

extern "C" {
#define ZTA_IPP_DECLARE(result, name, prefix, parameters, arguments) ZTA_API result prefix##_##name parameters noexcept;
#define ZTA_IPP_DECLARE_INTERNAL(result, name, prefix, parameters, arguments)                                          \
    result prefix##_##name parameters noexcept;
#define ZTA_IPP_DECLARE_UNPREFIXED(result, name, prefix, parameters, arguments) result name parameters noexcept;
#define ZTA_IPP_DECLARE_VARIANT(argument, prefix, features)                                                            \
    ZTA_IPP_DISPATCHED_LIST(ZTA_IPP_DECLARE, prefix)                                                                   \
    ZTA_IPP_INTERNAL_LIST(ZTA_IPP_DECLARE_INTERNAL, prefix)                                                            \
    ZTA_IPP_VARIANT_ONLY_LIST(ZTA_IPP_DECLARE, prefix)
ZTA_IPP_DISPATCHED_LIST(ZTA_IPP_DECLARE, in)
ZTA_IPP_INTERNAL_LIST(ZTA_IPP_DECLARE_UNPREFIXED, )
ZTA_IPP_INTERNAL_LIST(ZTA_IPP_DECLARE_INTERNAL, in)
ZTA_IPP_VARIANT_LIST(ZTA_IPP_DECLARE_VARIANT, )
ZTA_IPP_DOT_PRODUCT_LIST(ZTA_IPP_DECLARE)
#undef ZTA_IPP_DECLARE_VARIANT
#undef ZTA_IPP_DECLARE_UNPREFIXED
#undef ZTA_IPP_DECLARE_INTERNAL
#undef ZTA_IPP_DECLARE
} // extern "C"
