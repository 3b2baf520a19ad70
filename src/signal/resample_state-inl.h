/// The state of one resample call, and the arithmetic of positions.
///
/// A position counts in units of 1 / outRate of an input sample, in 64 bits, so that a long stream does not overflow
/// it. Its remainder modulo outRate is the phase, which selects the taps; each output advances it by inRate.
///
///     input     |        |        |        |        |      one unit of time per sample
///     phases    0 1 2 .. 0 1 2 .. 0 1 2 .. 0 1 2 ..        outRate positions per sample
///     outputs         ^        ^        ^                  inRate positions apart
///
/// An output at phase p of sample s uses the taps s - halfLen + 1 to s + halfLen; at phase 0 also s - halfLen.
#pragma once

#include "signal/filter_spec.h"

#include <cstdint>

#include <immintrin.h>

namespace {

/// Adds two phases. Both are below the rate, so a comparison replaces the division.
inline unsigned int AddModuloRate(unsigned int uiA, unsigned int uiB, unsigned int uiRate)
{
    const unsigned int uiSum = uiA + uiB;
    return uiSum >= uiRate ? uiSum - uiRate : uiSum;
}

/// Returns the distance of an output's phase to that of the next output.
inline unsigned int PhaseStep(const IppsResamplingPolyphaseFixed_16s& rsFilter)
{
    return static_cast<unsigned int>(rsFilter.inRate) % static_cast<unsigned int>(rsFilter.outRate);
}

inline bool HasFloatTaps(const IppsResamplingPolyphaseFixed_16s& rsFilter)
{
    return (rsFilter.tapKind & 1) != 0;
}

/// A resample call. The vector and the scalar path advance a copy of it from output to output.
struct SResampleState {
    const IppsResamplingPolyphaseFixed_16s* psFilter;
    const std::int16_t* psSource; ///< the first sample of the next output
    const std::int16_t* psEnd;    ///< one past the last sample of the last output
    std::int16_t* psOutput;
    unsigned int uiPhase; ///< of the next output
    double dGain;
    long lCount; ///< outputs that remain

    /// Without the additional tap of phase 0.
    int TapCount() const { return 2 * psFilter->halfLen; }

    unsigned int PhaseAhead(unsigned int uiAhead) const
    {
        return AddModuloRate(uiPhase, uiAhead, static_cast<unsigned int>(psFilter->outRate));
    }
};

/// Truncates a time to its input sample.
inline int SampleIndex(double dTime)
{
    return _mm_cvttsd_si32(_mm_set_sd(dTime));
}

inline SResampleState BeginResampling(const std::int16_t* psSource, int iLen, std::int16_t* psOutput, float fNorm,
                                      double dTime, const IppsResamplingPolyphaseFixed_16s& rsFilter)
{
    const std::int64_t llInRate = rsFilter.inRate;
    const std::int64_t llOutRate = rsFilter.outRate;
    const int iIndex = SampleIndex(dTime);
    // The nearest phase can belong to the next sample, and before the origin to the previous one.
    const int iNearest = SampleIndex(rsFilter.outRate * (dTime - iIndex) + 0.5);
    std::int64_t llPhase = iNearest;
    if (iNearest < 0 || iNearest >= rsFilter.outRate) {
        llPhase %= llOutRate;
        llPhase += llPhase < 0 ? llOutRate : 0;
    }
    const std::int64_t llSample = iIndex + (iNearest == llPhase ? 0 : (iNearest - llPhase) / llOutRate);
    const std::int64_t llBegin = iIndex * llOutRate + iNearest;
    const std::int64_t llEnd = (std::int64_t{iIndex} + iLen) * llOutRate;
    const std::int64_t llCount = llBegin < llEnd ? (llEnd - llBegin + llInRate - 1) / llInRate : 0;
    // The distance from the last output to the last position. The samples of an output end at the same distance from
    // its whole position for every phase, also for phase 0, which begins one sample earlier.
    const std::int64_t llLastAhead = llEnd - 1 - (llBegin + (llCount - 1) * llInRate);
    const double dRatio = llOutRate < llInRate ? static_cast<double>(llOutRate) / static_cast<double>(llInRate) : 1.0;

    SResampleState sState;
    sState.psFilter = &rsFilter;
    sState.psSource = psSource + llSample + (llPhase == 0 ? 0 : 1) - rsFilter.halfLen;
    sState.psEnd = psSource + iIndex + iLen + rsFilter.halfLen - llLastAhead / llOutRate;
    sState.psOutput = psOutput;
    sState.uiPhase = static_cast<unsigned int>(llPhase);
    sState.dGain = static_cast<double>(fNorm) * static_cast<double>(rsFilter.tapScale) * dRatio;
    sState.lCount = llCount;
    return sState;
}

/// Returns the time of the output after lOutputs outputs. The rounding to a phase does not enter it, so it does not
/// drift.
inline double TimeAfter(double dTime, long lOutputs, const IppsResamplingPolyphaseFixed_16s& rsFilter)
{
    const int iIndex = SampleIndex(dTime);
    const std::int64_t llPosition = std::int64_t{iIndex} * rsFilter.outRate + lOutputs * rsFilter.inRate;
    return (dTime - iIndex) + static_cast<double>(llPosition) / static_cast<double>(rsFilter.outRate);
}

} // namespace
