#pragma once

#include "kernels/loops/loops.h"

#include <zta/status.h>

/// The bodies of the mux kernels. Block kernels move one fixed count of 24-in-32 buffers, counted bodies any count. All
/// move elements, which are mono samples or stereo frames; ulFrames counts them in one buffer.
///
/// Each has a Check, which tells whether the body takes its arguments, and looks at no sample. The body begins with it.

inline constexpr unsigned long kLow16BitsOfCount = 0xFFFF;
inline constexpr unsigned long kWholeCount = ~0UL;

/// What all block kernels have; how they differ is in their rows below.
struct SZtaBlockKernel {
    unsigned long ulBuffers;     ///< any other count is ZT_E_INVALID_PARAMETER
    unsigned long ulBlockFrames; ///< so many frames make a block; the frames left over are the tail
    unsigned long ulBlockMask;   ///< where the count of blocks is 0 under this mask, hosts see the tail alone moved,
                                 ///< from the starts of the buffers to the starts of the buffers
    int iNullEntry;              ///< the status of a null entry, or of no array

    /// With ulFrames 0 there is nothing to refuse, and nothing is looked at. No block kernel looks at the mux.
    int Check(void* const* ppvBuffers, unsigned long ulBufferCount, const void* pvMux,
              unsigned long ulFrames) const noexcept;
    unsigned long FramesMoved(unsigned long ulFrames) const noexcept;
};

struct SZtaBlockInterleave : SZtaBlockKernel {
    ZtaInterleave SZtaSampleLoops::*pfnLoop;

    int operator()(void** ppvSources, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames) const noexcept;
};

struct SZtaBlockSplit : SZtaBlockKernel {
    ZtaSplit SZtaSampleLoops::*pfnLoop;
    bool bThirdOfTailIsWrong; ///< of a tail of 3 frames, hosts see the third with channels 8 to 11 also in 12 to 15

    int operator()(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount,
                   unsigned long ulFrames) const noexcept;
};

/// What all counted bodies have. Outside the counts, or with no frame, the status is ZT_E_INVALID_PARAMETER. The array
/// is used up: each entry that was moved points behind its data afterwards.
struct SZtaCountedBody {
    unsigned long ulMostBuffers; ///< 2 is the least
    unsigned long ulElementBytes;

    bool Takes(unsigned long ulBufferCount, unsigned long ulFrames) const noexcept;
    void UseUp(void** ppvBuffers, unsigned long ulBufferCount, unsigned long ulFrames) const noexcept;
};

struct SZtaCountedInterleave : SZtaCountedBody {
    ZtaInterleave SZtaSampleLoops::*pfnLoop;
    bool bLooksAtEntries; ///< a null entry, or no array, is ZT_E_INVALID_PARAMETER; otherwise no array is silence in
                          ///< the mux, and the entries must be good

    int Check(void* const* ppvSources, unsigned long ulBufferCount, const void* pvMux,
              unsigned long ulFrames) const noexcept;
    int operator()(void** ppvSources, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames) const noexcept;
};

/// With no mux the destinations receive silence.
struct SZtaCountedSplit : SZtaCountedBody {
    ZtaSplit SZtaSampleLoops::*pfnLoop;

    int Check(void* const* ppvDestinations, unsigned long ulBufferCount, const void* pvMux,
              unsigned long ulFrames) const noexcept;
    int operator()(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount,
                   unsigned long ulFrames) const noexcept;
};

// clang-format off

//                                                      buffers, block, its mask,          null entry
inline constexpr SZtaBlockInterleave kInterleave4Mono   = {{ 4,  4,     kLow16BitsOfCount, ZT_E_INVALID_PARAMETER},
                                                           &SZtaSampleLoops::pfnInterleave4};
inline constexpr SZtaBlockInterleave kInterleave8Mono   = {{ 8,  4,     kLow16BitsOfCount, ZT_E_INVALID_PARAMETER},
                                                           &SZtaSampleLoops::pfnInterleave4};
inline constexpr SZtaBlockInterleave kInterleave16Mono  = {{16,  4,     kWholeCount,       ZT_E_INVALID_POINTER},
                                                           &SZtaSampleLoops::pfnInterleave4};
inline constexpr SZtaBlockInterleave kInterleave2Stereo = {{ 2,  2,     kLow16BitsOfCount, ZT_E_INVALID_PARAMETER},
                                                           &SZtaSampleLoops::pfnInterleave8};
inline constexpr SZtaBlockInterleave kInterleave4Stereo = {{ 4,  2,     kLow16BitsOfCount, ZT_E_INVALID_PARAMETER},
                                                           &SZtaSampleLoops::pfnInterleave8};
inline constexpr SZtaBlockInterleave kInterleave8Stereo = {{ 8,  2,     kLow16BitsOfCount, ZT_E_INVALID_PARAMETER},
                                                           &SZtaSampleLoops::pfnInterleave8};

inline constexpr SZtaBlockSplit kSplit4Mono   = {{ 4, 4, kLow16BitsOfCount, ZT_E_INVALID_POINTER},
                                                 &SZtaSampleLoops::pfnSplit4, false};
inline constexpr SZtaBlockSplit kSplit8Mono   = {{ 8, 4, kLow16BitsOfCount, ZT_E_INVALID_POINTER},
                                                 &SZtaSampleLoops::pfnSplit4, false};
inline constexpr SZtaBlockSplit kSplit16Mono  = {{16, 4, kLow16BitsOfCount, ZT_E_INVALID_POINTER},
                                                 &SZtaSampleLoops::pfnSplit4, true};
inline constexpr SZtaBlockSplit kSplit2Stereo = {{ 2, 2, kLow16BitsOfCount, ZT_E_INVALID_POINTER},
                                                 &SZtaSampleLoops::pfnSplit8, false};
inline constexpr SZtaBlockSplit kSplit4Stereo = {{ 4, 2, kLow16BitsOfCount, ZT_E_INVALID_POINTER},
                                                 &SZtaSampleLoops::pfnSplit8, false};
inline constexpr SZtaBlockSplit kSplit8Stereo = {{ 8, 2, kLow16BitsOfCount, ZT_E_INVALID_POINTER},
                                                 &SZtaSampleLoops::pfnSplit8, false};

//                                                             most buffers, bytes,           loop, looks at entries
inline constexpr SZtaCountedInterleave kInterleaveMono24In32   = {{64, 4}, &SZtaSampleLoops::pfnInterleave4, false};
inline constexpr SZtaCountedInterleave kInterleaveMono24In24   = {{64, 3}, &SZtaSampleLoops::pfnInterleave3, true};
inline constexpr SZtaCountedInterleave kInterleaveMono16In16   = {{64, 2}, &SZtaSampleLoops::pfnInterleave2, false};
inline constexpr SZtaCountedInterleave kInterleaveStereo24In32 = {{32, 8}, &SZtaSampleLoops::pfnInterleave8, false};
inline constexpr SZtaCountedInterleave kInterleaveStereo24In24 = {{32, 6}, &SZtaSampleLoops::pfnInterleave6, true};
inline constexpr SZtaCountedInterleave kInterleaveStereo16In16 = {{32, 4}, &SZtaSampleLoops::pfnInterleave4, false};

inline constexpr SZtaCountedSplit kSplitMono24In32   = {{64, 4}, &SZtaSampleLoops::pfnSplit4};
inline constexpr SZtaCountedSplit kSplitMono24In24   = {{64, 3}, &SZtaSampleLoops::pfnSplit3};
inline constexpr SZtaCountedSplit kSplitMono16In16   = {{64, 2}, &SZtaSampleLoops::pfnSplit2};
inline constexpr SZtaCountedSplit kSplitStereo24In32 = {{32, 8}, &SZtaSampleLoops::pfnSplit8};
inline constexpr SZtaCountedSplit kSplitStereo24In24 = {{32, 6}, &SZtaSampleLoops::pfnSplit6};
inline constexpr SZtaCountedSplit kSplitStereo16In16 = {{32, 4}, &SZtaSampleLoops::pfnSplit4};

// clang-format on

/// The Check of a body, for a table with one entry a row.
using ZtaMuxCheck = int (*)(void* const* ppvBuffers, unsigned long ulBufferCount, const void* pvMux,
                            unsigned long ulFrames) noexcept;

template <const auto& rsBody>
int ZtaCheckOf(void* const* ppvBuffers, unsigned long ulBufferCount, const void* pvMux, unsigned long ulFrames) noexcept
{
    return rsBody.Check(ppvBuffers, ulBufferCount, pvMux, ulFrames);
}
