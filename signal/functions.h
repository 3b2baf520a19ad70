/// All functions of the signal library that exist once for each build, and their declarations: m7_ippsSet_16s and so
/// on.
#pragma once

#include "signal/variant_list.h"

#include <zta/ipp.h>

// clang-format off

/// The functions behind a public one of the same name, which leads to the selected build:
/// ROW(result, name, prefix, parameters, arguments). The prefix is handed through.
#define ZTA_IPP_DISPATCHED_LIST(ROW, prefix) \
    ROW(void, ippsFree, prefix, (void* p), (p)) \
    ROW(unsigned char*, ippsMalloc_8u, prefix, (int len), (len)) \
    ROW(IppStatus, ippsMove_16s, prefix, \
        (const std::int16_t* pSrc, std::int16_t* pDst, int len), \
        (pSrc, pDst, len)) \
    ROW(IppStatus, ippsResamplePolyphaseFixedGetSize_16s, prefix, \
        (int inRate, int outRate, int len, int* pSize, int* pLen, int* pHeight, IppHintAlgorithm hint), \
        (inRate, outRate, len, pSize, pLen, pHeight, hint)) \
    ROW(IppStatus, ippsResamplePolyphaseFixedInit_16s, prefix, \
        (int inRate, int outRate, int len, float rollf, float alpha, IppsResamplingPolyphaseFixed_16s* pSpec, \
         IppHintAlgorithm hint), \
        (inRate, outRate, len, rollf, alpha, pSpec, hint)) \
    ROW(IppStatus, ippsResamplePolyphaseFixed_16s, prefix, \
        (const std::int16_t* pSrc, int len, std::int16_t* pDst, float norm, double* pTime, int* pOutlen, \
         const IppsResamplingPolyphaseFixed_16s* pSpec), \
        (pSrc, len, pDst, norm, pTime, pOutlen, pSpec)) \
    ROW(IppStatus, ippsSet_16s, prefix, \
        (std::int16_t val, std::int16_t* pDst, int len), \
        (val, pDst, len))

/// The functions that only others of the same build call: the same columns
#define ZTA_IPP_INNER_LIST(ROW, prefix) \
    ROW(IppStatus, ippsMulC_64f_I, prefix, (double val, double* pSrcDst, int len), (val, pSrcDst, len)) \
    ROW(double, ippsSinOne, prefix, (double x), (x)) \
    ROW(double, ippsSqrtOne, prefix, (double x), (x)) \
    ROW(IppStatus, ippsZero_64f, prefix, (double* pDst, int len), (pDst, len))

// clang-format on

extern "C" {
#define ZTA_IPP_DECLARE(result, name, prefix, parameters, arguments) ZTA_API result prefix##_##name parameters noexcept;
#define ZTA_IPP_DECLARE_VARIANT(argument, prefix, features, options)                                                   \
    ZTA_IPP_DISPATCHED_LIST(ZTA_IPP_DECLARE, prefix)                                                                   \
    ZTA_IPP_INNER_LIST(ZTA_IPP_DECLARE, prefix)
ZTA_IPP_DISPATCHED_LIST(ZTA_IPP_DECLARE, in)
ZTA_IPP_VARIANT_LIST(ZTA_IPP_DECLARE_VARIANT, )
#undef ZTA_IPP_DECLARE_VARIANT
#undef ZTA_IPP_DECLARE
} // extern "C"
