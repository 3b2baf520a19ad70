#pragma once

#include "kernels/audio_processing_util.h"

#include <initializer_list>

/// What the operations of the kernel classes share: digesting their buffers, and running the function of a row.

/// A buffer, and where its digest goes, which must be empty.
struct SZtaBufferQuery {
    IZtAudioSamples* pSamples;
    SZtAudioBufferInformations& rsInformations;
};

/// Digests buffers in their order, up to the first failure.
inline int ZtaQueryBuffers(CZtaAudioProcessingUtil& rUtil, std::initializer_list<SZtaBufferQuery> oBuffers)
{
    for (const SZtaBufferQuery& rsBuffer : oBuffers) {
        rsBuffer.rsInformations.sDescription.ulSize = sizeof(SZtAudioSamplesDescription);
        const int iStatus = rUtil.GetBufferInformations(rsBuffer.pSamples, &rsBuffer.rsInformations);
        if (iStatus < 0) {
            return iStatus;
        }
    }
    return 0;
}

/// Finds the row of a pair of formats and, if there are frames to process, calls `rRun` with its function.
template <class Table, class Run>
int ZtaDispatchKernel(CZtaAudioProcessingUtil& rUtil, Table& rTable, EZtAudioSampleFormatProperty eInput,
                      EZtAudioSampleFormatProperty eOutput, unsigned long ulFrames, Run rRun)
{
    int iFunctionIndex = 0;
    const int iStatus =
        rUtil.ValidateProcessingFormatAndGetFunctionIndex(eInput, eOutput, rTable.List(), &iFunctionIndex);
    return iStatus >= 0 && ulFrames > 0 ? rRun(rTable[iFunctionIndex]) : iStatus;
}
