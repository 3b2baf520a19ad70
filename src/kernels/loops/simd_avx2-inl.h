/// Eight samples at a time with AVX2 and FMA. The operations are those of Scalar.
#pragma once

#include "kernels/loops/simd_scalar-inl.h"
#include "kernels/loops/simd_x86-inl.h"

#include <cstdint>
#include <type_traits>

#include <immintrin.h>

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

struct Avx2 : X86Arithmetic<VecU32x8, VecU16x16, VecF32x8> {
    static constexpr unsigned long kLanes = 8;
    static constexpr bool kHasMaskedAccess = false;

    template <int Bytes, BitAlignment Alignment = BitAlignment::MsbAligned>
    static VecU32 Load(const std::uint8_t* puc)
    {
        if constexpr (Bytes == 2 && Alignment == BitAlignment::LsbAligned) {
            return reinterpret_cast<VecU32>(_mm256_cvtepi16_epi32(Load128(puc)));
        } else if constexpr (Bytes == 2) {
            return reinterpret_cast<VecU32>(_mm256_cvtepu16_epi32(Load128(puc))) << 16;
        } else if constexpr (Bytes == 3) {
            // Exactly 24 bytes are read.
            const __m256i vBytes = _mm256_set_m128i(Load128(puc + 8), Load128(puc));
            return reinterpret_cast<VecU32>(_mm256_shuffle_epi8(
                vBytes, _mm256_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, //
                                         -1, 4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15)));
        } else {
            return reinterpret_cast<VecU32>(Load256(puc));
        }
    }

    /// Loads four consecutive vectors, with full-width loads if they are faster.
    template <int Bytes, BitAlignment Alignment = BitAlignment::MsbAligned>
    static void LoadBlock(const std::uint8_t* puc, VecU32 (&rav)[4])
    {
        if constexpr (Bytes == 2 && Alignment == BitAlignment::MsbAligned) {
            for (unsigned long i = 0; i < 4; i += 2) {
                const __m256i vSamples = _mm256_permute4x64_epi64(Load256(puc + i * 16), 0b11011000);
                rav[i] = reinterpret_cast<VecU32>(_mm256_unpacklo_epi16(__m256i{}, vSamples));
                rav[i + 1] = reinterpret_cast<VecU32>(_mm256_unpackhi_epi16(__m256i{}, vSamples));
            }
        } else if constexpr (Bytes == 3) {
            // The lanes of a vector hold the 12 bytes before and after its middle. For the first and the last vector, a
            // load around the middle would exceed the block.
            const __m256i vFirst = _mm256_permutevar8x32_epi32(Load256(puc), _mm256_setr_epi32(0, 0, 1, 2, 3, 4, 5, 6));
            const __m256i vLast =
                _mm256_permutevar8x32_epi32(Load256(puc + 64), _mm256_setr_epi32(1, 2, 3, 4, 5, 6, 7, 7));
            rav[0] = Unpack24(vFirst);
            rav[1] = Unpack24(Load256(puc + 20));
            rav[2] = Unpack24(Load256(puc + 44));
            rav[3] = Unpack24(vLast);
        } else {
            for (unsigned long i = 0; i < 4; ++i) {
                rav[i] = Load<Bytes, Alignment>(puc + i * kLanes * Bytes);
            }
        }
    }

    template <int Bytes, BitAlignment Alignment = BitAlignment::MsbAligned>
    static void Store(std::uint8_t* puc, VecU32 v)
    {
        if constexpr (Bytes == 2) {
            Store128(puc, _mm256_castsi256_si128(NarrowTo16<Alignment>(v, v)));
        } else if constexpr (Bytes == 3) {
            const __m256i vPacked = Pack24<0>(v);
            Store128(puc, _mm256_castsi256_si128(vPacked));
            _mm_storeu_si64(puc + 16, _mm256_extracti128_si256(vPacked, 1));
        } else {
            Store256(puc, reinterpret_cast<__m256i>(v));
        }
    }

    /// Orders streaming stores before later stores.
    static void FenceStreamingStores() { _mm_sfence(); }

    /// Stores consecutive vectors with full-width stores. Streaming stores require an address at a multiple of 32.
    template <int Bytes, BitAlignment Alignment = BitAlignment::MsbAligned, bool Streamed = false, unsigned long Count>
    static void StoreBlock(std::uint8_t* puc, const VecU32 (&rav)[Count])
    {
        if constexpr (Bytes == 2) {
            static_assert(Count % 2 == 0);
            for (unsigned long i = 0; i < Count; i += 2) {
                StoreInOrder<Streamed>(puc + i * 16, NarrowTo16<Alignment>(rav[i], rav[i + 1]));
            }
        } else if constexpr (Bytes == 3 && Count == 4) {
            const __m256i vSecond = Pack24<6>(rav[1]);
            const __m256i vThird = Pack24<4>(rav[2]);
            StoreInOrder<Streamed>(puc, _mm256_blend_epi32(Pack24<0>(rav[0]), vSecond, 0b11000000));
            StoreInOrder<Streamed>(puc + 32, _mm256_blend_epi32(vSecond, vThird, 0b11110000));
            StoreInOrder<Streamed>(puc + 64, _mm256_blend_epi32(vThird, Pack24<2>(rav[3]), 0b11111100));
        } else if constexpr (Bytes == 3) {
            static_assert(Count == 2 && !Streamed);
            // The first store overruns by eight bytes, which the second overwrites.
            Store256(puc, Pack24<0>(rav[0]));
            Store<3>(puc + 24, rav[1]);
        } else {
            for (unsigned long i = 0; i < Count; ++i) {
                StoreInOrder<Streamed>(puc + i * 32, reinterpret_cast<__m256i>(rav[i]));
            }
        }
    }

    /// Loads gains of consecutive frames and repeats each for the ulBytes bytes of its frame, a power of two. bReverse
    /// reverses the order of memory.
    template <class Gain>
    class GainLoader {
        using IndexVector = std::conditional_t<sizeof(Gain) == 2, VecU16, VecU32>;

    public:
        GainLoader(unsigned long ulBytes, bool bReverse)
            : m_ulGains(32UL >> __builtin_ctzl(ulBytes)), m_bReverse(bReverse)
        {
            const auto iDoublings = static_cast<Gain>(__builtin_ctzl(ulBytes / sizeof(Gain)));
            IndexVector vPositions;
            for (unsigned i = 0; i < 32 / sizeof(Gain); ++i) {
                vPositions[i] = static_cast<Gain>(i);
            }
            if constexpr (sizeof(Gain) == 4) {
                m_vGains = reinterpret_cast<VecU32>(vPositions < static_cast<Gain>(m_ulGains));
            }
            vPositions >>= iDoublings;
            m_vIndices = bReverse ? static_cast<Gain>(m_ulGains - 1) - vPositions : vPositions;
            if constexpr (sizeof(Gain) == 2) {
                m_vIndices =
                    (m_vIndices & 7) * 0x0202 + 0x0100; // both bytes of a gain, in the 128-bit lane that holds it
            }
        }

        VecU32 Load(const Gain* pGains) const
        {
            const auto vPositions = reinterpret_cast<__m256i>(m_vIndices);
            if constexpr (sizeof(Gain) == 2) {
                return reinterpret_cast<VecU32>(_mm256_shuffle_epi8(LoadHalves(pGains), vPositions));
            } else {
                const __m256i vGains =
                    _mm256_maskload_epi32(reinterpret_cast<const int*>(pGains), reinterpret_cast<__m256i>(m_vGains));
                return reinterpret_cast<VecU32>(_mm256_permutevar8x32_epi32(vGains, vPositions));
            }
        }

    private:
        /// Loads each 128-bit lane with its gains; up to eight gains are loaded into both lanes.
        __m256i LoadHalves(const Gain* pGains) const
        {
            if (m_ulGains == 16) {
                const __m256i vGains = Load256(reinterpret_cast<const std::uint8_t*>(pGains));
                return m_bReverse ? _mm256_permute4x64_epi64(vGains, 0b01001110) : vGains;
            }
            return _mm256_broadcastsi128_si256(LoadUpTo8Gains(pGains));
        }

        /// Reads no byte after the gains.
        __m128i LoadUpTo8Gains(const Gain* pGains) const
        {
            switch (m_ulGains) {
            case 8:
                return _mm_loadu_si128(reinterpret_cast<const __m128i*>(pGains));
            case 4:
                return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pGains));
            case 2:
                return _mm_loadu_si32(pGains);
            default:
                return _mm_cvtsi32_si128(*pGains);
            }
        }

        unsigned long m_ulGains;
        bool m_bReverse;
        IndexVector m_vIndices;
        VecU32 m_vGains = {}; ///< all ones for each gain that is read
    };

    template <int Bytes>
    static constexpr unsigned long kStereoStepFrames = Bytes == 2 ? 16 : 8;

    /// The frames of one step of the stereo loops, between loading and storing.
    struct StereoStep {
        VecU32 vFirst; ///< the first half of the frames, or the left channel
        VecU32 vSecond;

        template <int Bytes>
        void StoreInterleaved(std::uint8_t* pucStereo) const
        {
            const VecU32 avStereo[] = {vFirst, vSecond};
            StoreBlock<Bytes == 3 ? 3 : 4>(pucStereo, avStereo);
        }

        template <int Bytes>
        void StoreDeinterleaved(std::uint8_t* pucLeft, std::uint8_t* pucRight) const
        {
            Store<Bytes == 3 ? 3 : 4>(pucLeft, vFirst);
            Store<Bytes == 3 ? 3 : 4>(pucRight, vSecond);
        }
    };

    template <int Bytes>
    static StereoStep LoadInterleaved(const std::uint8_t* pucLeft, const std::uint8_t* pucRight)
    {
        __m256i vFirst;
        __m256i vSecond;
        if constexpr (Bytes == 2) {
            const __m256i vLeft = Load256(pucLeft);
            const __m256i vRight = Load256(pucRight);
            vFirst = _mm256_unpacklo_epi16(vLeft, vRight);
            vSecond = _mm256_unpackhi_epi16(vLeft, vRight);
        } else {
            const __m256i vLeft = reinterpret_cast<__m256i>(Load<Bytes>(pucLeft));
            const __m256i vRight = reinterpret_cast<__m256i>(Load<Bytes>(pucRight));
            vFirst = _mm256_unpacklo_epi32(vLeft, vRight);
            vSecond = _mm256_unpackhi_epi32(vLeft, vRight);
        }
        return {reinterpret_cast<VecU32>(_mm256_permute2x128_si256(vFirst, vSecond, 0x20)),
                reinterpret_cast<VecU32>(_mm256_permute2x128_si256(vFirst, vSecond, 0x31))};
    }

    template <int Bytes>
    static StereoStep LoadDeinterleaved(const std::uint8_t* pucStereo)
    {
        if constexpr (Bytes == 2) {
            const VecU32 vFirst = Load<4>(pucStereo); // whole frames
            const VecU32 vSecond = Load<4>(pucStereo + 32);
            return {reinterpret_cast<VecU32>(NarrowTo16<BitAlignment::LsbAligned>(vFirst, vSecond)),
                    reinterpret_cast<VecU32>(NarrowTo16<BitAlignment::MsbAligned>(vFirst, vSecond))};
        } else {
            const auto vFirst = reinterpret_cast<__m256>(Load<Bytes>(pucStereo));
            auto vSecond = reinterpret_cast<__m256>(Load<Bytes>(pucStereo + 8UL * Bytes));
            __asm__("" : "+x"(vSecond)); // in a register: GCC loads an operand of both shuffles twice otherwise
            return {RestoreLaneOrder(_mm256_shuffle_ps(vFirst, vSecond, 0b10001000)),
                    RestoreLaneOrder(_mm256_shuffle_ps(vFirst, vSecond, 0b11011101))};
        }
    }

private:
    static __m128i Load128(const std::uint8_t* puc) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(puc)); }
    static __m256i Load256(const std::uint8_t* puc)
    {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(puc));
    }
    static void Store128(std::uint8_t* puc, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(puc), v); }

    static void Store256(std::uint8_t* puc, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(puc), v); }

    /// The barrier keeps stores in the order of memory: processors merge consecutive stores to a cache line.
    template <bool Streamed>
    static void StoreInOrder(std::uint8_t* puc, __m256i v)
    {
        Streamed ? _mm256_stream_si256(reinterpret_cast<__m256i*>(puc), v) : Store256(puc, v);
        __asm__ volatile("" ::: "memory");
    }

    /// Returns the 16-bit halves that hold the samples, those of the first vector first.
    template <BitAlignment Alignment>
    static __m256i NarrowTo16(VecU32 vFirst, VecU32 vSecond)
    {
        __m256i vHalves;
        if constexpr (Alignment == BitAlignment::MsbAligned) {
            const __m256i vPairs =
                _mm256_blend_epi16(reinterpret_cast<__m256i>(vFirst >> 16), reinterpret_cast<__m256i>(vSecond), 0xAA);
            vHalves = _mm256_shuffle_epi8(vPairs, _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, 2,
                                                                                            3, 6, 7, 10, 11, 14, 15)));
        } else {
            vHalves = _mm256_packus_epi32(reinterpret_cast<__m256i>(vFirst & 0xFFFF),
                                          reinterpret_cast<__m256i>(vSecond & 0xFFFF));
        }
        return _mm256_permute4x64_epi64(vHalves, 0b11011000);
    }

    /// Unpacks the last 12 bytes of the low 128-bit lane and the first 12 bytes of the high one.
    static VecU32 Unpack24(__m256i vBytes)
    {
        return reinterpret_cast<VecU32>(
            _mm256_shuffle_epi8(vBytes, _mm256_setr_epi8(-1, 4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, //
                                                         -1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11)));
    }

    /// Restores the order of 64-bit elements after an operation on the 128-bit lanes of two vectors.
    static VecU32 RestoreLaneOrder(__m256 vPairs)
    {
        return reinterpret_cast<VecU32>(_mm256_permute4x64_epi64(reinterpret_cast<__m256i>(vPairs), 0b11011000));
    }

    /// Packs the upper three bytes of the 32-bit lanes. The 24 bytes begin at 32-bit element First of the vector and
    /// wrap around its end; the other bytes are undefined.
    template <int First>
    static __m256i Pack24(VecU32 v)
    {
        const __m256i vLanes = _mm256_shuffle_epi8(
            reinterpret_cast<__m256i>(v), _mm256_setr_epi8(1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15, -1, -1, -1, -1, 1,
                                                           2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15, -1, -1, -1, -1));
        constexpr auto kSource = [](int iElement) {
            constexpr int kSources[] = {0, 1, 2, 4, 5, 6, 3, 7};
            return kSources[(iElement + 8 - First) % 8];
        };
        return _mm256_permutevar8x32_epi32(vLanes, _mm256_setr_epi32(kSource(0), kSource(1), kSource(2), kSource(3),
                                                                     kSource(4), kSource(5), kSource(6), kSource(7)));
    }
};

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
