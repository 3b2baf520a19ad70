#pragma once

#include <cstdint>

namespace {

/// The gain from 48000 to 44100 Hz, for sums in units of 2^-14. A product that is not a half is at least 2^-22 away
/// from one. So a gain that is larger by less than that moves the halves away from 0 and no other product across a
/// half: the products by the biased gain, rounded to nearest, are those of RoundToInt16 by the exact gain.
struct BiasedGain {
    static constexpr double kGain = 0x1p-14 * (147.0 / 160.0);
    static constexpr double kBiasedGain = kGain * (1 + 0x1p-40);

    /// XOR with these bits turns an int32 below an upper half of 0 into a double that is larger by kInt32ToDoubleBias.
    static constexpr std::int64_t kInt32ToDoubleBits = 0x4330'0000'8000'0000;
    static constexpr double kInt32ToDoubleBias = 0x1p52 + 0x1p31;
    /// A sum with this has the rounded addend as an integer in its lower half.
    static constexpr double kRoundingMagic = 0x1.8p52;
};

} // namespace
