#pragma once

#include "engine/audio_samples_engine.h"
#include "engine/operation.h"

/// The entry of an operation with one input and one output, for the operations that differ in nothing else than this:
/// eDescriptions    how the buffers' descriptions are read
/// iArgumentStatus  the verdict on the other arguments, which counts once both buffers are given
/// rCheckFormats    (input's format, output's format) to a status
/// rSaveInfo        saves the operands for the worker
/// pfnProcess       the worker
template <class CheckFormats, class SaveInfo>
int CZtaAudioSamplesEngine::EnterOneToOne(EEntryDescriptions eDescriptions, int iArgumentStatus,
                                          IZtAudioSamples* pInput, IZtAudioSamples* pOutput, CheckFormats rCheckFormats,
                                          SaveInfo rSaveInfo, int (CZtaAudioSamplesEngine::*pfnProcess)())
{
    CContentPtr oOutput;
    int iStatus = OpenOutput(pOutput, oOutput);
    if (iStatus < 0) {
        return iStatus;
    }

    const auto Describe = [&](IZtAudioSamples* pBuffer, SZtAudioSamplesDescription& rsDescription) {
        if (eDescriptions == EEntryDescriptions::RelabelTwentyBits) {
            return DescribeForEntry(pBuffer, rsDescription);
        }
        const int iDescribed = pBuffer->GetAudioSamplesDescription(&rsDescription);
        return iDescribed < 0 && eDescriptions == EEntryDescriptions::LeaveLabels ? ZT_E_INVALID_PARAMETER : iDescribed;
    };
    CContentPtr oInput;
    SZtAudioSamplesDescription sInput = kEmptyDescription;
    SZtAudioSamplesDescription sOutput = kEmptyDescription;
    iStatus = pInput == nullptr ? ZT_E_INVALID_POINTER : iArgumentStatus;
    if (iStatus >= 0) {
        iStatus = OpenInput(pInput, oInput);
    }
    if (iStatus >= 0) {
        iStatus = Describe(pInput, sInput);
    }
    if (iStatus >= 0) {
        iStatus = Describe(pOutput, sOutput);
    }
    if (iStatus >= 0) {
        iStatus = rCheckFormats(sInput.sWaveFormat, sOutput.sWaveFormat);
    }
    if (iStatus >= 0) {
        iStatus = TakeLatch();
    }
    if (iStatus < 0) {
        return EndFailedEntry(iStatus, {oInput}, {oOutput});
    }

    rSaveInfo();
    oOutput->MarkWriteStartTime();
    return (this->*pfnProcess)();
}
