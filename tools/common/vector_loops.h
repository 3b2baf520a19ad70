/// Loops over samples that run with the widest vectors of the CPU.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Several numbers that are processed together. Their order is that of the loop on every CPU, and so are the results.
using Doubles [[gnu::vector_size(32)]] = double;
using Floats [[gnu::vector_size(32)]] = float;
using Words [[gnu::vector_size(32)]] = std::int32_t;

inline constexpr std::size_t kDoubles = sizeof(Doubles) / sizeof(double);
inline constexpr std::size_t kFloats = sizeof(Floats) / sizeof(float);

template <typename Vector, typename Value>
[[gnu::always_inline]] inline void Load(Vector& vector, const Value* values)
{
    std::memcpy(&vector, values, sizeof vector);
}

template <typename Vector, typename Value>
[[gnu::always_inline]] inline void Store(const Vector& vector, Value* values)
{
    std::memcpy(values, &vector, sizeof vector);
}

/// The parts of a loop that are functions of their own are inlined only if they have this attribute.
#define ZTA_INLINE __attribute__((always_inline))

template <typename Loop>
[[gnu::target("avx2"), gnu::noinline]] void RunWithAvx2(Loop& loop)
{
    loop();
}

/// Runs `loop`, a lambda with ZTA_INLINE, compiled for the CPU.
template <typename Loop>
void RunVectorized(Loop loop)
{
    static const bool hasAvx2 = __builtin_cpu_supports("avx2") != 0;
    if (hasAvx2) {
        RunWithAvx2(loop);
    } else {
        loop();
    }
}
