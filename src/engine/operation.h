#pragma once

#include "component/hresult.h"
#include "component/smart_ptr.h"
#include "kernels/fade.h"

#include <zta/host_interfaces.h>
#include <zta/status.h>

#include <cstring>
#include <utility>

/// Functions that the operations share. Each operation calls them in its own code, because hosts observe the order.

using CSamplesPtr = TZtSmartPtr<IZtAudioSamples>;

/// An empty description with its size field set.
inline constexpr SZtAudioSamplesDescription kEmptyDescription = {
    sizeof(SZtAudioSamplesDescription), 0, 0, false, false, {}};

/// Formats are equal if all their bytes are equal, the size field included.
inline bool IsSameFormat(const SZtaWaveFormatInfo& rsFirst, const SZtaWaveFormatInfo& rsSecond)
{
    return std::memcmp(&rsFirst, &rsSecond, sizeof(SZtaWaveFormatInfo)) == 0;
}

/// The host marks buffers that were played late or dropped. Their samples are valid.
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

/// Returns the status, and logs it if it is a failure. To be called as soon as the status is known: the host sees the
/// log line before the host calls that follow.
inline int LogIfFailed(int iStatus)
{
    if (iStatus < 0) {
        CZtHResult oReport(iStatus);
    }
    return iStatus;
}

/// Returns 0 for a tolerated error code, and any other code unchanged.
constexpr int ClearToleratedCode(int iCode)
{
    return IsToleratedErrorCode(iCode) ? ZT_NOERROR : iCode;
}

/// Raises the exception of a smart pointer that is used while empty.
template <class Interface>
[[gnu::cold, gnu::noinline]] inline Interface* RaiseEmptyPointer()
{
    return TZtSmartPtr<Interface>().operator->();
}

/// Owns the IZtAVContent of a buffer for the time of a call. Its operations are not virtual, and it uses TZtSmartPtr
/// only where a host sees the difference: a holder that is used while empty raises the same exception.
class CContentHolder {
public:
    CContentHolder() = default;
    CContentHolder(const CContentHolder&) = delete;
    CContentHolder& operator=(const CContentHolder&) = delete;

    ~CContentHolder()
    {
        if (m_pContent != nullptr) {
            m_pContent->Release();
        }
    }

    /// Queries the content of a buffer; the holder must be empty. After a failure the holder is still empty, even if
    /// the host returned a pointer.
    int Query(IZtAudioSamples* pBuffer)
    {
        void* pvContent = nullptr;
        const int iStatus = pBuffer->QueryInterface(IID_IZtAVContent, &pvContent);
        auto* pContent = static_cast<IZtAVContent*>(pvContent);
        if (iStatus >= 0) {
            m_pContent = pContent;
        } else if (pContent != nullptr) {
            pContent->Release();
        }
        return iStatus;
    }

    /// Queries as Query does, but keeps any pointer that the host returns, also from a query that fails.
    void QueryPointer(IZtAudioSamples* pBuffer)
    {
        void* pvContent = nullptr;
        pBuffer->QueryInterface(IID_IZtAVContent, &pvContent);
        m_pContent = static_cast<IZtAVContent*>(pvContent);
    }

    /// The content, or null.
    [[nodiscard]] IZtAVContent* Get() const { return m_pContent; }

    IZtAVContent* operator->() const { return m_pContent != nullptr ? m_pContent : RaiseEmptyPointer<IZtAVContent>(); }

private:
    IZtAVContent* m_pContent = nullptr;
};

/// The error code of an input, with 0 for the tolerated codes. `iStatus` if the host writes no code.
inline int ReadErrorCode(const CContentHolder& rContent, int iStatus)
{
    rContent->GetErrorCode(&iStatus);
    return ClearToleratedCode(iStatus);
}

/// The first checks of an output: without a content there is nothing to signal and nowhere to record a failure.
inline int AcquireOutput(IZtAudioSamples* pOutput, CContentHolder& rContent)
{
    if (pOutput == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    const int iStatus = rContent.Query(pOutput);
    return iStatus < 0 ? ZT_E_INVALID_PARAMETER : iStatus;
}

/// The first checks of an input: its content and its error code.
inline int AcquireInput(IZtAudioSamples* pInput, CContentHolder& rContent)
{
    if (pInput == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    const int iStatus = rContent.Query(pInput);
    return iStatus < 0 ? iStatus : ReadErrorCode(rContent, iStatus);
}

/// Requests the description of a buffer. Sets the size field each time: the host may have overwritten it in an earlier
/// request.
inline int RequestDescription(IZtAudioSamples* pBuffer, SZtAudioSamplesDescription& rsDescription)
{
    rsDescription.ulSize = sizeof(SZtAudioSamplesDescription);
    return pBuffer->GetAudioSamplesDescription(&rsDescription);
}

/// Clears a slot and releases its reference. The slot is clear even if Release raises an exception.
inline void ReleaseSlot(IZtAudioSamples*& rpSlot)
{
    if (rpSlot != nullptr) {
        std::exchange(rpSlot, nullptr)->Release();
    }
}

/// Saves an operand in an empty slot, with a reference. ZT_E_INVALID_PARAMETER if the operand is null. The slot stays
/// empty if AddRef raises an exception.
inline int FillSlot(IZtAudioSamples*& rpSlot, IZtAudioSamples* pBuffer)
{
    if (pBuffer == nullptr) {
        return ZT_E_INVALID_PARAMETER;
    }
    pBuffer->AddRef();
    rpSlot = pBuffer;
    return ZT_NOERROR;
}

/// Returns the first status, or the second if only that one is a failure.
constexpr int FirstFailure(int iFirst, int iSecond)
{
    return iFirst >= 0 && iSecond < 0 ? iSecond : iFirst;
}

/// FirstFailure, which logs the second status if it becomes the result.
inline int LogFirstFailure(int iFirst, int iSecond)
{
    return iFirst >= 0 ? FirstFailure(iFirst, LogIfFailed(iSecond)) : iFirst;
}

inline void SetFades(IZtAudioSamples* pBuffer, bool bFadeIn, bool bFadeOut)
{
    pBuffer->SetFadeIn(bFadeIn);
    pBuffer->SetFadeOut(bFadeOut);
}

/// Copies the fade flags to the buffer. If one is set, applies the fade and clears the flags; the result is the status
/// of the fade. Otherwise the result is `iStatus`, the status so far.
inline int FadeInPlace(CZtaApplyFade& rKernel, IZtAudioSamples* pBuffer, const SZtAudioSamplesDescription& rsRequest,
                       int iStatus)
{
    SetFades(pBuffer, rsRequest.bFadeIn, rsRequest.bFadeOut);
    if (!rsRequest.bFadeIn && !rsRequest.bFadeOut) {
        return iStatus;
    }
    iStatus = rKernel.ApplyFade(pBuffer);
    SetFades(pBuffer, false, false);
    return iStatus;
}
