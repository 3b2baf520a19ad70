/// Sums of cosines over the frames of a sound, from which the normal equations of a sine fit are made.
#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>

/// The sum of cos(angle n) over `frames` values of n that lie one apart and symmetrically about 0, and the derivative
/// of the sum. The sum of sin(angle n) is 0.
struct CosineSum {
    double value;
    double slope;
};

inline CosineSum SumCosines(double angle, std::uint64_t frames)
{
    const auto count = static_cast<double>(frames);
    const double periods = std::nearbyint(angle / (2 * std::numbers::pi));
    const double rest = angle - periods * 2 * std::numbers::pi;
    // With an even number of frames, each n is a half more than an integer.
    const double sign = frames % 2 == 0 && std::fmod(std::abs(periods), 2) == 1 ? -1 : 1;
    if (std::abs(rest) * count < 1e-3) {
        const double curvature = (count * count - 1) / 12 * count;
        return {sign * (count - curvature * rest * rest / 2), -sign * curvature * rest};
    }
    const double half = std::sin(rest / 2);
    const double numerator = std::sin(count * rest / 2);
    return {sign * numerator / half,
            sign * (count * std::cos(count * rest / 2) * half - numerator * std::cos(rest / 2)) / (2 * half * half)};
}

/// e^(j 2 pi turns), accurate for many turns.
struct Phasor {
    explicit Phasor(long double turns)
    {
        // The sum has no fraction, and is exact for every sound; a library function would need more time than all else.
        constexpr long double kInteger = 0x1.8p63L;
        const long double whole = (turns + kInteger) - kInteger;
        const auto angle = static_cast<double>((turns - whole) * 2 * std::numbers::pi_v<long double>);
        cosine = std::cos(angle);
        sine = std::sin(angle);
    }
    double cosine;
    double sine;
};
