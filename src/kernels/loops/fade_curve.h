#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The length of a fade, in sample frames.
inline constexpr unsigned long kFadeFrames = 200;

/// The fade curve: the gains of a fade-in in frame order. A fade-out uses them in reverse order.
///
/// With t = (i + 1) / 200, gain i is 1 - (1 - t)^2: the first gain is above zero and the last one is full scale. Gains
/// are rounded to the nearest integer; no gain lies halfway between two integers.
template <class Entry>
constexpr std::array<Entry, kFadeFrames> MakeFadeCurve(std::uint64_t ulFullScale)
{
    constexpr std::uint64_t ulOne = kFadeFrames * kFadeFrames;
    std::array<Entry, kFadeFrames> aGains{};
    for (std::size_t i = 0; i < kFadeFrames; ++i) {
        const std::uint64_t ulLeft = kFadeFrames - 1 - i;
        aGains[i] = static_cast<Entry>((ulFullScale * (ulOne - ulLeft * ulLeft) + ulOne / 2) / ulOne);
    }
    return aGains;
}

inline constexpr auto kFadeCurve16 = MakeFadeCurve<std::uint16_t>(0x7FFF);
inline constexpr auto kFadeCurve32 = MakeFadeCurve<std::uint32_t>(0x7FFFFFFF);
inline constexpr auto kFadeCurveMux = MakeFadeCurve<std::uint32_t>(0x7FFF);
