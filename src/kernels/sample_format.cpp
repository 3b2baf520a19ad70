#include "kernels/sample_format.h"

namespace {

constexpr std::uint32_t kSize = sizeof(SZtaWaveFormatInfo);
constexpr EZtAudioDataType kNone{};
constexpr EZtAudioDataType kPcm = keZtAudioDataTypePcm;
constexpr EZtAudioDataType kFloat = keZtAudioDataTypeFloat;

} // namespace

// clang-format off

// In the order of the properties: record size, channels, data type, rate, container bits, valid bits
const SZtaWaveFormatInfo g_asFormatOfProperty[kSampleFormatCount] = {
    {kSize,  0, kNone,      0,  0,  0}, // Invalid
    {kSize,  1, kPcm,   48000, 16, 16}, // 16In16Mono
    {kSize,  2, kPcm,   48000, 16, 16}, // 16In16Stereo
    {kSize,  4, kPcm,   48000, 16, 16}, // 16In16Mux4
    {kSize,  8, kPcm,   48000, 16, 16}, // 16In16Mux8
    {kSize, 16, kPcm,   48000, 16, 16}, // 16In16Mux16
    {kSize, 32, kPcm,   48000, 16, 16}, // 16In16Mux32
    {kSize, 64, kPcm,   48000, 16, 16}, // 16In16Mux64
    {kSize,  1, kPcm,   48000, 32, 24}, // 24In32Mono
    {kSize,  2, kPcm,   48000, 32, 24}, // 24In32Stereo
    {kSize,  4, kPcm,   48000, 32, 24}, // 24In32Mux4
    {kSize,  8, kPcm,   48000, 32, 24}, // 24In32Mux8
    {kSize, 16, kPcm,   48000, 32, 24}, // 24In32Mux16
    {kSize, 32, kPcm,   48000, 32, 24}, // 24In32Mux32
    {kSize, 64, kPcm,   48000, 32, 24}, // 24In32Mux64
    {kSize,  0, kPcm,   48000, 32, 24}, // 24In32Other
    {kSize,  1, kFloat, 48000, 32, 32}, // Float32Mono
    {kSize,  2, kFloat, 48000, 32, 32}, // Float32Stereo
    {kSize,  1, kPcm,   44100, 16, 16}, // 16In16Mono44k
    {kSize,  2, kPcm,   44100, 16, 16}, // 16In16Stereo44k
    {kSize,  1, kPcm,   48000, 24, 24}, // 24In24Mono
    {kSize,  2, kPcm,   48000, 24, 24}, // 24In24Stereo
    {kSize,  4, kPcm,   48000, 24, 24}, // 24In24Mux4
    {kSize,  8, kPcm,   48000, 24, 24}, // 24In24Mux8
    {kSize, 16, kPcm,   48000, 24, 24}, // 24In24Mux16
    {kSize, 32, kPcm,   48000, 24, 24}, // 24In24Mux32
    {kSize, 64, kPcm,   48000, 24, 24}, // 24In24Mux64
};

// clang-format on
