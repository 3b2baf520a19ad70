/// The scalar reference: one sample at a time. It defines the operations that loops use of an instruction set.
///
/// Ops process 32-bit lanes, which hold one sample each. Samples of 2 or 3 bytes are MSB-aligned in the lane, like
/// 24-in-32; samples of 4 bytes fill the lane. For some ops, samples of 2 bytes are LSB-aligned: sign-extended by
/// loads, and wrapped by stores. Loads and stores are unaligned.
///
/// An instruction set with more than one lane has also operations that only the loops over vectors use: LoadBlock and
/// StoreBlock (consecutive vectors), GainLoader, MulGain16 and MulHigh32 (fades), LoadGains, LoadClampRange and
/// ApplyGain24 (gain ramps), LoadInterleaved and LoadDeinterleaved (stereo). They are described in simd_avx2-inl.h and
/// simd_x86-inl.h.
///
/// Each variant compiles the -inl.h files in its own namespace. No name is visible outside its object.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

template <class Simd>
using VecU32 = typename Simd::VecU32;

enum class BitAlignment { MsbAligned, LsbAligned };

struct Scalar {
    static constexpr unsigned long kLanes = 1;
    using VecU32 = std::uint32_t;
    using VecF32 = float;

    /// Loads one sample of Bytes bytes.
    template <int Bytes, BitAlignment Alignment = BitAlignment::MsbAligned>
    static VecU32 Load(const std::uint8_t* puc)
    {
        if constexpr (Bytes == 2) {
            std::int16_t sSample;
            __builtin_memcpy(&sSample, puc, 2);
            return Alignment == BitAlignment::MsbAligned ? static_cast<VecU32>(sSample) << 16
                                                         : static_cast<VecU32>(sSample);
        } else if constexpr (Bytes == 3) {
            return static_cast<VecU32>(puc[0]) << 8 | static_cast<VecU32>(puc[1]) << 16 |
                   static_cast<VecU32>(puc[2]) << 24;
        } else {
            VecU32 ulSample;
            __builtin_memcpy(&ulSample, puc, 4);
            return ulSample;
        }
    }

    /// The inverse of Load. Drops the bits that the container lacks.
    template <int Bytes, BitAlignment Alignment = BitAlignment::MsbAligned>
    static void Store(std::uint8_t* puc, VecU32 ulLane)
    {
        if constexpr (Bytes == 2) {
            const auto usSample =
                static_cast<std::uint16_t>(Alignment == BitAlignment::MsbAligned ? ulLane >> 16 : ulLane);
            __builtin_memcpy(puc, &usSample, 2);
        } else if constexpr (Bytes == 3) {
            puc[0] = static_cast<std::uint8_t>(ulLane >> 8);
            puc[1] = static_cast<std::uint8_t>(ulLane >> 16);
            puc[2] = static_cast<std::uint8_t>(ulLane >> 24);
        } else {
            __builtin_memcpy(puc, &ulLane, 4);
        }
    }

    /// Returns the bytes at the given positions, the lowest first. Position -1 gives a zero.
    template <int First, int Second, int Third, int Fourth>
    static VecU32 ShuffleBytes(VecU32 ulLane)
    {
        return ExtractByte<First>(ulLane) | ExtractByte<Second>(ulLane) << 8 | ExtractByte<Third>(ulLane) << 16 |
               ExtractByte<Fourth>(ulLane) << 24;
    }

    static VecF32 BitCastToFloat(VecU32 ulLane) { return __builtin_bit_cast(float, ulLane); }
    static VecU32 BitCastToUint(VecF32 fValue) { return __builtin_bit_cast(VecU32, fValue); }

    /// Converts signed integers, rounded to the nearest float.
    static VecF32 ConvertToFloat(VecU32 ulLane) { return static_cast<float>(static_cast<std::int32_t>(ulLane)); }

    /// Truncates to a signed integer. NaN and values that do not fit in 32 bits give 0x80000000.
    static VecU32 TruncateToInt(VecF32 fValue)
    {
        const bool bFits = fValue >= -2147483648.0f && fValue < 2147483648.0f;
        return bFits ? static_cast<VecU32>(static_cast<std::int32_t>(fValue)) : 0x80000000;
    }

    /// Returns the correctly rounded quotient of a converted integer and 2^Power - 2^Less.
    template <int Power, int Less>
    static VecF32 DivideByFullScale(VecF32 fValue)
    {
        return fValue / static_cast<float>((std::int64_t{1} << Power) - (std::int64_t{1} << Less));
    }

    /// Multiplies a 24-in-32 sample by a gain with 12 fraction bits, the low 16 bits of ulGain. The result is
    /// LSB-aligned and can exceed 24 bits. The upper and the lower half are multiplied separately; the lower product is
    /// truncated.
    static VecU32 ApplyGain(VecU32 ulLane, VecU32 ulGain)
    {
        const std::int32_t iSample = static_cast<std::int32_t>(ulLane) >> 4;
        const auto iGain = static_cast<std::int32_t>(ulGain & 0xFFFF);
        const std::int32_t iLow = (iSample & 0xFFFF) >> 1;
        return static_cast<VecU32>((iSample >> 16) * iGain + (iLow * iGain >> 15));
    }

    /// Clamps signed integers, first to the maximum, then to the minimum.
    static VecU32 Clamp(VecU32 ulLane, VecU32 ulMax, VecU32 ulMin)
    {
        const auto Signed = [](VecU32 ul) { return static_cast<std::int32_t>(ul); };
        ulLane = Signed(ulLane) < Signed(ulMax) ? ulLane : ulMax;
        return Signed(ulLane) > Signed(ulMin) ? ulLane : ulMin;
    }

    /// Shifts a signed integer; rounds towards minus infinity.
    static VecU32 ShiftRightArithmetic(VecU32 ulLane, int iBits)
    {
        return static_cast<VecU32>(static_cast<std::int32_t>(ulLane) >> iBits);
    }

    /// The frames of one step of the stereo loops. 1 means no steps.
    template <int Bytes>
    static constexpr unsigned long kStereoStepFrames = 1;

private:
    template <int Position>
    static VecU32 ExtractByte(VecU32 ulLane)
    {
        if constexpr (Position < 0) {
            return 0;
        } else {
            return ulLane >> 8 * Position & 0xFF;
        }
    }
};

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
