/// Pseudo-random data that depends on its seed only.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zta::test {

/// A linear congruential generator.
class Noise {
public:
    explicit Noise(std::uint32_t seed = 12345) : state_(seed) {}

    /// Returns the upper 24 bits of the next state.
    std::uint32_t Next()
    {
        state_ = state_ * 1664525U + 1013904223U;
        return state_ >> 8;
    }

    /// Fills memory with the upper bytes of the states.
    void Fill(std::byte* data, std::size_t bytes)
    {
        for (std::size_t i = 0; i < bytes; ++i) {
            data[i] = static_cast<std::byte>(Next() >> 16);
        }
    }

private:
    std::uint32_t state_;
};

} // namespace zta::test
