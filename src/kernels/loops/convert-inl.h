/// The conversions of one sample each: their laws, and the one loop that runs a law over many samples.
///
/// A law maps words to words (see scalar.inc for how samples stand in them) and is written against an instruction set
/// T, which is the target's Vector or, for single samples, Scalar.
#pragma once

#include <cstdint>

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {

/// All conversions that only move bytes between left-aligned words.
struct Same {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return w;
    }
};

/// Conversions that rearrange the bytes of a word: the result's bytes from the lowest to the highest, each by its place
/// in the word, or -1 for a zero.
template <int... Places>
struct Bytes {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return T::template PickBytes<Places...>(w);
    }
};

using Lower8 = Bytes<1, 2, 3, -1>;
using Lower16 = Bytes<2, 3, -1, -1>;
using RepeatLowByte = Bytes<-1, 2, 2, 3>; ///< 0 0 b0 b1 becomes 0 b0 b0 b1
using Reverse24 = Bytes<-1, 3, 2, 1>;     ///< b0 b1 b2 b3 becomes 0 b3 b2 b1

/// The upper 16 bits of the audio field, bits 27 to 12 of a multi-format word.
struct AudioField16 {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return w << 4 & 0xFFFF0000;
    }
};

/// The same bits at the bottom of the word.
struct AudioField16AtBottom {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return w >> 12;
    }
};

/// The whole audio field, bits 27 to 4 of a multi-format word.
struct AudioField24 {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return w << 4 & 0xFFFFFF00;
    }
};

/// s / 32767.
struct ToFloatBy32767 {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return T::BitsToWords(T::template Divide<15, 0>(T::Convert(w)));
    }
};

/// Full scale of a 24-bit sample, 8388607 times 256, becomes 1.
struct ToFloatBy8388607 {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return T::BitsToWords(T::template Divide<31, 8>(T::Convert(w)));
    }
};

/// The inverse of ToFloatBy32767; what does not fit into 16 bits wraps.
struct FloatTo16 {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return T::Truncate(T::BitsToFloats(w) * 32767.0f);
    }
};

/// Not the inverse of ToFloatBy8388607: 1.0 is just out of range, and the low byte keeps what the product has.
struct FloatTo32 {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return T::Truncate(T::BitsToFloats(w) * 2147483648.0f);
    }
};

template <class Law>
constexpr Stands kOperandStands = Stands::AtTop;
template <>
constexpr Stands kOperandStands<ToFloatBy32767> = Stands::AtBottom;

template <class Law>
constexpr Stands kResultStands = Stands::AtTop;
template <>
constexpr Stands kResultStands<FloatTo16> = Stands::AtBottom;
template <>
constexpr Stands kResultStands<AudioField16AtBottom> = Stands::AtBottom;

template <int InBytes, int OutBytes, class Law>
void ConvertSingly(const std::uint8_t* pucInput, std::uint8_t* pucOutput, unsigned long ulSamples)
{
    for (unsigned long i = 0; i < ulSamples; ++i) {
        Scalar::Store<OutBytes, kResultStands<Law>>(
            pucOutput + i * OutBytes,
            Law::template Apply<Scalar>(Scalar::Load<InBytes, kOperandStands<Law>>(pucInput + i * InBytes)));
    }
}

/// The samples before the first one that is stored at a multiple of Alignment, a power of two, if there is any.
template <int Bytes, unsigned long Alignment>
unsigned long SamplesToAlignment(const std::uint8_t* puc)
{
    const unsigned long ulBytes = -reinterpret_cast<std::uintptr_t>(puc) % Alignment;
    if constexpr (Bytes == 3) {
        constexpr unsigned long kInverse = 43; // 3 * 43 is 1 but for a multiple of 128
        static_assert(128 % Alignment == 0);
        return ulBytes * kInverse % Alignment;
    } else {
        return ulBytes % Bytes == 0 ? ulBytes / Bytes : 0;
    }
}

/// True for an output so large that no cache has its first line when its last one comes: stores that go past the caches
/// spare the reading of each line before it is written. In place the line has been read anyway. Samples have to stand
/// so that some begin at a line.
template <int Bytes>
bool IsStreamed(const std::uint8_t* pucInput, const std::uint8_t* pucOutput, unsigned long ulOutputBytes)
{
    constexpr unsigned long kLeastBytes = 32 << 20;
    const auto ulOutput = reinterpret_cast<std::uintptr_t>(pucOutput);
    return ulOutputBytes >= kLeastBytes && reinterpret_cast<std::uintptr_t>(pucInput) - ulOutput >= ulOutputBytes &&
           (Bytes == 3 || ulOutput % Bytes == 0);
}

/// For at least one vector of samples.
template <class T, int InBytes, int OutBytes, class Law, bool Streamed>
void ConvertByVectors(const std::uint8_t* pucInput, std::uint8_t* pucOutput, unsigned long ulSamples)
{
    constexpr unsigned long kUnrolled = 4;
    constexpr unsigned long kLanes = T::kLanes;
    constexpr unsigned long kBlock = kUnrolled * kLanes;
    constexpr Stands kFrom = kOperandStands<Law>;
    constexpr Stands kTo = kResultStands<Law>;
    const auto ConvertAt = [pucInput](unsigned long i) {
        return Law::template Apply<T>(T::template Load<InBytes, kFrom>(pucInput + i * InBytes));
    };
    const auto StoreAt = [pucOutput](unsigned long i, Words<T> v) {
        T::template Store<OutBytes, kTo>(pucOutput + i * OutBytes, v);
    };

    // The vectors at both ends repeat some samples of their neighbours. They are read first and written last, so that a
    // conversion in place meets each sample as it was.
    const unsigned long ulLast = ulSamples - kLanes;
    const Words<T> vFirst = ConvertAt(0);
    const Words<T> vLast = ConvertAt(ulLast);
    // A store that crosses a cache line costs two. Where samples keep their size, a vector at most stands before the
    // first that does not.
    unsigned long i = SamplesToAlignment<OutBytes, sizeof(Words<T>)>(pucOutput);
    for (unsigned long j = kLanes; j < i && j < ulLast; j += kLanes) {
        StoreAt(j, ConvertAt(j));
    }
    for (; i + kBlock <= ulSamples; i += kBlock) {
        Words<T> av[kUnrolled];
        T::template LoadBlock<InBytes, kFrom>(pucInput + i * InBytes, av);
        for (Words<T>& rv : av) {
            rv = Law::template Apply<T>(rv);
        }
        T::template StoreBlock<OutBytes, kTo, Streamed>(pucOutput + i * OutBytes, av);
    }
    if constexpr (Streamed) {
        T::EndStreaming();
    }
    for (; i < ulLast; i += kLanes) {
        StoreAt(i, ConvertAt(i));
    }
    StoreAt(0, vFirst);
    StoreAt(ulLast, vLast);
}

template <int InBytes, int OutBytes, class Law>
void Convert(const void* pvInput, void* pvOutput, unsigned long ulSamples) noexcept
{
    const auto* pucInput = static_cast<const std::uint8_t*>(pvInput);
    auto* pucOutput = static_cast<std::uint8_t*>(pvOutput);
    if constexpr (Vector::kLanes > 1) {
        // Where the output begins behind the input's first byte and within it, a sample may read what an earlier one
        // wrote.
        const std::uintptr_t ulBehind =
            reinterpret_cast<std::uintptr_t>(pucOutput) - reinterpret_cast<std::uintptr_t>(pucInput);
        const bool bOneAfterTheOther = ulBehind != 0 && ulBehind < ulSamples * InBytes;
        if (ulSamples >= Vector::kLanes && !bOneAfterTheOther) {
            if constexpr (Vector::kStreams) {
                if (IsStreamed<OutBytes>(pucInput, pucOutput, ulSamples * OutBytes)) {
                    ConvertByVectors<Vector, InBytes, OutBytes, Law, true>(pucInput, pucOutput, ulSamples);
                    return;
                }
            }
            ConvertByVectors<Vector, InBytes, OutBytes, Law, false>(pucInput, pucOutput, ulSamples);
            return;
        }
    }
    ConvertSingly<InBytes, OutBytes, Law>(pucInput, pucOutput, ulSamples);
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET
