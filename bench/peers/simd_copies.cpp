#include "bench/peers/simd_copies.h"

#include <cstring>

#include <immintrin.h>

namespace bench {

namespace {

/// Four registers a step; std::memcpy copies the remainder.
#define ZTA_WIDE_COPY(name, options, Register, load, store)                                                            \
    [[gnu::target(options)]] void name(std::byte* to, const std::byte* from, std::size_t bytes)                        \
    {                                                                                                                  \
        constexpr std::size_t kStep = 4 * sizeof(Register);                                                            \
        std::size_t done = 0;                                                                                          \
        for (; done + kStep <= bytes; done += kStep) {                                                                 \
            const auto* source = reinterpret_cast<const Register*>(from + done);                                       \
            auto* target = reinterpret_cast<Register*>(to + done);                                                     \
            const Register a = load(source);                                                                           \
            const Register b = load(source + 1);                                                                       \
            const Register c = load(source + 2);                                                                       \
            const Register d = load(source + 3);                                                                       \
            store(target, a);                                                                                          \
            store(target + 1, b);                                                                                      \
            store(target + 2, c);                                                                                      \
            store(target + 3, d);                                                                                      \
        }                                                                                                              \
        std::memcpy(to + done, from + done, bytes - done);                                                             \
    }

ZTA_WIDE_COPY(Copy512, "avx512f", __m512i, _mm512_loadu_si512, _mm512_storeu_si512)
ZTA_WIDE_COPY(Copy256, "avx2", __m256i, _mm256_loadu_si256, _mm256_storeu_si256)

#undef ZTA_WIDE_COPY

/// Of as many samples as a register has bytes, the bytes are `Loads` registers of input and `Stores` of output. The
/// assembler code loads also the registers that are not stored.
#define ZTA_COPY_OF_LINES(name, options, Register, load, store)                                                        \
    template <std::size_t Loads, std::size_t Stores>                                                                   \
    [[gnu::target(options)]] void name(const SampleBytes& bytes)                                                       \
    {                                                                                                                  \
        const auto* source = reinterpret_cast<const Register*>(bytes.from);                                            \
        auto* target = reinterpret_cast<Register*>(bytes.to);                                                          \
        for (std::size_t done = 0; done < bytes.samples; done += sizeof(Register)) {                                   \
            Register loaded[Loads];                                                                                    \
            _Pragma("GCC unroll 4") for (std::size_t i = 0; i < Loads; ++i)                                            \
            {                                                                                                          \
                const Register value = load(source + i);                                                               \
                asm volatile("" ::"v"(value));                                                                         \
                loaded[i] = value;                                                                                     \
            }                                                                                                          \
            _Pragma("GCC unroll 4") for (std::size_t i = 0; i < Stores; ++i)                                           \
            {                                                                                                          \
                store(target + i, loaded[i * Loads / Stores]);                                                         \
                asm volatile("" ::: "memory");                                                                         \
            }                                                                                                          \
            source += Loads;                                                                                           \
            target += Stores;                                                                                          \
        }                                                                                                              \
    }

ZTA_COPY_OF_LINES(CopyLines512, "avx512f", __m512i, _mm512_loadu_si512, _mm512_storeu_si512)
ZTA_COPY_OF_LINES(CopyLines256, "avx2", __m256i, _mm256_loadu_si256, _mm256_storeu_si256)

#undef ZTA_COPY_OF_LINES

template <std::size_t Loads, std::size_t Stores>
Job MakeCopyOfLines(const SampleBytes& bytes, bool wide)
{
    return wide ? Job([bytes] { CopyLines512<Loads, Stores>(bytes); })
                : Job([bytes] { CopyLines256<Loads, Stores>(bytes); });
}

/// Eight independent accumulators, which hide the latency. The samples are opaque to the compiler.
#define ZTA_MULTIPLY_ADDS(name, options, Register, multiply, add, broadcast)                                           \
    [[gnu::target(options)]] void name(std::size_t rounds)                                                             \
    {                                                                                                                  \
        const Register taps = broadcast(3);                                                                            \
        Register sums[8] = {taps, taps, taps, taps, taps, taps, taps, taps};                                           \
        for (std::size_t round = 0; round < rounds; ++round) {                                                         \
            Register samples = taps;                                                                                   \
            for (Register & sum : sums) {                                                                              \
                asm volatile("" : "+v"(samples));                                                                      \
                sum = add(sum, multiply(taps, samples));                                                               \
            }                                                                                                          \
        }                                                                                                              \
        for (const Register& sum : sums) {                                                                             \
            asm volatile("" ::"v"(sum));                                                                               \
        }                                                                                                              \
    }

ZTA_MULTIPLY_ADDS(MultiplyAdds512, "avx512f,avx512bw", __m512i, _mm512_madd_epi16, _mm512_add_epi32, _mm512_set1_epi16)
ZTA_MULTIPLY_ADDS(MultiplyAdds256, "avx2", __m256i, _mm256_madd_epi16, _mm256_add_epi32, _mm256_set1_epi16)

#undef ZTA_MULTIPLY_ADDS

bool Has512()
{
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw");
}

bool Has256()
{
    return __builtin_cpu_supports("avx2");
}

} // namespace

void CopyByLibrary(std::byte* to, const std::byte* from, std::size_t bytes)
{
    std::memcpy(to, from, bytes);
    asm volatile("" ::: "memory");
}

std::vector<SimdCopy> AllSimdCopies()
{
    if (Has512()) {
        return {{"AVX-512 copy", Copy512}};
    }
    if (Has256()) {
        return {{"AVX2 copy", Copy256}};
    }
    return {};
}

Job CopyOfSameLines(const SampleBytes& bytes, std::size_t registerBytes)
{
    const bool wide = registerBytes == 64;
    if (!(wide ? Has512() : Has256())) {
        return {};
    }
    switch (bytes.inBytes * 10 + bytes.outBytes) {
    case 24:
        return MakeCopyOfLines<2, 4>(bytes, wide);
    case 42:
        return MakeCopyOfLines<4, 2>(bytes, wide);
    case 34:
        return MakeCopyOfLines<3, 4>(bytes, wide);
    case 43:
        return MakeCopyOfLines<4, 3>(bytes, wide);
    default:
        return MakeCopyOfLines<4, 4>(bytes, wide);
    }
}

Job MultiplyAdds(std::size_t outputs, std::size_t registerBytes)
{
    // A register of 64 bytes holds all 32 multiply-adds of an output; a round uses eight registers.
    const std::size_t rounds = (outputs * 64 / registerBytes + 7) / 8;
    if (registerBytes == 64 && Has512()) {
        return [rounds] { MultiplyAdds512(rounds); };
    }
    if (registerBytes == 32 && Has256()) {
        return [rounds] { MultiplyAdds256(rounds); };
    }
    return {};
}

} // namespace bench
