#include "kernels/mux_operation.h"

#include <algorithm>
#include <iterator>

namespace {

/// What is certain to be the buffer's memory.
unsigned long BytesHeld(const SZtAudioBufferInformations& rsBuffer)
{
    return std::max(rsBuffer.ulValidFrames, rsBuffer.ulCapacityFrames) *
           static_cast<unsigned long>(rsBuffer.iBytesPerFrame);
}

} // namespace

int SZtaMuxOperands::Digest(CZtaAudioProcessingUtil& rUtil, const SZtaMuxRules& rsRules, const SZtaMuxCall& rsCall)
{
    if (rsCall.ulCount == 0 || rsCall.ulCount > rsRules.ulMostBuffers) {
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

    unsigned long ulElementBytes = 0;
    for (unsigned long i = 0; i < rsCall.ulCount; ++i) {
        SZtAudioBufferInformations sBuffer;
        if (ZtaDigest(rUtil, {{rsCall.ppBuffers[i], sBuffer}}) < 0) {
            return ZT_E_INVALID_PARAMETER;
        }
        const auto psElement =
            std::find_if(std::begin(rsRules.asElements), std::end(rsRules.asElements),
                         [&](const SZtaMuxElement& rsElement) { return rsElement.eFormat == sBuffer.eFormat; });
        if (psElement == std::end(rsRules.asElements)) {
            return rsRules.iOtherFormat;
        }
        if (i == 0) {
            sFirst = sBuffer;
            ulElementBytes = psElement->ulBytes;
            ulFramesMoved = sBuffer.ulValidFrames;
        } else if (sBuffer.ulValidFrames != sFirst.ulValidFrames) {
            return ZT_E_BUFFER_SIZE_MISMATCH;
        }
        apvBuffers[i] = sBuffer.pvBuffer;
        ulFramesMoved = std::min(ulFramesMoved, BytesHeld(sBuffer) / ulElementBytes);
    }

    const int iStatus = ZtaDigest(rUtil, {{rsCall.pMux, sMux}});
    if (iStatus >= 0) {
        ulFramesMoved = std::min(ulFramesMoved, BytesHeld(sMux) / (ulElementBytes * rsCall.ulCount));
    }
    return iStatus;
}
