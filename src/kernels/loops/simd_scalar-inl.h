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

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {

template <class T>
using Words = typename T::Words;

enum class Stands { AtTop, AtBottom };

struct Scalar {
    static constexpr unsigned long kLanes = 1;
    static constexpr bool kStreams = false;
    using Words = std::uint32_t;
    using Floats = float;

    /// Bytes is the size of a sample in memory.
    template <int Bytes, Stands Where = Stands::AtTop>
    static Words Load(const std::uint8_t* puc)
    {
        if constexpr (Bytes == 2) {
            std::int16_t sSample;
            __builtin_memcpy(&sSample, puc, 2);
            return Where == Stands::AtTop ? static_cast<Words>(sSample) << 16 : static_cast<Words>(sSample);
        } else if constexpr (Bytes == 3) {
            return static_cast<Words>(puc[0]) << 8 | static_cast<Words>(puc[1]) << 16 |
                   static_cast<Words>(puc[2]) << 24;
        } else {
            Words ulSample;
            __builtin_memcpy(&ulSample, puc, 4);
            return ulSample;
        }
    }

    template <int Bytes, Stands Where = Stands::AtTop>
    static void Store(std::uint8_t* puc, Words ulWord)
    {
        if constexpr (Bytes == 2) {
            const auto usSample = static_cast<std::uint16_t>(Where == Stands::AtTop ? ulWord >> 16 : ulWord);
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
    static Words PickBytes(Words ulWord)
    {
        return PickByte<First>(ulWord) | PickByte<Second>(ulWord) << 8 | PickByte<Third>(ulWord) << 16 |
               PickByte<Fourth>(ulWord) << 24;
    }

    static Floats BitsToFloats(Words ulWord) { return __builtin_bit_cast(float, ulWord); }
    static Words BitsToWords(Floats fValue) { return __builtin_bit_cast(Words, fValue); }

    /// Words as signed integers, rounded to the nearest float.
    static Floats Convert(Words ulWord) { return static_cast<float>(static_cast<std::int32_t>(ulWord)); }

    /// Towards zero; 0x80000000 for all that a signed word cannot hold and for NaN.
    static Words Truncate(Floats fValue)
    {
        const bool bFits = fValue >= -2147483648.0f && fValue < 2147483648.0f;
        return bFits ? static_cast<Words>(static_cast<std::int32_t>(fValue)) : 0x80000000;
    }

    /// The correctly rounded quotient of a converted word by 2 to the Power less 2 to the Less.
    template <int Power, int Less>
    static Floats Divide(Floats fValue)
    {
        return fValue / static_cast<float>((std::int64_t{1} << Power) - (std::int64_t{1} << Less));
    }

    /// A 24-in-32 sample times a gain with 12 fraction bits, the low 16 bits of ulGain, as a 24-bit value; it can be
    /// too large for 24 bits. The halves are multiplied apart, and what falls below the lower product's unit is cut
    /// off.
    static Words Scale(Words ulWord, Words ulGain)
    {
        const std::int32_t iSample = static_cast<std::int32_t>(ulWord) >> 4;
        const auto iGain = static_cast<std::int32_t>(ulGain & 0xFFFF);
        const std::int32_t iLow = (iSample & 0xFFFF) >> 1;
        return static_cast<Words>((iSample >> 16) * iGain + (iLow * iGain >> 15));
    }

    /// Words as signed integers, limited from above, then from below.
    static Words Limit(Words ulWord, Words ulUpper, Words ulLower)
    {
        const auto Signed = [](Words ul) { return static_cast<std::int32_t>(ul); };
        ulWord = Signed(ulWord) < Signed(ulUpper) ? ulWord : ulUpper;
        return Signed(ulWord) > Signed(ulLower) ? ulWord : ulLower;
    }

    /// A word as a signed integer, towards minus infinity.
    static Words ShiftSigned(Words ulWord, int iBits)
    {
        return static_cast<Words>(static_cast<std::int32_t>(ulWord) >> iBits);
    }

    /// The frames that InterleavePairs and SplitPairs move at once.
    template <int Bytes>
    static constexpr unsigned long kPairFrames = 1;

    template <int Bytes>
    static void InterleavePairs(const std::uint8_t* pucLeft, const std::uint8_t* pucRight, std::uint8_t* pucStereo)
    {
        __builtin_memcpy(pucStereo, pucLeft, Bytes);
        __builtin_memcpy(pucStereo + Bytes, pucRight, Bytes);
    }

    template <int Bytes>
    static void SplitPairs(const std::uint8_t* pucStereo, std::uint8_t* pucLeft, std::uint8_t* pucRight)
    {
        __builtin_memcpy(pucLeft, pucStereo, Bytes);
        __builtin_memcpy(pucRight, pucStereo + Bytes, Bytes);
    }

private:
    template <int Place>
    static Words PickByte(Words ulWord)
    {
        if constexpr (Place < 0) {
            return 0;
        } else {
            return ulWord >> 8 * Place & 0xFF;
        }
    }
};

} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET
