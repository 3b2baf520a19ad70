/// Reference model of interleaving.
#pragma once

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

} // namespace models
