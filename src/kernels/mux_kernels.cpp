#include "kernels/mux_kernels.h"

#include <algorithm>
#include <cstring>

namespace {

bool HasNullPointer(void* const* ppvBuffers, unsigned long ulBufferCount)
{
    return ppvBuffers == nullptr ||
           std::find(ppvBuffers, ppvBuffers + ulBufferCount, nullptr) != ppvBuffers + ulBufferCount;
}

} // namespace

int SZtaFixedCountKernel::ValidateArguments(void* const* ppvBuffers, unsigned long ulBufferCount,
                                            unsigned long ulFrames) const noexcept
{
    if (ulFrames == 0) {
        return ZT_NOERROR;
    }
    if (ulBufferCount != ulBuffers) {
        return ZT_E_INVALID_PARAMETER;
    }
    return HasNullPointer(ppvBuffers, ulBufferCount) ? iNullPointerStatus : ZT_NOERROR;
}

unsigned long SZtaFixedCountKernel::FramesToProcess(unsigned long ulFrames) const noexcept
{
    const bool bBlocks = (ulFrames / ulBlockFrames & ulBlockCountMask) != 0;
    return bBlocks ? ulFrames : ulFrames % ulBlockFrames;
}

int SZtaFixedCountInterleave::operator()(void** ppvSources, unsigned long ulBufferCount, void* pvMux,
                                         unsigned long ulFrames, unsigned long ulMaxFrames) const noexcept
{
    const int iStatus = ValidateArguments(ppvSources, ulBufferCount, ulFrames);
    if (iStatus >= 0 && ulFrames > 0) {
        (ZtaActiveLoops().*pfnLoop)(ppvSources, ulBuffers, pvMux, std::min(FramesToProcess(ulFrames), ulMaxFrames));
    }
    return iStatus;
}

int SZtaFixedCountDeinterleave::operator()(void** ppvDestinations, unsigned long ulBufferCount, void* pvMux,
                                           unsigned long ulFrames, unsigned long ulMaxFrames) const noexcept
{
    const int iStatus = ValidateArguments(ppvDestinations, ulBufferCount, ulFrames);
    if (iStatus < 0 || ulFrames == 0) {
        return iStatus;
    }
    const unsigned long ulProcessed = FramesToProcess(ulFrames);
    (ZtaActiveLoops().*pfnLoop)(pvMux, ppvDestinations, ulBuffers, std::min(ulProcessed, ulMaxFrames));
    if (bRepeatsTailChannels && ulProcessed % ulBlockFrames == 3 && ulProcessed <= ulMaxFrames) {
        constexpr unsigned long kSample = 4;
        const unsigned long ulLast = (ulProcessed - 1) * kSample;
        const auto* pucMux = static_cast<const unsigned char*>(pvMux) + ulLast * ulBuffers;
        for (unsigned long c = 12; c < 16; ++c) {
            std::memcpy(static_cast<unsigned char*>(ppvDestinations[c]) + ulLast, pucMux + (c - 4) * kSample, kSample);
        }
    }
    return ZT_NOERROR;
}

bool SZtaAnyCountKernel::Accepts(unsigned long ulBufferCount, unsigned long ulFrames) const noexcept
{
    return ulBufferCount >= 2 && ulBufferCount <= ulMaxBuffers && ulFrames != 0;
}

void SZtaAnyCountKernel::AdvancePointers(void** ppvBuffers, unsigned long ulBufferCount,
                                         unsigned long ulFrames) const noexcept
{
    for (unsigned long i = 0; i < ulBufferCount; ++i) {
        ppvBuffers[i] = static_cast<unsigned char*>(ppvBuffers[i]) + ulFrames * ulElementBytes;
    }
}

int SZtaAnyCountInterleave::ValidateArguments(void* const* ppvSources, unsigned long ulBufferCount, const void* pvMux,
                                              unsigned long ulFrames) const noexcept
{
    if (!Accepts(ulBufferCount, ulFrames)) {
        return ZT_E_INVALID_PARAMETER;
    }
    if (pvMux == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    return bValidatesPointers && HasNullPointer(ppvSources, ulBufferCount) ? ZT_E_INVALID_PARAMETER : ZT_NOERROR;
}

int SZtaAnyCountInterleave::operator()(void** ppvSources, unsigned long ulBufferCount, void* pvMux,
                                       unsigned long ulFrames, unsigned long ulMaxFrames) const noexcept
{
    const int iStatus = ValidateArguments(ppvSources, ulBufferCount, pvMux, ulFrames);
    if (iStatus < 0) {
        return iStatus;
    }
    ulFrames = std::min(ulFrames, ulMaxFrames);
    if (ppvSources == nullptr) {
        std::memset(pvMux, 0, ulBufferCount * ulElementBytes * ulFrames);
        return ZT_NOERROR;
    }
    (ZtaActiveLoops().*pfnLoop)(ppvSources, ulBufferCount, pvMux, ulFrames);
    AdvancePointers(ppvSources, ulBufferCount, ulFrames);
    return ZT_NOERROR;
}

int SZtaAnyCountDeinterleave::ValidateArguments(void* const* ppvDestinations, unsigned long ulBufferCount,
                                                unsigned long ulFrames) const noexcept
{
    if (!Accepts(ulBufferCount, ulFrames)) {
        return ZT_E_INVALID_PARAMETER;
    }
    return HasNullPointer(ppvDestinations, ulBufferCount) ? ZT_E_INVALID_POINTER : ZT_NOERROR;
}

int SZtaAnyCountDeinterleave::operator()(void** ppvDestinations, unsigned long ulBufferCount, void* pvMux,
                                         unsigned long ulFrames, unsigned long ulMaxFrames) const noexcept
{
    const int iStatus = ValidateArguments(ppvDestinations, ulBufferCount, ulFrames);
    if (iStatus < 0) {
        return iStatus;
    }
    ulFrames = std::min(ulFrames, ulMaxFrames);
    if (pvMux == nullptr) {
        for (unsigned long i = 0; i < ulBufferCount; ++i) {
            std::memset(ppvDestinations[i], 0, ulFrames * ulElementBytes);
        }
        return ZT_NOERROR;
    }
    (ZtaActiveLoops().*pfnLoop)(pvMux, ppvDestinations, ulBufferCount, ulFrames);
    AdvancePointers(ppvDestinations, ulBufferCount, ulFrames);
    return ZT_NOERROR;
}
