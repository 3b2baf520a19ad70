/// The filter bank: a long prototype filter, a Kaiser-windowed sinc, from which the taps of each phase are cut. The
/// order of operations is fixed and none are fused, so every variant builds the same block:
///
///     header | steps | row pointers | taps: phase 0, phase 1, ... | prototype | quantized prototype
///
/// Init uses the prototypes only to make the taps. With single-precision taps there is no quantized prototype, and the
/// prototype begins 8 bytes before the end of the taps.
#pragma once

#include "signal/filter_spec.h"
#include "signal/functions.h"
#include "signal/variant_name-inl.h"

#include <cstdint>

#include <immintrin.h>

namespace {

/// The sizes of one block.
struct SFilterBankLayout {
    std::int64_t llInRate;          ///< in lowest terms
    std::int64_t llOutRate;         ///< in lowest terms; also the number of phases
    std::int64_t llLength;          ///< the filter length, a multiple of four
    std::int64_t llStride;          ///< taps from one phase to the next
    std::int64_t llPrototypeLength; ///< coefficients of one half of the prototype, with its center
    std::int64_t llTapBytes;
    std::int64_t llStepBytes;       ///< of the step table
    std::int64_t llRowPointerBytes; ///< of the table of row pointers

    std::int64_t HalfLength() const { return llLength / 2; }
    bool HasFloatTaps() const { return llTapBytes == sizeof(float); }
    /// If this is false, all other sizes are below 2^40.
    bool ExceedsSizeLimit() const { return llPrototypeLength > 0x7FFFFFFF; }
    std::int64_t TapTableBytes() const { return llOutRate * llStride * llTapBytes; }
    /// Of the prototype and, for 16-bit taps, its quantized copy.
    std::int64_t PrototypeBytes() const
    {
        const std::int64_t llCoefficientBytes = HasFloatTaps() ? sizeof(double) : sizeof(double) + sizeof(std::int16_t);
        return llPrototypeLength * llCoefficientBytes;
    }
    std::int64_t BlockBytes(std::int64_t llTapTableBytes) const
    {
        const std::int64_t llHeaderBytes = sizeof(IppsResamplingPolyphaseFixed_16s);
        return llHeaderBytes + llStepBytes + llRowPointerBytes + llTapTableBytes + PrototypeBytes();
    }
};

/// The largest block. GetSize and Init count a few bytes differently, so one can accept what the other rejects.
constexpr std::int64_t kMaxBlockBytes = 0x7FFFFFFE;

/// With single-precision taps, the prototype overlaps the end of the taps by this many bytes.
constexpr std::int64_t kOverlapBytes = 8;

int GreatestCommonDivisor(int iA, int iB)
{
    while (iB != 0) {
        const int iRemainder = iA % iB;
        iA = iB;
        iB = iRemainder;
    }
    return iA;
}

/// Returns the number of coefficients of one half of the prototype. It is computed in single precision: the block of a
/// long filter lacks the coefficients that are lost to rounding.
std::int64_t PrototypeLength(int iInRate, int iOutRate, std::int64_t llLength)
{
    const double dRatio = static_cast<double>(iOutRate) / iInRate;
    const double dLength = static_cast<double>(llLength);
    const bool bDown = dRatio < 1.0;
    const float fHalfRate = 0.5f * static_cast<float>(bDown ? iInRate : iOutRate);
    const float fLength = static_cast<float>(bDown ? dLength * dRatio : dLength) + 1e-5f;
    return static_cast<std::int64_t>(fHalfRate * fLength) + 1;
}

SFilterBankLayout MakeLayout(int iInRate, int iOutRate, int iLength, IppHintAlgorithm eHint)
{
    const int iDivisor = GreatestCommonDivisor(iInRate, iOutRate);
    iInRate /= iDivisor;
    iOutRate /= iDivisor;
    const bool bSingle = eHint == ippAlgHintAccurate;
    const std::int64_t llRequested = iLength;

    SFilterBankLayout sLayout;
    sLayout.llInRate = iInRate;
    sLayout.llOutRate = iOutRate;
    sLayout.llLength = (llRequested + 3) & ~3;
    // From the requested length: if that is not a multiple of four, or, for 16-bit taps, 5 to 7 above a multiple of
    // eight, the additional tap of phase 0 and the first tap of phase 1 share their address.
    sLayout.llStride = bSingle ? (llRequested + 4) & ~3 : (llRequested + 8) & ~7;
    sLayout.llPrototypeLength = PrototypeLength(iInRate, iOutRate, sLayout.llLength);
    sLayout.llTapBytes = bSingle ? sizeof(float) : sizeof(std::int16_t);
    sLayout.llStepBytes = ((sLayout.llOutRate + 7) & ~7) * 2;
    sLayout.llRowPointerBytes = ((sLayout.llOutRate + 4) & ~3) * 8;
    return sLayout;
}

/// Returns the zeroth modified Bessel function of twice the argument; infinity on overflow, and NaN for NaN.
double BesselI0(double dHalf)
{
    double dSum = 1.0;
    double dTerm = 1.0;
    for (int k = 1; dTerm >= 1e-21 * dSum && dTerm < __builtin_inf(); ++k) {
        const double dQuotient = dHalf / k;
        dTerm *= dQuotient * dQuotient;
        dSum += dTerm;
    }
    return dSum;
}

/// Calls fnVisit(element, position) for each element of the prototype except the first. Positions count from the center
/// in units of 1 / iOutRate of an input sample. The elements are in the order of the phases, the outermost one is last.
template <typename Visit>
void ForEachCoefficient(int iOutRate, int iHalfLen, int iCoefficients, Visit fnVisit)
{
    const int iLast = iCoefficients - 1;
    int iElement = 0;
    for (int iPhase = 0; iPhase < iOutRate && iElement < iLast; ++iPhase) {
        std::int64_t llPosition = iPhase;
        for (int i = 0; i < iHalfLen && llPosition < iCoefficients && iElement < iLast; ++i) {
            if (iElement > 0) {
                fnVisit(iElement, llPosition);
            }
            ++iElement;
            llPosition += iOutRate;
        }
    }
    fnVisit(iLast, std::int64_t{iLast});
}

/// Computes the windowed sinc before normalization: iM positions from one zero to the next, more with a lower cutoff.
void DesignKaiserSinc(int iM, int iOutRate, int iHalfLen, int iCoefficients, double* pdPrototype, double dRollOff,
                      double dAlpha)
{
    const double dStep = 3.141592653589793 / iM;
    const double dInverse = 1.0 / BesselI0(dAlpha * 0.5);
    const double dWidth = 1.0 / (iCoefficients - 1);
    // Due to rounding there can be more coefficients than positions.
    ZTA_IPP(ippsZero_64f)(pdPrototype, iCoefficients);
    pdPrototype[0] = dRollOff;
    ForEachCoefficient(iOutRate, iHalfLen, iCoefficients, [=](int iElement, std::int64_t llPosition) {
        const double dPosition = static_cast<double>(llPosition);
        const double dSinc = ZTA_IPP(ippsSinOne)(dRollOff * dStep * dPosition) / (dPosition * dStep);
        const double dAt = dPosition * dWidth;
        const double dSquare = 1.0 - dAt * dAt;
        const double dRoot = dSquare > 0.0 ? ZTA_IPP(ippsSqrtOne)(dSquare) : 0.0;
        pdPrototype[iElement] = BesselI0(dRoot * dAlpha * 0.5) * dInverse * dSinc;
    });
}

void Normalize(double* pdPrototype, int iCoefficients, double dGain)
{
    ZTA_IPP(ippsMulC_64f_I)((pdPrototype[0] < 0.0 ? -1.0 : 1.0) / dGain, pdPrototype, iCoefficients);
}

std::int16_t QuantizeTap(double dTap)
{
    return static_cast<std::int16_t>(_mm_cvttsd_si32(_mm_set_sd(dTap > 0.0 ? dTap + 0.5 : dTap - 0.5)));
}

/// Single-precision taps overlap the prototype that they are read from, so each is written as bytes.
template <typename Tap>
void StoreTap(Tap* pRow, std::int64_t llIndex, Tap tap)
{
    __builtin_memcpy(pRow + llIndex, &tap, sizeof(tap));
}

/// Cuts the taps of each phase from the prototype. pElements has one element more than the prototype, a copy of its
/// last: the outer tap of phase 0, and the replacement of coefficients that are lost to rounding.
template <typename Tap, typename Element>
void FillPhases(const SFilterBankLayout& rsLayout, Tap* pRows, const Element* pElements)
{
    const std::int64_t llHalf = rsLayout.HalfLength();
    const std::int64_t llPrototypeLength = rsLayout.llPrototypeLength;
    const auto fnTap = [=](std::int64_t llElement) {
        return static_cast<Tap>(pElements[llElement < llPrototypeLength ? llElement : llPrototypeLength]);
    };

    StoreTap(pRows, llHalf, fnTap(0));
    for (std::int64_t k = 1; k < llHalf; ++k) {
        const Tap tap = fnTap(k);
        StoreTap(pRows, llHalf + k, tap);
        StoreTap(pRows, llHalf - k, tap);
    }
    const Tap outer = fnTap(llPrototypeLength);
    StoreTap(pRows, 0, outer);
    StoreTap(pRows, 2 * llHalf, outer);

    // The prototype is symmetric: its part p is the left half of phase p and, mirrored, the right half of the opposite
    // phase.
    std::int64_t llElement = llHalf;
    for (std::int64_t p = 1; p < rsLayout.llOutRate; ++p) {
        Tap* pRow = pRows + p * rsLayout.llStride;
        Tap* pOpposite = pRows + (rsLayout.llOutRate - p) * rsLayout.llStride;
        for (std::int64_t i = 0; i < llHalf; ++i) {
            const Tap tap = fnTap(llElement++);
            StoreTap(pOpposite, llHalf + i, tap);
            StoreTap(pRow, llHalf - 1 - i, tap);
        }
    }
}

/// Fills the table of input samples to advance after an output of each phase. Phase 0 begins one sample before the
/// others, so the step out of it is one longer and the step into it one shorter.
void FillSourceSteps(const SFilterBankLayout& rsLayout, std::int16_t* psSteps)
{
    const std::int64_t llOutRate = rsLayout.llOutRate;
    const std::int64_t llIntoZero = (llOutRate - rsLayout.llInRate % llOutRate) % llOutRate;
    for (std::int64_t p = 0; p < llOutRate; ++p) {
        const std::int64_t llStep = (p + rsLayout.llInRate) / llOutRate + (p == 0) - (p == llIntoZero);
        psSteps[p] = static_cast<std::int16_t>(llStep);
    }
}

/// The tables of a block.
struct SFilterBankTables {
    std::int16_t* psSteps;
    std::uint8_t** ppucRows; ///< the taps of each phase
    std::uint8_t* pucTaps;   ///< of type float or std::int16_t
    double* pdPrototype;
};

SFilterBankTables LocateTables(const SFilterBankLayout& rsLayout, IppsResamplingPolyphaseFixed_16s* psFilter)
{
    std::uint8_t* const pucSteps = reinterpret_cast<std::uint8_t*>(psFilter + 1);
    std::uint8_t* const pucRowPointers = pucSteps + rsLayout.llStepBytes;
    std::uint8_t* const pucTaps = pucRowPointers + rsLayout.llRowPointerBytes;
    std::uint8_t* const pucPrototype =
        pucTaps + rsLayout.TapTableBytes() - (rsLayout.HasFloatTaps() ? kOverlapBytes : 0);
    return {reinterpret_cast<std::int16_t*>(pucSteps), reinterpret_cast<std::uint8_t**>(pucRowPointers), pucTaps,
            reinterpret_cast<double*>(pucPrototype)};
}

void DesignPrototype(const SFilterBankLayout& rsLayout, double* pdPrototype, double dRollOff, double dAlpha)
{
    const int iInRate = static_cast<int>(rsLayout.llInRate);
    const int iOutRate = static_cast<int>(rsLayout.llOutRate);
    const int iHalfLen = static_cast<int>(rsLayout.HalfLength());
    const int iCoefficients = static_cast<int>(rsLayout.llPrototypeLength);
    if (iOutRate < iInRate) {
        ZTA_IPP(ownsKaiserPrototypeDown)(iInRate, iOutRate, iHalfLen, iCoefficients, pdPrototype, dRollOff, dAlpha);
    } else {
        ZTA_IPP(ownsKaiserPrototypeUp)(iOutRate, iOutRate, iHalfLen, iCoefficients, pdPrototype, dRollOff, dAlpha);
    }
}

void FillFloatTaps(const SFilterBankLayout& rsLayout, const SFilterBankTables& rsTables)
{
    const int iCoefficients = static_cast<int>(rsLayout.llPrototypeLength);
    rsTables.pdPrototype[iCoefficients] = rsTables.pdPrototype[iCoefficients - 1];
    FillPhases(rsLayout, reinterpret_cast<float*>(rsTables.pucTaps), rsTables.pdPrototype);
}

/// Quantizes the prototype in units of 2^-14.
void FillInt16Taps(const SFilterBankLayout& rsLayout, const SFilterBankTables& rsTables)
{
    const int iCoefficients = static_cast<int>(rsLayout.llPrototypeLength);
    std::int16_t* const psQuantized = reinterpret_cast<std::int16_t*>(rsTables.pdPrototype + iCoefficients);
    ZTA_IPP(ippsMulC_64f_I)(16384.0, rsTables.pdPrototype, iCoefficients);
    for (int i = 0; i < iCoefficients; ++i) {
        psQuantized[i] = QuantizeTap(rsTables.pdPrototype[i]);
    }
    psQuantized[iCoefficients] = psQuantized[iCoefficients - 1];
    FillPhases(rsLayout, reinterpret_cast<std::int16_t*>(rsTables.pucTaps), psQuantized);
}

} // namespace

/// For output rates at or above the input rate: normalizes the gain of phase 0 to 1.
extern "C" void ZTA_IPP(ownsKaiserPrototypeUp)(int M, int outRate, int halfLen, int N, double* pPrototype, double rollf,
                                               double alpha) noexcept
{
    DesignKaiserSinc(M, outRate, halfLen, N, pPrototype, rollf, alpha);
    double dSum = 0.0;
    for (int i = 1; i < halfLen && i < N; ++i) {
        dSum += pPrototype[i];
    }
    Normalize(pPrototype, N, pPrototype[0] + 2.0 * dSum + 2.0 * pPrototype[N - 1]);
}

/// For output rates below the input rate: normalizes the gain over the grid of the output rate to 1.
extern "C" void ZTA_IPP(ownsKaiserPrototypeDown)(int M, int outRate, int halfLen, int N, double* pPrototype,
                                                 double rollf, double alpha) noexcept
{
    DesignKaiserSinc(M, outRate, halfLen, N, pPrototype, rollf, alpha);
    double dSum = 0.0;
    ForEachCoefficient(outRate, halfLen, N, [=, &dSum](int iElement, std::int64_t llPosition) {
        if (llPosition % M == 0) {
            dSum += pPrototype[iElement];
        }
    });
    Normalize(pPrototype, N, pPrototype[0] + 2.0 * dSum);
}

extern "C" IppStatus ZTA_IPP(ippsResamplePolyphaseFixedGetSize_16s)(int inRate, int outRate, int len, int* pSize,
                                                                    int* pLen, int* pHeight,
                                                                    IppHintAlgorithm hint) noexcept
{
    if (pSize == nullptr || pLen == nullptr || pHeight == nullptr) {
        return ippStsNullPtrErr;
    }
    if (inRate < 1 || outRate < 1 || len < 1) {
        return ippStsSizeErr;
    }
    const SFilterBankLayout sLayout = MakeLayout(inRate, outRate, len, hint);
    if (sLayout.ExceedsSizeLimit()) {
        return ippStsBadArgErr;
    }
    // This product has 32 bits. If it wraps, the size is meaningless, and Init, which uses 64 bits, fails.
    const std::int64_t llTaps = static_cast<std::int32_t>(sLayout.llOutRate * sLayout.llStride);
    // 16-bit taps: the last quantized coefficient is stored twice, and 8 bytes are spare.
    const std::int64_t llMoreBytes = sLayout.HasFloatTaps() ? 0 : sizeof(std::int16_t) + 8;
    const std::int64_t llSize = sLayout.BlockBytes(llTaps * sLayout.llTapBytes) + llMoreBytes;
    if (llSize > kMaxBlockBytes) {
        return ippStsBadArgErr;
    }
    *pSize = static_cast<int>(llSize);
    *pLen = static_cast<int>(sLayout.llLength);
    *pHeight = static_cast<int>(sLayout.llOutRate);
    return ippStsNoErr;
}

extern "C" IppStatus ZTA_IPP(ippsResamplePolyphaseFixedInit_16s)(int inRate, int outRate, int len, float rollf,
                                                                 float alpha, IppsResamplingPolyphaseFixed_16s* pSpec,
                                                                 IppHintAlgorithm hint) noexcept
{
    if (pSpec == nullptr) {
        return ippStsNullPtrErr;
    }
    if (inRate < 1 || outRate < 1 || len < 1) {
        return ippStsSizeErr;
    }
    if (rollf <= 0.0f || rollf > 1.0f || alpha < 1.0f) {
        return ippStsBadArgErr;
    }
    const SFilterBankLayout sLayout = MakeLayout(inRate, outRate, len, hint);
    if (sLayout.ExceedsSizeLimit()) {
        return ippStsBadArgErr;
    }
    const bool bFloat = sLayout.HasFloatTaps();
    if (sLayout.BlockBytes(sLayout.TapTableBytes()) - (bFloat ? kOverlapBytes : 0) > kMaxBlockBytes) {
        return ippStsBadArgErr;
    }

    const SFilterBankTables sTables = LocateTables(sLayout, pSpec);
    DesignPrototype(sLayout, sTables.pdPrototype, rollf, alpha);
    FillSourceSteps(sLayout, sTables.psSteps);
    for (std::int64_t p = 0; p < sLayout.llOutRate; ++p) {
        sTables.ppucRows[p] = sTables.pucTaps + p * sLayout.llStride * sLayout.llTapBytes;
    }
    if (bFloat) {
        FillFloatTaps(sLayout, sTables);
    } else {
        FillInt16Taps(sLayout, sTables);
        pSpec->reserved = 0;
    }

    pSpec->inRate = static_cast<int>(sLayout.llInRate);
    pSpec->outRate = static_cast<int>(sLayout.llOutRate);
    pSpec->tapScale = bFloat ? 1.0f : 0x1p-14f;
    pSpec->halfLen = static_cast<int>(sLayout.HalfLength());
    pSpec->tapKind = bFloat ? 1 : 2;
    pSpec->pStep = sTables.psSteps;
    pSpec->pRows = reinterpret_cast<void**>(sTables.ppucRows);
    pSpec->ulPackedBankKey = 0;
    return ippStsNoErr;
}
