/// The gain ramp over interleaved samples. Scalar::ApplyGain and Scalar::Clamp define the result of one sample.
#pragma once

#include "kernels/loops/loops.h"
#include "kernels/loops/simd_scalar-inl.h"

#include <cstdint>

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

constexpr unsigned long kGroupLanes = SZtaGainRamp::kGroupLanes;

/// The four lanes of a group. Sums and products wrap; gains multiply by their low 16 bits.
using LaneGroup = std::uint32_t __attribute__((vector_size(16)));

LaneGroup LoadGroup(const std::int32_t* plLanes)
{
    LaneGroup v;
    __builtin_memcpy(&v, plLanes, sizeof v);
    return v;
}

using SignedLaneGroup = std::int32_t __attribute__((vector_size(16)));

SignedLaneGroup LoadSignedGroup(const std::int32_t* plLanes)
{
    return reinterpret_cast<SignedLaneGroup>(LoadGroup(plLanes));
}

const std::int32_t* GroupGains(const SZtaGainRamp& rsRamp, unsigned long ulGroup)
{
    return rsRamp.plGroups + ulGroup * 2 * kGroupLanes;
}

const std::int32_t* GroupIncrements(const SZtaGainRamp& rsRamp, unsigned long ulGroup)
{
    return GroupGains(rsRamp, ulGroup) + kGroupLanes;
}

/// Returns the gains of a group in cycle ulCycle through the groups.
LaneGroup ComputeGains(const SZtaGainRamp& rsRamp, unsigned long ulGroup, unsigned long ulCycle)
{
    return LoadGroup(GroupGains(rsRamp, ulGroup)) +
           LoadGroup(GroupIncrements(rsRamp, ulGroup)) * static_cast<std::uint32_t>(ulCycle);
}

/// Processes the samples from ulFirst to the end, one by one.
void ApplyRampScalar(const std::uint8_t* pucInput, std::uint8_t* pucOutput, unsigned long ulFirst,
                     unsigned long ulSamples, const SZtaGainRamp& rsRamp)
{
    if (ulFirst == ulSamples) {
        return;
    }
    const unsigned long ulLanes = rsRamp.ulGroups * kGroupLanes;
    std::uint32_t aulGains[SZtaGainRamp::kMaxGroups * kGroupLanes];
    std::uint32_t aulIncrements[SZtaGainRamp::kMaxGroups * kGroupLanes];
    for (unsigned long j = 0; j < ulLanes; ++j) {
        // The cycle of the lane's next sample.
        const unsigned long ulCycle = (ulFirst + ulLanes - 1 - j) / ulLanes;
        aulGains[j] = ComputeGains(rsRamp, j / kGroupLanes, ulCycle)[j % kGroupLanes];
        aulIncrements[j] = static_cast<std::uint32_t>(GroupIncrements(rsRamp, j / kGroupLanes)[j % kGroupLanes]);
    }
    for (unsigned long i = ulFirst; i < ulSamples; ++i) {
        const unsigned long j = i & (ulLanes - 1);
        const std::uint32_t ulScaled = Scalar::ApplyGain(Scalar::Load<4>(pucInput + i * 4), aulGains[j]);
        const std::uint32_t ulClamped =
            Scalar::Clamp(ulScaled, static_cast<std::uint32_t>(rsRamp.plClampMax[j % kGroupLanes]),
                          static_cast<std::uint32_t>(rsRamp.plClampMin[j % kGroupLanes]));
        Scalar::Store<4>(pucOutput + i * 4, ulClamped << 8);
        aulGains[j] += aulIncrements[j];
    }
}

/// Returns false only if no sample can clip: up to a gain of 1, a product needs no more bits than a sample.
[[maybe_unused]] bool CanClip(const SZtaGainRamp& rsRamp, unsigned long ulSamples)
{
    constexpr std::uint32_t kUnity = 4096;
    // Any increment but 0 leads outside of 0 to kUnity within kUnity + 1 cycles.
    const unsigned long ulLastCycle = (ulSamples - 1) / (rsRamp.ulGroups * kGroupLanes);
    const std::uint32_t ulIncrements = ulLastCycle > kUnity ? kUnity + 1 : static_cast<std::uint32_t>(ulLastCycle);
    auto vExceed = reinterpret_cast<LaneGroup>((LoadSignedGroup(rsRamp.plClampMax) < 0x7FFFFF) |
                                               (LoadSignedGroup(rsRamp.plClampMin) > -0x800000));
    for (unsigned long i = 0; i < rsRamp.ulGroups; ++i) {
        const auto vFirst = LoadGroup(GroupGains(rsRamp, i)) & 0xFFFF;
        const auto vStep = reinterpret_cast<LaneGroup>((LoadSignedGroup(GroupIncrements(rsRamp, i)) << 16) >> 16);
        const auto vLast = vFirst + vStep * ulIncrements; // negative values are large as unsigned ones
        vExceed |= reinterpret_cast<LaneGroup>((vFirst > kUnity) | (vLast > kUnity));
    }
    return (vExceed[0] | vExceed[1] | vExceed[2] | vExceed[3]) != 0;
}

/// Processes whole vectors. Returns the first sample of the remainder, which is less than a vector.
///
/// A step processes several vectors with separate gain vectors. A single gain vector would make each vector wait for
/// the addition before it. A step holds whole cycles through the groups.
template <class Simd, unsigned long Groups, bool Clamped>
unsigned long ApplyRampSimd(const std::uint8_t* pucInput, std::uint8_t* pucOutput, unsigned long ulSamples,
                            const SZtaGainRamp& rsRamp)
{
    constexpr unsigned long kLanes = Groups * kGroupLanes;
    constexpr unsigned long kStep = kLanes > 4 * Simd::kLanes ? kLanes : 4 * Simd::kLanes;
    constexpr unsigned long kVectors = kStep / Simd::kLanes;
    constexpr unsigned long kCycles = kStep / kLanes;

    LaneGroup avGroups[kStep / kGroupLanes];
    LaneGroup avSteps[kStep / kGroupLanes];
    for (unsigned long i = 0; i < kStep / kGroupLanes; ++i) {
        avGroups[i] = ComputeGains(rsRamp, i % Groups, i / Groups);
        avSteps[i] = LoadGroup(GroupIncrements(rsRamp, i % Groups)) * std::uint32_t{kCycles};
    }
    typename Simd::GainVector avGains[kVectors];
    typename Simd::GainVector avIncrements[kVectors];
    for (unsigned long j = 0; j < kVectors; ++j) {
        constexpr unsigned long kGroupsOfVector = Simd::kLanes / kGroupLanes;
        avGains[j] = Simd::LoadGains(reinterpret_cast<const std::uint8_t*>(avGroups + j * kGroupsOfVector));
        avIncrements[j] = Simd::LoadGains(reinterpret_cast<const std::uint8_t*>(avSteps + j * kGroupsOfVector));
    }
    const auto oRange = Simd::LoadClampRange(rsRamp.plClampMax, rsRamp.plClampMin);
    const auto ScaleAt = [&](unsigned long i, const typename Simd::GainVector& rvGains) __attribute__((always_inline))
    {
        const VecU32<Simd> vSamples = Simd::template Load<4>(pucInput + i * 4);
        Simd::template Store<4>(pucOutput + i * 4, Simd::template ApplyGain24<Clamped>(vSamples, rvGains, oRange));
    };

    unsigned long i = 0;
    for (; i + kStep <= ulSamples; i += kStep) {
        for (unsigned long j = 0; j < kVectors; ++j) {
            ScaleAt(i + j * Simd::kLanes, avGains[j]);
            avGains[j] += avIncrements[j];
        }
    }
    for (unsigned long j = 0; i + Simd::kLanes <= ulSamples; ++j, i += Simd::kLanes) {
        ScaleAt(i, avGains[j]);
    }
    return i;
}

/// Selects the loop with or without clamping.
template <class Simd, unsigned long Groups>
unsigned long ApplyRampSimd(const std::uint8_t* pucInput, std::uint8_t* pucOutput, unsigned long ulSamples,
                            const SZtaGainRamp& rsRamp)
{
    return CanClip(rsRamp, ulSamples) ? ApplyRampSimd<Simd, Groups, true>(pucInput, pucOutput, ulSamples, rsRamp)
                                      : ApplyRampSimd<Simd, Groups, false>(pucInput, pucOutput, ulSamples, rsRamp);
}

/// Selects the loop for the number of groups. Returns 0 if there is less than a vector, or no vector.
template <class Simd>
unsigned long ApplyRampSimd(const std::uint8_t* pucInput, std::uint8_t* pucOutput, unsigned long ulSamples,
                            const SZtaGainRamp& rsRamp)
{
    if constexpr (Simd::kLanes > 1) {
        if (ulSamples >= Simd::kLanes) {
            switch (rsRamp.ulGroups) {
            case 1:
                return ApplyRampSimd<Simd, 1>(pucInput, pucOutput, ulSamples, rsRamp);
            case 2:
                return ApplyRampSimd<Simd, 2>(pucInput, pucOutput, ulSamples, rsRamp);
            case 4:
                return ApplyRampSimd<Simd, 4>(pucInput, pucOutput, ulSamples, rsRamp);
            case 8:
                return ApplyRampSimd<Simd, 8>(pucInput, pucOutput, ulSamples, rsRamp);
            default:
                return ApplyRampSimd<Simd, 16>(pucInput, pucOutput, ulSamples, rsRamp);
            }
        }
    }
    return 0;
}

/// See ZtaApplyGainRamp.
void ApplyGainRamp(const void* pvInput, void* pvOutput, unsigned long ulSamples, const SZtaGainRamp* psRamp) noexcept
{
    const auto* pucInput = static_cast<const std::uint8_t*>(pvInput);
    auto* pucOutput = static_cast<std::uint8_t*>(pvOutput);
    const unsigned long ulDone = ApplyRampSimd<NativeSimd>(pucInput, pucOutput, ulSamples, *psRamp);
    ApplyRampScalar(pucInput, pucOutput, ulDone, ulSamples, *psRamp);
    if (psRamp->ulGroups > 2) {
        const unsigned long ulCycles = ulSamples / (psRamp->ulGroups * kGroupLanes);
        for (unsigned long i = 0; i < psRamp->ulGroups; ++i) {
            const LaneGroup vGains = ComputeGains(*psRamp, i, ulCycles);
            __builtin_memcpy(psRamp->plGroups + i * 2 * kGroupLanes, &vGains, sizeof vGains);
        }
    }
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
