/// Unaligned access: the samples of a host may be at any address, also at odd ones.
#pragma once

#include <cstddef>
#include <cstdint>

namespace {

using UnalignedSample [[gnu::aligned(1), gnu::may_alias]] = std::int16_t;
using UnalignedFloat [[gnu::aligned(1), gnu::may_alias]] = float;
using UnalignedDouble [[gnu::aligned(1), gnu::may_alias]] = double;

/// Returns a pointer for element accesses. A pointer to the plain type may be misaligned, but not dereferenced.
inline const UnalignedSample* AtAnyAddress(const std::int16_t* ps)
{
    return reinterpret_cast<const UnalignedSample*>(ps);
}

inline UnalignedSample* AtAnyAddress(std::int16_t* ps)
{
    return reinterpret_cast<UnalignedSample*>(ps);
}

inline const UnalignedFloat* AtAnyAddress(const float* pf)
{
    return reinterpret_cast<const UnalignedFloat*>(pf);
}

inline UnalignedDouble* AtAnyAddress(double* pd)
{
    return reinterpret_cast<UnalignedDouble*>(pd);
}

/// The parameters have no type because the compiler assumes that typed pointers are aligned.
inline void CopySamples(void* pvTo, const void* pvFrom, long lCount)
{
    __builtin_memcpy(pvTo, pvFrom, static_cast<std::size_t>(lCount) * sizeof(std::int16_t));
}

inline void MoveSamples(void* pvTo, const void* pvFrom, long lCount)
{
    __builtin_memmove(pvTo, pvFrom, static_cast<std::size_t>(lCount) * sizeof(std::int16_t));
}

/// Loads four samples.
inline std::int64_t LoadBlock(const void* pvSamples)
{
    std::int64_t llSamples;
    __builtin_memcpy(&llSamples, pvSamples, sizeof(llSamples));
    return llSamples;
}

} // namespace
