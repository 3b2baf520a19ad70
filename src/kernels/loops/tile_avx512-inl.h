/// Elements in the four lanes of an AVX-512 register. Permutations of the whole register put the elements where the
/// shuffles inside the lanes, which cost the least, make mux lines of them, and back.
#pragma once

#include "kernels/loops/tile-inl.h"

#include <cstdint>

#include <immintrin.h>

namespace zta::loops::ZTA_LOOP_VARIANT {
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
struct TileAvx512 {
    static constexpr int kBytes = Bytes;
    static constexpr bool kHasMaskedEdge = true; ///< of what is no tile
    static constexpr bool kPrefersTiles = true;  ///< the steps of two streams in stereo.inc
    static constexpr int kSlotBytes = Bytes % 3 == 0 ? Bytes / 3 * 4 : Bytes;
    static constexpr bool kIsPacked = kSlotBytes != Bytes;
    static constexpr unsigned long kLaneElements = 16 / kSlotBytes; ///< elements of a lane
    static constexpr unsigned long kLanesPerHalf = 2;
    static constexpr unsigned long kFrames = 4 * kLaneElements;
    static constexpr unsigned long kVectorBytes = kFrames * Bytes;
    static constexpr bool kUsesMaskedStores = kIsPacked;
    static constexpr unsigned long kOverrunBytes = kIsPacked ? 16 : 0; ///< bytes that a row or half is written too far
    static constexpr unsigned long kOverrunFrames = 0;

    using VectorType = __m512i;

    /// The elements of one stream, or a line of the mux.
    static VectorType Load(const std::uint8_t* puc)
    {
        if constexpr (kIsPacked) {
            return _mm512_maskz_loadu_epi32(kPackedMask, puc);
        } else {
            return _mm512_loadu_si512(puc);
        }
    }

    static void Store(std::uint8_t* puc, VectorType v)
    {
        if constexpr (kIsPacked) {
            _mm512_mask_storeu_epi32(puc, kPackedMask, v);
        } else {
            _mm512_storeu_si512(puc, v);
        }
    }

    /// The streams of the widest tile: eight elements of 8 bytes fill a register, while more streams than that would
    /// drive each other's lines out of the first-level cache.
    static constexpr unsigned long kMaxPlanes = kSlotBytes == 8 ? 4 * kLaneElements : 2 * kLaneElements;
    /// The same where the mux has no other streams: sixteen elements of 4 bytes fill a register, too.
    static constexpr unsigned long kMaxPlanesContiguous =
        kSlotBytes == 8 || Bytes == 4 ? 4 * kLaneElements : 2 * kLaneElements;

    /// A line of the mux that another one follows, which repairs what is written too far.
    static void StoreWithOverrun(std::uint8_t* puc, VectorType v) { _mm512_storeu_si512(puc, v); }

    static VectorType LoadHalves(const std::uint8_t* puc, unsigned long ulStride)
    {
        const __m256i vLow = LoadHalf(puc);
        const __m256i vHigh = LoadHalf(puc + ulStride);
        return _mm512_inserti64x4(_mm512_castsi256_si512(vLow), vHigh, 1);
    }

    template <bool Exact>
    static void StoreHalves(std::uint8_t* puc, unsigned long ulStride, VectorType v)
    {
        StoreHalf<Exact>(puc, _mm512_castsi512_si256(v));
        StoreHalf<Exact>(puc + ulStride, _mm512_extracti64x4_epi64(v, 1));
    }

    static VectorType LoadLanes(const std::uint8_t* puc, unsigned long ulStride)
    {
        const __m256i vLow =
            _mm256_inserti128_si256(_mm256_castsi128_si256(LoadLane(puc)), LoadLane(puc + ulStride), 1);
        puc += 2 * ulStride;
        const __m256i vHigh =
            _mm256_inserti128_si256(_mm256_castsi128_si256(LoadLane(puc)), LoadLane(puc + ulStride), 1);
        return _mm512_inserti64x4(_mm512_castsi256_si512(vLow), vHigh, 1);
    }

    template <bool Exact>
    static void StoreLanes(std::uint8_t* puc, unsigned long ulStride, VectorType v)
    {
        StoreLane<Exact>(puc, _mm512_castsi512_si128(v));
        StoreLane<Exact>(puc + ulStride, _mm512_extracti32x4_epi32(v, 1));
        StoreLane<Exact>(puc + 2 * ulStride, _mm512_extracti32x4_epi32(v, 2));
        StoreLane<Exact>(puc + 3 * ulStride, _mm512_extracti32x4_epi32(v, 3));
    }

    /// From rows of streams to rows of the mux in their order, which are lines of a mux that has no other streams or
    /// else pairs of halves.
    template <unsigned long Planes, MuxLayout Layout>
    static void Interleave(VectorType* av)
    {
        if constexpr (Layout == MuxLayout::Lanes) {
            for (unsigned long i = 0; i < Planes; ++i) {
                av[i] = Unpack<kUnpackContiguous>(av[i]);
            }
            UnpackStages<kLaneElements, kLaneElements>(av);
            for (unsigned long i = 0; i < Planes; ++i) {
                av[i] = Pack<kPackLanes>(av[i]);
            }
        } else if constexpr (Planes == 4 * kLaneElements) {
            for (unsigned long i = 0; i < Planes; ++i) {
                av[i] = Unpack<kUnpackContiguous>(av[i]);
            }
            for (unsigned long i = 0; i < kLaneElements; ++i) {
                TransposeLanes(av + i);
            }
            for (unsigned long i = 0; i < Planes; i += kLaneElements) {
                UnpackStages<kLaneElements, kLaneElements>(av + i);
            }
            for (unsigned long i = 0; i < Planes; ++i) {
                av[i] = Pack<kPackContiguous>(av[i]);
            }
        } else if constexpr (Planes == 2 * kLaneElements) {
            for (unsigned long i = 0; i < kLaneElements; ++i) {
                const VectorType v = PermuteUnpacked<kWideFirst>(av[i], av[i + kLaneElements]);
                av[i + kLaneElements] = PermuteUnpacked<kWideSecond>(av[i], av[i + kLaneElements]);
                av[i] = v;
            }
            UnpackStages<kLaneElements, kLaneElements>(av);
            UnpackStages<kLaneElements, kLaneElements>(av + kLaneElements);
            for (unsigned long i = 0; i < Planes; ++i) {
                av[i] = Pack < (Layout == MuxLayout::Contiguous) ? kPackContiguous : kPackHalves > (av[i]);
            }
        } else {
            for (unsigned long i = 0; i < Planes; ++i) {
                av[i] = PermuteUnpacked<kNarrowOrder<Planes>>(av[i], av[i]);
            }
            UnpackStages<Planes, Planes>(av);
            for (unsigned long i = 0; i < Planes; ++i) {
                av[i] = Pack<kPackContiguous>(av[i]);
            }
        }
    }

    template <unsigned long Planes, MuxLayout Layout>
    static void Deinterleave(VectorType* av)
    {
        if constexpr (Layout == MuxLayout::Lanes) {
            for (unsigned long i = 0; i < Planes; ++i) {
                av[i] = Unpack<kUnpackLanes>(av[i]);
            }
            UnpackStages<kLaneElements, kLaneElements>(av);
            for (unsigned long i = 0; i < Planes; ++i) {
                av[i] = Pack<kPackContiguous>(av[i]);
            }
        } else if constexpr (Planes == 4 * kLaneElements) {
            Interleave<Planes, Layout>(av); // the same transposition
        } else if constexpr (Planes == 2 * kLaneElements) {
            for (unsigned long i = 0; i < Planes; ++i) {
                av[i] = Unpack < Layout == MuxLayout::Contiguous ? kUnpackContiguous : kUnpackHalves > (av[i]);
            }
            UnpackStages<kLaneElements, kLaneElements>(av);
            UnpackStages<kLaneElements, kLaneElements>(av + kLaneElements);
            for (unsigned long i = 0; i < kLaneElements; ++i) {
                const VectorType v = PermuteToPacked<kWideLeft>(av[i], av[i + kLaneElements]);
                av[i + kLaneElements] = PermuteToPacked<kWideRight>(av[i], av[i + kLaneElements]);
                av[i] = v;
            }
        } else {
            for (unsigned long i = 0; i < Planes; ++i) {
                av[i] = Unpack<kUnpackContiguous>(av[i]);
            }
            UnpackStages<Planes, kLaneElements>(av);
            for (unsigned long i = 0; i < Planes; ++i) {
                av[i] = PermuteToPacked<kNarrowInverse<Planes>>(av[i], av[i]);
            }
        }
    }

    /// What is no tile: up to kLaneElements streams from ulPlane on, in any frames. Masks keep to the elements.
    static void InterleaveMasked(const void* const* ppvPlanes, unsigned long ulCount, std::uint8_t* pucMux,
                                 unsigned long ulFrameBytes, unsigned long ulFrom, unsigned long ulTo)
    {
        const __mmask16 usPiece = static_cast<__mmask16>(ByteMask(ulCount * Bytes));
        for (unsigned long f = ulFrom; f < ulTo; f += kFrames) {
            const unsigned long ulFrames = ulTo - f < kFrames ? ulTo - f : kFrames;
            const __mmask64 ullRow = ByteMask(ulFrames * Bytes);
            VectorType av[kLaneElements];
            for (unsigned long i = 0; i < kLaneElements; ++i) {
                const void* pvPlane = ppvPlanes[i < ulCount ? i : 0];
                const auto* puc = static_cast<const std::uint8_t*>(pvPlane) + f * Bytes;
                av[i] = Unpack<kUnpackContiguous>(_mm512_maskz_loadu_epi8(ullRow, puc));
            }
            UnpackStages<kLaneElements, kLaneElements>(av);
            std::uint8_t aucLanes[kLaneElements * 64];
            for (unsigned long i = 0; i < kLaneElements; ++i) {
                _mm512_storeu_si512(aucLanes + i * 64, Pack<kPackLanes>(av[i]));
            }
            for (unsigned long i = 0; i < ulFrames; ++i) {
                const auto* pvLane =
                    reinterpret_cast<const __m128i*>(aucLanes + i % kLaneElements * 64 + i / kLaneElements * 16);
                _mm_mask_storeu_epi8(pucMux + (f + i) * ulFrameBytes, usPiece, _mm_loadu_si128(pvLane));
            }
        }
    }

    static void DeinterleaveMasked(const std::uint8_t* pucMux, unsigned long ulFrameBytes, void* const* ppvPlanes,
                                   unsigned long ulCount, unsigned long ulFrom, unsigned long ulTo)
    {
        const __mmask16 usPiece = static_cast<__mmask16>(ByteMask(ulCount * Bytes));
        for (unsigned long f = ulFrom; f < ulTo; f += kFrames) {
            const unsigned long ulFrames = ulTo - f < kFrames ? ulTo - f : kFrames;
            std::uint8_t aucLanes[kLaneElements * 64] = {};
            for (unsigned long i = 0; i < ulFrames; ++i) {
                auto* pvLane = reinterpret_cast<__m128i*>(aucLanes + i % kLaneElements * 64 + i / kLaneElements * 16);
                _mm_storeu_si128(pvLane, _mm_maskz_loadu_epi8(usPiece, pucMux + (f + i) * ulFrameBytes));
            }
            VectorType av[kLaneElements];
            for (unsigned long i = 0; i < kLaneElements; ++i) {
                av[i] = Unpack<kUnpackLanes>(_mm512_loadu_si512(aucLanes + i * 64));
            }
            UnpackStages<kLaneElements, kLaneElements>(av);
            const __mmask64 ullRow = ByteMask(ulFrames * Bytes);
            for (unsigned long i = 0; i < kLaneElements; ++i) {
                if (i < ulCount) {
                    _mm512_mask_storeu_epi8(static_cast<std::uint8_t*>(ppvPlanes[i]) + f * Bytes, ullRow,
                                            Pack<kPackContiguous>(av[i]));
                }
            }
        }
    }

private:
    static __mmask64 ByteMask(unsigned long ulBytes) { return ulBytes < 64 ? (1ULL << ulBytes) - 1 : ~0ULL; }

    static constexpr __mmask16 kPackedMask = 0x0FFF;
    using Index = typename SlotIndex<kSlotBytes>::Type;

    /// For each slot of a register the element that goes there; those of a second register follow the first one's.
    struct Permutation {
        std::uint8_t aucElement[kFrames];
    };

    static constexpr unsigned long Lane(unsigned long i) { return i / kLaneElements; }

    /// Of a mux with Planes streams, each row is a line of four lanes.
    template <unsigned long Planes>
    static constexpr unsigned long NarrowFrame(unsigned long i)
    {
        constexpr unsigned long kOfLane = kLaneElements / Planes;
        return i % kLaneElements / kOfLane * 4 * kOfLane + Lane(i) * kOfLane + i % kOfLane;
    }

    /// Of a wide mux, each row is a half of two frames, the second stream's lanes beside the first one's.
    static constexpr unsigned long WideFrame(unsigned long i) { return i % kLaneElements * 2 + Lane(i) / 2; }

    template <unsigned long Planes>
    static constexpr Permutation kNarrowOrder = [] {
        Permutation s{};
        for (unsigned long i = 0; i < kFrames; ++i) {
            s.aucElement[i] = static_cast<std::uint8_t>(NarrowFrame<Planes>(i));
        }
        return s;
    }();

    template <unsigned long Planes>
    static constexpr Permutation kNarrowInverse = [] {
        Permutation s{};
        for (unsigned long i = 0; i < kFrames; ++i) {
            s.aucElement[NarrowFrame<Planes>(i)] = static_cast<std::uint8_t>(i);
        }
        return s;
    }();

    static constexpr Permutation WideOrder(unsigned long ulFirstFrame)
    {
        Permutation s{};
        for (unsigned long i = 0; i < kFrames; ++i) {
            s.aucElement[i] = static_cast<std::uint8_t>(Lane(i) % 2 * kFrames + ulFirstFrame + WideFrame(i));
        }
        return s;
    }

    static constexpr Permutation WideOrderInverse(unsigned long ulSide)
    {
        Permutation s{};
        for (unsigned long i = 0; i < kFrames; ++i) {
            if (Lane(i) % 2 == ulSide) {
                s.aucElement[WideFrame(i)] = static_cast<std::uint8_t>(i);
                s.aucElement[2 * kLaneElements + WideFrame(i)] = static_cast<std::uint8_t>(kFrames + i);
            }
        }
        return s;
    }

    static constexpr Permutation kWideFirst = WideOrder(0);
    static constexpr Permutation kWideSecond = WideOrder(2 * kLaneElements);
    static constexpr Permutation kWideLeft = WideOrderInverse(0);
    static constexpr Permutation kWideRight = WideOrderInverse(1);

    /// Bytes of one register or two, in any order.
    struct alignas(64) Bytes64 {
        std::uint8_t auc[64];
    };
    struct alignas(64) Slots {
        Index a[64 / kSlotBytes];
    };

    template <const Permutation& rOrder>
    static constexpr Slots kSlots = [] {
        Slots s{};
        for (unsigned long i = 0; i < kFrames; ++i) {
            s.a[i] = rOrder.aucElement[i];
        }
        return s;
    }();

    /// Packed elements to slots.
    template <const Permutation& rOrder>
    static constexpr Bytes64 kUnpackIndices = [] {
        Bytes64 s{};
        for (unsigned long i = 0; i < 64; ++i) {
            const unsigned long ulElement = rOrder.aucElement[i / kSlotBytes];
            const unsigned long ulByte = ulElement % kFrames * Bytes + i % kSlotBytes % Bytes;
            s.auc[i] = static_cast<std::uint8_t>(ulElement / kFrames * 64 + ulByte);
        }
        return s;
    }();

    /// Slots to packed elements.
    template <const Permutation& rOrder>
    static constexpr Bytes64 kPackIndices = [] {
        Bytes64 s{};
        for (unsigned long i = 0; i < kFrames * Bytes; ++i) {
            s.auc[i] = static_cast<std::uint8_t>(rOrder.aucElement[i / Bytes] * kSlotBytes + i % Bytes);
        }
        return s;
    }();

    /// Packed elements stand side by side in lines, or only in each half, or only in each lane, at its beginning.
    static constexpr unsigned long PackedByte(unsigned long ulSlotByte, unsigned long ulPart)
    {
        const unsigned long ulByte = ulSlotByte / kSlotBytes * Bytes + ulSlotByte % kSlotBytes % Bytes;
        const unsigned long ulBytes = ulPart / kSlotBytes * Bytes;
        return ulByte / ulBytes * ulPart + ulByte % ulBytes;
    }

    static constexpr Bytes64 MakeUnpackIndices(unsigned long ulPart)
    {
        Bytes64 s{};
        for (unsigned long i = 0; i < 64; ++i) {
            s.auc[i] = static_cast<std::uint8_t>(PackedByte(i, ulPart));
        }
        return s;
    }

    static constexpr Bytes64 MakePackIndices(unsigned long ulPart)
    {
        Bytes64 s{};
        for (unsigned long i = 0; i < 64; ++i) {
            if (i % kSlotBytes < Bytes) {
                s.auc[PackedByte(i, ulPart)] = static_cast<std::uint8_t>(i);
            }
        }
        return s;
    }

    static constexpr Bytes64 kUnpackContiguous = MakeUnpackIndices(64);
    static constexpr Bytes64 kUnpackHalves = MakeUnpackIndices(32);
    static constexpr Bytes64 kUnpackLanes = MakeUnpackIndices(16);
    static constexpr Bytes64 kPackContiguous = MakePackIndices(64);
    static constexpr Bytes64 kPackHalves = MakePackIndices(32);
    static constexpr Bytes64 kPackLanes = MakePackIndices(16);

    template <const Permutation& rOrder>
    static VectorType PermuteUnpacked(VectorType vFirst, VectorType vSecond)
    {
        if constexpr (kIsPacked) {
            return _mm512_permutex2var_epi8(vFirst, _mm512_load_si512(&kUnpackIndices<rOrder>), vSecond);
        } else {
            return Permute<rOrder>(vFirst, vSecond);
        }
    }

    template <const Permutation& rOrder>
    static VectorType PermuteToPacked(VectorType vFirst, VectorType vSecond)
    {
        if constexpr (kIsPacked) {
            return _mm512_permutex2var_epi8(vFirst, _mm512_load_si512(&kPackIndices<rOrder>), vSecond);
        } else {
            return Permute<rOrder>(vFirst, vSecond);
        }
    }

    template <const Bytes64& rBytes>
    static VectorType Pack(VectorType v)
    {
        if constexpr (kIsPacked) {
            return _mm512_permutexvar_epi8(_mm512_load_si512(&rBytes), v);
        } else {
            return v;
        }
    }

    /// Of the rows 0, kLaneElements, 2 * kLaneElements and 3 * kLaneElements.
    static void TransposeLanes(VectorType* av)
    {
        const VectorType vLow01 = _mm512_shuffle_i64x2(av[0], av[kLaneElements], 0b01000100);
        const VectorType vHigh01 = _mm512_shuffle_i64x2(av[0], av[kLaneElements], 0b11101110);
        const VectorType vLow23 = _mm512_shuffle_i64x2(av[2 * kLaneElements], av[3 * kLaneElements], 0b01000100);
        const VectorType vHigh23 = _mm512_shuffle_i64x2(av[2 * kLaneElements], av[3 * kLaneElements], 0b11101110);
        av[0] = _mm512_shuffle_i64x2(vLow01, vLow23, 0b10001000);
        av[kLaneElements] = _mm512_shuffle_i64x2(vLow01, vLow23, 0b11011101);
        av[2 * kLaneElements] = _mm512_shuffle_i64x2(vHigh01, vHigh23, 0b10001000);
        av[3 * kLaneElements] = _mm512_shuffle_i64x2(vHigh01, vHigh23, 0b11011101);
    }

    template <const Bytes64& rBytes>
    static VectorType Unpack(VectorType v)
    {
        return Pack<rBytes>(v);
    }

    template <const Permutation& rOrder>
    static constexpr bool kUsesOneSource = [] {
        for (const std::uint8_t ucElement : rOrder.aucElement) {
            if (ucElement >= kFrames) {
                return false;
            }
        }
        return true;
    }();

    template <const Permutation& rOrder>
    static VectorType Permute(VectorType vFirst, VectorType vSecond)
    {
        const VectorType vOrder = _mm512_load_si512(&kSlots<rOrder>);
        if constexpr (kSlotBytes == 2) {
            return kUsesOneSource<rOrder> ? _mm512_permutexvar_epi16(vOrder, vFirst)
                                          : _mm512_permutex2var_epi16(vFirst, vOrder, vSecond);
        } else if constexpr (kSlotBytes == 4) {
            return kUsesOneSource<rOrder> ? _mm512_permutexvar_epi32(vOrder, vFirst)
                                          : _mm512_permutex2var_epi32(vFirst, vOrder, vSecond);
        } else {
            return kUsesOneSource<rOrder> ? _mm512_permutexvar_epi64(vOrder, vFirst)
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
    /// On Count rows of streams, log2(Count) shuffles interleave; on interleaved elements, log2(kLaneElements) more
    /// come back to the streams.
    template <unsigned long Count, unsigned long Times>
    static void UnpackStages(VectorType* av)
    {
        for (unsigned long t = 1; t < Times; t *= 2) {
            VectorType avOld[Count];
            for (unsigned long i = 0; i < Count; ++i) {
                avOld[i] = av[i];
            }
            for (unsigned long i = 0; i < Count / 2; ++i) {
                av[2 * i] = UnpackLow(avOld[i], avOld[i + Count / 2]);
                av[2 * i + 1] = UnpackHigh(avOld[i], avOld[i + Count / 2]);
            }
        }
    }

    static VectorType UnpackLow(VectorType vFirst, VectorType vSecond)
    {
        if constexpr (kSlotBytes == 2) {
            return _mm512_unpacklo_epi16(vFirst, vSecond);
        } else if constexpr (kSlotBytes == 4) {
            return _mm512_unpacklo_epi32(vFirst, vSecond);
        } else {
            return _mm512_unpacklo_epi64(vFirst, vSecond);
        }
    }

    static VectorType UnpackHigh(VectorType vFirst, VectorType vSecond)
    {
        if constexpr (kSlotBytes == 2) {
            return _mm512_unpackhi_epi16(vFirst, vSecond);
        } else if constexpr (kSlotBytes == 4) {
            return _mm512_unpackhi_epi32(vFirst, vSecond);
        } else {
            return _mm512_unpackhi_epi64(vFirst, vSecond);
        }
    }
};

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
