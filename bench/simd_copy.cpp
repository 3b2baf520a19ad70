#include "bench/simd_copy.h"

#include <immintrin.h>

namespace {

constexpr std::size_t kBlock = 256;

[[gnu::target("avx512f")]] void CopyBy64(char* output, const char* input, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; i += kBlock) {
        const __m512i first = _mm512_load_si512(input + i);
        const __m512i second = _mm512_load_si512(input + i + 64);
        const __m512i third = _mm512_load_si512(input + i + 128);
        const __m512i fourth = _mm512_load_si512(input + i + 192);
        _mm512_store_si512(output + i, first);
        _mm512_store_si512(output + i + 64, second);
        _mm512_store_si512(output + i + 128, third);
        _mm512_store_si512(output + i + 192, fourth);
    }
}

[[gnu::target("avx")]] void CopyBy32(char* output, const char* input, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; i += kBlock) {
        __m256i parts[kBlock / 32];
        for (std::size_t j = 0; j < kBlock / 32; ++j) {
            parts[j] = _mm256_load_si256(reinterpret_cast<const __m256i*>(input + i) + j);
        }
        for (std::size_t j = 0; j < kBlock / 32; ++j) {
            _mm256_store_si256(reinterpret_cast<__m256i*>(output + i) + j, parts[j]);
        }
    }
}

void CopyBy16(char* output, const char* input, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; i += kBlock) {
        __m128i parts[kBlock / 16];
        for (std::size_t j = 0; j < kBlock / 16; ++j) {
            parts[j] = _mm_load_si128(reinterpret_cast<const __m128i*>(input + i) + j);
        }
        for (std::size_t j = 0; j < kBlock / 16; ++j) {
            _mm_store_si128(reinterpret_cast<__m128i*>(output + i) + j, parts[j]);
        }
    }
}

} // namespace

void SimdCopy(void* output, const void* input, std::size_t bytes)
{
    static const auto copy = __builtin_cpu_supports("avx512f") != 0 ? CopyBy64
                             : __builtin_cpu_supports("avx") != 0   ? CopyBy32
                                                                    : CopyBy16;
    copy(static_cast<char*>(output), static_cast<const char*>(input), bytes);
}
