#include "kernels/mux_kernels.h"

#include <algorithm>
#include <cstring>

namespace {

bool HasNullEntry(void* const* ppvBuffers, unsigned long ulBufferCount)
{
    return ppvBuffers == nullptr ||
           std::find(ppvBuffers, ppvBuffers + ulBufferCount, nullptr) != ppvBuffers + ulBufferCount;
}

} // namespace

int SZtaBlockKernel::Check(void* const* ppvBuffers, unsigned long ulBufferCount, const void* /*pvMux*/,
                           unsigned long ulFrames) const noexcept
{
    if (ulFrames == 0) {
        return ZT_NOERROR;
    }
    if (ulBufferCount != ulBuffers) {
        return ZT_E_INVALID_PARAMETER;
    }
    return HasNullEntry(ppvBuffers, ulBufferCount) ? iNullEntry : ZT_NOERROR;
}

unsigned long SZtaBlockKernel::FramesMoved(unsigned long ulFrames) const noexcept
{
    const bool bBlocks = (ulFrames / ulBlockFrames & ulBlockMask) != 0;
    return bBlocks ? ulFrames : ulFrames % ulBlockFrames;
}

int SZtaBlockInterleave::operator()(void** ppvSources, unsigned long ulBufferCount, void* pvMux,
                                    unsigned long ulFrames) const noexcept
{
    const int iStatus = Check(ppvSources, ulBufferCount, pvMux, ulFrames);
    if (iStatus >= 0 && ulFrames > 0) {
        (ZtaActiveLoops().*pfnLoop)(ppvSources, ulBuffers, pvMux, FramesMoved(ulFrames));
    }
    return iStatus;
}

int SZtaBlockSplit::operator()(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount,
                               unsigned long ulFrames) const noexcept
{
    const int iStatus = Check(ppvDestinations, ulBufferCount, pvMux, ulFrames);
    if (iStatus < 0 || ulFrames == 0) {
        return iStatus;
    }
    const unsigned long ulMoved = FramesMoved(ulFrames);
    (ZtaActiveLoops().*pfnLoop)(pvMux, ppvDestinations, ulBuffers, ulMoved);
    if (bThirdOfTailIsWrong && ulMoved % ulBlockFrames == 3) {
        constexpr unsigned long kSample = 4;
        const unsigned long ulLast = (ulMoved - 1) * kSample;
        const auto* pucMux = static_cast<const unsigned char*>(pvMux) + ulLast * ulBuffers;
        for (unsigned long c = 12; c < 16; ++c) {
            std::memcpy(static_cast<unsigned char*>(ppvDestinations[c]) + ulLast, pucMux + (c - 4) * kSample, kSample);
        }
    }
    return ZT_NOERROR;
}

bool SZtaCountedBody::Takes(unsigned long ulBufferCount, unsigned long ulFrames) const noexcept
{
    return ulBufferCount >= 2 && ulBufferCount <= ulMostBuffers && ulFrames != 0;
}

void SZtaCountedBody::UseUp(void** ppvBuffers, unsigned long ulBufferCount, unsigned long ulFrames) const noexcept
{
    for (unsigned long i = 0; i < ulBufferCount; ++i) {
        ppvBuffers[i] = static_cast<unsigned char*>(ppvBuffers[i]) + ulFrames * ulElementBytes;
    }
}

int SZtaCountedInterleave::Check(void* const* ppvSources, unsigned long ulBufferCount, const void* pvMux,
                                 unsigned long ulFrames) const noexcept
{
    if (!Takes(ulBufferCount, ulFrames)) {
        return ZT_E_INVALID_PARAMETER;
    }
    if (pvMux == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    return bLooksAtEntries && HasNullEntry(ppvSources, ulBufferCount) ? ZT_E_INVALID_PARAMETER : ZT_NOERROR;
}

int SZtaCountedInterleave::operator()(void** ppvSources, unsigned long ulBufferCount, void* pvMux,
                                      unsigned long ulFrames) const noexcept
{
    const int iStatus = Check(ppvSources, ulBufferCount, pvMux, ulFrames);
    if (iStatus < 0) {
        return iStatus;
    }
    if (ppvSources == nullptr) {
        std::memset(pvMux, 0, ulBufferCount * ulElementBytes * ulFrames);
        return ZT_NOERROR;
    }
    (ZtaActiveLoops().*pfnLoop)(ppvSources, ulBufferCount, pvMux, ulFrames);
    UseUp(ppvSources, ulBufferCount, ulFrames);
    return ZT_NOERROR;
}

int SZtaCountedSplit::Check(void* const* ppvDestinations, unsigned long ulBufferCount, const void* /*pvMux*/,
                            unsigned long ulFrames) const noexcept
{
    if (!Takes(ulBufferCount, ulFrames)) {
        return ZT_E_INVALID_PARAMETER;
    }
    return HasNullEntry(ppvDestinations, ulBufferCount) ? ZT_E_INVALID_POINTER : ZT_NOERROR;
}

int SZtaCountedSplit::operator()(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount,
                                 unsigned long ulFrames) const noexcept
{
    const int iStatus = Check(ppvDestinations, ulBufferCount, pvMux, ulFrames);
    if (iStatus < 0) {
        return iStatus;
    }
    if (pvMux == nullptr) {
        for (unsigned long i = 0; i < ulBufferCount; ++i) {
            std::memset(ppvDestinations[i], 0, ulFrames * ulElementBytes);
        }
        return ZT_NOERROR;
    }
    (ZtaActiveLoops().*pfnLoop)(pvMux, ppvDestinations, ulBufferCount, ulFrames);
    UseUp(ppvDestinations, ulBufferCount, ulFrames);
    return ZT_NOERROR;
}
