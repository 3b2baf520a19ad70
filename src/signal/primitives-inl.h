/// The numeric and memory primitives. No operations are fused, so all variants give the same results.
#pragma once

#include "signal/functions.h"
#include "signal/samples-inl.h"
#include "signal/sine_table.h"
#include "signal/variant_name-inl.h"

#include <cstddef>
#include <cstdint>

#include <immintrin.h>

namespace {

// Vectors at any address.
using SampleVector [[gnu::vector_size(ZTA_IPP_VECTOR_BYTES), gnu::aligned(1), gnu::may_alias]] = std::int16_t;
using DoubleVector [[gnu::vector_size(ZTA_IPP_VECTOR_BYTES), gnu::aligned(1), gnu::may_alias]] = double;

constexpr int kSampleLanes = ZTA_IPP_VECTOR_BYTES / sizeof(std::int16_t);
constexpr int kDoubleLanes = ZTA_IPP_VECTOR_BYTES / sizeof(double);

/// The high 16 bits of a double hold sign, exponent and 4 bits of the fraction.
std::uint32_t AbsHighWord(double dValue) noexcept
{
    return static_cast<std::uint32_t>(__builtin_bit_cast(std::uint64_t, dValue) >> 48) & 0x7FFF;
}

/// The first 29 bits of a value.
double HighPart(double dValue) noexcept
{
    return __builtin_bit_cast(double, __builtin_bit_cast(std::uint64_t, dValue) & ~std::uint64_t{0xFFFFFF});
}

/// A sum and its rounding error.
struct SDoubleDouble {
    double dSum;
    double dError;
};

SDoubleDouble TwoSum(double dA, double dB) noexcept
{
    const double dSum = dA + dB;
    const double dShareOfB = dSum - dA;
    return {dSum, (dA - (dSum - dShareOfB)) + (dB - dShareOfB)};
}

} // namespace

unsigned char* ZTA_IPP(ippsMalloc_8u)(int len) noexcept
{
    return static_cast<unsigned char*>(ippMalloc(len));
}

void ZTA_IPP(ippsFree)(void* p) noexcept
{
    ippFree(p);
}

IppStatus ZTA_IPP(ippsSet_16s)(std::int16_t val, std::int16_t* pDst, int len) noexcept
{
    if (pDst == nullptr) {
        return ippStsNullPtrErr;
    }
    if (len < 1) {
        return ippStsSizeErr;
    }
    if (len < kSampleLanes) {
        for (int i = 0; i < len; ++i) {
            AtAnyAddress(pDst)[i] = val;
        }
        return ippStsNoErr;
    }
    const SampleVector vValue = SampleVector{} + val;
    const int iLast = len - kSampleLanes; // the last vector overlaps the one before it
    for (int i = 0; i < iLast; i += kSampleLanes) {
        *reinterpret_cast<SampleVector*>(pDst + i) = vValue;
    }
    *reinterpret_cast<SampleVector*>(pDst + iLast) = vValue;
    return ippStsNoErr;
}

IppStatus ZTA_IPP(ippsMove_16s)(const std::int16_t* pSrc, std::int16_t* pDst, int len) noexcept
{
    if (pSrc == nullptr || pDst == nullptr) {
        return ippStsNullPtrErr;
    }
    if (len < 1) {
        return ippStsSizeErr;
    }
    MoveSamples(pDst, pSrc, len);
    return ippStsNoErr;
}

IppStatus ZTA_IPP(ippsZero_64f)(double* pDst, int len) noexcept
{
    if (pDst == nullptr) {
        return ippStsNullPtrErr;
    }
    if (len < 1) {
        return ippStsSizeErr;
    }
    __builtin_memset(static_cast<void*>(pDst), 0, static_cast<std::size_t>(len) * sizeof(double));
    return ippStsNoErr;
}

IppStatus ZTA_IPP(ippsMulC_64f_I)(double val, double* pSrcDst, int len) noexcept
{
    if (pSrcDst == nullptr) {
        return ippStsNullPtrErr;
    }
    if (len < 1) {
        return ippStsSizeErr;
    }
    if (val == 1.0) {
        return ippStsNoErr;
    }
    if (val == 0.0) { // clears NaN and infinity, too
        return ZTA_IPP(ippsZero_64f)(pSrcDst, len);
    }
    int i = 0;
    for (; i <= len - kDoubleLanes; i += kDoubleLanes) {
        *reinterpret_cast<DoubleVector*>(pSrcDst + i) *= val;
    }
    for (; i < len; ++i) {
        AtAnyAddress(pSrcDst)[i] *= val;
    }
    return ippStsNoErr;
}

double ZTA_IPP(ippsSqrtOne)(double x) noexcept
{
    return _mm_cvtsd_f64(_mm_sqrt_pd(_mm_set1_pd(x)));
}

double ZTA_IPP(ippsSinOne)(double x) noexcept
{
    const std::uint32_t ulMagnitude = AbsHighWord(x);
    if (ulMagnitude < 0x3030) { // below 2^-252
        return x;
    }
    if (ulMagnitude >= 0x7FF0) { // infinity or NaN
        return x * -0.0;
    }
    if (ulMagnitude >= 0x40F6) { // 90112 and above: too large for the reduction below
        return __builtin_sin(x);
    }

    // x = iStep * pi / 32 + dR + dError. pi / 32 is the sum of three numbers, the first two so short that their
    // products with iStep are exact.
    const int iStep = static_cast<int>(x * 10.185916357881302 + (x < 0.0 ? -0.5 : 0.5));
    const double dStep = iStep;
    const double dCoarse = x - dStep * 0.09817477042088285;
    const SDoubleDouble sFine = TwoSum(dCoarse, -(dStep * 3.798187816439979e-12));
    const SDoubleDouble sReduced = TwoSum(sFine.dSum, sFine.dError - dStep * 1.2639164054974691e-22);
    const double dR = sReduced.dSum;
    const double dError = sReduced.dError;

    // The series without their first terms.
    const double dR2 = dR * dR;
    const double dSinMinusR = dR * dR2 * (-1.0 / 6 + dR2 * (1.0 / 120 + dR2 * (-1.0 / 5040 + dR2 * (1.0 / 362880))));
    const double dCosMinusOne = dR2 * (-1.0 / 2 + dR2 * (1.0 / 24 + dR2 * (-1.0 / 720 + dR2 * (1.0 / 40320))));

    // sin(a + r) = sin a cos r + cos a sin r. The two large terms are exact and summed exactly, the small ones follow
    // in one sum: the result is off by little more than its own rounding.
    const SZtaSinCos& rsAngle = g_sSineTable.asEntries[iStep & 63];
    const double dUpperR = HighPart(dR);
    const double dLowerR = (dR - dUpperR) + dError;
    const SDoubleDouble sLarge = TwoSum(rsAngle.dSin, rsAngle.dCos * dUpperR);
    const double dSmall = rsAngle.dCos * dSinMinusR + rsAngle.dSin * dCosMinusOne + rsAngle.dCos * dLowerR +
                          rsAngle.dCosLow * (dR + dSinMinusR) + rsAngle.dSinLow + sLarge.dError;
    return sLarge.dSum + dSmall;
}
