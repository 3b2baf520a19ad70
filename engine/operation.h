#pragma once

#include "component/smart_ptr.h"

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

/// Obtains the side of a buffer that takes signals. After a failure there is none, whatever the host wrote.
int QueryContent(IZtAudioSamples* pBuffer, CContentPtr& rContent);

/// What a producer left on a buffer, with the tolerated codes read as 0. `iStatus` stands where the host writes none.
int ReadErrorCode(IZtAVContent* pContent, int iStatus);

/// The first checks of an output: without a content there is nothing to signal and nowhere to record a failure.
int OpenOutput(IZtAudioSamples* pOutput, CContentPtr& rContent);

/// The first checks of an input: its content, and what its producer left on it.
int OpenInput(IZtAudioSamples* pInput, CContentPtr& rContent);

/// One saved operand and where it is kept.
struct SSavedOperand {
    IZtAudioSamples** ppSlot;
    IZtAudioSamples* pBuffer;
};

/// Empties the slots, then fills them, with a reference each. ZT_E_INVALID_PARAMETER if an operand is null.
int SaveOperands(std::initializer_list<SSavedOperand> oOperands);

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

/// Gives a slot's reference back and clears the slot.
inline void ReleaseSlot(IZtAudioSamples*& rpSlot)
{
    if (rpSlot != nullptr) {
        rpSlot->Release();
        rpSlot = nullptr;
    }
}

/// The memory of two buffers, as a plain copy sees it: nothing here looks at the hosts' statuses, and a buffer without
/// an address has no bytes, or no room.
struct SByteRun {
    const unsigned char* pbyIn;
    unsigned long ulLength; ///< valid bytes of the input
    unsigned char* pbyOut;
    unsigned long ulCapacity; ///< capacity of the output, in bytes
};

SByteRun LookAtBytes(IZtAudioSamples* pIn, IZtAudioSamples* pOut);
