#include "resampler/resample_audio.h"

#include "kernels/kernel_call.h"
#include "resampler/polyphase_resampler.h"
#include "signal/functions.h"
#include "signal/packed_filter_bank.h"

#include <zta/status.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <typeinfo>

namespace {

constexpr std::uint64_t kFilterLength = 32;
constexpr std::uint64_t kWorkBufferSamples = 8192;
constexpr std::uint64_t kHistoryStride = 48;
constexpr std::size_t kSampleAlignment = 16;
constexpr std::uint64_t kMaxPrimitiveCount = std::numeric_limits<int>::max();
constexpr float kRollOff = 1.0F;
constexpr float kKaiserAlpha = 9.0F;

/// Returns null if the memory is not available, or if ippsSet_16s cannot count the samples.
std::int16_t* AllocateSamples(std::uint64_t ulRows, std::uint64_t ulRowSamples)
{
    if (ulRows > kMaxPrimitiveCount / ulRowSamples) {
        return nullptr;
    }
    const std::uint64_t ulSamples = ulRows * ulRowSamples;
    return static_cast<std::int16_t*>(std::aligned_alloc(kSampleAlignment, ulSamples * sizeof(std::int16_t)));
}

/// Returns null for an object of another class. The comparison avoids the dynamic cast for this exact class.
CPolyphaseResampler* AsResampler(IUnknown* pResampler)
{
    return typeid(*pResampler) == typeid(CPolyphaseResampler) ? static_cast<CPolyphaseResampler*>(pResampler)
                                                              : dynamic_cast<CPolyphaseResampler*>(pResampler);
}

/// Primes a channel with its first sample, so that a restart begins without a step.
void Prime(std::int16_t* psHistory, std::uint64_t& rulCount, double& rdTime, std::uint64_t ulFilterLength,
           std::int16_t sFirst)
{
    rulCount = ulFilterLength / 2 + 1;
    rdTime = static_cast<double>(rulCount);
    ippsSet_16s(sFirst, psHistory, static_cast<int>(rulCount));
}

} // namespace

CZtaResampleAudio::CZtaResampleAudio()
    : m_oTable({
          {keZtAudioSampleFormat16In16Mono44k, keZtAudioSampleFormat16In16Mono,
           &CZtaResampleAudio::Resample16BitMonoTo16BitMono},
          {keZtAudioSampleFormat16In16Mono, keZtAudioSampleFormat16In16Mono44k,
           &CZtaResampleAudio::Resample16BitMonoTo16BitMono},
      })
{
    m_psProcessingFormats = m_oTable.List();
}

CZtaResampleAudio::~CZtaResampleAudio() = default;

int CZtaResampleAudio::SuggestFormat(SZtaWaveFormatInfo* pIn, SZtaWaveFormatInfo* pOut,
                                     SZtaWaveFormatInfo* pSuggestedIn, SZtaWaveFormatInfo* pSuggestedOut)
{
    return SuggestFormatInOutBuffers(pIn, pOut, pSuggestedIn, pSuggestedOut);
}

int CZtaResampleAudio::QueryFormatSupported(SZtaWaveFormatInfo* pIn, SZtaWaveFormatInfo* pOut, bool* pbSupported)
{
    return QueryFormatSupportedInOutBuffers(pIn, pOut, pbSupported);
}

int CZtaResampleAudio::CreateAudioResampler(SZtaWaveFormatInfo* pIn, SZtaWaveFormatInfo* pOut, IUnknown** ppResampler)
{
    if (pIn->ulBitsPerSample != 16 || pOut->ulBitsPerSample != 16) {
        return ZT_E_INVALID_PARAMETER;
    }
    return CreateAudioResamplerMono16BitsToMono16Bits(
        pIn->ulSamplesPerSec, pOut->ulSamplesPerSec,
        static_cast<unsigned long>(static_cast<long>(static_cast<int>(pOut->ulChannels))), ppResampler);
}

int CZtaResampleAudio::CreateAudioResamplerMono16BitsToMono16Bits(unsigned long ulInRate, unsigned long ulOutRate,
                                                                  unsigned long ulChannels, IUnknown** ppResampler)
{
    auto* pStream = new CPolyphaseResampler;
    pStream->m_eHint = ippAlgHintFast;
    pStream->m_fRollOff = kRollOff;
    pStream->m_fAlpha = kKaiserAlpha;
    pStream->m_ulInputRate = ulInRate;
    pStream->m_ulOutputRate = ulOutRate;
    pStream->m_ulFilterLength = kFilterLength;
    pStream->m_ulWorkSamples = kWorkBufferSamples;
    pStream->m_psWorkBuffer = AllocateSamples(1, kWorkBufferSamples);
    pStream->m_psHistory = AllocateSamples(ulChannels, kHistoryStride);
    pStream->m_ulPrimeSamples = kFilterLength / 2 + 1;
    pStream->m_ulHistoryStride = kHistoryStride;
    pStream->m_ulChannels = ulChannels;
    std::fill(std::begin(pStream->m_aulHistoryCount), std::end(pStream->m_aulHistoryCount), pStream->m_ulPrimeSamples);
    std::fill(std::begin(pStream->m_adTime), std::end(pStream->m_adTime),
              static_cast<double>(pStream->m_ulPrimeSamples));
    ippsSet_16s(0, pStream->m_psHistory, static_cast<int>(ulChannels * kHistoryStride));
    if (pStream->m_psWorkBuffer != nullptr) {
        // Maps the pages, so that no call of the stream causes a page fault.
        std::memset(pStream->m_psWorkBuffer, 0, kWorkBufferSamples * sizeof(std::int16_t));
    }

    int iSize = 0;
    int iLength = 0;
    int iHeight = 0;
    const int iInRate = static_cast<int>(ulInRate);
    const int iOutRate = static_cast<int>(ulOutRate);
    const int iFilterLength = static_cast<int>(kFilterLength);
    ippsResamplePolyphaseFixedGetSize_16s(iInRate, iOutRate, iFilterLength, &iSize, &iLength, &iHeight,
                                          pStream->m_eHint);
    const int iBlockBytes = ZtaAddPackedFilterBankBytes(iSize, iLength, iHeight);
    pStream->m_pSpec = reinterpret_cast<IppsResamplingPolyphaseFixed_16s*>(ippsMalloc_8u(iBlockBytes));
    // The allocations are checked although hosts expect no status for them: a clear status code is better than a crash
    // in a later call. The primitives reject null, so nothing above has written through it.
    const bool bAllocated = pStream->m_psWorkBuffer != nullptr && pStream->m_psHistory != nullptr;
    if (!bAllocated || ippsResamplePolyphaseFixedInit_16s(iInRate, iOutRate, iFilterLength, kRollOff, kKaiserAlpha,
                                                          pStream->m_pSpec, pStream->m_eHint) != ippStsNoErr) {
        // Observable by the host: the object stays counted, and nothing of it is released.
        return ZT_E_INCONSISTENCY_DETECTED;
    }
    ZtaPackFilterBank(pStream->m_pSpec, iSize, iBlockBytes);
    *ppResampler = pStream;
    pStream->AddRef();
    return ZT_NOERROR;
}

int CZtaResampleAudio::ResampleAudio(IZtAudioSamples* pIn, IZtAudioSamples* pOut, EZtAudioResamplerMode eMode,
                                     unsigned long ulChannel, IUnknown* pResampler)
{
    SZtAudioBufferInformations sIn{};
    SZtAudioBufferInformations sOut{};
    int iStatus = ZtaQueryBuffers(*this, {{pIn, sIn}, {pOut, sOut}});
    if (iStatus < 0) {
        return iStatus;
    }
    // In frames of both sides, independent of the rates: a lower output rate also needs the capacity of the input.
    if (sIn.ulValidFrames > sOut.ulCapacityFrames) {
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    // An empty input calls no kernel and marks the output as full, with its present data.
    unsigned long ulOutSamples = sOut.ulCapacityFrames;
    iStatus = ZtaDispatchKernel(*this, m_oTable, sIn.eFormat, sOut.eFormat, sIn.ulValidFrames, [&](Function pfnKernel) {
        return (this->*pfnKernel)(sIn.ulValidFrames, sIn.pvBuffer, ulOutSamples, sOut.pvBuffer, eMode, ulChannel,
                                  pResampler);
    });
    if (iStatus < 0) {
        return iStatus;
    }
    return pOut->SetLength(ulOutSamples * static_cast<unsigned long>(sOut.iBytesPerFrame));
}

int CZtaResampleAudio::Resample16BitMonoTo16BitMono(unsigned long ulInSamples, void* pIn, unsigned long& ulOutSamples,
                                                    void* pOut, EZtAudioResamplerMode eMode, unsigned long ulChannel,
                                                    IUnknown* pResampler)
{
    if (pResampler == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    CPolyphaseResampler* const pStream = AsResampler(pResampler);
    if (pStream == nullptr || pStream->m_ulInputRate == 0) { // not a stream, or not initialized
        return ZT_E_INVALID_PARAMETER;
    }
    const std::uint64_t ulNeeded = pStream->m_ulOutputRate * ulInSamples / pStream->m_ulInputRate;
    if (ulNeeded + 1 > ulOutSamples) {
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    if (ulChannel >= std::min(pStream->m_ulChannels, CPolyphaseResampler::kMaxChannels)) {
        return ZT_E_INVALID_PARAMETER;
    }

    // A buffer without data must not advance the stream: no pass would consume samples, and the history would overflow.
    if (ulInSamples > 0 && (pIn == nullptr || pOut == nullptr)) {
        return ZT_E_INVALID_POINTER;
    }

    const auto* psIn = static_cast<const std::int16_t*>(pIn);
    auto* psOut = static_cast<std::int16_t*>(pOut);
    std::int16_t* const psWork = pStream->m_psWorkBuffer;
    std::int16_t* const psHistory = pStream->m_psHistory + ulChannel * pStream->m_ulHistoryStride;
    std::uint64_t ulCount = pStream->m_aulHistoryCount[ulChannel];
    double dTime = pStream->m_adTime[ulChannel];
    if (eMode == keZtAudioResamplerModeRestart) {
        std::int16_t sFirst = 0; // silence if there is no first sample
        if (pIn != nullptr) {
            std::memcpy(&sFirst, pIn, sizeof(sFirst)); // the host's samples may be at an odd address
        }
        Prime(psHistory, ulCount, dTime, pStream->m_ulFilterLength, sFirst);
    }
    // One pass, with the history count and the time before it; P is m_ulPrimeSamples:
    //
    //     work buffer   | history: ulCount | input: ulChunk samples               | unused
    //                   0                  ulCount                                ulTotal
    //     outputs                     ^  ^  ^  ^  ^  ^  ^  ^  ^  ^       |
    //                             dTime   every input rate / output rate ulTotal - P
    //
    // An output uses 16 samples before and 16 after its position, so none is at or behind ulTotal - P. After the pass,
    // the samples from trunc(dTime) - P on become the history of the next pass or of the next buffer:
    //
    //     work buffer   | consumed                                | history      |
    //                   0                             trunc(dTime) - P           ulTotal
    ippsMove_16s(psHistory, psWork, static_cast<int>(ulCount));
    std::uint64_t ulWritten = 0;
    while (ulInSamples > 0) {
        const std::uint64_t ulChunk = std::min(pStream->m_ulWorkSamples - ulCount, ulInSamples);
        ippsMove_16s(psIn, psWork + ulCount, static_cast<int>(ulChunk));
        const std::uint64_t ulTotal = ulCount + ulChunk;
        // If no position is left, the filter rejects the call, and all samples stay in the history.
        const auto lPositions = static_cast<std::int64_t>(ulTotal) - static_cast<std::int64_t>(dTime) -
                                static_cast<std::int64_t>(pStream->m_ulPrimeSamples);
        int iOutputs = 0;
        ippsResamplePolyphaseFixed_16s(psWork, static_cast<int>(lPositions), psOut, 1.0F, &dTime, &iOutputs,
                                       pStream->m_pSpec);
        const std::int64_t lConsumed =
            static_cast<std::int64_t>(dTime) - static_cast<std::int64_t>(pStream->m_ulPrimeSamples);
        ulCount = ulTotal - static_cast<std::uint64_t>(lConsumed);
        dTime -= static_cast<double>(lConsumed);
        ulWritten += static_cast<std::uint64_t>(iOutputs);
        psOut += iOutputs;
        psIn += ulChunk;
        ulInSamples -= ulChunk;
        ippsMove_16s(psWork + lConsumed, psWork, static_cast<int>(ulCount));
    }
    ippsMove_16s(psWork, psHistory, static_cast<int>(ulCount));

    pStream->m_aulHistoryCount[ulChannel] = ulCount;
    pStream->m_adTime[ulChannel] = dTime;
    ulOutSamples = ulWritten;
    return ZT_NOERROR;
}
