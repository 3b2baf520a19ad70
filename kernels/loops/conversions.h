/// The conversions of one sample each: their laws, and the one loop that runs a law over many samples.
///
/// A law maps words to words (see scalar.h for how samples stand in them) and is written against an instruction set T,
/// which is the target's Vector or, for single samples, Scalar.
#pragma once

#include <cstdint>

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {

template <class T>
using Words = typename T::Words;

/// All conversions that only move bytes between left-aligned words.
struct Same {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return w;
    }
};

struct Lower8 {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return w >> 8;
    }
};

struct Lower16 {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return w >> 16;
    }
};

/// 0 0 b0 b1 becomes 0 b0 b0 b1.
struct RepeatLowByte {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return w | (w >> 8 & 0x0000FF00);
    }
};

/// b0 b1 b2 b3 becomes 0 b3 b2 b1.
struct Reverse24 {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return (w >> 16 & 0x0000FF00) | (w & 0x00FF0000) | (w & 0x0000FF00) << 16;
    }
};

/// The upper 16 bits of the audio field, bits 27 to 12 of a multi-format word.
struct AudioField16 {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return w << 4 & 0xFFFF0000;
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

/// s / 32767, with both scaled by 2 to the 16: the word holds s in its upper half.
struct ToFloatBy32767 {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return T::BitsToWords(T::Divide(T::Convert(w), 32767.0f * 65536.0f));
    }
};

/// Full scale of a 24-bit sample, 8388607 times 256, becomes 1.
struct ToFloatBy8388607 {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return T::BitsToWords(T::Divide(T::Convert(w), 2147483392.0f));
    }
};

/// The inverse of ToFloatBy32767; what does not fit into 16 bits wraps.
struct FloatTo16 {
    template <class T>
    static Words<T> Apply(Words<T> w)
    {
        return T::Truncate(T::BitsToFloats(w) * 32767.0f) << 16;
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

template <int InBytes, int OutBytes, class Law>
void ConvertSingly(const std::uint8_t* pucInput, std::uint8_t* pucOutput, unsigned long ulSamples)
{
    for (unsigned long i = 0; i < ulSamples; ++i) {
        Scalar::Store<OutBytes>(pucOutput + i * OutBytes,
                                Law::template Apply<Scalar>(Scalar::Load<InBytes>(pucInput + i * InBytes)));
    }
}

/// For at least one vector of samples.
template <class T, int InBytes, int OutBytes, class Law>
void ConvertByVectors(const std::uint8_t* pucInput, std::uint8_t* pucOutput, unsigned long ulSamples)
{
    constexpr unsigned long kUnrolled = 4;
    constexpr unsigned long kLanes = T::kLanes;
    const auto ConvertAt = [pucInput](unsigned long i) {
        return Law::template Apply<T>(T::template Load<InBytes>(pucInput + i * InBytes));
    };

    // The last vector ends with the last sample and repeats some of the one before. It is read first and written last,
    // so that a conversion in place meets each sample as it was.
    const unsigned long ulLast = ulSamples - kLanes;
    const Words<T> vLast = ConvertAt(ulLast);
    unsigned long i = 0;
    for (; i + kUnrolled * kLanes <= ulSamples; i += kUnrolled * kLanes) {
        Words<T> av[kUnrolled];
        for (unsigned long j = 0; j < kUnrolled; ++j) {
            av[j] = ConvertAt(i + j * kLanes);
        }
        T::template StoreBlock<OutBytes>(pucOutput + i * OutBytes, av);
    }
    for (; i < ulLast; i += kLanes) {
        T::template Store<OutBytes>(pucOutput + i * OutBytes, ConvertAt(i));
    }
    T::template Store<OutBytes>(pucOutput + ulLast * OutBytes, vLast);
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
            ConvertByVectors<Vector, InBytes, OutBytes, Law>(pucInput, pucOutput, ulSamples);
            return;
        }
    }
    ConvertSingly<InBytes, OutBytes, Law>(pucInput, pucOutput, ulSamples);
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET
