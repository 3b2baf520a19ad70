#include "kernels/mux_conversion.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

/// What a digest is made of.
struct SBufferProperties {
    SZtaWaveFormatInfo sFormat;
    unsigned long ulLength;
    unsigned long ulCapacity;

    bool operator==(const SBufferProperties& rsOther) const
    {
        return std::memcmp(&sFormat, &rsOther.sFormat, sizeof(sFormat)) == 0 && ulLength == rsOther.ulLength &&
               ulCapacity == rsOther.ulCapacity;
    }
};

/// Asks a buffer what GetBufferInformations asks, in the same order.
int QueryBuffer(IZtAudioSamples* pBuffer, SBufferProperties& rsAnswers, void*& rpvBuffer)
{
    SZtAudioSamplesDescription sDescription = {};
    sDescription.ulSize = sizeof(sDescription);
    int iStatus = pBuffer->GetAudioSamplesDescription(&sDescription);
    rsAnswers = {sDescription.sWaveFormat, 0, 0};
    if (iStatus >= 0) {
        iStatus = pBuffer->GetBufferAndLength(&rpvBuffer, &rsAnswers.ulLength);
    }
    return iStatus < 0 ? iStatus : pBuffer->GetBufferCapacity(&rsAnswers.ulCapacity);
}

} // namespace

int SZtaMuxOperands::QueryBuffers(CZtaAudioProcessingUtil& rUtil, const SZtaMuxTraits& rsRules,
                                  const SZtaMuxCall& rsCall)
{
    if (rsCall.ulCount == 0 || rsCall.ulCount > rsRules.ulMaxBuffers) {
        return ZT_E_INVALID_PARAMETER;
    }
    if (rsCall.ulVolumeCount != 0) {
        if (rsCall.ulVolumeCount / rsRules.ulChannels != rsCall.ulCount) {
            return ZT_E_INVALID_PARAMETER;
        }
        if (rsCall.psVolumes == nullptr) {
            return ZT_E_INVALID_POINTER;
        }
    }

    SBufferProperties sPrevious = {};
    unsigned long ulElementBytes = 0;
    for (unsigned long i = 0; i < rsCall.ulCount; ++i) {
        SBufferProperties sAnswers;
        apvBuffers[i] = nullptr;
        if (QueryBuffer(rsCall.ppBuffers[i], sAnswers, apvBuffers[i]) < 0) {
            return ZT_E_INVALID_PARAMETER;
        }
        // What passed for the buffer before passes for one that is like it.
        if (i != 0 && sAnswers == sPrevious) {
            continue;
        }
        sPrevious = sAnswers;

        EZtAudioSampleFormatProperty eFormat;
        if (rUtil.GetSampleFormat(&sAnswers.sFormat, &eFormat) < 0) {
            return ZT_E_INVALID_PARAMETER;
        }
        const auto psElement =
            std::find_if(std::begin(rsRules.asElements), std::end(rsRules.asElements),
                         [&](const SZtaMuxElement& rsElement) { return rsElement.eFormat == eFormat; });
        if (psElement == std::end(rsRules.asElements)) {
            return rsRules.iUnsupportedStatus;
        }
        const unsigned long ulFrameBytes = ZtaBytesPerFrame(sAnswers.sFormat);
        const unsigned long ulValidFrames = sAnswers.ulLength / ulFrameBytes;
        if (i == 0) {
            sFirst = {eFormat, ulFrameBytes, ulValidFrames};
            ulElementBytes = psElement->ulBytes;
            ulMaxFrames = kUnboundedFrames;
        } else if (ulValidFrames != sFirst.ulValidFrames) {
            return ZT_E_BUFFER_SIZE_MISMATCH;
        }
        ClampMaxFrames(ulValidFrames, sAnswers.ulCapacity / ulFrameBytes, ulFrameBytes, ulElementBytes);
    }

    sMux = {};
    const int iStatus = ZtaQueryBuffers(rUtil, {{rsCall.pMux, sMux}});
    if (iStatus >= 0) {
        ClampMaxFrames(sMux.ulValidFrames, sMux.ulCapacityFrames, static_cast<unsigned long>(sMux.iBytesPerFrame),
                       ulElementBytes * rsCall.ulCount);
    }
    return iStatus;
}

void SZtaMuxOperands::ClampMaxFrames(unsigned long ulValidFrames, unsigned long ulCapacityFrames,
                                     unsigned long ulFrameBytes, unsigned long ulProcessedFrameBytes)
{
    const unsigned long ulHeldFrames = std::max(ulValidFrames, ulCapacityFrames);
    // Almost always the bytes are the same: no division then.
    ulMaxFrames = std::min(ulMaxFrames, ulFrameBytes == ulProcessedFrameBytes
                                            ? ulHeldFrames
                                            : ulHeldFrames * ulFrameBytes / ulProcessedFrameBytes);
}
