/// Runs of elements in the two halves of an AVX2 register, and the one shuffle that interleaves and splits them.
#pragma once

#include <cstdint>

#include <immintrin.h>

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {

/// Elements of 3 and 6 bytes are spread to slots of 4 and 8; their halves are moved as 16 bytes all the same, of which
/// the last 4 are not theirs.
template <int Bytes>
struct Rows {
    static constexpr int kSlot = Bytes == 3 ? 4 : Bytes == 6 ? 8 : Bytes;
    static constexpr unsigned long kRun = 16 / kSlot;           ///< elements of a half
    static constexpr unsigned long kBeyond = 16 - kRun * Bytes; ///< bytes that a half is read and written too far

    using Row = __m256i;

    /// Two halves from anywhere.
    static Row Load(const std::uint8_t* pucLow, const std::uint8_t* pucHigh)
    {
        return Spread(_mm256_inserti128_si256(_mm256_castsi128_si256(LoadHalf(pucLow)), LoadHalf(pucHigh), 1));
    }

    /// Two halves that follow each other.
    static Row Load(const std::uint8_t* puc)
    {
        if constexpr (kBeyond == 0) {
            return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(puc));
        } else {
            return Load(puc, puc + kRun * Bytes);
        }
    }

    /// The low half goes first: where the high one follows it, that repairs what was written too far. Exact writes
    /// nothing too far, in two steps for each half.
    template <bool Exact>
    static void Store(std::uint8_t* pucLow, std::uint8_t* pucHigh, Row v)
    {
        const Row vPacked = Pack(v);
        StoreHalf<Exact>(pucLow, _mm256_castsi256_si128(vPacked));
        StoreHalf<Exact>(pucHigh, _mm256_extracti128_si256(vPacked, 1));
    }

    template <bool Exact>
    static void Store(std::uint8_t* puc, Row v)
    {
        if constexpr (kBeyond == 0) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(puc), v);
        } else {
            const Row vPacked = Pack(v);
            StoreHalf<false>(puc, _mm256_castsi256_si128(vPacked));
            StoreHalf<Exact>(puc + kRun * Bytes, _mm256_extracti128_si256(vPacked, 1));
        }
    }

    /// Deals the elements of the first half of the rows and those of the second half out in turn, in each half of the
    /// registers by itself. Count is a power of 2, and so is kRun: on Count streams of kRun elements, log2(Count)
    /// shuffles interleave; on the interleaved elements, log2(kRun) more come back to the streams.
    template <unsigned long Count>
    static void Shuffle(Row (&rav)[Count])
    {
        Row av[Count];
        for (unsigned long i = 0; i < Count; ++i) {
            av[i] = rav[i];
        }
        for (unsigned long i = 0; i < Count / 2; ++i) {
            rav[2 * i] = UnpackLow(av[i], av[i + Count / 2]);
            rav[2 * i + 1] = UnpackHigh(av[i], av[i + Count / 2]);
        }
    }

    template <unsigned long Count>
    static void Interleave(Row (&rav)[Count])
    {
        for (unsigned long i = 1; i < Count; i *= 2) {
            Shuffle(rav);
        }
    }

    template <unsigned long Count>
    static void Split(Row (&rav)[Count])
    {
        for (unsigned long i = 1; i < kRun; i *= 2) {
            Shuffle(rav);
        }
    }

private:
    static __m128i LoadHalf(const std::uint8_t* puc) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(puc)); }

    template <bool Exact>
    static void StoreHalf(std::uint8_t* puc, __m128i v)
    {
        if constexpr (Exact && kBeyond != 0) {
            _mm_storeu_si64(puc, v);
            const int iLast = _mm_extract_epi32(v, 2);
            __builtin_memcpy(puc + 8, &iLast, 4);
        } else {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(puc), v);
        }
    }

    /// Elements side by side to elements in their slots.
    static Row Spread(Row v)
    {
        if constexpr (Bytes == 3) {
            return _mm256_shuffle_epi8(v, Twice(_mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1)));
        } else if constexpr (Bytes == 6) {
            return _mm256_shuffle_epi8(v, Twice(_mm_setr_epi8(0, 1, 2, 3, 4, 5, -1, -1, 6, 7, 8, 9, 10, 11, -1, -1)));
        } else {
            return v;
        }
    }

    static Row Pack(Row v)
    {
        if constexpr (Bytes == 3) {
            return _mm256_shuffle_epi8(v, Twice(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1)));
        } else if constexpr (Bytes == 6) {
            return _mm256_shuffle_epi8(v, Twice(_mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1)));
        } else {
            return v;
        }
    }

    static Row Twice(__m128i v) { return _mm256_broadcastsi128_si256(v); }

    static Row UnpackLow(Row vFirst, Row vSecond)
    {
        if constexpr (kSlot == 2) {
            return _mm256_unpacklo_epi16(vFirst, vSecond);
        } else if constexpr (kSlot == 4) {
            return _mm256_unpacklo_epi32(vFirst, vSecond);
        } else {
            return _mm256_unpacklo_epi64(vFirst, vSecond);
        }
    }

    static Row UnpackHigh(Row vFirst, Row vSecond)
    {
        if constexpr (kSlot == 2) {
            return _mm256_unpackhi_epi16(vFirst, vSecond);
        } else if constexpr (kSlot == 4) {
            return _mm256_unpackhi_epi32(vFirst, vSecond);
        } else {
            return _mm256_unpackhi_epi64(vFirst, vSecond);
        }
    }
};

} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET
