#pragma once

#include "kernels/loops/loops.h"

#include <zta/status.h>

/// The bodies of the mux kernels. Block kernels move one fixed count of 24-in-32 buffers, counted bodies any count. All
/// move elements, which are mono samples or stereo frames; ulFrames counts them in one buffer.
///
/// Each has a Check, which tells whether the body takes its arguments, and looks at no sample. The body begins with it.

/// The frames that every buffer of a call has memory for. They bound what a kernel moves, and nothing else: the checks,
/// the block count and the tail are those of all ulFrames.
inline constexpr unsigned long kUnboundedFrames = ~0UL;

inline constexpr unsigned long kBlockCount16Bits = 0xFFFF;
inline constexpr unsigned long kBlockCountAllBits = ~0UL;

/// What all block kernels have; how they differ is in their rows below.
struct SZtaFixedCountKernel {
    unsigned long ulBuffers;        ///< any other count is ZT_E_INVALID_PARAMETER
    unsigned long ulBlockFrames;    ///< so many frames make a block; the frames left over are the tail
    unsigned long ulBlockCountMask; ///< where the count of blocks is 0 under this mask, hosts see the tail alone moved,
                                    ///< from the starts of the buffers to the starts of the buffers
    int iNullPointerStatus;         ///< the status of a null entry, or of no array

    /// With ulFrames 0 there is nothing to refuse, and nothing is looked at. No block kernel looks at the mux.
    int ValidateArguments(void* const* ppvBuffers, unsigned long ulBufferCount, const void* pvMux,
                          unsigned long ulFrames) const noexcept;
    unsigned long FramesToProcess(unsigned long ulFrames) const noexcept;
};

struct SZtaFixedCountInterleave : SZtaFixedCountKernel {
    ZtaInterleave SZtaSampleLoops::*pfnLoop;

    int operator()(void** ppvSources, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames,
                   unsigned long ulMaxFrames = kUnboundedFrames) const noexcept;
};

struct SZtaFixedCountDeinterleave : SZtaFixedCountKernel {
    ZtaDeinterleave SZtaSampleLoops::*pfnLoop;
    bool bRepeatsTailChannels; ///< of a tail of 3 frames, hosts see the third with channels 8 to 11 also in 12 to 15

    int operator()(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount, unsigned long ulFrames,
                   unsigned long ulMaxFrames = kUnboundedFrames) const noexcept;
};

/// What all counted bodies have. Outside the counts, or with no frame, the status is ZT_E_INVALID_PARAMETER. The array
/// is used up: each entry that was moved points behind its data afterwards.
struct SZtaAnyCountKernel {
    unsigned long ulMaxBuffers; ///< 2 is the least
    unsigned long ulElementBytes;

    bool Accepts(unsigned long ulBufferCount, unsigned long ulFrames) const noexcept;
    void AdvancePointers(void** ppvBuffers, unsigned long ulBufferCount, unsigned long ulFrames) const noexcept;
};

struct SZtaAnyCountInterleave : SZtaAnyCountKernel {
    ZtaInterleave SZtaSampleLoops::*pfnLoop;
    bool bValidatesPointers; ///< a null entry, or no array, is ZT_E_INVALID_PARAMETER; otherwise no array is silence in
                             ///< the mux, and the entries must be good

    int ValidateArguments(void* const* ppvSources, unsigned long ulBufferCount, const void* pvMux,
                          unsigned long ulFrames) const noexcept;
    int operator()(void** ppvSources, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames,
                   unsigned long ulMaxFrames = kUnboundedFrames) const noexcept;
};

/// With no mux the destinations receive silence.
struct SZtaAnyCountDeinterleave : SZtaAnyCountKernel {
    ZtaDeinterleave SZtaSampleLoops::*pfnLoop;

    int ValidateArguments(void* const* ppvDestinations, unsigned long ulBufferCount, const void* pvMux,
                          unsigned long ulFrames) const noexcept;
    int operator()(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount, unsigned long ulFrames,
                   unsigned long ulMaxFrames = kUnboundedFrames) const noexcept;
};

// clang-format off

//                                                      buffers, block, its mask,          null entry
inline constexpr SZtaFixedCountInterleave kInterleave4Mono   = {{ 4,  4,     kBlockCount16Bits, ZT_E_INVALID_PARAMETER},
                                                           &SZtaSampleLoops::pfnInterleave4};
inline constexpr SZtaFixedCountInterleave kInterleave8Mono   = {{ 8,  4,     kBlockCount16Bits, ZT_E_INVALID_PARAMETER},
                                                           &SZtaSampleLoops::pfnInterleave4};
inline constexpr SZtaFixedCountInterleave kInterleave16Mono  = {{16,  4,     kBlockCountAllBits,       ZT_E_INVALID_POINTER},
                                                           &SZtaSampleLoops::pfnInterleave4};
inline constexpr SZtaFixedCountInterleave kInterleave2Stereo = {{ 2,  2,     kBlockCount16Bits, ZT_E_INVALID_PARAMETER},
                                                           &SZtaSampleLoops::pfnInterleave8};
inline constexpr SZtaFixedCountInterleave kInterleave4Stereo = {{ 4,  2,     kBlockCount16Bits, ZT_E_INVALID_PARAMETER},
                                                           &SZtaSampleLoops::pfnInterleave8};
inline constexpr SZtaFixedCountInterleave kInterleave8Stereo = {{ 8,  2,     kBlockCount16Bits, ZT_E_INVALID_PARAMETER},
                                                           &SZtaSampleLoops::pfnInterleave8};

inline constexpr SZtaFixedCountDeinterleave kDeinterleave4Mono   = {{ 4, 4, kBlockCount16Bits, ZT_E_INVALID_POINTER},
                                                 &SZtaSampleLoops::pfnDeinterleave4, false};
inline constexpr SZtaFixedCountDeinterleave kDeinterleave8Mono   = {{ 8, 4, kBlockCount16Bits, ZT_E_INVALID_POINTER},
                                                 &SZtaSampleLoops::pfnDeinterleave4, false};
inline constexpr SZtaFixedCountDeinterleave kDeinterleave16Mono  = {{16, 4, kBlockCount16Bits, ZT_E_INVALID_POINTER},
                                                 &SZtaSampleLoops::pfnDeinterleave4, true};
inline constexpr SZtaFixedCountDeinterleave kDeinterleave2Stereo = {{ 2, 2, kBlockCount16Bits, ZT_E_INVALID_POINTER},
                                                 &SZtaSampleLoops::pfnDeinterleave8, false};
inline constexpr SZtaFixedCountDeinterleave kDeinterleave4Stereo = {{ 4, 2, kBlockCount16Bits, ZT_E_INVALID_POINTER},
                                                 &SZtaSampleLoops::pfnDeinterleave8, false};
inline constexpr SZtaFixedCountDeinterleave kDeinterleave8Stereo = {{ 8, 2, kBlockCount16Bits, ZT_E_INVALID_POINTER},
                                                 &SZtaSampleLoops::pfnDeinterleave8, false};

//                                                             most buffers, bytes,           loop, looks at entries
inline constexpr SZtaAnyCountInterleave kInterleaveMono24In32   = {{64, 4}, &SZtaSampleLoops::pfnInterleave4, false};
inline constexpr SZtaAnyCountInterleave kInterleaveMono24In24   = {{64, 3}, &SZtaSampleLoops::pfnInterleave3, true};
inline constexpr SZtaAnyCountInterleave kInterleaveMono16In16   = {{64, 2}, &SZtaSampleLoops::pfnInterleave2, false};
inline constexpr SZtaAnyCountInterleave kInterleaveStereo24In32 = {{32, 8}, &SZtaSampleLoops::pfnInterleave8, false};
inline constexpr SZtaAnyCountInterleave kInterleaveStereo24In24 = {{32, 6}, &SZtaSampleLoops::pfnInterleave6, true};
inline constexpr SZtaAnyCountInterleave kInterleaveStereo16In16 = {{32, 4}, &SZtaSampleLoops::pfnInterleave4, false};

inline constexpr SZtaAnyCountDeinterleave kDeinterleaveMono24In32   = {{64, 4}, &SZtaSampleLoops::pfnDeinterleave4};
inline constexpr SZtaAnyCountDeinterleave kDeinterleaveMono24In24   = {{64, 3}, &SZtaSampleLoops::pfnDeinterleave3};
inline constexpr SZtaAnyCountDeinterleave kDeinterleaveMono16In16   = {{64, 2}, &SZtaSampleLoops::pfnDeinterleave2};
inline constexpr SZtaAnyCountDeinterleave kDeinterleaveStereo24In32 = {{32, 8}, &SZtaSampleLoops::pfnDeinterleave8};
inline constexpr SZtaAnyCountDeinterleave kDeinterleaveStereo24In24 = {{32, 6}, &SZtaSampleLoops::pfnDeinterleave6};
inline constexpr SZtaAnyCountDeinterleave kDeinterleaveStereo16In16 = {{32, 4}, &SZtaSampleLoops::pfnDeinterleave4};

// clang-format on

/// A kernel with a bound, for a table with one entry for each format pair.
using ZtaMuxKernel = int (*)(void** ppvBuffers, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames,
                             unsigned long ulMaxFrames) noexcept;

template <const auto& rsKernel>
int ZtaCallMuxKernel(void** ppvBuffers, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames,
                     unsigned long ulMaxFrames) noexcept
{
    if constexpr (requires { rsKernel(ppvBuffers, ulBufferCount, pvMux, ulFrames, ulMaxFrames); }) {
        return rsKernel(ppvBuffers, ulBufferCount, pvMux, ulFrames, ulMaxFrames);
    } else {
        return rsKernel(pvMux, ppvBuffers, ulBufferCount, ulFrames, ulMaxFrames);
    }
}
