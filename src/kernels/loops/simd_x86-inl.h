/// What the AVX2 and the AVX-512 variant share: overloads of the intrinsics for vectors of 32 and 64 bytes, which hide
/// the casts, and the arithmetic that is written with them.
#pragma once

#include <cstdint>

#include <immintrin.h>

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

using VecU32x8 = std::uint32_t __attribute__((vector_size(32)));
using VecU16x16 = std::uint16_t __attribute__((vector_size(32)));
using VecF32x8 = float __attribute__((vector_size(32)));

inline __m256i AsIntegers(VecU32x8 v)
{
    return reinterpret_cast<__m256i>(v);
}
inline __m256i AsIntegers(VecU16x16 v)
{
    return reinterpret_cast<__m256i>(v);
}

inline __m256i BroadcastLane(__m256i /*type*/, __m128i v)
{
    return _mm256_broadcastsi128_si256(v);
}
inline __m256i ShuffleLaneBytes(__m256i v, __m256i vPositions)
{
    return _mm256_shuffle_epi8(v, vPositions);
}
inline __m256i Add32(__m256i v1, __m256i v2)
{
    return _mm256_add_epi32(v1, v2);
}
inline __m256i MulAddPairs(__m256i v1, __m256i v2)
{
    return _mm256_madd_epi16(v1, v2);
}
inline __m256i MulHighUnsigned16(__m256i v1, __m256i v2)
{
    return _mm256_mulhi_epu16(v1, v2);
}
inline __m256i MulHighSigned16(__m256i v1, __m256i v2)
{
    return _mm256_mulhi_epi16(v1, v2);
}
inline __m256i Average16(__m256i v1, __m256i v2)
{
    return _mm256_avg_epu16(v1, v2);
}
inline __m256i MinSigned32(__m256i v1, __m256i v2)
{
    return _mm256_min_epi32(v1, v2);
}
inline __m256i MaxSigned32(__m256i v1, __m256i v2)
{
    return _mm256_max_epi32(v1, v2);
}
inline __m256i MulEvenSigned32(__m256i v1, __m256i v2)
{
    return _mm256_mul_epi32(v1, v2);
}
inline __m256i ShiftRight64(__m256i v, int iBits)
{
    return _mm256_srli_epi64(v, iBits);
}
inline __m256i ShiftRightSigned32(__m256i v, int iBits)
{
    return _mm256_srai_epi32(v, iBits);
}
inline __m256i SubSaturated16(__m256i v1, __m256i v2)
{
    return _mm256_subs_epu16(v1, v2);
}
inline __m256 ConvertSigned32ToFloat(__m256i v)
{
    return _mm256_cvtepi32_ps(v);
}
inline __m256i TruncateToSigned32(__m256 v)
{
    return _mm256_cvttps_epi32(v);
}
inline __m256 MulAdd(__m256 v, float fFactor, __m256 vAddend)
{
    return _mm256_fmadd_ps(v, _mm256_set1_ps(fFactor), vAddend);
}
/// The even 32-bit lanes of the first vector and the odd ones of the second.
inline __m256i BlendEvenOdd32(__m256i vEven, __m256i vOdd)
{
    return _mm256_blend_epi32(vEven, vOdd, 0xAA);
}
template <int SlotBytes>
inline __m256i UnpackLow(__m256i v1, __m256i v2)
{
    if constexpr (SlotBytes == 2) {
        return _mm256_unpacklo_epi16(v1, v2);
    } else if constexpr (SlotBytes == 4) {
        return _mm256_unpacklo_epi32(v1, v2);
    } else {
        return _mm256_unpacklo_epi64(v1, v2);
    }
}
template <int SlotBytes>
inline __m256i UnpackHigh(__m256i v1, __m256i v2)
{
    if constexpr (SlotBytes == 2) {
        return _mm256_unpackhi_epi16(v1, v2);
    } else if constexpr (SlotBytes == 4) {
        return _mm256_unpackhi_epi32(v1, v2);
    } else {
        return _mm256_unpackhi_epi64(v1, v2);
    }
}

#ifdef __AVX512BW__
using VecU32x16 = std::uint32_t __attribute__((vector_size(64)));
using VecU16x32 = std::uint16_t __attribute__((vector_size(64)));
using VecF32x16 = float __attribute__((vector_size(64)));

inline __m512i AsIntegers(VecU32x16 v)
{
    return reinterpret_cast<__m512i>(v);
}
inline __m512i AsIntegers(VecU16x32 v)
{
    return reinterpret_cast<__m512i>(v);
}

inline __m512i BroadcastLane(__m512i /*type*/, __m128i v)
{
    return _mm512_broadcast_i32x4(v);
}
inline __m512i ShuffleLaneBytes(__m512i v, __m512i vPositions)
{
    return _mm512_shuffle_epi8(v, vPositions);
}
inline __m512i Add32(__m512i v1, __m512i v2)
{
    return _mm512_add_epi32(v1, v2);
}
inline __m512i MulAddPairs(__m512i v1, __m512i v2)
{
    return _mm512_madd_epi16(v1, v2);
}
inline __m512i MulHighUnsigned16(__m512i v1, __m512i v2)
{
    return _mm512_mulhi_epu16(v1, v2);
}
inline __m512i MulHighSigned16(__m512i v1, __m512i v2)
{
    return _mm512_mulhi_epi16(v1, v2);
}
inline __m512i Average16(__m512i v1, __m512i v2)
{
    return _mm512_avg_epu16(v1, v2);
}
inline __m512i MinSigned32(__m512i v1, __m512i v2)
{
    return _mm512_min_epi32(v1, v2);
}
inline __m512i MaxSigned32(__m512i v1, __m512i v2)
{
    return _mm512_max_epi32(v1, v2);
}
inline __m512i MulEvenSigned32(__m512i v1, __m512i v2)
{
    return _mm512_mul_epi32(v1, v2);
}
inline __m512i ShiftRight64(__m512i v, unsigned iBits)
{
    return _mm512_srli_epi64(v, iBits);
}
inline __m512i ShiftRightSigned32(__m512i v, int iBits)
{
    return _mm512_srai_epi32(v, static_cast<unsigned>(iBits));
}
inline __m512i SubSaturated16(__m512i v1, __m512i v2)
{
    return _mm512_subs_epu16(v1, v2);
}
inline __m512 ConvertSigned32ToFloat(__m512i v)
{
    return _mm512_cvtepi32_ps(v);
}
inline __m512i TruncateToSigned32(__m512 v)
{
    return _mm512_cvttps_epi32(v);
}
inline __m512 MulAdd(__m512 v, float fFactor, __m512 vAddend)
{
    return _mm512_fmadd_ps(v, _mm512_set1_ps(fFactor), vAddend);
}
inline __m512i BlendEvenOdd32(__m512i vEven, __m512i vOdd)
{
    return _mm512_mask_blend_epi32(0xAAAA, vEven, vOdd);
}
template <int SlotBytes>
inline __m512i UnpackLow(__m512i v1, __m512i v2)
{
    if constexpr (SlotBytes == 2) {
        return _mm512_unpacklo_epi16(v1, v2);
    } else if constexpr (SlotBytes == 4) {
        return _mm512_unpacklo_epi32(v1, v2);
    } else {
        return _mm512_unpacklo_epi64(v1, v2);
    }
}
template <int SlotBytes>
inline __m512i UnpackHigh(__m512i v1, __m512i v2)
{
    if constexpr (SlotBytes == 2) {
        return _mm512_unpackhi_epi16(v1, v2);
    } else if constexpr (SlotBytes == 4) {
        return _mm512_unpackhi_epi32(v1, v2);
    } else {
        return _mm512_unpackhi_epi64(v1, v2);
    }
}
#endif

/// Alternates the slots of the first half of the vectors with those of the second half, in each 128-bit lane. On Count
/// vectors of planes, log2(Count) stages interleave; on interleaved elements, log2(elements of a lane) stages return to
/// the planes. One stage on two vectors of four slots:
///
///   a0 a1 a2 a3      a0 b0 a1 b1
///   b0 b1 b2 b3  ->  a2 b2 a3 b3
template <int SlotBytes, unsigned long Count, unsigned long Times, class VectorType>
inline void UnpackStages(VectorType* av)
{
    for (unsigned long t = 1; t < Times; t *= 2) {
        VectorType avOld[Count];
        for (unsigned long i = 0; i < Count; ++i) {
            avOld[i] = av[i];
        }
        for (unsigned long i = 0; i < Count / 2; ++i) {
            av[2 * i] = UnpackLow<SlotBytes>(avOld[i], avOld[i + Count / 2]);
            av[2 * i + 1] = UnpackHigh<SlotBytes>(avOld[i], avOld[i + Count / 2]);
        }
    }
}

/// The operations of an instruction set that differ only in the width of its vectors. Those of Scalar are described
/// there.
template <class U32, class U16, class F32>
struct X86Arithmetic {
    using VecU32 = U32;
    using VecU16 = U16;
    using VecF32 = F32;

    static F32 BitCastToFloat(U32 v) { return reinterpret_cast<F32>(v); }
    static U32 BitCastToUint(F32 vValues) { return reinterpret_cast<U32>(vValues); }
    static F32 ConvertToFloat(U32 v) { return ConvertSigned32ToFloat(AsIntegers(v)); }
    static U32 TruncateToInt(F32 vValues) { return reinterpret_cast<U32>(TruncateToSigned32(vValues)); }
    static U32 ShiftRightArithmetic(U32 v, int iBits)
    {
        return reinterpret_cast<U32>(ShiftRightSigned32(AsIntegers(v), iBits));
    }

    /// Multiplies by the reciprocal, a geometric series. Its first two terms are one float. The third is a power of
    /// two: a saturating integer subtraction from the exponent computes that product and leaves zero unchanged. The
    /// error before the last rounding is less than half of the minimum distance between a quotient of two floats and a
    /// rounding boundary, so the result is bit-exact.
    template <int Power, int Less>
    static F32 DivideByFullScale(F32 vValues)
    {
        constexpr auto kReciprocal =
            static_cast<float>((1.0 + 1.0 / (std::int64_t{1} << (Power - Less))) / (std::int64_t{1} << Power));
        constexpr std::uint32_t kHalvings = 3 * Power - 2 * Less;
        constexpr int kExponentBit = 23;
        const U32 vExponent = U32{} + (kHalvings << kExponentBit);
        const auto vThird = SubSaturated16(AsIntegers(reinterpret_cast<U32>(vValues)), AsIntegers(vExponent));
        return MulAdd(vValues, kReciprocal, reinterpret_cast<F32>(vThird));
    }

    template <int First, int Second, int Third, int Fourth>
    static U32 ShuffleBytes(U32 v)
    {
        constexpr auto kPositions = [](int iLane) {
            const auto Byte = [iLane](int iPosition) { return iPosition < 0 ? 0x80 : iPosition + 4 * iLane; };
            return Byte(First) | Byte(Second) << 8 | Byte(Third) << 16 | Byte(Fourth) << 24;
        };
        const __m128i vPositions = _mm_setr_epi32(kPositions(0), kPositions(1), kPositions(2), kPositions(3));
        return reinterpret_cast<U32>(ShuffleLaneBytes(AsIntegers(v), BroadcastLane(AsIntegers(v), vPositions)));
    }

    /// Gains of 0 to 32767, each in both halves of its 32-bit lane.
    using GainVector = U16;

    /// Loads 32-bit lanes with a gain in their lower half.
    static GainVector LoadGains(const std::uint8_t* pucGains)
    {
        U32 v;
        __builtin_memcpy(&v, pucGains, sizeof v);
        return reinterpret_cast<GainVector>(ShuffleBytes<0, 1, 0, 1>(v));
    }

    /// The clamp range of ApplyGain24, in the scale of its products.
    struct ClampRange {
        U32 vMax;
        U32 vMin;
    };

    static ClampRange LoadClampRange(const std::int32_t* plClampMax, const std::int32_t* plClampMin)
    {
        const auto Repeat = [](const std::int32_t* plLanes) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(plLanes));
            return reinterpret_cast<U32>(BroadcastLane(AsIntegers(U32{}), v));
        };
        return {Repeat(plClampMax) * 16 + 15, Repeat(plClampMin) * 16};
    }

    /// Returns scaled 24-in-32 samples. Equals Scalar::ApplyGain and Clamp: the four bits that the scalar code shifts
    /// out first stay in the products here, so that one shift at the end is sufficient. The upper 16 bits of low *
    /// gain, without the lowest five bits of the sample, are the carry of the lower half into the upper one.
    template <bool Clamped>
    static U32 ApplyGain24(U32 v, GainVector vGains, const ClampRange& rsRange)
    {
        const auto vHigh = MulAddPairs(AsIntegers(v & 0xFFFF0000), AsIntegers(vGains));
        const auto vLow = MulHighUnsigned16(AsIntegers(v & 0x0000FFE0), AsIntegers(vGains));
        auto vScaled = Add32(vHigh, vLow);
        if constexpr (Clamped) {
            vScaled = MaxSigned32(MinSigned32(vScaled, AsIntegers(rsRange.vMax)), AsIntegers(rsRange.vMin));
        }
        return reinterpret_cast<U32>(vScaled) << 4 & 0xFFFFFF00;
    }

    /// Returns sample * gain >> 15 for signed 16-bit samples and unsigned gains. The upper half of the product with
    /// 2 * gain is this value, but 2 * gain can exceed a signed multiplier: then it is a signed multiplier plus a
    /// multiple of 65536, and the sample is added that many times.
    static U32 MulGain16(U32 vSamples, U32 vGains)
    {
        const auto v = reinterpret_cast<U16>(vSamples);
        const auto vUnsigned = reinterpret_cast<U16>(vGains);
        const auto vTimes = reinterpret_cast<U16>(Average16(AsIntegers(vUnsigned >> 14), AsIntegers(U16{})));
        const auto vProduct = reinterpret_cast<U16>(MulHighSigned16(AsIntegers(v), AsIntegers(vUnsigned + vUnsigned)));
        return reinterpret_cast<U32>(vProduct + v * vTimes);
    }

    /// Returns the upper 32 bits of the signed 64-bit products.
    static U32 MulHigh32(U32 vFirst, U32 vSecond)
    {
        const auto v1 = AsIntegers(vFirst);
        const auto v2 = AsIntegers(vSecond);
        const auto vEven = ShiftRight64(MulEvenSigned32(v1, v2), 32);
        const auto vOdd = MulEvenSigned32(ShiftRight64(v1, 32), ShiftRight64(v2, 32));
        return reinterpret_cast<U32>(BlendEvenOdd32(vEven, vOdd));
    }
};

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
