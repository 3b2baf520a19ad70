#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The length of a fade, in sample frames.
inline constexpr unsigned long kFadeFrames = 200;

/// The gains of a fade-in, first frame first; a fade-out takes them from the last one backwards.
///
/// With t = (i + 1) / 200 gain i is 1 - (1 - t)^2, so the first is above zero and the last is the full scale. Entries
/// are rounded to the nearest integer; the law has no ties.
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
