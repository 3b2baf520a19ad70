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
constexpr std::uint64_t kMaxSamples = std::numeric_limits<int>::max(); ///< the signal functions count in int
constexpr float kRollOff = 1.0F;
constexpr float kKaiserAlpha = 9.0F;

/// The samples before the first output of a channel that starts: half of the filter and one more.
constexpr std::uint64_t PrimeSamples(std::uint64_t ulFilterLength)
{
    return ulFilterLength / 2 + 1;
}

/// Returns null if the memory is not available, or if the samples are too many for the signal functions.
std::int16_t* AllocateSamples(std::uint64_t ulChannels, std::uint64_t ulChannelSamples)
{
    if (ulChannels > kMaxSamples / ulChannelSamples) {
        return nullptr;
    }
    const std::uint64_t ulSamples = ulChannels * ulChannelSamples;
    return static_cast<std::int16_t*>(std::aligned_alloc(kSampleAlignment, ulSamples * sizeof(std::int16_t)));
}

/// Creates the work buffer and the histories. Each channel begins after silence. Returns false if memory is missing.
bool CreateChannels(CPolyphaseResampler& rStream, std::uint64_t ulChannels)
{
    rStream.m_ulWorkSamples = kWorkBufferSamples;
    rStream.m_psWorkBuffer = AllocateSamples(1, kWorkBufferSamples);
    rStream.m_ulChannels = ulChannels;
    rStream.m_ulHistoryStride = kHistoryStride;
    rStream.m_psHistory = AllocateSamples(ulChannels, kHistoryStride);
    rStream.m_ulPrimeSamples = PrimeSamples(kFilterLength);
    std::fill(std::begin(rStream.m_aulHistoryCount), std::end(rStream.m_aulHistoryCount), rStream.m_ulPrimeSamples);
    std::fill(std::begin(rStream.m_adTime), std::end(rStream.m_adTime), static_cast<double>(rStream.m_ulPrimeSamples));
    ippsSet_16s(0, rStream.m_psHistory, static_cast<int>(ulChannels * kHistoryStride)); // rejects null
    if (rStream.m_psWorkBuffer == nullptr || rStream.m_psHistory == nullptr) {
        return false;
    }
    // Maps the pages, so that no call of the stream causes a page fault.
    std::memset(rStream.m_psWorkBuffer, 0, kWorkBufferSamples * sizeof(std::int16_t));
    return true;
}

/// Creates the filter for the rates of the stream, with its packed bank. Returns false if there is none for these
/// rates, or if memory is missing.
bool CreateFilter(CPolyphaseResampler& rStream)
{
    const int iInRate = static_cast<int>(rStream.m_ulInputRate);
    const int iOutRate = static_cast<int>(rStream.m_ulOutputRate);
    const int iFilterLength = static_cast<int>(rStream.m_ulFilterLength);
    int iFilterBytes = 0;
    int iTapCount = 0;
    int iPhaseCount = 0;
    ippsResamplePolyphaseFixedGetSize_16s(iInRate, iOutRate, iFilterLength, &iFilterBytes, &iTapCount, &iPhaseCount,
                                          rStream.m_eHint);
    const int iBlockBytes = ZtaAddPackedFilterBankBytes(iFilterBytes, iTapCount, iPhaseCount);
    rStream.m_pSpec = reinterpret_cast<IppsResamplingPolyphaseFixed_16s*>(ippsMalloc_8u(iBlockBytes));
    // A failed GetSize leaves the size 0, for which ippsMalloc_8u returns null, and Init rejects null.
    if (ippsResamplePolyphaseFixedInit_16s(iInRate, iOutRate, iFilterLength, rStream.m_fRollOff, rStream.m_fAlpha,
                                           rStream.m_pSpec, rStream.m_eHint) != ippStsNoErr) {
        return false;
    }
    ZtaPackFilterBank(rStream.m_pSpec, iFilterBytes, iBlockBytes);
    return true;
}

/// Returns null for an object of another class. The comparison avoids the dynamic cast for this exact class.
CPolyphaseResampler* AsResampler(IUnknown* pResampler)
{
    return typeid(*pResampler) == typeid(CPolyphaseResampler) ? static_cast<CPolyphaseResampler*>(pResampler)
                                                              : dynamic_cast<CPolyphaseResampler*>(pResampler);
}

/// The checks of the kernel. A failure leaves the stream unchanged. A stream without rates is not initialized.
int CheckKernelArguments(const CPolyphaseResampler* pStream, unsigned long ulInSamples, const void* pIn,
                         unsigned long ulOutSamples, const void* pOut, unsigned long ulChannel)
{
    if (pStream == nullptr || pStream->m_ulInputRate == 0) {
        return ZT_E_INVALID_PARAMETER;
    }
    const std::uint64_t ulNeeded = pStream->m_ulOutputRate * ulInSamples / pStream->m_ulInputRate + 1;
    if (ulNeeded > ulOutSamples) {
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    if (ulChannel >= std::min(pStream->m_ulChannels, CPolyphaseResampler::kMaxChannels)) {
        return ZT_E_INVALID_PARAMETER;
    }
    // A buffer without data must not advance the stream: no pass would consume samples, and the history would overflow.
    return ulInSamples > 0 && (pIn == nullptr || pOut == nullptr) ? ZT_E_INVALID_POINTER : ZT_NOERROR;
}

/// Primes a channel with the first sample of its input, so that a restart begins without a step. Without an input it
/// begins after silence.
void Prime(std::int16_t* psHistory, std::uint64_t& rulCount, double& rdTime, std::uint64_t ulFilterLength,
           const void* pIn)
{
    std::int16_t sFirst = 0;
    if (pIn != nullptr) {
        std::memcpy(&sFirst, pIn, sizeof(sFirst)); // the host's samples may be at an odd address
    }
    rulCount = PrimeSamples(ulFilterLength);
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
    // Signed, so that a count above the largest int becomes one that AllocateSamples rejects.
    const auto ulChannels = static_cast<unsigned long>(static_cast<int>(pOut->ulChannels));
    return CreateAudioResamplerMono16BitsToMono16Bits(pIn->ulSamplesPerSec, pOut->ulSamplesPerSec, ulChannels,
                                                      ppResampler);
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
    if (!CreateChannels(*pStream, ulChannels) || !CreateFilter(*pStream)) {
        // Observable by the host: the object stays counted, and nothing of it is released.
        return ZT_E_INCONSISTENCY_DETECTED;
    }
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
    // In frames, independent of the rates: an output of a lower rate also needs the capacity of the input.
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
    const int iStatus = CheckKernelArguments(pStream, ulInSamples, pIn, ulOutSamples, pOut, ulChannel);
    if (iStatus < 0) {
        return iStatus;
    }

    const auto* psIn = static_cast<const std::int16_t*>(pIn);
    auto* psOut = static_cast<std::int16_t*>(pOut);
    std::int16_t* const psWork = pStream->m_psWorkBuffer;
    std::int16_t* const psHistory = pStream->m_psHistory + ulChannel * pStream->m_ulHistoryStride;
    std::uint64_t ulCount = pStream->m_aulHistoryCount[ulChannel];
    double dTime = pStream->m_adTime[ulChannel];
    if (eMode == keZtAudioResamplerModeRestart) {
        Prime(psHistory, ulCount, dTime, pStream->m_ulFilterLength, pIn);
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
