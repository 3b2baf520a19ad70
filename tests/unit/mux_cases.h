/// The 60 mux kernels: the expected table entries, and a way to call each.
#pragma once

#include "kernels/mux_conversion.h"
#include "testing/models/interleave_model.h"
#include "tests/unit/kernel_test.h"

#include <cstddef>
#include <vector>

namespace zta::test {

using models::Interleaved;

struct MuxCase {
    int input;
    int output;
    unsigned long buffers;
    unsigned long elementBytes;
    unsigned long blockFrames; ///< 0 for kernels that accept any number of buffers
    const char* name;
    bool interleaves;
    int (*run)(void** planes, unsigned long count, void* mux, unsigned long frames);

    int PlaneProperty() const { return interleaves ? input : output; }
    int MuxProperty() const { return interleaves ? output : input; }
    bool HasFixedCount() const { return blockFrames != 0; }
};

#define ZTA_INTERLEAVES(type, name)                                                                                    \
#name, true, [](void** p, unsigned long n, void* m, unsigned long f) { return type().name(p, n, m, f); }
#define ZTA_DEINTERLEAVES(type, name)                                                                                  \
#name, false, [](void** p, unsigned long n, void* m, unsigned long f) { return type().name(m, p, n, f); }

// clang-format off
inline const std::vector<MuxCase> kMonoToMuxCases = {
    { 8, 10,  4, 4, 4, ZTA_INTERLEAVES(CZtaConvertMonoToMux, Convert4MonoToMux4)},
    { 8, 11,  8, 4, 4, ZTA_INTERLEAVES(CZtaConvertMonoToMux, Convert8MonoToMux8)},
    { 8, 12, 16, 4, 4, ZTA_INTERLEAVES(CZtaConvertMonoToMux, Convert16MonoToMux16)},
    { 8, 13, 32, 4, 0, ZTA_INTERLEAVES(CZtaConvertMonoToMux, Convert32MonoToMux32)},
    { 8, 14, 64, 4, 0, ZTA_INTERLEAVES(CZtaConvertMonoToMux, Convert64MonoToMux64)},
    {20, 22,  4, 3, 0, ZTA_INTERLEAVES(CZtaConvertMonoToMux, Convert4MonoToMux4Buffer24in24)},
    {20, 23,  8, 3, 0, ZTA_INTERLEAVES(CZtaConvertMonoToMux, Convert8MonoToMux8Buffer24in24)},
    {20, 24, 16, 3, 0, ZTA_INTERLEAVES(CZtaConvertMonoToMux, Convert16MonoToMux16Buffer24in24)},
    {20, 25, 32, 3, 0, ZTA_INTERLEAVES(CZtaConvertMonoToMux, Convert32MonoToMux32Buffer24in24)},
    {20, 26, 64, 3, 0, ZTA_INTERLEAVES(CZtaConvertMonoToMux, Convert64MonoToMux64Buffer24in24)},
    { 1,  3,  4, 2, 0, ZTA_INTERLEAVES(CZtaConvertMonoToMux, Convert4MonoToMux4Buffer16in16)},
    { 1,  4,  8, 2, 0, ZTA_INTERLEAVES(CZtaConvertMonoToMux, Convert8MonoToMux8Buffer16in16)},
    { 1,  5, 16, 2, 0, ZTA_INTERLEAVES(CZtaConvertMonoToMux, Convert16MonoToMux16Buffer16in16)},
    { 1,  6, 32, 2, 0, ZTA_INTERLEAVES(CZtaConvertMonoToMux, Convert32MonoToMux32Buffer16in16)},
    { 1,  7, 64, 2, 0, ZTA_INTERLEAVES(CZtaConvertMonoToMux, Convert64MonoToMux64Buffer16in16)},
};

inline const std::vector<MuxCase> kStereoToMuxCases = {
    { 9, 10,  2, 8, 2, ZTA_INTERLEAVES(CZtaConvertStereoToMux, Convert2StereoToMux4)},
    { 9, 11,  4, 8, 2, ZTA_INTERLEAVES(CZtaConvertStereoToMux, Convert4StereoToMux8)},
    { 9, 12,  8, 8, 2, ZTA_INTERLEAVES(CZtaConvertStereoToMux, Convert8StereoToMux16)},
    { 9, 13, 16, 8, 0, ZTA_INTERLEAVES(CZtaConvertStereoToMux, Convert16StereoToMux32)},
    { 9, 14, 32, 8, 0, ZTA_INTERLEAVES(CZtaConvertStereoToMux, Convert32StereoToMux64)},
    {21, 22,  2, 6, 0, ZTA_INTERLEAVES(CZtaConvertStereoToMux, Convert2StereoToMux4Buffer24in24)},
    {21, 23,  4, 6, 0, ZTA_INTERLEAVES(CZtaConvertStereoToMux, Convert4StereoToMux8Buffer24in24)},
    {21, 24,  8, 6, 0, ZTA_INTERLEAVES(CZtaConvertStereoToMux, Convert8StereoToMux16Buffer24in24)},
    {21, 25, 16, 6, 0, ZTA_INTERLEAVES(CZtaConvertStereoToMux, Convert16StereoToMux32Buffer24in24)},
    {21, 26, 32, 6, 0, ZTA_INTERLEAVES(CZtaConvertStereoToMux, Convert32StereoToMux64Buffer24in24)},
    { 2,  3,  2, 4, 0, ZTA_INTERLEAVES(CZtaConvertStereoToMux, Convert2StereoToMux4Buffer16in16)},
    { 2,  4,  4, 4, 0, ZTA_INTERLEAVES(CZtaConvertStereoToMux, Convert4StereoToMux8Buffer16in16)},
    { 2,  5,  8, 4, 0, ZTA_INTERLEAVES(CZtaConvertStereoToMux, Convert8StereoToMux16Buffer16in16)},
    { 2,  6, 16, 4, 0, ZTA_INTERLEAVES(CZtaConvertStereoToMux, Convert16StereoToMux32Buffer16in16)},
    { 2,  7, 32, 4, 0, ZTA_INTERLEAVES(CZtaConvertStereoToMux, Convert32StereoToMux64Buffer16in16)},
};

inline const std::vector<MuxCase> kMuxToMonoCases = {
    {10,  8,  4, 4, 4, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, ConvertMux4To4Mono)},
    {11,  8,  8, 4, 4, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, ConvertMux8To8Mono)},
    {12,  8, 16, 4, 4, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, ConvertMux16To16Mono)},
    {13,  8, 32, 4, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, ConvertMux32To32Mono)},
    {14,  8, 64, 4, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, ConvertMux64To64Mono)},
    {22, 20,  4, 3, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, Convert24in24Mux4To4Mono)},
    {23, 20,  8, 3, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, Convert24in24Mux8To8Mono)},
    {24, 20, 16, 3, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, Convert24in24Mux16To16Mono)},
    {25, 20, 32, 3, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, Convert24in24Mux32To32Mono)},
    {26, 20, 64, 3, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, Convert24in24Mux64To64Mono)},
    { 3,  1,  4, 2, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, Convert16in16Mux4To4Mono)},
    { 4,  1,  8, 2, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, Convert16in16Mux8To8Mono)},
    { 5,  1, 16, 2, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, Convert16in16Mux16To16Mono)},
    { 6,  1, 32, 2, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, Convert16in16Mux32To32Mono)},
    { 7,  1, 64, 2, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, Convert16in16Mux64To64Mono)},
};

inline const std::vector<MuxCase> kMuxToStereoCases = {
    {10,  9,  2, 8, 2, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, ConvertMux4To2Stereo)},
    {11,  9,  4, 8, 2, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, ConvertMux8To4Stereo)},
    {12,  9,  8, 8, 2, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, ConvertMux16To8Stereo)},
    {22, 21,  2, 6, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, ConvertMux4To2StereoBuffer24in24)},
    {23, 21,  4, 6, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, ConvertMux8To4StereoBuffer24in24)},
    {24, 21,  8, 6, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, ConvertMux16To8StereoBuffer24in24)},
    { 3,  2,  2, 4, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, ConvertMux4To2StereoBuffer16in16)},
    { 4,  2,  4, 4, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, ConvertMux8To4StereoBuffer16in16)},
    { 5,  2,  8, 4, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, ConvertMux16To8StereoBuffer16in16)},
    {13,  9, 16, 8, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, ConvertMux32To16Stereo)},
    {25, 21, 16, 6, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, ConvertMux32To16StereoBuffer24in24)},
    { 6,  2, 16, 4, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, ConvertMux32To16StereoBuffer16in16)},
    {14,  9, 32, 8, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, ConvertMux64To32Stereo)},
    {26, 21, 32, 6, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, ConvertMux64To32StereoBuffer24in24)},
    { 7,  2, 32, 4, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, ConvertMux64To32StereoBuffer16in16)},
};

/// The kernels behind those of any count, under their own names. `buffers` is the largest count.
inline const std::vector<MuxCase> kAnyCountCases = {
    { 8, 0, 64, 4, 0, ZTA_INTERLEAVES(CZtaConvertMonoToMux, _ConvertNMonoTo1Mux)},
    {20, 0, 64, 3, 0, ZTA_INTERLEAVES(CZtaConvertMonoToMux, _ConvertNMonoTo1MuxFor24in24Buffer)},
    { 1, 0, 64, 2, 0, ZTA_INTERLEAVES(CZtaConvertMonoToMux, _ConvertNMonoTo1MuxFor16in16Buffer)},
    { 9, 0, 32, 8, 0, ZTA_INTERLEAVES(CZtaConvertStereoToMux, _ConvertNStereoTo1Mux)},
    {21, 0, 32, 6, 0, ZTA_INTERLEAVES(CZtaConvertStereoToMux, _ConvertNStereoTo1MuxFor24in24Buffer)},
    { 2, 0, 32, 4, 0, ZTA_INTERLEAVES(CZtaConvertStereoToMux, _ConvertNStereoTo1MuxFor16in16Buffer)},
    { 0, 8, 64, 4, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, _Convert1MuxToNMonoFor24in32Buffer)},
    {0, 20, 64, 3, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, _Convert1MuxToNMonoFor24in24Buffer)},
    { 0, 1, 64, 2, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToMono, _Convert1MuxToNMonoFor16in16Buffer)},
    { 0, 9, 32, 8, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, _Convert1MuxToNStereoFor24in32Buffer)},
    {0, 21, 32, 6, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, _Convert1MuxToNStereoFor24in24Buffer)},
    { 0, 2, 32, 4, 0, ZTA_DEINTERLEAVES(CZtaConvertMuxToStereo, _Convert1MuxToNStereoFor16in16Buffer)},
};
// clang-format on

#undef ZTA_INTERLEAVES
#undef ZTA_DEINTERLEAVES

} // namespace zta::test
