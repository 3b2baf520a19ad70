/// The ramp of gains over an interleaved stream. The law of one sample is the instruction set's Scale and Limit.
#pragma once

#include "kernels/loops/loops.h"

#include <cstdint>

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {

constexpr unsigned long kGroupLanes = 4;

/// Count vectors of lanes that follow each other in the stream. Lane(i) tells what lane i holds.
template <class T, unsigned long Count>
struct LaneVectors {
    typename T::Words av[Count];

    template <class Lane>
    explicit LaneVectors(Lane ValueOf)
    {
        std::uint32_t aulLanes[Count * T::kLanes];
        for (unsigned long i = 0; i < Count * T::kLanes; ++i) {
            aulLanes[i] = ValueOf(i);
        }
        for (unsigned long i = 0; i < Count; ++i) {
            av[i] = T::template Load<4>(reinterpret_cast<const std::uint8_t*>(&aulLanes[i * T::kLanes]));
        }
    }

    std::uint32_t Lane(unsigned long i) const
    {
        std::uint32_t aulLanes[T::kLanes];
        T::template Store<4>(reinterpret_cast<std::uint8_t*>(aulLanes), av[i / T::kLanes]);
        return aulLanes[i % T::kLanes];
    }
};

/// A step takes each group once; where one vector has more lanes than that, it takes them as often as it holds them.
template <class T, unsigned long Groups>
void RampGroups(const std::uint8_t* pucInput, std::uint8_t* pucOutput, unsigned long ulSamples,
                const SZtaGainRamp& rsRamp)
{
    constexpr unsigned long kLanes = Groups * kGroupLanes;
    constexpr unsigned long kStep = kLanes > T::kLanes ? kLanes : T::kLanes;
    constexpr unsigned long kVectors = kStep / T::kLanes;
    constexpr unsigned long kLimitVectors = kGroupLanes > T::kLanes ? kGroupLanes / T::kLanes : 1;

    std::int32_t* const plGroups = rsRamp.plGroups;
    const auto GainOf = [plGroups](unsigned long ulLane) -> std::int32_t& {
        return plGroups[ulLane / kGroupLanes * 2 * kGroupLanes + ulLane % kGroupLanes];
    };
    const auto IncrementOf = [&GainOf](unsigned long ulLane) {
        return static_cast<std::uint32_t>((&GainOf(ulLane))[kGroupLanes]);
    };
    LaneVectors<T, kVectors> oGains([&](unsigned long i) {
        return static_cast<std::uint32_t>(GainOf(i % kLanes)) +
               static_cast<std::uint32_t>(i / kLanes) * IncrementOf(i % kLanes);
    });
    const LaneVectors<T, kVectors> oIncrements(
        [&](unsigned long i) { return static_cast<std::uint32_t>(kStep / kLanes) * IncrementOf(i % kLanes); });
    const LaneVectors<T, kLimitVectors> oUpper(
        [&](unsigned long i) { return static_cast<std::uint32_t>(rsRamp.plUpper[i % kGroupLanes]); });
    const LaneVectors<T, kLimitVectors> oLower(
        [&](unsigned long i) { return static_cast<std::uint32_t>(rsRamp.plLower[i % kGroupLanes]); });

    unsigned long i = 0;
    for (; i + kStep <= ulSamples; i += kStep) {
#pragma GCC unroll 16
        for (unsigned long j = 0; j < kVectors; ++j) {
            const unsigned long ulByte = (i + j * T::kLanes) * 4;
            const auto vScaled = T::Limit(T::Scale(T::template Load<4>(pucInput + ulByte), oGains.av[j]),
                                          oUpper.av[j % kLimitVectors], oLower.av[j % kLimitVectors]);
            T::template Store<4>(pucOutput + ulByte, vScaled << 8);
            oGains.av[j] += oIncrements.av[j];
        }
    }
    for (unsigned long j = 0; i < ulSamples; ++i, ++j) {
        const auto ulScaled = Scalar::Limit(Scalar::Scale(Scalar::Load<4>(pucInput + i * 4), oGains.Lane(j)),
                                            oUpper.Lane(j % kGroupLanes), oLower.Lane(j % kGroupLanes));
        Scalar::Store<4>(pucOutput + i * 4, ulScaled << 8);
    }
    if constexpr (Groups > 2) {
        for (unsigned long j = 0; j < kLanes; ++j) {
            GainOf(j) = static_cast<std::int32_t>(oGains.Lane(j));
        }
    }
}

void ApplyGainRamp(const void* pvInput, void* pvOutput, unsigned long ulSamples, const SZtaGainRamp* psRamp) noexcept
{
    const auto* pucInput = static_cast<const std::uint8_t*>(pvInput);
    auto* pucOutput = static_cast<std::uint8_t*>(pvOutput);
    switch (psRamp->ulGroups) {
    case 1:
        return RampGroups<Vector, 1>(pucInput, pucOutput, ulSamples, *psRamp);
    case 2:
        return RampGroups<Vector, 2>(pucInput, pucOutput, ulSamples, *psRamp);
    case 4:
        return RampGroups<Vector, 4>(pucInput, pucOutput, ulSamples, *psRamp);
    case 8:
        return RampGroups<Vector, 8>(pucInput, pucOutput, ulSamples, *psRamp);
    default:
        return RampGroups<Vector, 16>(pucInput, pucOutput, ulSamples, *psRamp);
    }
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET
