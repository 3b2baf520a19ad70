#pragma once

// clang-format off

/// The kernel tables of the mux classes, one list each:
///   X(input layout, output layout, exported name, kernel)
/// The kernels are defined in mux_kernels.h. For an output format, SuggestFormat proposes the first entry that has it.

#define ZTA_MONO_TO_MUX_LIST(X) \
    X(24In32Mono, 24In32Mux4,  Convert4MonoToMux4,                kInterleave4Mono) \
    X(24In32Mono, 24In32Mux8,  Convert8MonoToMux8,                kInterleave8Mono) \
    X(24In32Mono, 24In32Mux16, Convert16MonoToMux16,              kInterleave16Mono) \
    X(24In32Mono, 24In32Mux32, Convert32MonoToMux32,              kInterleaveMono24In32) \
    X(24In32Mono, 24In32Mux64, Convert64MonoToMux64,              kInterleaveMono24In32) \
    X(24In24Mono, 24In24Mux4,  Convert4MonoToMux4Buffer24in24,    kInterleaveMono24In24) \
    X(24In24Mono, 24In24Mux8,  Convert8MonoToMux8Buffer24in24,    kInterleaveMono24In24) \
    X(24In24Mono, 24In24Mux16, Convert16MonoToMux16Buffer24in24,  kInterleaveMono24In24) \
    X(24In24Mono, 24In24Mux32, Convert32MonoToMux32Buffer24in24,  kInterleaveMono24In24) \
    X(24In24Mono, 24In24Mux64, Convert64MonoToMux64Buffer24in24,  kInterleaveMono24In24) \
    X(16In16Mono, 16In16Mux4,  Convert4MonoToMux4Buffer16in16,    kInterleaveMono16In16) \
    X(16In16Mono, 16In16Mux8,  Convert8MonoToMux8Buffer16in16,    kInterleaveMono16In16) \
    X(16In16Mono, 16In16Mux16, Convert16MonoToMux16Buffer16in16,  kInterleaveMono16In16) \
    X(16In16Mono, 16In16Mux32, Convert32MonoToMux32Buffer16in16,  kInterleaveMono16In16) \
    X(16In16Mono, 16In16Mux64, Convert64MonoToMux64Buffer16in16,  kInterleaveMono16In16)

#define ZTA_STEREO_TO_MUX_LIST(X) \
    X(24In32Stereo, 24In32Mux4,  Convert2StereoToMux4,                kInterleave2Stereo) \
    X(24In32Stereo, 24In32Mux8,  Convert4StereoToMux8,                kInterleave4Stereo) \
    X(24In32Stereo, 24In32Mux16, Convert8StereoToMux16,               kInterleave8Stereo) \
    X(24In32Stereo, 24In32Mux32, Convert16StereoToMux32,              kInterleaveStereo24In32) \
    X(24In32Stereo, 24In32Mux64, Convert32StereoToMux64,              kInterleaveStereo24In32) \
    X(24In24Stereo, 24In24Mux4,  Convert2StereoToMux4Buffer24in24,    kInterleaveStereo24In24) \
    X(24In24Stereo, 24In24Mux8,  Convert4StereoToMux8Buffer24in24,    kInterleaveStereo24In24) \
    X(24In24Stereo, 24In24Mux16, Convert8StereoToMux16Buffer24in24,   kInterleaveStereo24In24) \
    X(24In24Stereo, 24In24Mux32, Convert16StereoToMux32Buffer24in24,  kInterleaveStereo24In24) \
    X(24In24Stereo, 24In24Mux64, Convert32StereoToMux64Buffer24in24,  kInterleaveStereo24In24) \
    X(16In16Stereo, 16In16Mux4,  Convert2StereoToMux4Buffer16in16,    kInterleaveStereo16In16) \
    X(16In16Stereo, 16In16Mux8,  Convert4StereoToMux8Buffer16in16,    kInterleaveStereo16In16) \
    X(16In16Stereo, 16In16Mux16, Convert8StereoToMux16Buffer16in16,   kInterleaveStereo16In16) \
    X(16In16Stereo, 16In16Mux32, Convert16StereoToMux32Buffer16in16,  kInterleaveStereo16In16) \
    X(16In16Stereo, 16In16Mux64, Convert32StereoToMux64Buffer16in16,  kInterleaveStereo16In16)

#define ZTA_MUX_TO_MONO_LIST(X) \
    X(24In32Mux4,  24In32Mono, ConvertMux4To4Mono,            kDeinterleave4Mono) \
    X(24In32Mux8,  24In32Mono, ConvertMux8To8Mono,            kDeinterleave8Mono) \
    X(24In32Mux16, 24In32Mono, ConvertMux16To16Mono,          kDeinterleave16Mono) \
    X(24In32Mux32, 24In32Mono, ConvertMux32To32Mono,          kDeinterleaveMono24In32) \
    X(24In32Mux64, 24In32Mono, ConvertMux64To64Mono,          kDeinterleaveMono24In32) \
    X(24In24Mux4,  24In24Mono, Convert24in24Mux4To4Mono,      kDeinterleaveMono24In24) \
    X(24In24Mux8,  24In24Mono, Convert24in24Mux8To8Mono,      kDeinterleaveMono24In24) \
    X(24In24Mux16, 24In24Mono, Convert24in24Mux16To16Mono,    kDeinterleaveMono24In24) \
    X(24In24Mux32, 24In24Mono, Convert24in24Mux32To32Mono,    kDeinterleaveMono24In24) \
    X(24In24Mux64, 24In24Mono, Convert24in24Mux64To64Mono,    kDeinterleaveMono24In24) \
    X(16In16Mux4,  16In16Mono, Convert16in16Mux4To4Mono,      kDeinterleaveMono16In16) \
    X(16In16Mux8,  16In16Mono, Convert16in16Mux8To8Mono,      kDeinterleaveMono16In16) \
    X(16In16Mux16, 16In16Mono, Convert16in16Mux16To16Mono,    kDeinterleaveMono16In16) \
    X(16In16Mux32, 16In16Mono, Convert16in16Mux32To32Mono,    kDeinterleaveMono16In16) \
    X(16In16Mux64, 16In16Mono, Convert16in16Mux64To64Mono,    kDeinterleaveMono16In16)

/// Unlike in the other lists, the entries of 32 and 64 channels follow the narrower ones of all containers.
#define ZTA_MUX_TO_STEREO_LIST(X) \
    X(24In32Mux4,  24In32Stereo, ConvertMux4To2Stereo,                kDeinterleave2Stereo) \
    X(24In32Mux8,  24In32Stereo, ConvertMux8To4Stereo,                kDeinterleave4Stereo) \
    X(24In32Mux16, 24In32Stereo, ConvertMux16To8Stereo,               kDeinterleave8Stereo) \
    X(24In24Mux4,  24In24Stereo, ConvertMux4To2StereoBuffer24in24,    kDeinterleaveStereo24In24) \
    X(24In24Mux8,  24In24Stereo, ConvertMux8To4StereoBuffer24in24,    kDeinterleaveStereo24In24) \
    X(24In24Mux16, 24In24Stereo, ConvertMux16To8StereoBuffer24in24,   kDeinterleaveStereo24In24) \
    X(16In16Mux4,  16In16Stereo, ConvertMux4To2StereoBuffer16in16,    kDeinterleaveStereo16In16) \
    X(16In16Mux8,  16In16Stereo, ConvertMux8To4StereoBuffer16in16,    kDeinterleaveStereo16In16) \
    X(16In16Mux16, 16In16Stereo, ConvertMux16To8StereoBuffer16in16,   kDeinterleaveStereo16In16) \
    X(24In32Mux32, 24In32Stereo, ConvertMux32To16Stereo,              kDeinterleaveStereo24In32) \
    X(24In24Mux32, 24In24Stereo, ConvertMux32To16StereoBuffer24in24,  kDeinterleaveStereo24In24) \
    X(16In16Mux32, 16In16Stereo, ConvertMux32To16StereoBuffer16in16,  kDeinterleaveStereo16In16) \
    X(24In32Mux64, 24In32Stereo, ConvertMux64To32Stereo,              kDeinterleaveStereo24In32) \
    X(24In24Mux64, 24In24Stereo, ConvertMux64To32StereoBuffer24in24,  kDeinterleaveStereo24In24) \
    X(16In16Mux64, 16In16Stereo, ConvertMux64To32StereoBuffer16in16,  kDeinterleaveStereo16In16)

/// The kernels for any count of buffers, which most table entries name, have exported names of their own:
///   X(layout of a buffer, Mux, exported name, kernel)

#define ZTA_MONO_TO_MUX_ANY_COUNT_LIST(X) \
    X(24In32Mono, Mux, _ConvertNMonoTo1Mux,                kInterleaveMono24In32) \
    X(24In24Mono, Mux, _ConvertNMonoTo1MuxFor24in24Buffer, kInterleaveMono24In24) \
    X(16In16Mono, Mux, _ConvertNMonoTo1MuxFor16in16Buffer, kInterleaveMono16In16)

#define ZTA_STEREO_TO_MUX_ANY_COUNT_LIST(X) \
    X(24In32Stereo, Mux, _ConvertNStereoTo1Mux,                kInterleaveStereo24In32) \
    X(24In24Stereo, Mux, _ConvertNStereoTo1MuxFor24in24Buffer, kInterleaveStereo24In24) \
    X(16In16Stereo, Mux, _ConvertNStereoTo1MuxFor16in16Buffer, kInterleaveStereo16In16)

#define ZTA_MUX_TO_MONO_ANY_COUNT_LIST(X) \
    X(24In32Mono, Mux, _Convert1MuxToNMonoFor24in32Buffer, kDeinterleaveMono24In32) \
    X(24In24Mono, Mux, _Convert1MuxToNMonoFor24in24Buffer, kDeinterleaveMono24In24) \
    X(16In16Mono, Mux, _Convert1MuxToNMonoFor16in16Buffer, kDeinterleaveMono16In16)

#define ZTA_MUX_TO_STEREO_ANY_COUNT_LIST(X) \
    X(24In32Stereo, Mux, _Convert1MuxToNStereoFor24in32Buffer, kDeinterleaveStereo24In32) \
    X(24In24Stereo, Mux, _Convert1MuxToNStereoFor24in24Buffer, kDeinterleaveStereo24In24) \
    X(16In16Stereo, Mux, _Convert1MuxToNStereoFor16in16Buffer, kDeinterleaveStereo16In16)

// clang-format on
