#pragma once

#include "kernels/kernel_call.h"
#include "kernels/kernel_table.h"
#include "kernels/mux_kernels.h"
#include "kernels/volume.h"

#include <zta/status.h>

/// The operations of the mux classes: between an array of mono or stereo buffers and one mux buffer.

/// What an array may hold, and the bytes of its elements, which are mono samples or stereo frames.
struct SZtaMuxElement {
    EZtAudioSampleFormatProperty eFormat;
    unsigned long ulBytes;
};

/// How the four operations differ in what they take.
struct SZtaMuxTraits {
    unsigned long ulMaxBuffers;   ///< more, or none, is ZT_E_INVALID_PARAMETER
    unsigned long ulChannels;     ///< of one buffer. The volumes divided by it and rounded down must be as many as the
                                  ///< buffers: an odd volume too many passes, and the volume step has to refuse it.
    SZtaMuxElement asElements[3]; ///< the formats taken
    int iUnsupportedStatus;       ///< the status of any other
    const ZtaMuxKernel* pfnKernels; ///< by function index
};

constexpr SZtaMuxTraits ZtaMonoTraits(int iUnsupportedStatus, const ZtaMuxKernel* pfnKernels)
{
    return {64,
            1,
            {{keZtAudioSampleFormat24In32Mono, 4},
             {keZtAudioSampleFormat24In24Mono, 3},
             {keZtAudioSampleFormat16In16Mono, 2}},
            iUnsupportedStatus,
            pfnKernels};
}

constexpr SZtaMuxTraits ZtaStereoTraits(unsigned long ulMaxBuffers, int iUnsupportedStatus,
                                        const ZtaMuxKernel* pfnKernels)
{
    return {ulMaxBuffers,
            2,
            {{keZtAudioSampleFormat24In32Stereo, 8},
             {keZtAudioSampleFormat24In24Stereo, 6},
             {keZtAudioSampleFormat16In16Stereo, 4}},
            iUnsupportedStatus,
            pfnKernels};
}

/// The arguments of one call.
struct SZtaMuxCall {
    IZtAudioSamples** ppBuffers;
    unsigned long ulCount;
    IZtAudioSamples* pMux;
    SZtAudioMonoVolumeInfo* psVolumes;
    unsigned long ulVolumeCount;
};

/// The buffers of one call, as far as the call needs to know them.
struct SZtaMuxOperands {
    static constexpr unsigned long kMaxBuffers = 64;

    /// The first of the array. The others may differ from it in their container, but not in their length.
    struct SArrayFormat {
        EZtAudioSampleFormatProperty eFormat;
        unsigned long ulBytesPerFrame;
        unsigned long ulValidFrames;
    };

    void* apvBuffers[kMaxBuffers];
    SArrayFormat sFirst;
    SZtAudioBufferInformations sMux;

    /// The frames that every buffer has memory for. Fewer than those of the first buffer only if the array mixes
    /// containers, or if the mux is smaller than its outputs are long.
    unsigned long ulMaxFrames;

    /// Checks the counts and digests the buffers, in the array's order, then the mux.
    int QueryBuffers(CZtaAudioProcessingUtil& rUtil, const SZtaMuxTraits& rsRules, const SZtaMuxCall& rsCall);

private:
    /// Bounds the frames by what is certain to be a buffer's memory, of which ulProcessedFrameBytes are moved for each.
    void ClampMaxFrames(unsigned long ulValidFrames, unsigned long ulCapacityFrames, unsigned long ulFrameBytes,
                        unsigned long ulProcessedFrameBytes);
};

/// Finds the kernel of a pair of formats and, unless the buffers are empty, calls it with all frames of the first
/// buffer. It moves those that every buffer has memory for.
template <class Table>
int ZtaRunMuxKernel(CZtaAudioProcessingUtil& rUtil, Table& rTable, const SZtaMuxTraits& rsRules,
                    SZtaMuxOperands& rsOperands, unsigned long ulCount, EZtAudioSampleFormatProperty eInput,
                    EZtAudioSampleFormatProperty eOutput)
{
    int iFunctionIndex = 0;
    const int iStatus =
        rUtil.ValidateProcessingFormatAndGetFunctionIndex(eInput, eOutput, rTable.List(), &iFunctionIndex);
    if (iStatus < 0 || rsOperands.sFirst.ulValidFrames == 0) {
        return iStatus;
    }
    return rsRules.pfnKernels[iFunctionIndex](rsOperands.apvBuffers, ulCount, rsOperands.sMux.pvBuffer,
                                              rsOperands.sFirst.ulValidFrames, rsOperands.ulMaxFrames);
}

/// Interleaves the buffers into the mux, which must have its length set. Without volumes the mux ends with the length
/// of the buffers; with volumes it keeps its own, and all of that is scaled.
template <class Class, class Table>
int ZtaInterleaveMux(Class& rClass, Table& rTable, CZtaApplyVolume& rVolume, const SZtaMuxTraits& rsRules,
                     const SZtaMuxCall& rsCall)
{
    SZtaMuxOperands sOperands;
    int iStatus = sOperands.QueryBuffers(rClass, rsRules, rsCall);
    if (iStatus < 0) {
        return iStatus;
    }
    const SZtaMuxOperands::SArrayFormat& rsFirst = sOperands.sFirst;
    const SZtAudioBufferInformations& rsMux = sOperands.sMux;
    if (rsMux.ulValidFrames < rsFirst.ulValidFrames) {
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    iStatus = ZtaRunMuxKernel(rClass, rTable, rsRules, sOperands, rsCall.ulCount, rsFirst.eFormat, rsMux.eFormat);
    if (iStatus < 0) {
        return iStatus;
    }
    if (rsCall.ulVolumeCount != 0) {
        return rVolume.ApplyVolume(rsCall.pMux, rsCall.pMux, rsCall.psVolumes, rsCall.ulVolumeCount);
    }
    return rsCall.pMux->SetLength(static_cast<unsigned long>(rsMux.iBytesPerFrame) * rsFirst.ulValidFrames);
}

/// Splits the mux into the buffers, which must have their lengths set. Without volumes they end with the length of the
/// mux; with volumes they keep their own. Every buffer gets its last step, and the last failure is the one returned.
template <class Class, class Table>
int ZtaDeinterleaveMux(Class& rClass, Table& rTable, CZtaApplyVolume& rVolume, const SZtaMuxTraits& rsRules,
                       const SZtaMuxCall& rsCall)
{
    SZtaMuxOperands sOperands;
    int iStatus = sOperands.QueryBuffers(rClass, rsRules, rsCall);
    if (iStatus < 0) {
        return iStatus;
    }
    const SZtaMuxOperands::SArrayFormat& rsFirst = sOperands.sFirst;
    const SZtAudioBufferInformations& rsMux = sOperands.sMux;
    if (rsFirst.ulValidFrames < rsMux.ulValidFrames) {
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    iStatus = ZtaRunMuxKernel(rClass, rTable, rsRules, sOperands, rsCall.ulCount, rsMux.eFormat, rsFirst.eFormat);
    if (iStatus < 0) {
        return iStatus;
    }
    const unsigned long ulLength = rsFirst.ulBytesPerFrame * rsMux.ulValidFrames;
    for (unsigned long i = 0; i < rsCall.ulCount; ++i) {
        IZtAudioSamples* pOutput = rsCall.ppBuffers[i];
        const int iLast =
            rsCall.ulVolumeCount == 0
                ? pOutput->SetLength(ulLength)
                : rVolume.ApplyVolume(pOutput, pOutput, &rsCall.psVolumes[i * rsRules.ulChannels], rsRules.ulChannels);
        if (iLast < 0) {
            iStatus = iLast;
        }
    }
    return iStatus;
}
