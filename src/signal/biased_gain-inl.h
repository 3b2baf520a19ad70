#pragma once

#include <cstdint>

namespace {

/// Biased rounding. Outputs are rounded to nearest, with halves away from 0, but the processor rounds halves to the
/// even integer. So the gain is increased by so little that only the halves move across a limit of rounding:
///
///     sum * exact gain      2.5 - 2^-22    2.5         2.5 + 2^-22
///     sum * biased gain     2.4999...      2.5000...   2.5000...
///     to nearest            2              3           3            as RoundToInt16 by the exact gain
///
/// The gain is that from 48000 to 44100 Hz, for sums in units of 2^-14: a product that is not a half is at least 2^-22
/// away from one, and the bias moves no product of a 32-bit sum by more than 2^-23.
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
