/// Samples at any address: hosts' buffers need not even lie at even ones.
#pragma once

#include <cstddef>
#include <cstdint>

namespace {

using AnySample [[gnu::aligned(1), gnu::may_alias]] = std::int16_t;

/// For reading and writing single samples. A pointer to plain samples may only be moved.
inline const AnySample* AtAnyAddress(const std::int16_t* ps)
{
    return reinterpret_cast<const AnySample*>(ps);
}

inline AnySample* AtAnyAddress(std::int16_t* ps)
{
    return reinterpret_cast<AnySample*>(ps);
}

/// By addresses without a type: the compiler takes typed ones for aligned.
inline void CopySamples(void* pvTo, const void* pvFrom, long lCount)
{
    __builtin_memcpy(pvTo, pvFrom, static_cast<std::size_t>(lCount) * sizeof(std::int16_t));
}

inline void MoveSamples(void* pvTo, const void* pvFrom, long lCount)
{
    __builtin_memmove(pvTo, pvFrom, static_cast<std::size_t>(lCount) * sizeof(std::int16_t));
}

} // namespace
