/// Sixteen samples at a time with AVX-512 F, BW, DQ, VL and VBMI. The operations are those of Scalar.
#pragma once

#include "kernels/loops/simd_avx2-inl.h"
#include "kernels/loops/simd_scalar-inl.h"
#include "kernels/loops/simd_x86-inl.h"

#include <cstdint>
#include <type_traits>

#include <immintrin.h>

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

struct Avx512 : X86Arithmetic<VecU32x16, VecU16x32, VecF32x16> {
    static constexpr unsigned long kLanes = 16;

    template <int Bytes, BitAlignment Alignment = BitAlignment::MsbAligned>
    static VecU32 Load(const std::uint8_t* puc)
    {
        if constexpr (Bytes == 2 && Alignment == BitAlignment::LsbAligned) {
            const __m256i vSamples = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(puc));
            return reinterpret_cast<VecU32>(_mm512_cvtepi16_epi32(vSamples));
        } else if constexpr (Bytes == 2) {
            const __m256i vSamples = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(puc));
            return reinterpret_cast<VecU32>(_mm512_cvtepu16_epi32(vSamples)) << 16;
        } else if constexpr (Bytes == 3) {
            return Unpack24<0>(_mm512_maskz_loadu_epi32(kPacked24Mask, puc));
        } else {
            return reinterpret_cast<VecU32>(_mm512_loadu_si512(puc));
        }
    }

    /// Loads four consecutive vectors, with full-width loads if they are faster.
    template <int Bytes, BitAlignment Alignment = BitAlignment::MsbAligned>
    static void LoadBlock(const std::uint8_t* puc, VecU32 (&rav)[4])
    {
        if constexpr (Bytes == 2 && Alignment == BitAlignment::MsbAligned) {
            for (unsigned long i = 0; i < 4; i += 2) {
                const __m512i vSamples = LoadOnce(puc + i * 32);
                rav[i] = UpperHalves<0>(vSamples);
                rav[i + 1] = UpperHalves<32>(vSamples);
            }
        } else if constexpr (Bytes == 3) {
            // The 48 bytes of the four vectors begin at byte 0, 48, 32 and 16 of a loaded vector; those of the second
            // and the third continue in the next one.
            const __m512i vFirst = LoadOnce(puc);
            const __m512i vSecond = LoadOnce(puc + 64);
            const __m512i vThird = LoadOnce(puc + 128);
            rav[0] = Unpack24<0>(vFirst);
            rav[1] = Unpack24<48>(_mm512_mask_blend_epi64(0b11000000, vSecond, vFirst));
            rav[2] = Unpack24<32>(_mm512_mask_blend_epi64(0b11110000, vThird, vSecond));
            rav[3] = Unpack24<16>(vThird);
        } else {
            for (unsigned long i = 0; i < 4; ++i) {
                rav[i] = Load<Bytes, Alignment>(puc + i * 16 * Bytes);
            }
        }
    }

    template <int Bytes, BitAlignment Alignment = BitAlignment::MsbAligned>
    static void Store(std::uint8_t* puc, VecU32 v)
    {
        if constexpr (Bytes == 2) {
            const VecU32 vLower = Alignment == BitAlignment::MsbAligned ? v >> 16 : v;
            const __m256i vSamples = _mm512_cvtepi32_epi16(reinterpret_cast<__m512i>(vLower));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(puc), vSamples);
        } else if constexpr (Bytes == 3) {
            _mm512_mask_storeu_epi32(puc, kPacked24Mask, Pack24<0>(v));
        } else {
            _mm512_storeu_si512(puc, reinterpret_cast<__m512i>(v));
        }
    }

    /// Orders streaming stores before later stores.
    static void FenceStreamingStores() { _mm_sfence(); }

    /// Stores four consecutive vectors with full-width stores. Streaming stores require an address at a multiple of 64.
    template <int Bytes, BitAlignment Alignment = BitAlignment::MsbAligned, bool Streamed = false>
    static void StoreBlock(std::uint8_t* puc, const VecU32 (&rav)[4])
    {
        if constexpr (Bytes == 2) {
            StoreCacheLine<Streamed>(puc, NarrowTo16<Alignment>(rav[0], rav[1]));
            StoreCacheLine<Streamed>(puc + 64, NarrowTo16<Alignment>(rav[2], rav[3]));
        } else if constexpr (Bytes == 3) {
            const __m512i vSecond = Pack24<48>(rav[1]);
            const __m512i vThird = Pack24<32>(rav[2]);
            StoreCacheLine<Streamed>(puc, _mm512_mask_blend_epi64(0b11000000, Pack24<0>(rav[0]), vSecond));
            StoreCacheLine<Streamed>(puc + 64, _mm512_mask_blend_epi64(0b11110000, vSecond, vThird));
            StoreCacheLine<Streamed>(puc + 128, _mm512_mask_blend_epi64(0b11111100, vThird, Pack24<16>(rav[3])));
        } else {
            for (unsigned long i = 0; i < 4; ++i) {
                StoreCacheLine<Streamed>(puc + i * 64, reinterpret_cast<__m512i>(rav[i]));
            }
        }
    }

    /// Masked loads and stores of less than a vector access no other bytes.
    static constexpr bool kHasMaskedAccess = true;

    static VecU32 LoadPartial(const std::uint8_t* puc, unsigned long ulBytes)
    {
        return reinterpret_cast<VecU32>(_mm512_maskz_loadu_epi8((std::uint64_t{1} << ulBytes) - 1, puc));
    }

    static void StorePartial(std::uint8_t* puc, unsigned long ulBytes, VecU32 v)
    {
        _mm512_mask_storeu_epi8(puc, (std::uint64_t{1} << ulBytes) - 1, reinterpret_cast<__m512i>(v));
    }

    /// Loads gains of consecutive frames and repeats each for the ulBytes bytes of its frame, a power of two. bReverse
    /// reverses the order of memory.
    template <class Gain>
    class GainLoader {
        using IndexVector = std::conditional_t<sizeof(Gain) == 2, VecU16, VecU32>;

    public:
        GainLoader(unsigned long ulBytes, bool bReverse)
            : m_ulLast((64UL >> __builtin_ctzl(ulBytes)) - 1), m_ulGains((std::uint64_t{2} << m_ulLast) - 1),
              m_bReverse(bReverse)
        {
            IndexVector vPositions;
            for (unsigned i = 0; i < 64 / sizeof(Gain); ++i) {
                vPositions[i] = static_cast<Gain>(i);
            }
            vPositions >>= static_cast<Gain>(__builtin_ctzl(ulBytes / sizeof(Gain)));
            m_vIndices = bReverse ? static_cast<Gain>(m_ulLast) - vPositions : vPositions;
        }

        VecU32 Load(const Gain* pGains) const { return Load(pGains, m_ulGains); }

        /// Loads the gains of the first ulFrames frames only.
        VecU32 LoadPartialGains(const Gain* pGains, unsigned long ulFrames) const
        {
            return Load(pGains, m_bReverse ? m_ulGains & m_ulGains << (m_ulLast + 1 - ulFrames)
                                           : m_ulGains >> (m_ulLast + 1 - ulFrames));
        }

    private:
        VecU32 Load(const Gain* pGains, std::uint64_t ulMask) const
        {
            const auto vPositions = reinterpret_cast<__m512i>(m_vIndices);
            if constexpr (sizeof(Gain) == 2) {
                const __m512i vGains = _mm512_maskz_loadu_epi16(static_cast<__mmask32>(ulMask), pGains);
                return reinterpret_cast<VecU32>(_mm512_permutexvar_epi16(vPositions, vGains));
            } else {
                const __m512i vGains = _mm512_maskz_loadu_epi32(static_cast<__mmask16>(ulMask), pGains);
                return reinterpret_cast<VecU32>(_mm512_permutexvar_epi32(vPositions, vGains));
            }
        }

        unsigned long m_ulLast;  ///< index of the last gain
        std::uint64_t m_ulGains; ///< one bit for each gain
        bool m_bReverse;
        IndexVector m_vIndices;
    };

    template <int Bytes>
    static constexpr unsigned long kStereoStepFrames = Avx2::kStereoStepFrames<Bytes>;

    template <int Bytes>
    static auto LoadInterleaved(const std::uint8_t* pucLeft, const std::uint8_t* pucRight)
    {
        return Avx2::LoadInterleaved<Bytes>(pucLeft, pucRight);
    }

    template <int Bytes>
    static auto LoadDeinterleaved(const std::uint8_t* pucStereo)
    {
        return Avx2::LoadDeinterleaved<Bytes>(pucStereo);
    }

private:
    /// Loads a vector that several operations use. GCC makes the load an operand of each of them otherwise.
    static __m512i LoadOnce(const std::uint8_t* puc)
    {
        __m512i v = _mm512_loadu_si512(puc);
        __asm__("" : "+v"(v));
        return v;
    }

    template <bool Streamed>
    static void StoreCacheLine(std::uint8_t* puc, __m512i vLine)
    {
        Streamed ? _mm512_stream_si512(reinterpret_cast<__m512i*>(puc), vLine) : _mm512_storeu_si512(puc, vLine);
    }

    static constexpr __mmask16 kPacked24Mask = 0x0FFF; ///< the 48 bytes of sixteen packed samples, by 4 bytes

    /// The source position of each byte of a vector.
    struct alignas(64) IndexVector {
        std::uint8_t auc[64];

        explicit constexpr IndexVector(int (*pfnPosition)(int iByte)) : auc()
        {
            for (int i = 0; i < 64; ++i) {
                auc[i] = static_cast<std::uint8_t>(pfnPosition(i));
            }
        }
    };

    /// Returns the 16-bit halves that hold the samples, those of the first vector first. On Intel's processors, one
    /// permutation of bytes is faster than one of 16-bit elements, and than one of two vectors.
    template <BitAlignment Alignment>
    static __m512i NarrowTo16(VecU32 vFirst, VecU32 vSecond)
    {
        static constexpr IndexVector kEvenThenOdd([](int i) { return i % 32 / 2 * 4 + i / 32 * 2 + i % 2; });
        const VecU32 vHalves = Alignment == BitAlignment::MsbAligned ? vFirst >> 16 | (vSecond & 0xFFFF0000)
                                                                     : (vFirst & 0xFFFF) | vSecond << 16;
        return _mm512_permutexvar_epi8(_mm512_load_si512(kEvenThenOdd.auc), reinterpret_cast<__m512i>(vHalves));
    }

    /// Unpacks sixteen 16-bit samples, which begin at byte First, to the upper halves of 32-bit lanes.
    template <int First>
    static VecU32 UpperHalves(__m512i vSamples)
    {
        static constexpr IndexVector kPositions([](int i) { return First + i / 4 * 2 + i % 2; });
        return reinterpret_cast<VecU32>(
            _mm512_maskz_permutexvar_epi8(0xCCCCCCCCCCCCCCCC, _mm512_load_si512(kPositions.auc), vSamples));
    }

    /// Unpacks sixteen packed samples, which begin at byte First of the vector and wrap around its end, to the upper
    /// three bytes of 32-bit lanes.
    template <int First>
    static VecU32 Unpack24(__m512i vPacked)
    {
        static constexpr IndexVector kPositions([](int i) { return (First + i / 4 * 3 + (i + 3) % 4) % 64; });
        return reinterpret_cast<VecU32>(
            _mm512_maskz_permutexvar_epi8(0xEEEEEEEEEEEEEEEE, _mm512_load_si512(kPositions.auc), vPacked));
    }

    /// The inverse. The other 16 bytes are undefined.
    template <int First>
    static __m512i Pack24(VecU32 v)
    {
        static constexpr IndexVector kPositions(
            [](int i) { return (i + 64 - First) % 64 / 3 * 4 % 64 + (i + 64 - First) % 64 % 3 + 1; });
        return _mm512_permutexvar_epi8(_mm512_load_si512(kPositions.auc), reinterpret_cast<__m512i>(v));
    }
};

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
