/// Elements in the four lanes of an AVX-512 register. Permutations of the whole register put the elements where the
/// shuffles inside the lanes, which cost the least, make mux lines of them, and back.
#pragma once

#include "kernels/loops/tile-inl.h"

#include <cstdint>

#include <immintrin.h>

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {

template <int Bytes>
struct SlotIndex;
template <>
struct SlotIndex<2> {
    using Type = std::uint16_t;
};
template <>
struct SlotIndex<4> {
    using Type = std::uint32_t;
};
template <>
struct SlotIndex<8> {
    using Type = std::uint64_t;
};

/// Elements of 3 and 6 bytes are spread to slots of 4 and 8 between loading and storing.
template <int Bytes>
struct RowsAvx512 {
    static constexpr int kBytes = Bytes;
    static constexpr bool kHasEdge = true;    ///< of what is no tile
    static constexpr bool kBeatsPairs = true; ///< the steps of two streams in stereo.inc
    static constexpr int kSlot = Bytes % 3 == 0 ? Bytes / 3 * 4 : Bytes;
    static constexpr bool kIsPacked = kSlot != Bytes;
    static constexpr unsigned long kRun = 16 / kSlot; ///< elements of a lane
    static constexpr unsigned long kHalves = 2;
    static constexpr unsigned long kFrames = 4 * kRun;
    static constexpr unsigned long kRowBytes = kFrames * Bytes;
    static constexpr bool kStoresMask = kIsPacked;
    static constexpr unsigned long kBeyond = kIsPacked ? 16 : 0; ///< bytes that a row or half is written too far
    static constexpr unsigned long kFramesBeyond = 0;

    using Row = __m512i;

    /// The elements of one stream, or a line of the mux.
    static Row Load(const std::uint8_t* puc)
    {
        if constexpr (kIsPacked) {
            return _mm512_maskz_loadu_epi32(kPackedWords, puc);
        } else {
            return _mm512_loadu_si512(puc);
        }
    }

    static void Store(std::uint8_t* puc, Row v)
    {
        if constexpr (kIsPacked) {
            _mm512_mask_storeu_epi32(puc, kPackedWords, v);
        } else {
            _mm512_storeu_si512(puc, v);
        }
    }

    /// The streams of the widest tile: eight elements of 8 bytes fill a register, while more streams than that would
    /// drive each other's lines out of the first-level cache.
    static constexpr unsigned long kWidest = kSlot == 8 ? 4 * kRun : 2 * kRun;
    /// The same where the mux has no other streams: sixteen elements of 4 bytes fill a register, too.
    static constexpr unsigned long kWidestAlone = kSlot == 8 || Bytes == 4 ? 4 * kRun : 2 * kRun;

    /// A line of the mux that another one follows, which repairs what is written too far.
    static void StoreBeforeOther(std::uint8_t* puc, Row v) { _mm512_storeu_si512(puc, v); }

    static Row LoadHalves(const std::uint8_t* puc, unsigned long ulStride)
    {
        const __m256i vLow = LoadHalf(puc);
        const __m256i vHigh = LoadHalf(puc + ulStride);
        return _mm512_inserti64x4(_mm512_castsi256_si512(vLow), vHigh, 1);
    }

    template <bool Exact>
    static void StoreHalves(std::uint8_t* puc, unsigned long ulStride, Row v)
    {
        StoreHalf<Exact>(puc, _mm512_castsi512_si256(v));
        StoreHalf<Exact>(puc + ulStride, _mm512_extracti64x4_epi64(v, 1));
    }

    static Row LoadLanes(const std::uint8_t* puc, unsigned long ulStride)
    {
        const __m256i vLow =
            _mm256_inserti128_si256(_mm256_castsi128_si256(LoadLane(puc)), LoadLane(puc + ulStride), 1);
        puc += 2 * ulStride;
        const __m256i vHigh =
            _mm256_inserti128_si256(_mm256_castsi128_si256(LoadLane(puc)), LoadLane(puc + ulStride), 1);
        return _mm512_inserti64x4(_mm512_castsi256_si512(vLow), vHigh, 1);
    }

    template <bool Exact>
    static void StoreLanes(std::uint8_t* puc, unsigned long ulStride, Row v)
    {
        StoreLane<Exact>(puc, _mm512_castsi512_si128(v));
        StoreLane<Exact>(puc + ulStride, _mm512_extracti32x4_epi32(v, 1));
        StoreLane<Exact>(puc + 2 * ulStride, _mm512_extracti32x4_epi32(v, 2));
        StoreLane<Exact>(puc + 3 * ulStride, _mm512_extracti32x4_epi32(v, 3));
    }

    /// From rows of streams to rows of the mux in their order, which are lines of a mux that has no other streams or
    /// else pairs of halves.
    template <unsigned long Streams, Pieces P>
    static void Interleave(Row* av)
    {
        if constexpr (P == Pieces::Lanes) {
            for (unsigned long i = 0; i < Streams; ++i) {
                av[i] = Spread<kSpreadLine>(av[i]);
            }
            ShuffleOften<kRun, kRun>(av);
            for (unsigned long i = 0; i < Streams; ++i) {
                av[i] = Pack<kPackLanes>(av[i]);
            }
        } else if constexpr (Streams == 4 * kRun) {
            for (unsigned long i = 0; i < Streams; ++i) {
                av[i] = Spread<kSpreadLine>(av[i]);
            }
            for (unsigned long i = 0; i < kRun; ++i) {
                TransposeLanes(av + i);
            }
            for (unsigned long i = 0; i < Streams; i += kRun) {
                ShuffleOften<kRun, kRun>(av + i);
            }
            for (unsigned long i = 0; i < Streams; ++i) {
                av[i] = Pack<kPackLine>(av[i]);
            }
        } else if constexpr (Streams == 2 * kRun) {
            for (unsigned long i = 0; i < kRun; ++i) {
                const Row v = Select<kWideFirst>(av[i], av[i + kRun]);
                av[i + kRun] = Select<kWideSecond>(av[i], av[i + kRun]);
                av[i] = v;
            }
            ShuffleOften<kRun, kRun>(av);
            ShuffleOften<kRun, kRun>(av + kRun);
            for (unsigned long i = 0; i < Streams; ++i) {
                av[i] = Pack < (P == Pieces::Lines) ? kPackLine : kPackHalves > (av[i]);
            }
        } else {
            for (unsigned long i = 0; i < Streams; ++i) {
                av[i] = Select<kNarrow<Streams>>(av[i], av[i]);
            }
            ShuffleOften<Streams, Streams>(av);
            for (unsigned long i = 0; i < Streams; ++i) {
                av[i] = Pack<kPackLine>(av[i]);
            }
        }
    }

    template <unsigned long Streams, Pieces P>
    static void Split(Row* av)
    {
        if constexpr (P == Pieces::Lanes) {
            for (unsigned long i = 0; i < Streams; ++i) {
                av[i] = Spread<kSpreadLanes>(av[i]);
            }
            ShuffleOften<kRun, kRun>(av);
            for (unsigned long i = 0; i < Streams; ++i) {
                av[i] = Pack<kPackLine>(av[i]);
            }
        } else if constexpr (Streams == 4 * kRun) {
            Interleave<Streams, P>(av); // the same transposition
        } else if constexpr (Streams == 2 * kRun) {
            for (unsigned long i = 0; i < Streams; ++i) {
                av[i] = Spread < P == Pieces::Lines ? kSpreadLine : kSpreadHalves > (av[i]);
            }
            ShuffleOften<kRun, kRun>(av);
            ShuffleOften<kRun, kRun>(av + kRun);
            for (unsigned long i = 0; i < kRun; ++i) {
                const Row v = Return<kWideLeft>(av[i], av[i + kRun]);
                av[i + kRun] = Return<kWideRight>(av[i], av[i + kRun]);
                av[i] = v;
            }
        } else {
            for (unsigned long i = 0; i < Streams; ++i) {
                av[i] = Spread<kSpreadLine>(av[i]);
            }
            ShuffleOften<Streams, kRun>(av);
            for (unsigned long i = 0; i < Streams; ++i) {
                av[i] = Return<kNarrowBack<Streams>>(av[i], av[i]);
            }
        }
    }

    /// What is no tile: up to kRun streams from ulStream on, in any frames. Masks keep to the elements.
    static void InterleaveEdge(const void* const* ppvStreams, unsigned long ulCount, std::uint8_t* pucMux,
                               unsigned long ulFrameBytes, unsigned long ulFrom, unsigned long ulTo)
    {
        const __mmask16 usPiece = static_cast<__mmask16>(MaskOf(ulCount * Bytes));
        for (unsigned long f = ulFrom; f < ulTo; f += kFrames) {
            const unsigned long ulFrames = ulTo - f < kFrames ? ulTo - f : kFrames;
            const __mmask64 ullRow = MaskOf(ulFrames * Bytes);
            Row av[kRun];
            for (unsigned long i = 0; i < kRun; ++i) {
                const void* pvStream = ppvStreams[i < ulCount ? i : 0];
                const auto* puc = static_cast<const std::uint8_t*>(pvStream) + f * Bytes;
                av[i] = Spread<kSpreadLine>(_mm512_maskz_loadu_epi8(ullRow, puc));
            }
            ShuffleOften<kRun, kRun>(av);
            std::uint8_t aucLanes[kRun * 64];
            for (unsigned long i = 0; i < kRun; ++i) {
                _mm512_storeu_si512(aucLanes + i * 64, Pack<kPackLanes>(av[i]));
            }
            for (unsigned long i = 0; i < ulFrames; ++i) {
                const auto* pvLane = reinterpret_cast<const __m128i*>(aucLanes + i % kRun * 64 + i / kRun * 16);
                _mm_mask_storeu_epi8(pucMux + (f + i) * ulFrameBytes, usPiece, _mm_loadu_si128(pvLane));
            }
        }
    }

    static void SplitEdge(const std::uint8_t* pucMux, unsigned long ulFrameBytes, void* const* ppvStreams,
                          unsigned long ulCount, unsigned long ulFrom, unsigned long ulTo)
    {
        const __mmask16 usPiece = static_cast<__mmask16>(MaskOf(ulCount * Bytes));
        for (unsigned long f = ulFrom; f < ulTo; f += kFrames) {
            const unsigned long ulFrames = ulTo - f < kFrames ? ulTo - f : kFrames;
            std::uint8_t aucLanes[kRun * 64] = {};
            for (unsigned long i = 0; i < ulFrames; ++i) {
                auto* pvLane = reinterpret_cast<__m128i*>(aucLanes + i % kRun * 64 + i / kRun * 16);
                _mm_storeu_si128(pvLane, _mm_maskz_loadu_epi8(usPiece, pucMux + (f + i) * ulFrameBytes));
            }
            Row av[kRun];
            for (unsigned long i = 0; i < kRun; ++i) {
                av[i] = Spread<kSpreadLanes>(_mm512_loadu_si512(aucLanes + i * 64));
            }
            ShuffleOften<kRun, kRun>(av);
            const __mmask64 ullRow = MaskOf(ulFrames * Bytes);
            for (unsigned long i = 0; i < kRun; ++i) {
                if (i < ulCount) {
                    _mm512_mask_storeu_epi8(static_cast<std::uint8_t*>(ppvStreams[i]) + f * Bytes, ullRow,
                                            Pack<kPackLine>(av[i]));
                }
            }
        }
    }

private:
    static __mmask64 MaskOf(unsigned long ulBytes) { return ulBytes < 64 ? (1ULL << ulBytes) - 1 : ~0ULL; }

    static constexpr __mmask16 kPackedWords = 0x0FFF;
    using Index = typename SlotIndex<kSlot>::Type;

    /// For each slot of a register the element that goes there; those of a second register follow the first one's.
    struct Order {
        std::uint8_t aucElement[kFrames];
    };

    static constexpr unsigned long Lane(unsigned long i) { return i / kRun; }

    /// Of a mux with Streams streams, each row is a line of four lanes.
    template <unsigned long Streams>
    static constexpr unsigned long NarrowFrame(unsigned long i)
    {
        constexpr unsigned long kOfLane = kRun / Streams;
        return i % kRun / kOfLane * 4 * kOfLane + Lane(i) * kOfLane + i % kOfLane;
    }

    /// Of a wide mux, each row is a half of two frames, the second stream's lanes beside the first one's.
    static constexpr unsigned long WideFrame(unsigned long i) { return i % kRun * 2 + Lane(i) / 2; }

    template <unsigned long Streams>
    static constexpr Order kNarrow = [] {
        Order s{};
        for (unsigned long i = 0; i < kFrames; ++i) {
            s.aucElement[i] = static_cast<std::uint8_t>(NarrowFrame<Streams>(i));
        }
        return s;
    }();

    template <unsigned long Streams>
    static constexpr Order kNarrowBack = [] {
        Order s{};
        for (unsigned long i = 0; i < kFrames; ++i) {
            s.aucElement[NarrowFrame<Streams>(i)] = static_cast<std::uint8_t>(i);
        }
        return s;
    }();

    static constexpr Order WideOrder(unsigned long ulFirstFrame)
    {
        Order s{};
        for (unsigned long i = 0; i < kFrames; ++i) {
            s.aucElement[i] = static_cast<std::uint8_t>(Lane(i) % 2 * kFrames + ulFirstFrame + WideFrame(i));
        }
        return s;
    }

    static constexpr Order WideOrderBack(unsigned long ulSide)
    {
        Order s{};
        for (unsigned long i = 0; i < kFrames; ++i) {
            if (Lane(i) % 2 == ulSide) {
                s.aucElement[WideFrame(i)] = static_cast<std::uint8_t>(i);
                s.aucElement[2 * kRun + WideFrame(i)] = static_cast<std::uint8_t>(kFrames + i);
            }
        }
        return s;
    }

    static constexpr Order kWideFirst = WideOrder(0);
    static constexpr Order kWideSecond = WideOrder(2 * kRun);
    static constexpr Order kWideLeft = WideOrderBack(0);
    static constexpr Order kWideRight = WideOrderBack(1);

    /// Bytes of one register or two, in any order.
    struct alignas(64) Bytes64 {
        std::uint8_t auc[64];
    };
    struct alignas(64) Slots {
        Index a[64 / kSlot];
    };

    template <const Order& rOrder>
    static constexpr Slots kSlots = [] {
        Slots s{};
        for (unsigned long i = 0; i < kFrames; ++i) {
            s.a[i] = rOrder.aucElement[i];
        }
        return s;
    }();

    /// Packed elements to slots.
    template <const Order& rOrder>
    static constexpr Bytes64 kFromPacked = [] {
        Bytes64 s{};
        for (unsigned long i = 0; i < 64; ++i) {
            const unsigned long ulElement = rOrder.aucElement[i / kSlot];
            const unsigned long ulByte = ulElement % kFrames * Bytes + i % kSlot % Bytes;
            s.auc[i] = static_cast<std::uint8_t>(ulElement / kFrames * 64 + ulByte);
        }
        return s;
    }();

    /// Slots to packed elements.
    template <const Order& rOrder>
    static constexpr Bytes64 kToPacked = [] {
        Bytes64 s{};
        for (unsigned long i = 0; i < kFrames * Bytes; ++i) {
            s.auc[i] = static_cast<std::uint8_t>(rOrder.aucElement[i / Bytes] * kSlot + i % Bytes);
        }
        return s;
    }();

    /// Packed elements stand side by side in lines, or only in each half, or only in each lane, at its beginning.
    static constexpr unsigned long PackedByte(unsigned long ulSlotByte, unsigned long ulPart)
    {
        const unsigned long ulByte = ulSlotByte / kSlot * Bytes + ulSlotByte % kSlot % Bytes;
        const unsigned long ulBytes = ulPart / kSlot * Bytes;
        return ulByte / ulBytes * ulPart + ulByte % ulBytes;
    }

    static constexpr Bytes64 SpreadBytes(unsigned long ulPart)
    {
        Bytes64 s{};
        for (unsigned long i = 0; i < 64; ++i) {
            s.auc[i] = static_cast<std::uint8_t>(PackedByte(i, ulPart));
        }
        return s;
    }

    static constexpr Bytes64 PackBytes(unsigned long ulPart)
    {
        Bytes64 s{};
        for (unsigned long i = 0; i < 64; ++i) {
            if (i % kSlot < Bytes) {
                s.auc[PackedByte(i, ulPart)] = static_cast<std::uint8_t>(i);
            }
        }
        return s;
    }

    static constexpr Bytes64 kSpreadLine = SpreadBytes(64);
    static constexpr Bytes64 kSpreadHalves = SpreadBytes(32);
    static constexpr Bytes64 kSpreadLanes = SpreadBytes(16);
    static constexpr Bytes64 kPackLine = PackBytes(64);
    static constexpr Bytes64 kPackHalves = PackBytes(32);
    static constexpr Bytes64 kPackLanes = PackBytes(16);

    template <const Order& rOrder>
    static Row Select(Row vFirst, Row vSecond)
    {
        if constexpr (kIsPacked) {
            return _mm512_permutex2var_epi8(vFirst, _mm512_load_si512(&kFromPacked<rOrder>), vSecond);
        } else {
            return Permute<rOrder>(vFirst, vSecond);
        }
    }

    template <const Order& rOrder>
    static Row Return(Row vFirst, Row vSecond)
    {
        if constexpr (kIsPacked) {
            return _mm512_permutex2var_epi8(vFirst, _mm512_load_si512(&kToPacked<rOrder>), vSecond);
        } else {
            return Permute<rOrder>(vFirst, vSecond);
        }
    }

    template <const Bytes64& rBytes>
    static Row Pack(Row v)
    {
        if constexpr (kIsPacked) {
            return _mm512_permutexvar_epi8(_mm512_load_si512(&rBytes), v);
        } else {
            return v;
        }
    }

    /// Of the rows 0, kRun, 2 * kRun and 3 * kRun.
    static void TransposeLanes(Row* av)
    {
        const Row vLow01 = _mm512_shuffle_i64x2(av[0], av[kRun], 0b01000100);
        const Row vHigh01 = _mm512_shuffle_i64x2(av[0], av[kRun], 0b11101110);
        const Row vLow23 = _mm512_shuffle_i64x2(av[2 * kRun], av[3 * kRun], 0b01000100);
        const Row vHigh23 = _mm512_shuffle_i64x2(av[2 * kRun], av[3 * kRun], 0b11101110);
        av[0] = _mm512_shuffle_i64x2(vLow01, vLow23, 0b10001000);
        av[kRun] = _mm512_shuffle_i64x2(vLow01, vLow23, 0b11011101);
        av[2 * kRun] = _mm512_shuffle_i64x2(vHigh01, vHigh23, 0b10001000);
        av[3 * kRun] = _mm512_shuffle_i64x2(vHigh01, vHigh23, 0b11011101);
    }

    template <const Bytes64& rBytes>
    static Row Spread(Row v)
    {
        return Pack<rBytes>(v);
    }

    template <const Order& rOrder>
    static constexpr bool kIsOfOne = [] {
        for (const std::uint8_t ucElement : rOrder.aucElement) {
            if (ucElement >= kFrames) {
                return false;
            }
        }
        return true;
    }();

    template <const Order& rOrder>
    static Row Permute(Row vFirst, Row vSecond)
    {
        const Row vOrder = _mm512_load_si512(&kSlots<rOrder>);
        if constexpr (kSlot == 2) {
            return kIsOfOne<rOrder> ? _mm512_permutexvar_epi16(vOrder, vFirst)
                                    : _mm512_permutex2var_epi16(vFirst, vOrder, vSecond);
        } else if constexpr (kSlot == 4) {
            return kIsOfOne<rOrder> ? _mm512_permutexvar_epi32(vOrder, vFirst)
                                    : _mm512_permutex2var_epi32(vFirst, vOrder, vSecond);
        } else {
            return kIsOfOne<rOrder> ? _mm512_permutexvar_epi64(vOrder, vFirst)
                                    : _mm512_permutex2var_epi64(vFirst, vOrder, vSecond);
        }
    }

    static __m256i LoadHalf(const std::uint8_t* puc)
    {
        if constexpr (kIsPacked) {
            return _mm256_maskz_loadu_epi32(0x3F, puc);
        } else {
            return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(puc));
        }
    }

    // Bytes are what the stores mask: with words, compilers join them with the extraction before them to an instruction
    // that faults on what it does not write.

    static __m128i LoadLane(const std::uint8_t* puc)
    {
        if constexpr (kIsPacked) {
            return _mm_maskz_loadu_epi32(0x7, puc);
        } else {
            return _mm_loadu_si128(reinterpret_cast<const __m128i*>(puc));
        }
    }

    template <bool Exact>
    static void StoreLane(std::uint8_t* puc, __m128i v)
    {
        if constexpr (kIsPacked && Exact) {
            _mm_mask_storeu_epi8(puc, 0x0FFF, v);
        } else {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(puc), v);
        }
    }

    template <bool Exact>
    static void StoreHalf(std::uint8_t* puc, __m256i v)
    {
        if constexpr (kIsPacked && Exact) {
            _mm256_mask_storeu_epi8(puc, 0x00FFFFFF, v);
        } else {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(puc), v);
        }
    }

    /// Deals the slots of the first half of the rows and those of the second half out in turn, in each lane by itself.
    /// On Count rows of streams, log2(Count) shuffles interleave; on interleaved elements, log2(kRun) more come back
    /// to the streams.
    template <unsigned long Count, unsigned long Times>
    static void ShuffleOften(Row* av)
    {
        for (unsigned long t = 1; t < Times; t *= 2) {
            Row avOld[Count];
            for (unsigned long i = 0; i < Count; ++i) {
                avOld[i] = av[i];
            }
            for (unsigned long i = 0; i < Count / 2; ++i) {
                av[2 * i] = UnpackLow(avOld[i], avOld[i + Count / 2]);
                av[2 * i + 1] = UnpackHigh(avOld[i], avOld[i + Count / 2]);
            }
        }
    }

    static Row UnpackLow(Row vFirst, Row vSecond)
    {
        if constexpr (kSlot == 2) {
            return _mm512_unpacklo_epi16(vFirst, vSecond);
        } else if constexpr (kSlot == 4) {
            return _mm512_unpacklo_epi32(vFirst, vSecond);
        } else {
            return _mm512_unpacklo_epi64(vFirst, vSecond);
        }
    }

    static Row UnpackHigh(Row vFirst, Row vSecond)
    {
        if constexpr (kSlot == 2) {
            return _mm512_unpackhi_epi16(vFirst, vSecond);
        } else if constexpr (kSlot == 4) {
            return _mm512_unpackhi_epi32(vFirst, vSecond);
        } else {
            return _mm512_unpackhi_epi64(vFirst, vSecond);
        }
    }
};

} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET
