#pragma once

// clang-format off

/// What the mux classes do, one list each:
///   ROW(input layout, output layout, function, body)
/// A body is one of the block kernels of mux_kernels.h or a counted body of the class, which takes any count of
/// buffers. The first row of an output layout is what SuggestFormat proposes for it.

#define ZTA_MONO_TO_MUX_LIST(ROW) \
    ROW(24In32Mono, 24In32Mux4,  Convert4MonoToMux4,                kInterleave4Mono) \
    ROW(24In32Mono, 24In32Mux8,  Convert8MonoToMux8,                kInterleave8Mono) \
    ROW(24In32Mono, 24In32Mux16, Convert16MonoToMux16,              kInterleave16Mono) \
    ROW(24In32Mono, 24In32Mux32, Convert32MonoToMux32,              _ConvertNMonoTo1Mux) \
    ROW(24In32Mono, 24In32Mux64, Convert64MonoToMux64,              _ConvertNMonoTo1Mux) \
    ROW(24In24Mono, 24In24Mux4,  Convert4MonoToMux4Buffer24in24,    _ConvertNMonoTo1MuxFor24in24Buffer) \
    ROW(24In24Mono, 24In24Mux8,  Convert8MonoToMux8Buffer24in24,    _ConvertNMonoTo1MuxFor24in24Buffer) \
    ROW(24In24Mono, 24In24Mux16, Convert16MonoToMux16Buffer24in24,  _ConvertNMonoTo1MuxFor24in24Buffer) \
    ROW(24In24Mono, 24In24Mux32, Convert32MonoToMux32Buffer24in24,  _ConvertNMonoTo1MuxFor24in24Buffer) \
    ROW(24In24Mono, 24In24Mux64, Convert64MonoToMux64Buffer24in24,  _ConvertNMonoTo1MuxFor24in24Buffer) \
    ROW(16In16Mono, 16In16Mux4,  Convert4MonoToMux4Buffer16in16,    _ConvertNMonoTo1MuxFor16in16Buffer) \
    ROW(16In16Mono, 16In16Mux8,  Convert8MonoToMux8Buffer16in16,    _ConvertNMonoTo1MuxFor16in16Buffer) \
    ROW(16In16Mono, 16In16Mux16, Convert16MonoToMux16Buffer16in16,  _ConvertNMonoTo1MuxFor16in16Buffer) \
    ROW(16In16Mono, 16In16Mux32, Convert32MonoToMux32Buffer16in16,  _ConvertNMonoTo1MuxFor16in16Buffer) \
    ROW(16In16Mono, 16In16Mux64, Convert64MonoToMux64Buffer16in16,  _ConvertNMonoTo1MuxFor16in16Buffer)

#define ZTA_STEREO_TO_MUX_LIST(ROW) \
    ROW(24In32Stereo, 24In32Mux4,  Convert2StereoToMux4,                kInterleave2Stereo) \
    ROW(24In32Stereo, 24In32Mux8,  Convert4StereoToMux8,                kInterleave4Stereo) \
    ROW(24In32Stereo, 24In32Mux16, Convert8StereoToMux16,               kInterleave8Stereo) \
    ROW(24In32Stereo, 24In32Mux32, Convert16StereoToMux32,              _ConvertNStereoTo1Mux) \
    ROW(24In32Stereo, 24In32Mux64, Convert32StereoToMux64,              _ConvertNStereoTo1Mux) \
    ROW(24In24Stereo, 24In24Mux4,  Convert2StereoToMux4Buffer24in24,    _ConvertNStereoTo1MuxFor24in24Buffer) \
    ROW(24In24Stereo, 24In24Mux8,  Convert4StereoToMux8Buffer24in24,    _ConvertNStereoTo1MuxFor24in24Buffer) \
    ROW(24In24Stereo, 24In24Mux16, Convert8StereoToMux16Buffer24in24,   _ConvertNStereoTo1MuxFor24in24Buffer) \
    ROW(24In24Stereo, 24In24Mux32, Convert16StereoToMux32Buffer24in24,  _ConvertNStereoTo1MuxFor24in24Buffer) \
    ROW(24In24Stereo, 24In24Mux64, Convert32StereoToMux64Buffer24in24,  _ConvertNStereoTo1MuxFor24in24Buffer) \
    ROW(16In16Stereo, 16In16Mux4,  Convert2StereoToMux4Buffer16in16,    _ConvertNStereoTo1MuxFor16in16Buffer) \
    ROW(16In16Stereo, 16In16Mux8,  Convert4StereoToMux8Buffer16in16,    _ConvertNStereoTo1MuxFor16in16Buffer) \
    ROW(16In16Stereo, 16In16Mux16, Convert8StereoToMux16Buffer16in16,   _ConvertNStereoTo1MuxFor16in16Buffer) \
    ROW(16In16Stereo, 16In16Mux32, Convert16StereoToMux32Buffer16in16,  _ConvertNStereoTo1MuxFor16in16Buffer) \
    ROW(16In16Stereo, 16In16Mux64, Convert32StereoToMux64Buffer16in16,  _ConvertNStereoTo1MuxFor16in16Buffer)

#define ZTA_MUX_TO_MONO_LIST(ROW) \
    ROW(24In32Mux4,  24In32Mono, ConvertMux4To4Mono,            kSplit4Mono) \
    ROW(24In32Mux8,  24In32Mono, ConvertMux8To8Mono,            kSplit8Mono) \
    ROW(24In32Mux16, 24In32Mono, ConvertMux16To16Mono,          kSplit16Mono) \
    ROW(24In32Mux32, 24In32Mono, ConvertMux32To32Mono,          _Convert1MuxToNMonoFor24in32Buffer) \
    ROW(24In32Mux64, 24In32Mono, ConvertMux64To64Mono,          _Convert1MuxToNMonoFor24in32Buffer) \
    ROW(24In24Mux4,  24In24Mono, Convert24in24Mux4To4Mono,      _Convert1MuxToNMonoFor24in24Buffer) \
    ROW(24In24Mux8,  24In24Mono, Convert24in24Mux8To8Mono,      _Convert1MuxToNMonoFor24in24Buffer) \
    ROW(24In24Mux16, 24In24Mono, Convert24in24Mux16To16Mono,    _Convert1MuxToNMonoFor24in24Buffer) \
    ROW(24In24Mux32, 24In24Mono, Convert24in24Mux32To32Mono,    _Convert1MuxToNMonoFor24in24Buffer) \
    ROW(24In24Mux64, 24In24Mono, Convert24in24Mux64To64Mono,    _Convert1MuxToNMonoFor24in24Buffer) \
    ROW(16In16Mux4,  16In16Mono, Convert16in16Mux4To4Mono,      _Convert1MuxToNMonoFor16in16Buffer) \
    ROW(16In16Mux8,  16In16Mono, Convert16in16Mux8To8Mono,      _Convert1MuxToNMonoFor16in16Buffer) \
    ROW(16In16Mux16, 16In16Mono, Convert16in16Mux16To16Mono,    _Convert1MuxToNMonoFor16in16Buffer) \
    ROW(16In16Mux32, 16In16Mono, Convert16in16Mux32To32Mono,    _Convert1MuxToNMonoFor16in16Buffer) \
    ROW(16In16Mux64, 16In16Mono, Convert16in16Mux64To64Mono,    _Convert1MuxToNMonoFor16in16Buffer)

/// Unlike in the other lists, the wide rows stand behind the narrow ones of all containers.
#define ZTA_MUX_TO_STEREO_LIST(ROW) \
    ROW(24In32Mux4,  24In32Stereo, ConvertMux4To2Stereo,                kSplit2Stereo) \
    ROW(24In32Mux8,  24In32Stereo, ConvertMux8To4Stereo,                kSplit4Stereo) \
    ROW(24In32Mux16, 24In32Stereo, ConvertMux16To8Stereo,               kSplit8Stereo) \
    ROW(24In24Mux4,  24In24Stereo, ConvertMux4To2StereoBuffer24in24,    _Convert1MuxToNStereoFor24in24Buffer) \
    ROW(24In24Mux8,  24In24Stereo, ConvertMux8To4StereoBuffer24in24,    _Convert1MuxToNStereoFor24in24Buffer) \
    ROW(24In24Mux16, 24In24Stereo, ConvertMux16To8StereoBuffer24in24,   _Convert1MuxToNStereoFor24in24Buffer) \
    ROW(16In16Mux4,  16In16Stereo, ConvertMux4To2StereoBuffer16in16,    _Convert1MuxToNStereoFor16in16Buffer) \
    ROW(16In16Mux8,  16In16Stereo, ConvertMux8To4StereoBuffer16in16,    _Convert1MuxToNStereoFor16in16Buffer) \
    ROW(16In16Mux16, 16In16Stereo, ConvertMux16To8StereoBuffer16in16,   _Convert1MuxToNStereoFor16in16Buffer) \
    ROW(24In32Mux32, 24In32Stereo, ConvertMux32To16Stereo,              _Convert1MuxToNStereoFor24in32Buffer) \
    ROW(24In24Mux32, 24In24Stereo, ConvertMux32To16StereoBuffer24in24,  _Convert1MuxToNStereoFor24in24Buffer) \
    ROW(16In16Mux32, 16In16Stereo, ConvertMux32To16StereoBuffer16in16,  _Convert1MuxToNStereoFor16in16Buffer) \
    ROW(24In32Mux64, 24In32Stereo, ConvertMux64To32Stereo,              _Convert1MuxToNStereoFor24in32Buffer) \
    ROW(24In24Mux64, 24In24Stereo, ConvertMux64To32StereoBuffer24in24,  _Convert1MuxToNStereoFor24in24Buffer) \
    ROW(16In16Mux64, 16In16Stereo, ConvertMux64To32StereoBuffer16in16,  _Convert1MuxToNStereoFor16in16Buffer)

// clang-format on
