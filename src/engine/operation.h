#pragma once

#include "component/hresult.h"
#include "component/smart_ptr.h"
#include "kernels/fade.h"

#include <zta/host_interfaces.h>
#include <zta/status.h>

#include <cstring>
#include <utility>

/// Functions that the operations share. Each operation calls them in its own code, because hosts observe the order.

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

/// Returns the status, and logs it if it is a failure. To be called as soon as the status is known: the host
/// observes the log line before the host calls that follow.
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

/// Holds a reference for the time of a call. Its operations are not virtual, and it uses TZtSmartPtr only where a host
/// observes the difference: a holder that is used while empty raises the same exception.
template <class Interface>
class TReferenceHolder {
public:
    TReferenceHolder(const TReferenceHolder&) = delete;
    TReferenceHolder& operator=(const TReferenceHolder&) = delete;

    /// The interface, or null.
    [[nodiscard]] Interface* Get() const { return m_pInterface; }

    Interface* operator->() const { return m_pInterface != nullptr ? m_pInterface : RaiseEmptyPointer<Interface>(); }

protected:
    /// Owns a reference that its caller has acquired.
    explicit TReferenceHolder(Interface* pInterface) : m_pInterface(pInterface) {}
    ~TReferenceHolder()
    {
        if (m_pInterface != nullptr) {
            m_pInterface->Release();
        }
    }

    Interface* m_pInterface;
};

/// A buffer of a worker. The worker needs a reference of its own, because it releases the saved operands before it
/// signals the buffers. Empty if the worker was called without its entry point.
class CBufferHolder : public TReferenceHolder<IZtAudioSamples> {
public:
    explicit CBufferHolder(IZtAudioSamples* pBuffer) : TReferenceHolder(Acquire(pBuffer)) {}

private:
    /// Called before the holder owns the reference: AddRef may raise an exception.
    static IZtAudioSamples* Acquire(IZtAudioSamples* pBuffer)
    {
        if (pBuffer != nullptr) {
            pBuffer->AddRef();
        }
        return pBuffer;
    }
};

/// The content of a buffer.
class CContentHolder : public TReferenceHolder<IZtAVContent> {
public:
    CContentHolder() : TReferenceHolder(nullptr) {}

    /// Queries the content of a buffer; the holder must be empty. After a failure the holder is still empty, even if
    /// the host returned a pointer.
    int Query(IZtAudioSamples* pBuffer)
    {
        void* pvContent = nullptr;
        const int iStatus = pBuffer->QueryInterface(IID_IZtAVContent, &pvContent);
        auto* pContent = static_cast<IZtAVContent*>(pvContent);
        if (iStatus >= 0) {
            m_pInterface = pContent;
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
        m_pInterface = static_cast<IZtAVContent*>(pvContent);
    }
};

/// The error code of an input, with 0 for the tolerated codes. `iStatus` if the host writes no code.
template <class Interface>
int ReadErrorCode(const TReferenceHolder<Interface>& rInput, int iStatus)
{
    rInput->GetErrorCode(&iStatus);
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

/// Requests the descriptions of buffers in this order until a request fails. The arguments are holders, each followed
/// by the empty description that it fills. Returns the status of the last request.
template <class... Rest>
[[gnu::always_inline]] inline int RequestDescriptions(const CBufferHolder& rBuffer,
                                                      SZtAudioSamplesDescription& rsDescription, Rest&... rRest)
{
    const int iStatus = rBuffer->GetAudioSamplesDescription(&rsDescription);
    if constexpr (sizeof...(rRest) != 0) {
        return iStatus < 0 ? iStatus : RequestDescriptions(rRest...);
    } else {
        return iStatus;
    }
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

/// True if the buffer requests a fade.
inline bool HasFade(const SZtAudioSamplesDescription& rsDescription)
{
    return rsDescription.bFadeIn || rsDescription.bFadeOut;
}

inline void SetFades(IZtAudioSamples* pBuffer, bool bFadeIn, bool bFadeOut)
{
    pBuffer->SetFadeIn(bFadeIn);
    pBuffer->SetFadeOut(bFadeOut);
}

/// Copies the fade flags of the request to the buffer, where the kernel reads them. If one is set, applies the fade and
/// clears the flags; the result is the status of the fade. Otherwise the result is `iStatus`, the status so far.
inline int ApplyRequestedFades(CZtaApplyFade& rKernel, IZtAudioSamples* pBuffer,
                               const SZtAudioSamplesDescription& rsRequest, int iStatus)
{
    SetFades(pBuffer, rsRequest.bFadeIn, rsRequest.bFadeOut);
    if (!HasFade(rsRequest)) {
        return iStatus;
    }
    iStatus = rKernel.ApplyFade(pBuffer);
    SetFades(pBuffer, false, false);
    return iStatus;
}
