#pragma once

// clang-format off

/// The kernel table of CZtaConvertBitDepth:
///   X(input layout, output layout, kernel, loop, samples per frame)
/// In the names, "24" beside "16" or "32f" is 24-in-32; beside "32" it is 24-in-24, and "32" is 24-in-32.
#define ZTA_BIT_DEPTH_LIST(X) \
    X(16In16Mono,    24In32Mono,    ConvertBitDepthMono16To24,    16To24,   1) \
    X(16In16Stereo,  24In32Stereo,  ConvertBitDepthStereo16To24,  16To24,   2) \
    X(16In16Mono,    Float32Mono,   ConvertBitDepthMono16To32f,   16To32f,  1) \
    X(16In16Stereo,  Float32Stereo, ConvertBitDepthStereo16To32f, 16To32f,  2) \
    X(24In32Mono,    16In16Mono,    ConvertBitDepthMono24To16,    24To16,   1) \
    X(24In32Stereo,  16In16Stereo,  ConvertBitDepthStereo24To16,  24To16,   2) \
    X(24In32Mono,    Float32Mono,   ConvertBitDepthMono24To32f,   24To32f,  1) \
    X(24In32Stereo,  Float32Stereo, ConvertBitDepthStereo24To32f, 24To32f,  2) \
    X(Float32Mono,   16In16Mono,    ConvertBitDepthMono32fTo16,   32fTo16,  1) \
    X(Float32Stereo, 16In16Stereo,  ConvertBitDepthStereo32fTo16, 32fTo16,  2) \
    X(Float32Mono,   24In32Mono,    ConvertBitDepthMono32fTo24,   32fTo24,  1) \
    X(Float32Stereo, 24In32Stereo,  ConvertBitDepthStereo32fTo24, 32fTo24,  2) \
    X(24In24Mono,    24In32Mono,    ConvertBitDepthMono24To32,    24To32,   1) \
    X(24In24Stereo,  24In32Stereo,  ConvertBitDepthStereo24To32,  24To32,   2) \
    X(24In24Mux4,    24In32Mux4,    ConvertBitDepthMux4_24To32,   24To32,   4) \
    X(24In24Mux8,    24In32Mux8,    ConvertBitDepthMux8_24To32,   24To32,   8) \
    X(24In24Mux16,   24In32Mux16,   ConvertBitDepthMux16_24To32,  24To32,  16) \
    X(24In24Mux32,   24In32Mux32,   ConvertBitDepthMux32_24To32,  24To32,  32) \
    X(24In24Mux64,   24In32Mux64,   ConvertBitDepthMux64_24To32,  24To32,  64) \
    X(24In32Mono,    24In24Mono,    ConvertBitDepthMono32To24,    32To24,   1) \
    X(24In32Stereo,  24In24Stereo,  ConvertBitDepthStereo32To24,  32To24,   2) \
    X(24In32Mux4,    24In24Mux4,    ConvertBitDepthMux4_32To24,   32To24,   4) \
    X(24In32Mux8,    24In24Mux8,    ConvertBitDepthMux8_32To24,   32To24,   8) \
    X(24In32Mux16,   24In24Mux16,   ConvertBitDepthMux16_32To24,  32To24,  16) \
    X(24In32Mux32,   24In24Mux32,   ConvertBitDepthMux32_32To24,  32To24,  32) \
    X(24In32Mux64,   24In24Mux64,   ConvertBitDepthMux64_32To24,  32To24,  64) \
    X(24In32Mux4,    16In16Mux4,    ConvertBitDepthMux4_24To16,   24To16,   4) \
    X(24In32Mux8,    16In16Mux8,    ConvertBitDepthMux8_24To16,   24To16,   8) \
    X(24In32Mux16,   16In16Mux16,   ConvertBitDepthMux16_24To16,  24To16,  16) \
    X(24In32Mux32,   16In16Mux32,   ConvertBitDepthMux32_24To16,  24To16,  32) \
    X(24In32Mux64,   16In16Mux64,   ConvertBitDepthMux64_24To16,  24To16,  64) \
    X(16In16Mux4,    24In32Mux4,    ConvertBitDepthMux4_16To24,   16To24,   4) \
    X(16In16Mux8,    24In32Mux8,    ConvertBitDepthMux8_16To24,   16To24,   8) \
    X(16In16Mux16,   24In32Mux16,   ConvertBitDepthMux16_16To24,  16To24,  16) \
    X(16In16Mux32,   24In32Mux32,   ConvertBitDepthMux32_16To24,  16To24,  32) \
    X(16In16Mux64,   24In32Mux64,   ConvertBitDepthMux64_16To24,  16To24,  64)

// clang-format on
