/// The steps of a call that the kernel classes share: query the buffers, call the kernel of a table entry, and set the
/// valid length.
#pragma once

#include "kernels/audio_processing_util.h"

#include <zta/host_interfaces.h>
#include <zta/status.h>

#include <initializer_list>

/// A buffer and the record that receives its buffer info. The record must be empty.
struct SZtaBufferQuery {
    IZtAudioSamples* pSamples;
    SZtAudioBufferInformations& rsInformations;
};

/// Queries buffers in their order, up to the first failure.
inline int ZtaQueryBuffers(CZtaAudioProcessingUtil& rUtil, std::initializer_list<SZtaBufferQuery> oBuffers)
{
    for (const SZtaBufferQuery& rsBuffer : oBuffers) {
        rsBuffer.rsInformations.sDescription.ulSize = sizeof(SZtAudioSamplesDescription);
        const int iStatus = rUtil.GetBufferInformations(rsBuffer.pSamples, &rsBuffer.rsInformations);
        if (iStatus < 0) {
            return iStatus;
        }
    }
    return ZT_NOERROR;
}

/// Finds the table entry of a format pair and, if there are frames to process, calls `rCall` with its kernel.
template <class Table, class Call>
int ZtaDispatchKernel(CZtaAudioProcessingUtil& rUtil, Table& rTable, EZtAudioSampleFormatProperty eInput,
                      EZtAudioSampleFormatProperty eOutput, unsigned long ulFrames, Call rCall)
{
    int iFunctionIndex = 0;
    const int iStatus =
        rUtil.ValidateProcessingFormatAndGetFunctionIndex(eInput, eOutput, rTable.List(), &iFunctionIndex);
    return iStatus >= 0 && ulFrames > 0 ? rCall(rTable[iFunctionIndex]) : iStatus;
}

/// Sets the valid length of a buffer in frames. `rsInformations` is its buffer info.
inline int ZtaSetValidFrames(IZtAudioSamples* pSamples, const SZtAudioBufferInformations& rsInformations,
                             unsigned long ulFrames)
{
    return pSamples->SetLength(ulFrames * static_cast<unsigned long>(rsInformations.iBytesPerFrame));
}
