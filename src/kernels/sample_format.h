#pragma once

#include <zta/audio_records.h>

#include <cstdint>

/// The layouts that kernels process. 16In16: a signed 16-bit sample in two bytes. 24In32: a signed 24-bit sample in
/// the upper three bytes of a 32-bit container. 24In24: a packed signed 24-bit sample. All little-endian, with
/// interleaved channels. The rate is 48000 Hz unless the name has 44k.
enum EZtAudioSampleFormatProperty : std::uint32_t {
    keZtAudioSampleFormatInvalid = 0,
    keZtAudioSampleFormat16In16Mono = 1,
    keZtAudioSampleFormat16In16Stereo = 2,
    keZtAudioSampleFormat16In16Mux4 = 3,
    keZtAudioSampleFormat16In16Mux8 = 4,
    keZtAudioSampleFormat16In16Mux16 = 5,
    keZtAudioSampleFormat16In16Mux32 = 6,
    keZtAudioSampleFormat16In16Mux64 = 7,
    keZtAudioSampleFormat24In32Mono = 8,
    keZtAudioSampleFormat24In32Stereo = 9,
    keZtAudioSampleFormat24In32Mux4 = 10,
    keZtAudioSampleFormat24In32Mux8 = 11,
    keZtAudioSampleFormat24In32Mux16 = 12,
    keZtAudioSampleFormat24In32Mux32 = 13,
    keZtAudioSampleFormat24In32Mux64 = 14,
    keZtAudioSampleFormat24In32Other = 15, ///< classified, but no kernel processes it
    keZtAudioSampleFormatFloat32Mono = 16,
    keZtAudioSampleFormatFloat32Stereo = 17,
    keZtAudioSampleFormat16In16Mono44k = 18,
    keZtAudioSampleFormat16In16Stereo44k = 19,
    keZtAudioSampleFormat24In24Mono = 20,
    keZtAudioSampleFormat24In24Stereo = 21,
    keZtAudioSampleFormat24In24Mux4 = 22,
    keZtAudioSampleFormat24In24Mux8 = 23,
    keZtAudioSampleFormat24In24Mux16 = 24,
    keZtAudioSampleFormat24In24Mux32 = 25,
    keZtAudioSampleFormat24In24Mux64 = 26,
};

inline constexpr int kSampleFormatCount = 27;

/// The complete format of each property, by its value. Entries 0 and 15 have no channel count.
extern ZTA_API const SZtaWaveFormatInfo g_asFormatOfProperty[kSampleFormatCount];
