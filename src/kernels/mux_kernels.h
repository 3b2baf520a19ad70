#pragma once

#include "kernels/loops/loops.h"

#include <zta/status.h>

/// The kernels of the mux classes. Fixed-count kernels accept one count of 24-in-32 buffers, any-count kernels up to 32
/// or 64 buffers. All copy elements, which are mono samples or stereo frames; ulFrames counts them in one buffer.
///
/// Every kernel is called with (planes, count of planes, mux, frames, maximum of frames). The last argument is the
/// number of frames that every buffer has memory for. It limits what a kernel copies, and nothing else: the checks, the
/// block count and the tail are those of all frames.

/// The maximum of frames of a caller that guarantees the memory.
inline constexpr unsigned long kUnboundedFrames = ~0UL;

// Masks of the block count.
inline constexpr unsigned long kBlockCount16Bits = 0xFFFF;
inline constexpr unsigned long kBlockCountAllBits = ~0UL;

struct SZtaFixedCountKernel {
    unsigned long ulBuffers;     ///< any other count is ZT_E_INVALID_PARAMETER
    unsigned long ulBlockFrames; ///< frames of a block; the frames after the last block are the tail

    /// Required behavior: if the block count is 0 under this mask, only as many frames as the tail has are copied, at
    /// the start of the buffers.
    unsigned long ulBlockCountMask;

    int iNullPointerStatus; ///< the status of a null plane, or of a null array

    /// Returns the status of the arguments. If ulFrames is 0, no argument is validated. The mux is never validated.
    int ValidateArguments(void* const* ppvBuffers, unsigned long ulBufferCount, unsigned long ulFrames) const noexcept;
    /// Returns the frames to copy: all, or those of the tail; see ulBlockCountMask.
    unsigned long FramesToProcess(unsigned long ulFrames) const noexcept;
};

struct SZtaFixedCountInterleave : SZtaFixedCountKernel {
    ZtaInterleave SZtaSampleLoops::*pfnLoop;

    int operator()(void** ppvSources, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames,
                   unsigned long ulMaxFrames) const noexcept;
};

struct SZtaFixedCountDeinterleave : SZtaFixedCountKernel {
    ZtaDeinterleave SZtaSampleLoops::*pfnLoop;

    /// Required behavior: the third frame of a tail of 3 repeats channels 8 to 11 in 12 to 15.
    bool bRepeatsTailChannels;

    int operator()(void** ppvDestinations, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames,
                   unsigned long ulMaxFrames) const noexcept;
};

/// Any-count kernels reject other counts, and calls without frames, with ZT_E_INVALID_PARAMETER. On return, each
/// pointer in the array points past the processed data.
struct SZtaAnyCountKernel {
    unsigned long ulMaxBuffers; ///< the minimum is 2
    unsigned long ulElementBytes;

    bool Accepts(unsigned long ulBufferCount, unsigned long ulFrames) const noexcept;
    void AdvancePointers(void** ppvBuffers, unsigned long ulBufferCount, unsigned long ulFrames) const noexcept;
};

struct SZtaAnyCountInterleave : SZtaAnyCountKernel {
    ZtaInterleave SZtaSampleLoops::*pfnLoop;

    /// If true, a null plane or array is ZT_E_INVALID_PARAMETER. If false, planes must not be null, and a null array
    /// fills the mux with silence.
    bool bValidatesPointers;

    int ValidateArguments(void* const* ppvSources, unsigned long ulBufferCount, const void* pvMux,
                          unsigned long ulFrames) const noexcept;
    int operator()(void** ppvSources, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames,
                   unsigned long ulMaxFrames) const noexcept;
};

/// A null mux fills the destinations with silence.
struct SZtaAnyCountDeinterleave : SZtaAnyCountKernel {
    ZtaDeinterleave SZtaSampleLoops::*pfnLoop;

    int ValidateArguments(void* const* ppvDestinations, unsigned long ulBufferCount,
                          unsigned long ulFrames) const noexcept;
    int operator()(void** ppvDestinations, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames,
                   unsigned long ulMaxFrames) const noexcept;
};

// clang-format off

// buffers, frames of a block, mask of the block count, status of a null plane; loop
inline constexpr SZtaFixedCountInterleave kInterleave4Mono   = {
    { 4, 4, kBlockCount16Bits,  ZT_E_INVALID_PARAMETER}, &SZtaSampleLoops::pfnInterleave4};
inline constexpr SZtaFixedCountInterleave kInterleave8Mono   = {
    { 8, 4, kBlockCount16Bits,  ZT_E_INVALID_PARAMETER}, &SZtaSampleLoops::pfnInterleave4};
inline constexpr SZtaFixedCountInterleave kInterleave16Mono  = {
    {16, 4, kBlockCountAllBits, ZT_E_INVALID_POINTER}, &SZtaSampleLoops::pfnInterleave4};
inline constexpr SZtaFixedCountInterleave kInterleave2Stereo = {
    { 2, 2, kBlockCount16Bits,  ZT_E_INVALID_PARAMETER}, &SZtaSampleLoops::pfnInterleave8};
inline constexpr SZtaFixedCountInterleave kInterleave4Stereo = {
    { 4, 2, kBlockCount16Bits,  ZT_E_INVALID_PARAMETER}, &SZtaSampleLoops::pfnInterleave8};
inline constexpr SZtaFixedCountInterleave kInterleave8Stereo = {
    { 8, 2, kBlockCount16Bits,  ZT_E_INVALID_PARAMETER}, &SZtaSampleLoops::pfnInterleave8};

// buffers, frames of a block, mask of the block count, status of a null plane; loop, repeats tail channels
inline constexpr SZtaFixedCountDeinterleave kDeinterleave4Mono   = {
    { 4, 4, kBlockCount16Bits, ZT_E_INVALID_POINTER}, &SZtaSampleLoops::pfnDeinterleave4, false};
inline constexpr SZtaFixedCountDeinterleave kDeinterleave8Mono   = {
    { 8, 4, kBlockCount16Bits, ZT_E_INVALID_POINTER}, &SZtaSampleLoops::pfnDeinterleave4, false};
inline constexpr SZtaFixedCountDeinterleave kDeinterleave16Mono  = {
    {16, 4, kBlockCount16Bits, ZT_E_INVALID_POINTER}, &SZtaSampleLoops::pfnDeinterleave4, true};
inline constexpr SZtaFixedCountDeinterleave kDeinterleave2Stereo = {
    { 2, 2, kBlockCount16Bits, ZT_E_INVALID_POINTER}, &SZtaSampleLoops::pfnDeinterleave8, false};
inline constexpr SZtaFixedCountDeinterleave kDeinterleave4Stereo = {
    { 4, 2, kBlockCount16Bits, ZT_E_INVALID_POINTER}, &SZtaSampleLoops::pfnDeinterleave8, false};
inline constexpr SZtaFixedCountDeinterleave kDeinterleave8Stereo = {
    { 8, 2, kBlockCount16Bits, ZT_E_INVALID_POINTER}, &SZtaSampleLoops::pfnDeinterleave8, false};

// maximum of buffers, bytes of an element; loop, validates pointers
inline constexpr SZtaAnyCountInterleave kInterleaveMono24In32   = {{64, 4}, &SZtaSampleLoops::pfnInterleave4, false};
inline constexpr SZtaAnyCountInterleave kInterleaveMono24In24   = {{64, 3}, &SZtaSampleLoops::pfnInterleave3, true};
inline constexpr SZtaAnyCountInterleave kInterleaveMono16In16   = {{64, 2}, &SZtaSampleLoops::pfnInterleave2, false};
inline constexpr SZtaAnyCountInterleave kInterleaveStereo24In32 = {{32, 8}, &SZtaSampleLoops::pfnInterleave8, false};
inline constexpr SZtaAnyCountInterleave kInterleaveStereo24In24 = {{32, 6}, &SZtaSampleLoops::pfnInterleave6, true};
inline constexpr SZtaAnyCountInterleave kInterleaveStereo16In16 = {{32, 4}, &SZtaSampleLoops::pfnInterleave4, false};

// maximum of buffers, bytes of an element; loop
inline constexpr SZtaAnyCountDeinterleave kDeinterleaveMono24In32   = {{64, 4}, &SZtaSampleLoops::pfnDeinterleave4};
inline constexpr SZtaAnyCountDeinterleave kDeinterleaveMono24In24   = {{64, 3}, &SZtaSampleLoops::pfnDeinterleave3};
inline constexpr SZtaAnyCountDeinterleave kDeinterleaveMono16In16   = {{64, 2}, &SZtaSampleLoops::pfnDeinterleave2};
inline constexpr SZtaAnyCountDeinterleave kDeinterleaveStereo24In32 = {{32, 8}, &SZtaSampleLoops::pfnDeinterleave8};
inline constexpr SZtaAnyCountDeinterleave kDeinterleaveStereo24In24 = {{32, 6}, &SZtaSampleLoops::pfnDeinterleave6};
inline constexpr SZtaAnyCountDeinterleave kDeinterleaveStereo16In16 = {{32, 4}, &SZtaSampleLoops::pfnDeinterleave4};

// clang-format on

/// A kernel as a function, for tables.
using ZtaMuxKernel = int (*)(void** ppvBuffers, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames,
                             unsigned long ulMaxFrames) noexcept;

template <const auto& rsKernel>
int ZtaCallMuxKernel(void** ppvBuffers, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames,
                     unsigned long ulMaxFrames) noexcept
{
    return rsKernel(ppvBuffers, ulBufferCount, pvMux, ulFrames, ulMaxFrames);
}
