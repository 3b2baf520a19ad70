/// Reference models of interleaving and deinterleaving.
#pragma once

#include <zta/audio_records.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace models {

using Bytes = std::vector<std::uint8_t>;

/// Returns the frames of a mux: one element of each buffer, frame by frame.
inline Bytes Interleaved(const std::vector<Bytes>& buffers, std::size_t elementBytes, std::size_t frames)
{
    Bytes mux;
    mux.reserve(buffers.size() * elementBytes * frames);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        for (const Bytes& buffer : buffers) {
            for (std::size_t i = 0; i < elementBytes; ++i) {
                mux.push_back(buffer[frame * elementBytes + i]);
            }
        }
    }
    return mux;
}

/// Returns the planes of a mux of this format. In one layout, 16 mono planes of 24-in-32, the last four planes have the
/// last sample of the four planes before them if three frames remain after the last group of four.
inline std::vector<Bytes> Deinterleaved(const Bytes& mux, const SZtaWaveFormatInfo& format, std::size_t planes,
                                        std::size_t frames)
{
    const std::size_t elementBytes = format.ulBitsPerSample / 8 * format.ulChannels / planes;
    const bool isUneven = planes == 16 && format.ulChannels == 16 && format.ulBitsPerSample == 32 && frames % 4 == 3;
    std::vector<Bytes> result(planes);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        for (std::size_t plane = 0; plane < planes; ++plane) {
            const bool repeats = isUneven && frame + 1 == frames && plane >= 12;
            const std::size_t element = frame * planes + plane - (repeats ? 4 : 0);
            for (std::size_t i = 0; i < elementBytes; ++i) {
                result[plane].push_back(mux[element * elementBytes + i]);
            }
        }
    }
    return result;
}

} // namespace models
