/// One sample at a time: what a loop needs of an instruction set, in its plainest form.
///
/// Words are the lanes that laws work on. A sample of 2 or 3 bytes stands at the top of its word, as a 24-in-32 sample
/// does, with zeros below; a sample of 4 bytes is the word. For some laws a sample of 2 bytes stands at the bottom
/// instead: loaded with its sign above, and stored whatever is above. Addresses need no alignment.
///
/// Like all that a target file includes, this is compiled once for each target and has no name outside its object.
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
    static constexpr bool kHasStreamingStores = false;
    using VecU32 = std::uint32_t;
    using VecF32 = float;

    /// Bytes is the size of a sample in memory.
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

    template <int Bytes, BitAlignment Alignment = BitAlignment::MsbAligned>
    static void Store(std::uint8_t* puc, VecU32 ulWord)
    {
        if constexpr (Bytes == 2) {
            const auto usSample =
                static_cast<std::uint16_t>(Alignment == BitAlignment::MsbAligned ? ulWord >> 16 : ulWord);
            __builtin_memcpy(puc, &usSample, 2);
        } else if constexpr (Bytes == 3) {
            puc[0] = static_cast<std::uint8_t>(ulWord >> 8);
            puc[1] = static_cast<std::uint8_t>(ulWord >> 16);
            puc[2] = static_cast<std::uint8_t>(ulWord >> 24);
        } else {
            __builtin_memcpy(puc, &ulWord, 4);
        }
    }

    /// The word's bytes at the given places, the lowest first, or zeros where a place is -1.
    template <int First, int Second, int Third, int Fourth>
    static VecU32 ShuffleBytes(VecU32 ulWord)
    {
        return ExtractByte<First>(ulWord) | ExtractByte<Second>(ulWord) << 8 | ExtractByte<Third>(ulWord) << 16 |
               ExtractByte<Fourth>(ulWord) << 24;
    }

    static VecF32 BitCastToFloat(VecU32 ulWord) { return __builtin_bit_cast(float, ulWord); }
    static VecU32 BitCastToUint(VecF32 fValue) { return __builtin_bit_cast(VecU32, fValue); }

    /// Words as signed integers, rounded to the nearest float.
    static VecF32 ConvertToFloat(VecU32 ulWord) { return static_cast<float>(static_cast<std::int32_t>(ulWord)); }

    /// Towards zero; 0x80000000 for all that a signed word cannot hold and for NaN.
    static VecU32 TruncateToInt(VecF32 fValue)
    {
        const bool bFits = fValue >= -2147483648.0f && fValue < 2147483648.0f;
        return bFits ? static_cast<VecU32>(static_cast<std::int32_t>(fValue)) : 0x80000000;
    }

    /// The correctly rounded quotient of a converted word by 2 to the Power less 2 to the Less.
    template <int Power, int Less>
    static VecF32 DivideByFullScale(VecF32 fValue)
    {
        return fValue / static_cast<float>((std::int64_t{1} << Power) - (std::int64_t{1} << Less));
    }

    /// A 24-in-32 sample times a gain with 12 fraction bits, the low 16 bits of ulGain, as a 24-bit value; it can be
    /// too large for 24 bits. The halves are multiplied apart, and what falls below the lower product's unit is cut
    /// off.
    static VecU32 ApplyGain(VecU32 ulWord, VecU32 ulGain)
    {
        const std::int32_t iSample = static_cast<std::int32_t>(ulWord) >> 4;
        const auto iGain = static_cast<std::int32_t>(ulGain & 0xFFFF);
        const std::int32_t iLow = (iSample & 0xFFFF) >> 1;
        return static_cast<VecU32>((iSample >> 16) * iGain + (iLow * iGain >> 15));
    }

    /// Words as signed integers, limited from above, then from below.
    static VecU32 Clamp(VecU32 ulWord, VecU32 ulUpper, VecU32 ulLower)
    {
        const auto Signed = [](VecU32 ul) { return static_cast<std::int32_t>(ul); };
        ulWord = Signed(ulWord) < Signed(ulUpper) ? ulWord : ulUpper;
        return Signed(ulWord) > Signed(ulLower) ? ulWord : ulLower;
    }

    /// A word as a signed integer, towards minus infinity.
    static VecU32 ShiftRightArithmetic(VecU32 ulWord, int iBits)
    {
        return static_cast<VecU32>(static_cast<std::int32_t>(ulWord) >> iBits);
    }

    /// The frames of one step of the stereo loops. 1 stands for loops without steps.
    template <int Bytes>
    static constexpr unsigned long kStereoStepFrames = 1;

private:
    template <int Position>
    static VecU32 ExtractByte(VecU32 ulWord)
    {
        if constexpr (Position < 0) {
            return 0;
        } else {
            return ulWord >> 8 * Position & 0xFF;
        }
    }
};

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
