#pragma once

#include "component/hresult.h"
#include "component/smart_ptr.h"
#include "kernels/fade.h"

#include <zta/host_interfaces.h>
#include <zta/status.h>

#include <cstring>
#include <initializer_list>

/// The pieces that the operations of the engine share. The order in which an operation uses them is what a host sees
/// of it; it stands in the operation's own text.

using CContentPtr = TZtSmartPtr<IZtAVContent>;
using CSamplesPtr = TZtSmartPtr<IZtAudioSamples>;

/// A description that is ready to be filled.
inline constexpr SZtAudioSamplesDescription kEmptyDescription = {
    sizeof(SZtAudioSamplesDescription), 0, 0, false, false, {}};

/// Formats are equal when their bytes are, the size field included.
inline bool IsSameFormat(const SZtaWaveFormatInfo& rsFirst, const SZtaWaveFormatInfo& rsSecond)
{
    return std::memcmp(&rsFirst, &rsSecond, sizeof(SZtaWaveFormatInfo)) == 0;
}

/// The output stage marks buffers that it played late or dropped. Such a buffer is as good an input as any other.
constexpr bool IsToleratedErrorCode(int iCode)
{
    switch (iCode) {
    case kZtSynchroStatusPlayedLate:
    case kZtSynchroStatusCancelledLate:
    case kZtSynchroStatusRepeatedFrame:
    case kZtSynchroStatusInvalidBufferTime:
    case kZtSynchroStatusDeviceNotReady:
    case kZtSynchroStatusCancelled:
        return true;
    default:
        return false;
    }
}

/// The status, of which the host's log is told if it is a failure.
inline int Reported(int iStatus)
{
    if (iStatus < 0) {
        CZtHResult oReport(iStatus);
    }
    return iStatus;
}

/// Obtains the side of a buffer that takes signals. After a failure there is none, whatever the host wrote.
inline int QueryContent(IZtAudioSamples* pBuffer, CContentPtr& rContent)
{
    void* pvContent = nullptr;
    const int iStatus = pBuffer->QueryInterface(IID_IZtAVContent, &pvContent);
    auto* pContent = static_cast<IZtAVContent*>(pvContent);
    if (iStatus >= 0) {
        // Takes over the reference that the query handed out. Named by its class, so that it is no virtual call.
        *rContent.CContentPtr::operator&() = pContent;
    } else if (pContent != nullptr) {
        pContent->Release();
    }
    return iStatus;
}

/// What a producer left on a buffer, with the tolerated codes read as 0. `iStatus` stands where the host writes none.
inline int ReadErrorCode(IZtAVContent* pContent, int iStatus)
{
    pContent->GetErrorCode(&iStatus);
    return IsToleratedErrorCode(iStatus) ? ZT_NOERROR : iStatus;
}

/// The first checks of an output: without a content there is nothing to signal and nowhere to record a failure.
inline int OpenOutput(IZtAudioSamples* pOutput, CContentPtr& rContent)
{
    if (pOutput == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    const int iStatus = QueryContent(pOutput, rContent);
    return iStatus < 0 ? ZT_E_INVALID_PARAMETER : iStatus;
}

/// The first checks of an input: its content, and what its producer left on it.
inline int OpenInput(IZtAudioSamples* pInput, CContentPtr& rContent)
{
    if (pInput == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    const int iStatus = QueryContent(pInput, rContent);
    return iStatus < 0 ? iStatus : ReadErrorCode(rContent.CContentPtr::operator*(), iStatus);
}

/// Gives a slot's reference back and clears the slot.
inline void ReleaseSlot(IZtAudioSamples*& rpSlot)
{
    if (rpSlot != nullptr) {
        rpSlot->Release();
        rpSlot = nullptr;
    }
}

/// One saved operand and where it is kept.
struct SSavedOperand {
    IZtAudioSamples** ppSlot;
    IZtAudioSamples* pBuffer;
};

/// Empties the slots, then fills them, with a reference each. ZT_E_INVALID_PARAMETER if an operand is null.
inline int SaveOperands(std::initializer_list<SSavedOperand> oOperands)
{
    for (const SSavedOperand& rsOperand : oOperands) {
        ReleaseSlot(*rsOperand.ppSlot);
    }
    int iStatus = ZT_NOERROR;
    for (const SSavedOperand& rsOperand : oOperands) {
        if (rsOperand.pBuffer == nullptr) {
            iStatus = ZT_E_INVALID_PARAMETER;
            continue;
        }
        *rsOperand.ppSlot = rsOperand.pBuffer;
        rsOperand.pBuffer->AddRef();
    }
    return iStatus;
}

/// The first of two statuses, unless only the second is a failure.
constexpr int FirstFailure(int iFirst, int iSecond)
{
    return iFirst >= 0 && iSecond < 0 ? iSecond : iFirst;
}

inline void SetFades(IZtAudioSamples* pBuffer, bool bFadeIn, bool bFadeOut)
{
    pBuffer->SetFadeIn(bFadeIn);
    pBuffer->SetFadeOut(bFadeOut);
}

/// The memory of two buffers, as a plain copy sees it: nothing here looks at the hosts' statuses, and a buffer without
/// an address has no bytes, or no room.
struct SByteRun {
    const unsigned char* pbyIn;
    unsigned long ulLength; ///< valid bytes of the input
    unsigned char* pbyOut;
    unsigned long ulCapacity; ///< capacity of the output, in bytes
};

inline SByteRun LookAtBytes(IZtAudioSamples* pIn, IZtAudioSamples* pOut)
{
    void* pvIn = nullptr;
    void* pvOut = nullptr;
    unsigned long ulLength = 0;
    unsigned long ulCapacity = 0;
    unsigned long ulOutLength = 0;
    pIn->GetBufferAndLength(&pvIn, &ulLength);
    pOut->GetBufferCapacity(&ulCapacity);
    pOut->GetBufferAndLength(&pvOut, &ulOutLength);
    return {static_cast<const unsigned char*>(pvIn), pvIn == nullptr ? 0 : ulLength, static_cast<unsigned char*>(pvOut),
            pvOut == nullptr ? 0 : ulCapacity};
}

/// Copies the valid bytes. The output's valid length stays as it was: whoever wants it to follow sets it beforehand.
inline int ByteCopy(IZtAudioSamples* pIn, IZtAudioSamples* pOut)
{
    const SByteRun sRun = LookAtBytes(pIn, pOut);
    if (sRun.ulLength > sRun.ulCapacity) {
        void* pvContent = nullptr;
        pOut->QueryInterface(IID_IZtAVContent, &pvContent);
        if (pvContent != nullptr) {
            // The reference stays on the output: hosts see one more count after a copy that did not fit.
            static_cast<IZtAVContent*>(pvContent)->SetErrorCode(ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        }
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    if (sRun.ulLength != 0) {
        std::memmove(sRun.pbyOut, sRun.pbyIn, sRun.ulLength);
    }
    return ZT_NOERROR;
}

/// Hands a request for fades on to a buffer and, if there is one, carries it out and clears it there.
inline int FadeInPlace(CZtaApplyFade& rKernel, IZtAudioSamples* pBuffer, const SZtAudioSamplesDescription& rsRequest)
{
    SetFades(pBuffer, rsRequest.bFadeIn, rsRequest.bFadeOut);
    if (!rsRequest.bFadeIn && !rsRequest.bFadeOut) {
        return ZT_NOERROR;
    }
    const int iStatus = rKernel.ApplyFade(pBuffer);
    SetFades(pBuffer, false, false);
    return iStatus;
}
