/// The run through a stretch of samples: for each output the row of taps of its phase times the samples around it.
///
/// With 16-bit taps several outputs are worked out abreast. Their sums are exact, so their order is free, and a row can
/// be taken in whatever pieces the vectors have. Nothing is read beside the samples that belong to an output.
#include "signal/packed_filter_bank.h"
#include "signal/samples-inl.h"

#if defined(__AVX512BW__)
#include "signal/fir_simd_avx512-inl.h"
#elif defined(__AVX2__)
#include "signal/fir_simd_avx2-inl.h"
#else
#include "signal/fir_simd_sse2-inl.h"
#endif

namespace {

/// The products of two neighbours are added in 32 bits by one instruction. That is exact but for samples and taps that
/// are both -32768, and no filter has a tap above 16384. From there on come the two kinds of sums below.

/// Sums of 32 bits, for rows whose taps are up to 65535 together: with samples of up to 32768 no part of such a sum, in
/// whatever order it is added up, comes to 2^31.
struct Int32Accumulator {
    FirSimd::IntVector avSums[FirSimd::kParallelOutputs];

    void Add(int k, FirSimd::IntVector vPairs) { avSums[k] = FirSimd::Add(avSums[k], vPairs); }
    FirSimd::VecF64 SumsAsDoubles() const { return FirSimd::ToDoubles(FirSimd::HorizontalSums(avSums)); }
};

/// Sums of 48 bits, of up to 32767 pairs. The high halves of the pairs are added up beside the pairs: they cannot pass
/// 2^30. The pairs themselves wrap, but less all high halves they are the low halves, none of them negative, which
/// stay below 32767 * 65536, and so are right again.
struct Int48Accumulator {
    static constexpr int kiMaxPairs = 32767;

    FirSimd::IntVector avSums[FirSimd::kParallelOutputs];
    FirSimd::IntVector avHigh[FirSimd::kParallelOutputs];

    void Add(int k, FirSimd::IntVector vPairs)
    {
        avSums[k] = FirSimd::Add(avSums[k], vPairs);
        avHigh[k] = FirSimd::Add(avHigh[k], FirSimd::HighHalves(vPairs));
    }

    FirSimd::VecF64 SumsAsDoubles() const
    {
        const FirSimd::Sums vHigh = FirSimd::HorizontalSums(avHigh);
        const FirSimd::Sums vLow = FirSimd::LowHalves(FirSimd::HorizontalSums(avSums), vHigh);
        return FirSimd::MulAdd(FirSimd::ToDoubles(vHigh), 65536.0, FirSimd::ToDoubles(vLow));
    }

    std::int64_t FirstSum() const
    {
        const FirSimd::Sums vHigh = FirSimd::HorizontalSums(avHigh);
        int aiHigh[FirSimd::kParallelOutputs];
        int aiLow[FirSimd::kParallelOutputs];
        FirSimd::Store(vHigh, aiHigh);
        FirSimd::Store(FirSimd::LowHalves(FirSimd::HorizontalSums(avSums), vHigh), aiLow);
        return std::int64_t{aiHigh[0]} * 65536 + aiLow[0];
    }
};

/// Some of a row's taps or samples: as many as the vectors hold, or a lesser multiple of four.
inline FirSimd::IntVector LoadTaps(const std::int16_t* ps, int iCount)
{
    return iCount >= FirSimd::kTapsPerVector ? FirSimd::Load(ps) : FirSimd::LoadPartial(ps, iCount);
}

/// Adds a row, whose taps are a multiple of four, to sum k.
template <typename Sums>
inline void AccumulateProducts(Sums& rsSums, int k, const std::int16_t* psSamples, const std::int16_t* psTaps,
                               int iTaps)
{
    for (int i = 0; i < iTaps; i += FirSimd::kTapsPerVector) {
        rsSums.Add(k, FirSimd::MulAddPairs(LoadTaps(psTaps + i, iTaps - i), LoadTaps(psSamples + i, iTaps - i)));
    }
}

/// Both phases lie below the rate, so one subtraction takes the place of the division.
inline unsigned int AddModuloRate(unsigned int uiA, unsigned int uiB, unsigned int uiRate)
{
    const unsigned int uiSum = uiA + uiB;
    return uiSum >= uiRate ? uiSum - uiRate : uiSum;
}

/// What one call works on.
struct SResampleState {
    const IppsResamplingPolyphaseFixed_16s* psFilter;
    const std::int16_t* psSource; ///< the first sample of the next output's row
    const std::int16_t* psEnd;    ///< behind the last sample of the last output's row
    std::int16_t* psOutput;
    unsigned int uiPhase; ///< of the next output
    double dGain;
    long lCount; ///< outputs to come

    int TapCount() const { return 2 * psFilter->halfLen; }

    unsigned int PhaseAhead(unsigned int uiAhead) const
    {
        return AddModuloRate(uiPhase, uiAhead, static_cast<unsigned int>(psFilter->outRate));
    }
};

/// Sums in units of 2^-14 where 48000 Hz become 44100. A product that is no half is at least 2^-22 away from one, so a
/// gain that is larger by less than that moves halves away from 0 and nothing else across one: rounded to the nearest,
/// all products are what RoundToInt16 makes of those by the true gain.
struct BiasedGain {
    static constexpr double kdGain = 0x1p-14 * (147.0 / 160.0);
    static constexpr double kBiasedGain = kdGain * (1 + 0x1p-40);

    /// What makes a word without a sign, below an upper word of 0, a double of kInt32ToDoubleBias more.
    static constexpr std::int64_t kInt32ToDoubleBits = 0x4330'0000'8000'0000;
    static constexpr double kInt32ToDoubleBias = 0x1p52 + 0x1p31;
    /// What is added to this ends up as an integer in the lower word.
    static constexpr double kRoundingMagic = 0x1.8p52;
};

} // namespace

#if defined(__AVX512BW__)
#include "signal/resample_packed_avx512-inl.h"
#elif defined(__AVX2__)
#include "signal/resample_packed_avx2-inl.h"
#endif
#if defined(__AVX2__)
#include "signal/resample_packed-inl.h"
#else
#include "signal/resample_packed_none-inl.h"
#endif

namespace {

/// The next outputs of a run, as many as the vectors hold, or fewer at its end.
template <typename Sums, int iFixedTaps, bool bAll>
[[gnu::always_inline]] inline void ResampleGroup(SResampleState& rsRun,
                                                 const unsigned int (&raAhead)[FirSimd::kParallelOutputs + 1])
{
    Sums sSums{};
    const int iTaps = iFixedTaps != 0 ? iFixedTaps : rsRun.TapCount();
    for (int k = 0; k < FirSimd::kParallelOutputs; ++k) {
        if (!bAll && k >= rsRun.lCount) {
            break;
        }
        const unsigned int uiPhase = rsRun.PhaseAhead(raAhead[k]);
        const auto* psTaps = static_cast<const std::int16_t*>(rsRun.psFilter->pRows[uiPhase]);
        AccumulateProducts(sSums, k, rsRun.psSource, psTaps, iTaps);
        if (uiPhase == 0) {
            sSums.Add(k, FirSimd::FromInt(AtAnyAddress(rsRun.psSource)[iTaps] * psTaps[iTaps]));
        }
        rsRun.psSource += rsRun.psFilter->pStep[uiPhase];
    }
    if (bAll) {
        FirSimd::RoundAndStore(sSums.SumsAsDoubles(), rsRun.dGain, rsRun.psOutput);
        rsRun.psOutput += FirSimd::kParallelOutputs;
        rsRun.lCount -= FirSimd::kParallelOutputs;
        rsRun.uiPhase = rsRun.PhaseAhead(raAhead[FirSimd::kParallelOutputs]);
    } else {
        std::int16_t asOutputs[FirSimd::kParallelOutputs];
        FirSimd::RoundAndStore(sSums.SumsAsDoubles(), rsRun.dGain, asOutputs);
        CopySamples(rsRun.psOutput, asOutputs, rsRun.lCount);
    }
}

template <typename Sums, int iFixedTaps>
void ResampleInParallel(SResampleState sRun)
{
    // How far the phase of each output of a group lies ahead of the first one's.
    unsigned int auiAhead[FirSimd::kParallelOutputs + 1] = {};
    const unsigned int uiRate = static_cast<unsigned int>(sRun.psFilter->outRate);
    const unsigned int uiStep = static_cast<unsigned int>(sRun.psFilter->inRate) % uiRate;
    for (int k = 0; k < FirSimd::kParallelOutputs; ++k) {
        auiAhead[k + 1] = AddModuloRate(auiAhead[k], uiStep, uiRate);
    }
    while (sRun.lCount >= FirSimd::kParallelOutputs) {
        ResampleGroup<Sums, iFixedTaps, true>(sRun, auiAhead);
    }
    ResampleGroup<Sums, iFixedTaps, false>(sRun, auiAhead);
}

/// The filter length of the resampler has loops of its own.
template <typename Sums>
void DispatchOnTapCount(const SResampleState& rsRun)
{
    if (rsRun.TapCount() == 32) {
        ResampleInParallel<Sums, 32>(rsRun);
    } else {
        ResampleInParallel<Sums, 0>(rsRun);
    }
}

/// Whether all rows allow Int32Accumulator: whether even a row of the largest tap at each place would.
bool FitsInt32Accumulator(const IppsResamplingPolyphaseFixed_16s& rsFilter)
{
    const int iTaps = 2 * rsFilter.halfLen;
    Int32Accumulator sSums{};
    for (int i = 0; i < iTaps; i += FirSimd::kTapsPerVector) {
        FirSimd::IntVector vLargest{};
        for (int p = 0; p < rsFilter.outRate; ++p) {
            const auto* psTaps = static_cast<const std::int16_t*>(rsFilter.pRows[p]) + i;
            vLargest = FirSimd::Max(vLargest, FirSimd::Abs(LoadTaps(psTaps, iTaps - i)));
        }
        sSums.Add(0, FirSimd::MulAddPairs(vLargest, FirSimd::Ones()));
    }
    int aiSums[FirSimd::kParallelOutputs];
    FirSimd::Store(FirSimd::HorizontalSums(sSums.avSums), aiSums);
    const int iOuterTap = static_cast<const std::int16_t*>(rsFilter.pRows[0])[iTaps];
    const int iSlack = iTaps; // the magnitude of -32768 comes out as 32767
    return aiSums[0] + (iOuterTap < 0 ? -iOuterTap : iOuterTap) + iSlack <= 65535;
}

std::int16_t RoundToInt16(double dValue)
{
    // Not a number ends at -32768, as it does for the vectors.
    const double dClamped = dValue > 32767.0 ? 32767.0 : dValue < -32768.0 ? -32768.0 : dValue;
    const __m128i vWord = _mm_cvtsi32_si128(_mm_cvttsd_si32(_mm_set_sd(dClamped + (dClamped >= 0.0 ? 0.5 : -0.5))));
    return static_cast<std::int16_t>(_mm_cvtsi128_si32(_mm_packs_epi32(vWord, vWord)));
}

/// One output after the other, each with its sum from fnSum(samples, taps, count).
template <typename Sum>
void ResampleScalar(SResampleState sRun, Sum fnSum)
{
    const unsigned int uiAhead = static_cast<unsigned int>(sRun.psFilter->inRate % sRun.psFilter->outRate);
    for (; sRun.lCount > 0; --sRun.lCount) {
        const double dSum =
            fnSum(sRun.psSource, sRun.psFilter->pRows[sRun.uiPhase], sRun.TapCount() + (sRun.uiPhase == 0 ? 1 : 0));
        *AtAnyAddress(sRun.psOutput++) = RoundToInt16(dSum * sRun.dGain);
        sRun.psSource += sRun.psFilter->pStep[sRun.uiPhase];
        sRun.uiPhase = sRun.PhaseAhead(uiAhead);
    }
}

} // namespace

/// The builds up to SSSE3 and those after them know their sums by different names, and with single-precision taps round
/// them differently.
#if defined(__SSE4_2__)
#define ZTA_IPP_DOT_PRODUCT ZTA_IPP(ownDotProd16_16s64s)
#else
#define ZTA_IPP_DOT_PRODUCT ZTA_IPP(ownDotProd16_16s64s_M7)
#endif

extern "C" void ZTA_IPP_DOT_PRODUCT(const std::int16_t* pSamples, const std::int16_t* pTaps, std::int64_t* pResult,
                                    int n) noexcept
{
    constexpr int kiBlock = 2 * Int48Accumulator::kiMaxPairs / FirSimd::kTapsPerVector * FirSimd::kTapsPerVector;
    std::int64_t llSum = 0;
    for (; n > 0 && n % 4 != 0; --n) {
        llSum += std::int64_t{AtAnyAddress(pSamples)[n - 1]} * AtAnyAddress(pTaps)[n - 1];
    }
    while (n > 0) {
        const int iTaps = n < kiBlock ? n : kiBlock;
        Int48Accumulator sSums{};
        AccumulateProducts(sSums, 0, pSamples, pTaps, iTaps);
        llSum += sSums.FirstSum();
        pSamples += iTaps;
        pTaps += iTaps;
        n -= iTaps;
    }
    *pResult = llSum;
}

#if defined(__SSE4_2__)
/// Products are rounded to float, but for those of the last pair and the last single sample.
extern "C" void ZTA_IPP(ownsDotProd_16s32f64f)(const std::int16_t* pSamples, const float* pTaps, int n,
                                               double* pResult) noexcept
{
    const UnalignedSample* const psSamples = AtAnyAddress(pSamples);
    const UnalignedFloat* const pfTaps = AtAnyAddress(pTaps);
    double adSums[4] = {};
    int i = 0;
    for (; i + 4 <= n; i += 4) {
        for (int k = 0; k < 4; ++k) {
            adSums[k] += static_cast<double>(static_cast<float>(psSamples[i + k]) * pfTaps[i + k]);
        }
    }
    if (i + 2 <= n) {
        adSums[0] += static_cast<double>(psSamples[i]) * static_cast<double>(pfTaps[i]);
        adSums[1] += static_cast<double>(psSamples[i + 1]) * static_cast<double>(pfTaps[i + 1]);
        i += 2;
    }
    if (i < n) {
        adSums[0] += static_cast<double>(psSamples[i]) * static_cast<double>(pfTaps[i]);
    }
    *pResult = (adSums[0] + adSums[2]) + (adSums[1] + adSums[3]);
}
#endif

namespace {

double DotProductFloat(const std::int16_t* psSamples, const void* pTaps, int iTaps)
{
    const float* pfTaps = static_cast<const float*>(pTaps);
#if defined(__SSE4_2__)
    double dSum;
    ZTA_IPP(ownsDotProd_16s32f64f)(psSamples, pfTaps, iTaps, &dSum);
    return dSum;
#else
    double adSums[2] = {};
    for (int i = 0; i < iTaps; ++i) {
        adSums[i % 2] += static_cast<double>(static_cast<float>(AtAnyAddress(psSamples)[i]) * AtAnyAddress(pfTaps)[i]);
    }
    return static_cast<double>(static_cast<float>(adSums[0] + adSums[1]));
#endif
}

double DotProductInt64(const std::int16_t* psSamples, const void* pTaps, int iTaps)
{
    std::int64_t llSum;
    ZTA_IPP_DOT_PRODUCT(psSamples, static_cast<const std::int16_t*>(pTaps), &llSum, iTaps);
    return static_cast<double>(llSum);
}

/// Prepares the rows for one long run alone, on the stack. Inline by name only: so it is left out where nothing calls
/// it.
[[gnu::noinline]] inline bool PackAndResample(const SResampleState& rsRun)
{
    SZtaPackedFilterBank sRows;
    PackedResampler::PackFilterBank(*rsRun.psFilter, 1, sRows);
    if (sRows.lGroups == 0) {
        return false;
    }
    PackedResampler::Resample(sRows, rsRun);
    return true;
}

/// Rows that are empty are not prepared here: whoever has them may have a small stack.
void ResampleAll(const SResampleState& rsRun, const SZtaPackedFilterBank* psRows)
{
    const IppsResamplingPolyphaseFixed_16s& rsFilter = *rsRun.psFilter;
    const bool bCanPack = PackedResampler::kIsSupported && PackedResampler::SupportsGain(rsRun);
    const bool bMayPrepareHere =
        bCanPack && psRows == nullptr && rsRun.lCount >= PackedResampler::kBreakEvenPeriods * rsFilter.outRate;
    if (bCanPack && psRows != nullptr && psRows->lGroups != 0) {
        PackedResampler::Resample(*psRows, rsRun);
    } else if ((rsFilter.tapKind & 1) != 0) {
        ResampleScalar(rsRun, DotProductFloat);
    } else if (bMayPrepareHere && PackAndResample(rsRun)) {
        return;
    } else if (rsFilter.halfLen >= Int48Accumulator::kiMaxPairs) {
        ResampleScalar(rsRun, DotProductInt64);
    } else if (rsRun.lCount >= 2L * rsFilter.outRate && FitsInt32Accumulator(rsFilter)) {
        // To look through all rows takes less than wide sums do, once each row is used about twice.
        DispatchOnTapCount<Int32Accumulator>(rsRun);
    } else {
        DispatchOnTapCount<Int48Accumulator>(rsRun);
    }
}

} // namespace

extern "C" void ZTA_IPP(ownPackFilterBank_16s)(const IppsResamplingPolyphaseFixed_16s* pSpec,
                                               SZtaPackedFilterBank* pRows) noexcept
{
    pRows->lGroups = 0;
    if ((pSpec->tapKind & 1) == 0) {
        PackedResampler::PackFilterBank(*pSpec, SZtaPackedFilterBank::kMaxPeriods, *pRows);
    }
}

extern "C" IppStatus ZTA_IPP(ippsResamplePolyphaseFixed_16s)(const std::int16_t* pSrc, int len, std::int16_t* pDst,
                                                             float norm, double* pTime, int* pOutlen,
                                                             const IppsResamplingPolyphaseFixed_16s* pSpec) noexcept
{
    return ZTA_IPP(ownResamplePacked_16s)(pSrc, len, pDst, norm, pTime, pOutlen, pSpec, nullptr);
}

extern "C" IppStatus ZTA_IPP(ownResamplePacked_16s)(const std::int16_t* pSrc, int len, std::int16_t* pDst, float norm,
                                                    double* pTime, int* pOutlen,
                                                    const IppsResamplingPolyphaseFixed_16s* pSpec,
                                                    const SZtaPackedFilterBank* pRows) noexcept
{
    if (pSpec == nullptr || pSrc == nullptr || pDst == nullptr || pOutlen == nullptr || pTime == nullptr) {
        return ippStsNullPtrErr;
    }
    if (len < 1) {
        return ippStsSizeErr;
    }
    const std::int64_t llInRate = pSpec->inRate;
    const std::int64_t llOutRate = pSpec->outRate;
    const int iIndex = _mm_cvttsd_si32(_mm_set_sd(*pTime));
    const double dFraction = *pTime - iIndex;
    const double dRatio = pSpec->outRate < pSpec->inRate ? static_cast<double>(pSpec->outRate) / pSpec->inRate : 1.0;

    // Positions count in units of 1 / outRate sample, in 64 bits: a long stream does not overflow them. The nearest
    // phase can be that of the sample after this one, and before the origin that of the sample before.
    const int iNearest = _mm_cvttsd_si32(_mm_set_sd(pSpec->outRate * dFraction + 0.5));
    const std::int64_t llNow = iIndex * llOutRate + iNearest;
    const std::int64_t llEnd = (std::int64_t{iIndex} + len) * llOutRate;
    std::int64_t llPhase = iNearest;
    if (iNearest < 0 || iNearest >= pSpec->outRate) {
        llPhase %= llOutRate;
        llPhase += llPhase < 0 ? llOutRate : 0;
    }
    const std::int64_t llSample = iIndex + (iNearest == llPhase ? 0 : (iNearest - llPhase) / llOutRate);
    const std::int64_t llCount = llNow < llEnd ? (llEnd - llNow + llInRate - 1) / llInRate : 0;
    // By how much the last output lies before the end. Rows end at the same distance from a whole position, that of
    // phase 0 too, though it begins one sample earlier.
    const std::int64_t llLastAhead = llEnd - 1 - (llNow + (llCount - 1) * llInRate);

    SResampleState sRun;
    sRun.psFilter = pSpec;
    sRun.psSource = pSrc + llSample + (llPhase == 0 ? 0 : 1) - pSpec->halfLen;
    sRun.psEnd = pSrc + iIndex + len + pSpec->halfLen - llLastAhead / llOutRate;
    sRun.psOutput = pDst;
    sRun.uiPhase = static_cast<unsigned int>(llPhase);
    sRun.dGain = static_cast<double>(norm) * static_cast<double>(pSpec->tapScale) * dRatio;
    sRun.lCount = llCount;
    ResampleAll(sRun, pRows);

    *pOutlen = static_cast<int>(sRun.lCount);
    *pTime = dFraction +
             static_cast<double>(iIndex * llOutRate + sRun.lCount * llInRate) / static_cast<double>(pSpec->outRate);
    return ippStsNoErr;
}
