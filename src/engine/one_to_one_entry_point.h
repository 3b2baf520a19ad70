#pragma once

#include "engine/audio_samples_engine.h"

/// The frame of the operations with one input and one output: copy, duplicate, volume and resampling. BeginOneToOne is
/// their entry point, EndOneToOne the end of their workers.

/// The checks of BeginOneToOne after those of the output. Success sets the busy flag.
template <class CheckFormats>
int CZtaAudioSamplesEngine::CheckOneToOne(EDescriptionPolicy eDescriptions, int iArgumentStatus,
                                          IZtAudioSamples* pInput, IZtAudioSamples* pOutput, CContentHolder& rInput,
                                          CheckFormats rCheckFormats)
{
    if (pInput == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    if (iArgumentStatus < 0) {
        return iArgumentStatus;
    }
    int iStatus = AcquireInput(pInput, rInput);
    if (iStatus < 0) {
        return iStatus;
    }
    const auto Describe = [&](IZtAudioSamples* pBuffer, SZtAudioSamplesDescription& rsDescription) {
        if (eDescriptions == EDescriptionPolicy::Relabel20Bits) {
            return QueryDescription(pBuffer, rsDescription);
        }
        const int iDescribed = RequestDescription(pBuffer, rsDescription);
        return iDescribed < 0 && eDescriptions == EDescriptionPolicy::KeepFormat ? ZT_E_INVALID_PARAMETER : iDescribed;
    };
    SZtAudioSamplesDescription sInput = kEmptyDescription;
    iStatus = Describe(pInput, sInput);
    if (iStatus < 0) {
        return iStatus;
    }
    SZtAudioSamplesDescription sOutput = kEmptyDescription;
    iStatus = Describe(pOutput, sOutput);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = rCheckFormats(sInput.sWaveFormat, sOutput.sWaveFormat);
    return iStatus < 0 ? iStatus : TrySetBusy();
}

/// The entry point of the operations with one input and one output, which differ only in these arguments:
/// eDescriptions    how the buffers' descriptions are read
/// iArgumentStatus  the status of the other arguments; takes effect if both buffers are not null
/// rCheckFormats    a function of the input and output formats that returns a status
/// rSaveInfo        saves the operands for the worker
/// pfnProcess       the worker
template <class CheckFormats, class SaveInfo>
int CZtaAudioSamplesEngine::BeginOneToOne(EDescriptionPolicy eDescriptions, int iArgumentStatus,
                                          IZtAudioSamples* pInput, IZtAudioSamples* pOutput, CheckFormats rCheckFormats,
                                          SaveInfo rSaveInfo, int (CZtaAudioSamplesEngine::*pfnProcess)())
{
    CContentHolder oOutput;
    int iStatus = AcquireOutput(pOutput, oOutput);
    if (iStatus < 0) {
        return iStatus;
    }

    CContentHolder oInput;
    iStatus = CheckOneToOne(eDescriptions, iArgumentStatus, pInput, pOutput, oInput, rCheckFormats);
    if (iStatus < 0) {
        return RejectCall(iStatus, {oInput.Get()}, {oOutput.Get()});
    }

    return RunWorker(
        [&] {
            rSaveInfo();
            oOutput->MarkWriteStartTime();
        },
        pfnProcess);
}

template <EOneToOneEnding eEnding>
int CZtaAudioSamplesEngine::EndOneToOne(CScopedEndOperation& rOperation, const CBufferHolder& rInput,
                                        const CBufferHolder& rOutput, int iStatus)
{
    if constexpr (eEnding == EOneToOneEnding::SignalBuffers) {
        if (iStatus < 0) {
            rOutput->SetErrorCode(iStatus);
        }
        rOperation.End();
        rInput->SignalReadCompletion();
        rOutput->MarkWriteStopTime();
        return rOutput->SignalWriteCompletion();
    } else {
        rOperation.End();
        // If a query fails here, the signals go to the buffer itself, so that no announced access stays open. An empty
        // holder raises its exception, as in the other ending.
        const auto QueryContent = [](CContentHolder& rHolder, IZtAudioSamples* pBuffer) -> IZtAVContent* {
            rHolder.Query(pBuffer);
            return rHolder.Get() != nullptr ? rHolder.Get() : pBuffer;
        };
        CContentHolder oInput;
        QueryContent(oInput, rInput.operator->())->SignalReadCompletion();
        CContentHolder oOutput;
        IZtAVContent* const pOutput = QueryContent(oOutput, rOutput.operator->());
        if (iStatus < 0) {
            pOutput->SetErrorCode(iStatus);
        }
        pOutput->MarkWriteStopTime();
        return pOutput->SignalWriteCompletion();
    }
}
