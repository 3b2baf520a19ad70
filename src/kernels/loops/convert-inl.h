/// The conversions: their ops, and the loop that applies an op to a buffer.
///
/// An op maps 32-bit lanes to 32-bit lanes; simd_scalar-inl.h describes the alignment of samples in them. Its parameter
/// Simd is the native instruction set of the variant or, for single samples, Scalar.
#pragma once

#include "kernels/loops/loops.h"
#include "kernels/loops/simd_scalar-inl.h"

#include <cstdint>

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

/// Conversions between MSB-aligned formats; only the container changes.
struct Identity {
    template <class Simd>
    static VecU32<Simd> Apply(VecU32<Simd> v)
    {
        return v;
    }
};

/// Conversions that rearrange bytes. Positions are the source bytes of the result, the lowest first; -1 is a zero.
template <int... Positions>
struct ByteShuffle {
    template <class Simd>
    static VecU32<Simd> Apply(VecU32<Simd> v)
    {
        return Simd::template ShuffleBytes<Positions...>(v);
    }
};

using ShiftRight8 = ByteShuffle<1, 2, 3, -1>;
using ShiftRight16 = ByteShuffle<2, 3, -1, -1>;
using Expand16To24 = ByteShuffle<-1, 2, 2, 3>; ///< 0 0 b0 b1 becomes 0 b0 b0 b1
using ByteSwap24 = ByteShuffle<-1, 3, 2, 1>;   ///< b0 b1 b2 b3 becomes 0 b3 b2 b1

/// The upper 16 bits of the audio field, bits 27 to 12 of a multi-format word.
struct AudioField16 {
    template <class Simd>
    static VecU32<Simd> Apply(VecU32<Simd> v)
    {
        return v << 4 & 0xFFFF0000;
    }
};

/// The same bits, LSB-aligned.
struct AudioField16LsbAligned {
    template <class Simd>
    static VecU32<Simd> Apply(VecU32<Simd> v)
    {
        return v >> 12;
    }
};

/// The whole audio field, bits 27 to 4 of a multi-format word.
struct AudioField24 {
    template <class Simd>
    static VecU32<Simd> Apply(VecU32<Simd> v)
    {
        return v << 4 & 0xFFFFFF00;
    }
};

/// s / 32767.
struct Int16ToFloat {
    template <class Simd>
    static VecU32<Simd> Apply(VecU32<Simd> v)
    {
        return Simd::BitCastToUint(Simd::template DivideByFullScale<15, 0>(Simd::ConvertToFloat(v)));
    }
};

/// s / (8388607 * 256): full scale of a 24-bit sample gives 1.
struct Int24ToFloat {
    template <class Simd>
    static VecU32<Simd> Apply(VecU32<Simd> v)
    {
        return Simd::BitCastToUint(Simd::template DivideByFullScale<31, 8>(Simd::ConvertToFloat(v)));
    }
};

/// The inverse of Int16ToFloat. Values outside 16 bits wrap.
struct FloatToInt16 {
    template <class Simd>
    static VecU32<Simd> Apply(VecU32<Simd> v)
    {
        return Simd::TruncateToInt(Simd::BitCastToFloat(v) * 32767.0f);
    }
};

/// Not the inverse of Int24ToFloat: 1.0 is just out of range, and the low byte of the product is kept.
struct FloatToInt32 {
    template <class Simd>
    static VecU32<Simd> Apply(VecU32<Simd> v)
    {
        return Simd::TruncateToInt(Simd::BitCastToFloat(v) * 2147483648.0f);
    }
};

/// The alignment of 16-bit samples in the lanes that the op reads and returns.
template <class Op>
constexpr BitAlignment kOperandAlignment = BitAlignment::MsbAligned;
template <>
constexpr BitAlignment kOperandAlignment<Int16ToFloat> = BitAlignment::LsbAligned;

template <class Op>
constexpr BitAlignment kResultAlignment = BitAlignment::MsbAligned;
template <>
constexpr BitAlignment kResultAlignment<FloatToInt16> = BitAlignment::LsbAligned;
template <>
constexpr BitAlignment kResultAlignment<AudioField16LsbAligned> = BitAlignment::LsbAligned;

/// Converts all samples one by one.
template <int InBytes, int OutBytes, class Op>
void ConvertScalar(const std::uint8_t* pucInput, std::uint8_t* pucOutput, unsigned long ulSamples)
{
    for (unsigned long i = 0; i < ulSamples; ++i) {
        Scalar::Store<OutBytes, kResultAlignment<Op>>(
            pucOutput + i * OutBytes,
            Op::template Apply<Scalar>(Scalar::Load<InBytes, kOperandAlignment<Op>>(pucInput + i * InBytes)));
    }
}

/// Returns the number of samples before the first one whose address is a multiple of Alignment, a power of two, or 0 if
/// there is no such sample.
template <int Bytes, unsigned long Alignment>
unsigned long SamplesUntilAligned(const std::uint8_t* puc)
{
    const unsigned long ulBytes = -reinterpret_cast<std::uintptr_t>(puc) % Alignment;
    if constexpr (Bytes == 3) {
        constexpr unsigned long kInverse = 43; // 3 * 43 is 1 modulo 128
        static_assert(128 % Alignment == 0);
        return ulBytes * kInverse % Alignment;
    } else {
        return ulBytes % Bytes == 0 ? ulBytes / Bytes : 0;
    }
}

/// How blocks of samples are stored. A regular store reads the cache line before it writes it.
enum class StorePolicy {
    Regular,
    Prefetched, ///< requests the cache lines of the output early; for outputs beyond the first-level cache
    Streamed    ///< writes cache lines that it does not read; for outputs beyond all caches
};

/// The bytes from an access to the cache line that is prefetched with it.
constexpr unsigned long kPrefetchDistance = 1024;

/// The output bytes from which the stores are Prefetched: first-level caches have 32 or 48 KiB.
constexpr unsigned long kMinPrefetchedBytes = 32 << 10;

/// Converts whole blocks of samples from ulFirst up to ulEnd at most, and returns the first sample of the remainder.
template <class Simd, int InBytes, int OutBytes, class Op, StorePolicy Policy>
unsigned long ConvertBlocks(const std::uint8_t* pucInput, std::uint8_t* pucOutput, unsigned long ulFirst,
                            unsigned long ulEnd)
{
    constexpr unsigned long kUnrollFactor = 4;
    constexpr unsigned long kBlock = kUnrollFactor * Simd::kLanes;
    constexpr unsigned long kCacheLine = 64;
    // NOLINTNEXTLINE(bugprone-branch-clone): equal for samples that keep their size only
    constexpr int kPrefetchedBytes = Policy == StorePolicy::Streamed ? InBytes : OutBytes;
    // Nothing after the end of the buffer is prefetched.
    constexpr unsigned long kReserve =
        Policy == StorePolicy::Regular ? 0 : (kPrefetchDistance + kPrefetchedBytes - 1) / kPrefetchedBytes;
    unsigned long i = ulFirst;
    for (; i + kBlock + kReserve <= ulEnd; i += kBlock) {
        if constexpr (Policy != StorePolicy::Regular) {
            const std::uint8_t* pucPrefetched =
                Policy == StorePolicy::Streamed ? pucInput + i * InBytes : pucOutput + i * OutBytes;
            for (unsigned long j = 0; j < kBlock * kPrefetchedBytes; j += kCacheLine) {
                __builtin_prefetch(pucPrefetched + kPrefetchDistance + j);
            }
        }
        VecU32<Simd> av[kUnrollFactor];
        Simd::template LoadBlock<InBytes, kOperandAlignment<Op>>(pucInput + i * InBytes, av);
        for (VecU32<Simd>& rv : av) {
            rv = Op::template Apply<Simd>(rv);
        }
        Simd::template StoreBlock<OutBytes, kResultAlignment<Op>, Policy == StorePolicy::Streamed>(
            pucOutput + i * OutBytes, av);
    }
    return i;
}

/// Converts all samples by vectors. Requires at least one vector of samples.
template <class Simd, int InBytes, int OutBytes, class Op, StorePolicy Policy>
void ConvertSimd(const std::uint8_t* pucInput, std::uint8_t* pucOutput, unsigned long ulSamples)
{
    constexpr unsigned long kLanes = Simd::kLanes;
    const auto ConvertAt = [pucInput](unsigned long i) {
        return Op::template Apply<Simd>(Simd::template Load<InBytes, kOperandAlignment<Op>>(pucInput + i * InBytes));
    };
    const auto StoreAt = [pucOutput](unsigned long i, VecU32<Simd> v) {
        Simd::template Store<OutBytes, kResultAlignment<Op>>(pucOutput + i * OutBytes, v);
    };

    // The first and the last vector overlap their neighbors. They are loaded first and stored last, so that a
    // conversion in place reads no converted sample.
    const unsigned long ulLast = ulSamples - kLanes;
    const VecU32<Simd> vFirst = ConvertAt(0);
    const VecU32<Simd> vLast = ConvertAt(ulLast);
    // A store that crosses a cache line costs as much as two. For equal sample sizes, at most one vector precedes the
    // first aligned store.
    unsigned long i = SamplesUntilAligned<OutBytes, sizeof(VecU32<Simd>)>(pucOutput);
    for (unsigned long j = kLanes; j < i && j < ulLast; j += kLanes) {
        StoreAt(j, ConvertAt(j));
    }
    if constexpr (Policy != StorePolicy::Regular) {
        i = ConvertBlocks<Simd, InBytes, OutBytes, Op, Policy>(pucInput, pucOutput, i, ulSamples);
    }
    if constexpr (Policy == StorePolicy::Streamed) {
        Simd::FenceStreamingStores();
    }
    i = ConvertBlocks<Simd, InBytes, OutBytes, Op, StorePolicy::Regular>(pucInput, pucOutput, i, ulSamples);
    for (; i < ulLast; i += kLanes) {
        StoreAt(i, ConvertAt(i));
    }
    StoreAt(0, vFirst);
    StoreAt(ulLast, vLast);
}

/// Returns true for buffers that exceed the caches, if the output does not overlap the input (otherwise its cache lines
/// are read in any case) and if a sample of the output begins at a cache line.
template <int InBytes, int OutBytes>
bool UsesStreamingStores(const std::uint8_t* pucInput, const std::uint8_t* pucOutput, unsigned long ulSamples)
{
    const auto ulOutput = reinterpret_cast<std::uintptr_t>(pucOutput);
    return ulSamples * (InBytes + OutBytes) >= ZtaMinStreamedBytes() &&
           reinterpret_cast<std::uintptr_t>(pucInput) - ulOutput >= ulSamples * OutBytes &&
           (OutBytes == 3 || ulOutput % OutBytes == 0);
}

/// Converts buffers that exceed the first-level cache. Not inlined, so that short calls save no registers for it.
template <class Simd, int InBytes, int OutBytes, class Op>
[[gnu::noinline]] void ConvertLarge(const std::uint8_t* pucInput, std::uint8_t* pucOutput, unsigned long ulSamples)
{
    UsesStreamingStores<InBytes, OutBytes>(pucInput, pucOutput, ulSamples)
        ? ConvertSimd<Simd, InBytes, OutBytes, Op, StorePolicy::Streamed>(pucInput, pucOutput, ulSamples)
        : ConvertSimd<Simd, InBytes, OutBytes, Op, StorePolicy::Prefetched>(pucInput, pucOutput, ulSamples);
}

template <int InBytes, int OutBytes, class Op>
void Convert(const void* pvInput, void* pvOutput, unsigned long ulSamples) noexcept
{
    const auto* pucInput = static_cast<const std::uint8_t*>(pvInput);
    auto* pucOutput = static_cast<std::uint8_t*>(pvOutput);
    if constexpr (NativeSimd::kLanes > 1) {
        // If the output begins inside the input, after its first byte, later samples depend on converted ones.
        const std::uintptr_t ulOffset =
            reinterpret_cast<std::uintptr_t>(pucOutput) - reinterpret_cast<std::uintptr_t>(pucInput);
        const bool bOverlapsForward = ulOffset != 0 && ulOffset < ulSamples * InBytes;
        if (ulSamples >= NativeSimd::kLanes && !bOverlapsForward) {
            const bool bIsLarge =
                ulSamples * OutBytes >= kMinPrefetchedBytes ||
                ulSamples * (InBytes + OutBytes) >= __atomic_load_n(&g_ulMinStreamedBytes, __ATOMIC_RELAXED);
            bIsLarge
                ? ConvertLarge<NativeSimd, InBytes, OutBytes, Op>(pucInput, pucOutput, ulSamples)
                : ConvertSimd<NativeSimd, InBytes, OutBytes, Op, StorePolicy::Regular>(pucInput, pucOutput, ulSamples);
            return;
        }
    }
    ConvertScalar<InBytes, OutBytes, Op>(pucInput, pucOutput, ulSamples);
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
