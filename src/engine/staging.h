#pragma once

#include "engine/audio_samples_engine.h"

#include <zta/status.h>

#include <cstring>

/// Staging: copying or converting an operand into a scratch buffer before the kernel runs. Also the byte copies.

/// The status of an operation that needs a scratch buffer which the host did not create. A host can keep an engine
/// whose creation failed, and can report a success without a buffer.
inline constexpr int kMissingScratchStatus = ZT_E_NOT_INITIALIZED;

/// Sets the format of a scratch buffer, the first step of each use.
inline int SetScratchFormat(IZtAudioSamples* pScratch, SZtaWaveFormatInfo& rsFormat)
{
    return pScratch != nullptr ? pScratch->SetWaveFormat(&rsFormat) : kMissingScratchStatus;
}

/// The memory of two buffers, for a byte copy. If a host call fails and writes nothing, the field is null or 0.
struct SByteSpans {
    const unsigned char* pbyIn;
    unsigned long ulLength; ///< valid bytes of the input
    unsigned char* pbyOut;
    unsigned long ulCapacity; ///< capacity of the output, in bytes
};

inline SByteSpans GetByteSpans(IZtAudioSamples* pIn, IZtAudioSamples* pOut)
{
    void* pvIn = nullptr;
    void* pvOut = nullptr;
    unsigned long ulLength = 0;
    unsigned long ulCapacity = 0;
    unsigned long ulOutLength = 0;
    pIn->GetBufferAndLength(&pvIn, &ulLength);
    pOut->GetBufferCapacity(&ulCapacity);
    pOut->GetBufferAndLength(&pvOut, &ulOutLength);
    return {static_cast<const unsigned char*>(pvIn), ulLength, static_cast<unsigned char*>(pvOut), ulCapacity};
}

/// Copies the valid bytes. Does not change the valid length of the output; the caller sets it.
///
/// The lengths decide first. An input without an address then reads as empty, and an output without an address as too
/// small for any byte.
inline int ByteCopy(IZtAudioSamples* pIn, IZtAudioSamples* pOut)
{
    const SByteSpans sSpans = GetByteSpans(pIn, pOut);
    const unsigned long ulBytes = sSpans.pbyIn != nullptr ? sSpans.ulLength : 0;
    if (sSpans.ulLength > sSpans.ulCapacity || (ulBytes != 0 && sSpans.pbyOut == nullptr)) {
        void* pvContent = nullptr;
        pOut->QueryInterface(IID_IZtAVContent, &pvContent);
        if (pvContent != nullptr) {
            // The reference is not released: hosts observe one more reference on the output after this failure.
            static_cast<IZtAVContent*>(pvContent)->SetErrorCode(ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        }
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    if (ulBytes != 0) {
        std::memmove(sSpans.pbyOut, sSpans.pbyIn, ulBytes);
    }
    return ZT_NOERROR;
}

/// Sets the format of a scratch buffer to that of the description, and copies bytes and valid length into it.
inline int CopyToScratch(IZtAudioSamples* pIn, IZtAudioSamples* pScratch, SZtAudioSamplesDescription& rsDescription)
{
    void* pvIn = nullptr;
    unsigned long ulLength = 0;
    int iStatus = pIn->GetBufferAndLength(&pvIn, &ulLength);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = SetScratchFormat(pScratch, rsDescription.sWaveFormat);
    if (iStatus < 0) {
        return iStatus;
    }
    // A host may reject a length beyond the capacity. The copy runs all the same: its error code has priority.
    const int iLengthStatus = pScratch->SetLength(ulLength);
    return FirstFailure(ByteCopy(pIn, pScratch), iLengthStatus);
}

inline int CZtaAudioSamplesEngine::StageIfFormatDiffers(IZtAudioSamples*& rpBuffer, const SZtaWaveFormatInfo& rsFormat,
                                                        IZtAudioSamples* pScratch, SZtaWaveFormatInfo& rsKernelFormat)
{
    if (IsSameFormat(rsFormat, rsKernelFormat)) {
        return ZT_NOERROR;
    }
    const int iStatus = ConvertToScratch(rpBuffer, pScratch, rsKernelFormat);
    rpBuffer = pScratch;
    return iStatus;
}

/// Stages input `ulIndex` of a mux in the kernel's format, and applies the fade that it requests. `rpStaged` receives
/// the scratch buffer that the kernel reads.
template <class Kernel>
int CZtaAudioSamplesEngine::StageInput(Kernel& rKernel, IZtAudioSamples* pInput, SZtAudioSamplesDescription& rsInput,
                                       SZtAudioSamplesDescription& rsMux, unsigned long ulIndex,
                                       SScratchFormat& rsScratch, IZtAudioSamples*& rpStaged)
{
    int iStatus = ZT_NOERROR;
    if (!rsScratch.bIsValid || !IsSameFormat(rsInput.sWaveFormat, rsScratch.sInput)) {
        SZtaWaveFormatInfo sMuxFormat = {};
        iStatus = rKernel.SuggestFormat(&rsInput.sWaveFormat, &rsMux.sWaveFormat, &rsScratch.sSuggested, &sMuxFormat);
        if (iStatus < 0) {
            return iStatus;
        }
        rsScratch.sInput = rsInput.sWaveFormat;
        rsScratch.bIsValid = true;
        rsScratch.bConverts = !IsSameFormat(rsScratch.sInput, rsScratch.sSuggested);
    }
    IZtAudioSamples* const pScratch = m_apConvertScratch[ulIndex];
    if (rsScratch.bConverts) {
        SZtaWaveFormatInfo sScratchFormat = rsScratch.sSuggested;
        iStatus = ConvertToScratch(pInput, pScratch, sScratchFormat);
    } else {
        iStatus = CopyToScratch(pInput, pScratch, rsInput);
    }
    rpStaged = pScratch;
    if (iStatus < 0 || !HasFade(rsInput)) {
        return iStatus;
    }
    // The fade buffer gets the input's own format, also after a conversion. An input that needs both is faded in the
    // wrong format, and the kernel then rejects it. Hosts know this combination as unsupported.
    IZtAudioSamples* const pFade = m_apFadeScratch[ulIndex];
    iStatus = CopyToScratch(pScratch, pFade, rsInput);
    rpStaged = pFade;
    if (iStatus < 0) {
        return iStatus;
    }
    SetFades(pFade, rsInput.bFadeIn, rsInput.bFadeOut);
    return m_oApplyFade.ApplyFade(pFade);
}
