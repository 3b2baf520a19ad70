#include "engine/staging.h"

#include <zta/status.h>

namespace {

/// Checks the formats of the three buffers, in the order of the operation's arguments.
int CheckStereoFormats(std::initializer_list<const SZtaWaveFormatInfo*> oFormats,
                       std::initializer_list<std::uint32_t> oChannels)
{
    const std::uint32_t* pulChannels = oChannels.begin();
    for (const SZtaWaveFormatInfo* psFormat : oFormats) {
        if (psFormat->ulChannels != *pulChannels++) {
            return ZT_E_FORMAT_NOT_SUPPORTED;
        }
    }
    for (const SZtaWaveFormatInfo* psFormat : oFormats) {
        if (psFormat->eDataType == keZtAudioDataTypeOpaque) {
            return ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE;
        }
    }
    return ZT_NOERROR;
}

} // namespace

/// The last checks of both entry points: the descriptions and the formats of the three buffers. Success sets the busy
/// flag.
[[gnu::always_inline]] inline int
CZtaAudioSamplesEngine::CheckStereoBuffers(IZtAudioSamples* pFirst, IZtAudioSamples* pSecond, IZtAudioSamples* pThird,
                                           std::initializer_list<std::uint32_t> oChannels)
{
    SZtAudioSamplesDescription sFirst = kEmptyDescription;
    SZtAudioSamplesDescription sSecond = kEmptyDescription;
    SZtAudioSamplesDescription sThird = kEmptyDescription;
    int iStatus = QueryDescriptions(pFirst, sFirst, pSecond, sSecond, pThird, sThird);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = CheckStereoFormats({&sFirst.sWaveFormat, &sSecond.sWaveFormat, &sThird.sWaveFormat}, oChannels);
    return iStatus < 0 ? iStatus : TrySetBusy();
}

/// Reads the saved operands, in the order of the operation's arguments.
template <auto pfnGetInfo>
CZtaAudioSamplesEngine::SStereoOperands CZtaAudioSamplesEngine::LoadStereoOperands()
{
    IZtAudioSamples* pFirst = nullptr;
    IZtAudioSamples* pSecond = nullptr;
    IZtAudioSamples* pThird = nullptr;
    (this->*pfnGetInfo)(&pFirst, &pSecond, &pThird);
    return {pFirst, pSecond, pThird};
}

// ---- Interleave ----

inline int CZtaAudioSamplesEngine::CheckMonoToStereo(IZtAudioSamples* pLeft, IZtAudioSamples* pRight,
                                                     IZtAudioSamples* pStereo, CContentHolder& rLeft,
                                                     CContentHolder& rRight)
{
    // If one input is missing, the other one is not validated and gets no signal.
    if (pLeft == nullptr || pRight == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    int iStatus = AcquireInput(pLeft, rLeft);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = AcquireInput(pRight, rRight);
    return iStatus < 0 ? iStatus : CheckStereoBuffers(pLeft, pRight, pStereo, {1, 1, 2});
}

int CZtaAudioSamplesEngine::CopyAudioSamplesMonoToStereo(IZtAudioSamples* pLeft, IZtAudioSamples* pRight,
                                                         IZtAudioSamples* pStereo)
{
    CContentHolder oStereo;
    int iStatus = AcquireOutput(pStereo, oStereo);
    if (iStatus < 0) {
        return iStatus;
    }
    CContentHolder oLeft;
    CContentHolder oRight;
    iStatus = CheckMonoToStereo(pLeft, pRight, pStereo, oLeft, oRight);
    if (iStatus < 0) {
        return RejectCall(iStatus, {oLeft.Get(), oRight.Get()}, {oStereo.Get()});
    }
    return RunWorker(
        [&] {
            SaveInfoMonoToStereo(pLeft, pRight, pStereo);
            oStereo->MarkWriteStartTime();
        },
        &CZtaAudioSamplesEngine::ProcessMonoToStereo);
}

int CZtaAudioSamplesEngine::SaveInfoMonoToStereo(IZtAudioSamples* pLeft, IZtAudioSamples* pRight,
                                                 IZtAudioSamples* pStereo)
{
    ReleaseBufferSlots(0, 2);
    ReleaseSlot(m_pSavedOutput);
    int iStatus = FillBufferSlot(0, pLeft);
    iStatus = FirstFailure(iStatus, FillBufferSlot(1, pRight));
    return FirstFailure(iStatus, FillSlot(m_pSavedOutput, pStereo));
}

int CZtaAudioSamplesEngine::GetInfoMonoToStereo(IZtAudioSamples** ppLeft, IZtAudioSamples** ppRight,
                                                IZtAudioSamples** ppStereo)
{
    *ppLeft = m_apSavedBuffers[0];
    *ppRight = m_apSavedBuffers[1];
    *ppStereo = m_pSavedOutput;
    return ZT_NOERROR;
}

int CZtaAudioSamplesEngine::ProcessMonoToStereo()
{
    CScopedEndOperation oOperation(*this);
    const SStereoOperands sOperands = LoadStereoOperands<&CZtaAudioSamplesEngine::GetInfoMonoToStereo>();
    const auto& [rLeft, rRight, rStereo] = sOperands;
    const int iStatus = InterleaveStereo(rLeft, rRight, rStereo);
    if (iStatus < 0) {
        rStereo->SetErrorCode(iStatus);
    }
    oOperation.End();
    LogIfFailed(rLeft->SignalReadCompletion());
    LogIfFailed(rRight->SignalReadCompletion());
    rStereo->MarkWriteStopTime();
    LogIfFailed(rStereo->SignalWriteCompletion());
    return iStatus;
}

/// The work of MonoToStereo.
inline int CZtaAudioSamplesEngine::InterleaveStereo(const CBufferHolder& rLeft, const CBufferHolder& rRight,
                                                    const CBufferHolder& rStereo)
{
    SZtAudioSamplesDescription sLeft = kEmptyDescription;
    SZtAudioSamplesDescription sRight = kEmptyDescription;
    SZtAudioSamplesDescription sStereo = kEmptyDescription;
    int iStatus = RequestDescriptions(rLeft, sLeft, rRight, sRight, rStereo, sStereo);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = InterleaveViaScratch(rLeft.Get(), sLeft, rRight.Get(), sRight, rStereo.Get(), sStereo);
    if (iStatus < 0) {
        return iStatus;
    }
    // The stereo buffer gets a fade only if both inputs agree on it.
    if (sLeft.bFadeIn != sRight.bFadeIn || sLeft.bFadeOut != sRight.bFadeOut) {
        return iStatus;
    }
    return ApplyRequestedFades(m_oApplyFade, rStereo.Get(), sLeft, iStatus);
}

/// Interleaves. A buffer in a format that the kernel does not support goes through a scratch buffer.
int CZtaAudioSamplesEngine::InterleaveViaScratch(IZtAudioSamples* pLeft, SZtAudioSamplesDescription& rsLeft,
                                                 IZtAudioSamples* pRight, SZtAudioSamplesDescription& rsRight,
                                                 IZtAudioSamples* pStereo, SZtAudioSamplesDescription& rsStereo)
{
    SZtaWaveFormatInfo sMonoFormat = {};
    SZtaWaveFormatInfo sStereoFormat = {};
    int iStatus =
        m_oConvertMonoToStereo.SuggestFormat(&rsLeft.sWaveFormat, &rsStereo.sWaveFormat, &sMonoFormat, &sStereoFormat);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = StageIfFormatDiffers(pLeft, rsLeft.sWaveFormat, m_pScratch0, sMonoFormat);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = StageIfFormatDiffers(pRight, rsRight.sWaveFormat, m_pScratch1, sMonoFormat);
    if (iStatus < 0) {
        return iStatus;
    }
    if (IsSameFormat(rsStereo.sWaveFormat, sStereoFormat)) {
        return m_oConvertMonoToStereo.ConvertMonoToStereo(pLeft, pRight, pStereo);
    }
    iStatus = SetScratchFormat(m_pScratch2, sStereoFormat);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = m_oConvertMonoToStereo.ConvertMonoToStereo(pLeft, pRight, m_pScratch2);
    return iStatus < 0 ? iStatus : m_oConvertBitDepth.ConvertBitDepth(m_pScratch2, pStereo);
}

// ---- Deinterleave ----

inline int CZtaAudioSamplesEngine::CheckStereoToMono(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft,
                                                     IZtAudioSamples* pRight, CContentHolder& rStereo,
                                                     CContentHolder& rRight)
{
    if (pRight == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    int iStatus = rRight.Query(pRight);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = AcquireInput(pStereo, rStereo);
    if (iStatus < 0) {
        return iStatus;
    }
    // A null left output is rejected here, after the request for the description of the input.
    return CheckStereoBuffers(pStereo, pLeft, pRight, {2, 1, 1});
}

int CZtaAudioSamplesEngine::CopyAudioSamplesStereoToMono(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft,
                                                         IZtAudioSamples* pRight)
{
    if (pLeft == nullptr && pRight == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    CContentHolder oStereo;
    CContentHolder oLeft;
    CContentHolder oRight;
    if (pLeft != nullptr) {
        // The status is ignored: a left output without a content raises an exception when its start is marked.
        oLeft.Query(pLeft);
    }
    const int iStatus = CheckStereoToMono(pStereo, pLeft, pRight, oStereo, oRight);
    if (iStatus < 0) {
        return RejectCall(iStatus, {oStereo.Get()}, {oLeft.Get(), oRight.Get()});
    }
    return RunWorker(
        [&] {
            SaveInfoStereoToMono(pStereo, pLeft, pRight);
            oLeft->MarkWriteStartTime();
            oRight->MarkWriteStartTime();
        },
        &CZtaAudioSamplesEngine::ProcessStereoToMono);
}

int CZtaAudioSamplesEngine::SaveInfoStereoToMono(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft,
                                                 IZtAudioSamples* pRight)
{
    ReleaseSlot(m_pSavedInput);
    ReleaseBufferSlots(0, 2);
    int iStatus = FillSlot(m_pSavedInput, pStereo);
    iStatus = FirstFailure(iStatus, FillBufferSlot(0, pLeft));
    return FirstFailure(iStatus, FillBufferSlot(1, pRight));
}

int CZtaAudioSamplesEngine::GetInfoStereoToMono(IZtAudioSamples** ppStereo, IZtAudioSamples** ppLeft,
                                                IZtAudioSamples** ppRight)
{
    *ppStereo = m_pSavedInput;
    *ppLeft = m_apSavedBuffers[0];
    *ppRight = m_apSavedBuffers[1];
    return ZT_NOERROR;
}

int CZtaAudioSamplesEngine::ProcessStereoToMono()
{
    CScopedEndOperation oOperation(*this);
    const SStereoOperands sOperands = LoadStereoOperands<&CZtaAudioSamplesEngine::GetInfoStereoToMono>();
    const auto& [rStereo, rLeft, rRight] = sOperands;
    const int iStatus = DeinterleaveStereo(rStereo, rLeft, rRight);
    if (iStatus < 0) {
        rLeft->SetErrorCode(iStatus);
        rRight->SetErrorCode(iStatus);
    }
    oOperation.End();
    // The left output gets no stop mark. Hosts observe one start mark on it, and nothing else.
    LogIfFailed(rStereo->SignalReadCompletion());
    rRight->MarkWriteStopTime();
    LogIfFailed(rRight->SignalWriteCompletion());
    LogIfFailed(rLeft->SignalWriteCompletion());
    return iStatus;
}

/// The work of StereoToMono. Logs each failure when it occurs.
inline int CZtaAudioSamplesEngine::DeinterleaveStereo(const CBufferHolder& rStereo, const CBufferHolder& rLeft,
                                                      const CBufferHolder& rRight)
{
    SZtAudioSamplesDescription sStereo = kEmptyDescription;
    SZtAudioSamplesDescription sLeft = kEmptyDescription;
    SZtAudioSamplesDescription sRight = kEmptyDescription;
    const int iStatus = LogIfFailed(RequestDescriptions(rStereo, sStereo, rLeft, sLeft, rRight, sRight));
    if (iStatus < 0) {
        return iStatus;
    }
    // The entry point has marked the right output already: hosts observe two start marks and one stop mark on it.
    rRight->MarkWriteStartTime();
    return DeinterleaveViaScratch(rStereo.Get(), sStereo, rLeft.Get(), sLeft, rRight.Get(), sRight);
}

/// Deinterleaves. A buffer in a format that the kernel does not support goes through a scratch buffer. Logs each
/// failure when it occurs: the host observes the log line before the calls that follow.
int CZtaAudioSamplesEngine::DeinterleaveViaScratch(IZtAudioSamples* pStereo, SZtAudioSamplesDescription& rsStereo,
                                                   IZtAudioSamples* pLeft, SZtAudioSamplesDescription& rsLeft,
                                                   IZtAudioSamples* pRight, SZtAudioSamplesDescription& rsRight)
{
    SZtaWaveFormatInfo sStereoFormat = {};
    SZtaWaveFormatInfo sMonoFormat = {};
    int iStatus = LogIfFailed(
        m_oConvertStereoToMono.SuggestFormat(&rsStereo.sWaveFormat, &rsLeft.sWaveFormat, &sStereoFormat, &sMonoFormat));
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = LogIfFailed(StageIfFormatDiffers(pStereo, rsStereo.sWaveFormat, m_pScratch0, sStereoFormat));
    // The scratch buffers of the outputs get their format even if the input could not be staged.
    IZtAudioSamples* pLeftTarget = pLeft;
    IZtAudioSamples* pRightTarget = pRight;
    if (!IsSameFormat(rsLeft.sWaveFormat, sMonoFormat)) {
        pLeftTarget = m_pScratch1;
        iStatus = LogFirstFailure(iStatus, SetScratchFormat(m_pScratch1, sMonoFormat));
    }
    if (!IsSameFormat(rsRight.sWaveFormat, sMonoFormat)) {
        pRightTarget = m_pScratch2;
        iStatus = LogFirstFailure(iStatus, SetScratchFormat(m_pScratch2, sMonoFormat));
    }
    if (iStatus < 0) {
        return iStatus;
    }
    // A scratch buffer next to a larger output of the caller would be written beyond its end.
    iStatus = LogIfFailed(m_oConvertStereoToMono.ConvertStereoToMonoChecked(
        pStereo, pLeftTarget, pRightTarget, pLeftTarget != pLeft, pRightTarget != pRight));
    if (iStatus < 0) {
        return iStatus;
    }
    if (pLeftTarget != pLeft) {
        iStatus = LogIfFailed(m_oConvertBitDepth.ConvertBitDepth(pLeftTarget, pLeft));
        if (iStatus < 0) {
            return iStatus;
        }
    }
    return pRightTarget != pRight ? LogIfFailed(m_oConvertBitDepth.ConvertBitDepth(pRightTarget, pRight)) : iStatus;
}
