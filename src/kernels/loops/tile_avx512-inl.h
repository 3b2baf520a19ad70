/// Tiles of AVX-512 vectors. A permutation of whole vectors arranges the elements so that unpack stages within the
/// 128-bit lanes, which are the cheapest shuffles, give vectors of the mux; the inverse deinterleaves.
///
/// The planes of a tile decide how, compared with the elements of a lane:
///
///   up to as many, contiguous  narrow: a lane of the mux has one or more frames
///   as many                    lanes: a lane has the part of a frame that belongs to the tile
///   twice as many              wide: a vector has two frames, or their parts
///   four times as many         whole vectors: a vector has one frame, or its part
#pragma once

#include "kernels/loops/simd_x86-inl.h"
#include "kernels/loops/tile-inl.h"
#include "kernels/loops/tile_avx512_tables-inl.h"

#include <cstdint>

#include <immintrin.h>

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

/// Elements of 3 and 6 bytes are unpacked to slots of 4 and 8 bytes between loading and storing.
template <int Bytes>
struct TileAvx512 : Avx512TileTables<Bytes> {
    using Tables = Avx512TileTables<Bytes>;
    using Tables::kFrames;
    using Tables::kIsPacked;
    using Tables::kLaneElements;
    using Tables::kSlotBytes;
    using typename Tables::Bytes64;
    using typename Tables::Permutation;

    static constexpr int kBytes = Bytes;
    static constexpr bool kHasMaskedEdge = true;       ///< for remainders
    static constexpr bool kPrefersTiles = true;        ///< for stereo, see interleave_stereo-inl.h
    static constexpr bool kPrefetchesMux = !kIsPacked; ///< the output; slower for packed elements
    static constexpr bool kPrefetchesPlanes = !kIsPacked && Bytes > 2;
    static constexpr unsigned long kLanesPerHalf = 2;
    static constexpr unsigned long kVectorBytes = kFrames * Bytes;
    static constexpr bool kUsesMaskedStores = kIsPacked;
    static constexpr unsigned long kOverrunBytes = kIsPacked ? 16 : 0; ///< of the store of a vector or half
    static constexpr unsigned long kOverrunFrames = 0;

    using VectorType = __m512i;

    /// Loads a vector of a plane or of a contiguous mux.
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

    /// The maximum for a mux with more planes: with more, the cache lines of the planes would evict each other.
    static constexpr unsigned long kMaxPlanes = kSlotBytes == 8 ? 4 * kLaneElements : 2 * kLaneElements;
    /// The maximum for a mux without other planes: sixteen elements of 4 bytes also fill a vector.
    static constexpr unsigned long kMaxPlanesContiguous =
        kSlotBytes == 8 || Bytes == 4 ? 4 * kLaneElements : 2 * kLaneElements;

    /// Stores a vector that another one follows in the mux and overwrites the overrun.
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

    /// Converts vectors of planes to vectors of the mux.
    template <unsigned long Planes, MuxLayout Layout>
    static void Interleave(VectorType* av)
    {
        if constexpr (Layout == MuxLayout::Lanes) {
            PermuteBytes<Tables::kUnpackContiguous, Planes>(av);
            UnpackStages<kSlotBytes, kLaneElements, kLaneElements>(av);
            PermuteBytes<Tables::kPackLanes, Planes>(av);
        } else if constexpr (Planes == 4 * kLaneElements) {
            TransposeVectors(av);
        } else if constexpr (Planes == 2 * kLaneElements) {
            for (unsigned long i = 0; i < kLaneElements; ++i) {
                const VectorType v = PermuteUnpacked<Tables::kWideFirstFrames>(av[i], av[i + kLaneElements]);
                av[i + kLaneElements] = PermuteUnpacked<Tables::kWideLastFrames>(av[i], av[i + kLaneElements]);
                av[i] = v;
            }
            UnpackStages<kSlotBytes, kLaneElements, kLaneElements>(av);
            UnpackStages<kSlotBytes, kLaneElements, kLaneElements>(av + kLaneElements);
            if constexpr (Layout == MuxLayout::Contiguous) {
                PermuteBytes<Tables::kPackContiguous, Planes>(av);
            } else {
                PermuteBytes<Tables::kPackHalves, Planes>(av);
            }
        } else {
            for (unsigned long i = 0; i < Planes; ++i) {
                av[i] = PermuteUnpacked<Tables::template kNarrowOrder<Planes>>(av[i], av[i]);
            }
            UnpackStages<kSlotBytes, Planes, Planes>(av);
            PermuteBytes<Tables::kPackContiguous, Planes>(av);
        }
    }

    /// The inverse.
    template <unsigned long Planes, MuxLayout Layout>
    static void Deinterleave(VectorType* av)
    {
        if constexpr (Layout == MuxLayout::Lanes) {
            PermuteBytes<Tables::kUnpackLanes, Planes>(av);
            UnpackStages<kSlotBytes, kLaneElements, kLaneElements>(av);
            PermuteBytes<Tables::kPackContiguous, Planes>(av);
        } else if constexpr (Planes == 4 * kLaneElements) {
            TransposeVectors(av);
        } else if constexpr (Planes == 2 * kLaneElements) {
            if constexpr (Layout == MuxLayout::Contiguous) {
                PermuteBytes<Tables::kUnpackContiguous, Planes>(av);
            } else {
                PermuteBytes<Tables::kUnpackHalves, Planes>(av);
            }
            UnpackStages<kSlotBytes, kLaneElements, kLaneElements>(av);
            UnpackStages<kSlotBytes, kLaneElements, kLaneElements>(av + kLaneElements);
            for (unsigned long i = 0; i < kLaneElements; ++i) {
                const VectorType v = PermuteToPacked<Tables::kWideFirstPlane>(av[i], av[i + kLaneElements]);
                av[i + kLaneElements] = PermuteToPacked<Tables::kWideSecondPlane>(av[i], av[i + kLaneElements]);
                av[i] = v;
            }
        } else {
            PermuteBytes<Tables::kUnpackContiguous, Planes>(av);
            UnpackStages<kSlotBytes, Planes, kLaneElements>(av);
            for (unsigned long i = 0; i < Planes; ++i) {
                av[i] = PermuteToPacked<Tables::template kNarrowInverse<Planes>>(av[i], av[i]);
            }
        }
    }

    /// Processes up to kLaneElements planes in any number of frames. Masks exclude all other bytes.
    static void InterleaveMasked(const void* const* ppvPlanes, unsigned long ulCount, std::uint8_t* pucMux,
                                 unsigned long ulFrameBytes, unsigned long ulFrom, unsigned long ulTo)
    {
        const __mmask16 usFrameMask = static_cast<__mmask16>(ByteMask(ulCount * Bytes));
        for (unsigned long f = ulFrom; f < ulTo; f += kFrames) {
            const unsigned long ulFrames = ulTo - f < kFrames ? ulTo - f : kFrames;
            const __mmask64 ullVectorMask = ByteMask(ulFrames * Bytes);
            VectorType av[kLaneElements];
            for (unsigned long i = 0; i < kLaneElements; ++i) {
                const void* pvPlane = ppvPlanes[i < ulCount ? i : 0];
                const auto* puc = static_cast<const std::uint8_t*>(pvPlane) + f * Bytes;
                av[i] = PermuteBytes<Tables::kUnpackContiguous>(_mm512_maskz_loadu_epi8(ullVectorMask, puc));
            }
            UnpackStages<kSlotBytes, kLaneElements, kLaneElements>(av);
            std::uint8_t aucLanes[kLaneElements * 64];
            for (unsigned long i = 0; i < kLaneElements; ++i) {
                _mm512_storeu_si512(aucLanes + i * 64, PermuteBytes<Tables::kPackLanes>(av[i]));
            }
            for (unsigned long i = 0; i < ulFrames; ++i) {
                const auto* pvLane =
                    reinterpret_cast<const __m128i*>(aucLanes + i % kLaneElements * 64 + i / kLaneElements * 16);
                _mm_mask_storeu_epi8(pucMux + (f + i) * ulFrameBytes, usFrameMask, _mm_loadu_si128(pvLane));
            }
        }
    }

    static void DeinterleaveMasked(const std::uint8_t* pucMux, unsigned long ulFrameBytes, void* const* ppvPlanes,
                                   unsigned long ulCount, unsigned long ulFrom, unsigned long ulTo)
    {
        const __mmask16 usFrameMask = static_cast<__mmask16>(ByteMask(ulCount * Bytes));
        for (unsigned long f = ulFrom; f < ulTo; f += kFrames) {
            const unsigned long ulFrames = ulTo - f < kFrames ? ulTo - f : kFrames;
            std::uint8_t aucLanes[kLaneElements * 64] = {};
            for (unsigned long i = 0; i < ulFrames; ++i) {
                auto* pvLane = reinterpret_cast<__m128i*>(aucLanes + i % kLaneElements * 64 + i / kLaneElements * 16);
                _mm_storeu_si128(pvLane, _mm_maskz_loadu_epi8(usFrameMask, pucMux + (f + i) * ulFrameBytes));
            }
            VectorType av[kLaneElements];
            for (unsigned long i = 0; i < kLaneElements; ++i) {
                av[i] = PermuteBytes<Tables::kUnpackLanes>(_mm512_loadu_si512(aucLanes + i * 64));
            }
            UnpackStages<kSlotBytes, kLaneElements, kLaneElements>(av);
            const __mmask64 ullVectorMask = ByteMask(ulFrames * Bytes);
            for (unsigned long i = 0; i < kLaneElements; ++i) {
                if (i < ulCount) {
                    _mm512_mask_storeu_epi8(static_cast<std::uint8_t*>(ppvPlanes[i]) + f * Bytes, ullVectorMask,
                                            PermuteBytes<Tables::kPackContiguous>(av[i]));
                }
            }
        }
    }

private:
    static __mmask64 ByteMask(unsigned long ulBytes) { return ulBytes < 64 ? (1ULL << ulBytes) - 1 : ~0ULL; }

    static constexpr __mmask16 kPackedMask = 0x0FFF;

    /// Permutes elements of one or two vectors, and unpacks them to slots.
    template <const Permutation& rOrder>
    static VectorType PermuteUnpacked(VectorType vFirst, VectorType vSecond)
    {
        if constexpr (kIsPacked) {
            return _mm512_permutex2var_epi8(vFirst, _mm512_load_si512(&Tables::template kUnpackIndices<rOrder>),
                                            vSecond);
        } else {
            return Permute<rOrder>(vFirst, vSecond);
        }
    }

    /// Permutes slots of one or two vectors, and packs them.
    template <const Permutation& rOrder>
    static VectorType PermuteToPacked(VectorType vFirst, VectorType vSecond)
    {
        if constexpr (kIsPacked) {
            return _mm512_permutex2var_epi8(vFirst, _mm512_load_si512(&Tables::template kPackIndices<rOrder>), vSecond);
        } else {
            return Permute<rOrder>(vFirst, vSecond);
        }
    }

    /// Unpacks or packs the elements of a vector. Elements that are slots already do not change.
    template <const Bytes64& rPositions>
    static VectorType PermuteBytes(VectorType v)
    {
        if constexpr (kIsPacked) {
            return _mm512_permutexvar_epi8(_mm512_load_si512(&rPositions), v);
        } else {
            return v;
        }
    }

    template <const Bytes64& rPositions, unsigned long Count>
    static void PermuteBytes(VectorType* av)
    {
        for (unsigned long i = 0; i < Count; ++i) {
            av[i] = PermuteBytes<rPositions>(av[i]);
        }
    }

    /// Exchanges planes and frames of as many vectors as a vector has elements, in both directions.
    static void TransposeVectors(VectorType* av)
    {
        PermuteBytes<Tables::kUnpackContiguous, kFrames>(av);
        for (unsigned long i = 0; i < kLaneElements; ++i) {
            TransposeLanes(av + i);
        }
        for (unsigned long i = 0; i < kFrames; i += kLaneElements) {
            UnpackStages<kSlotBytes, kLaneElements, kLaneElements>(av + i);
        }
        PermuteBytes<Tables::kPackContiguous, kFrames>(av);
    }

    /// Transposes the 128-bit lanes of vectors 0, kLaneElements, 2 * kLaneElements and 3 * kLaneElements.
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

    template <const Permutation& rOrder>
    static VectorType Permute(VectorType vFirst, VectorType vSecond)
    {
        const VectorType vOrder = _mm512_load_si512(&Tables::template kSlots<rOrder>);
        if constexpr (kSlotBytes == 2) {
            return Tables::template kUsesOneSource<rOrder> ? _mm512_permutexvar_epi16(vOrder, vFirst)
                                                           : _mm512_permutex2var_epi16(vFirst, vOrder, vSecond);
        } else if constexpr (kSlotBytes == 4) {
            return Tables::template kUsesOneSource<rOrder> ? _mm512_permutexvar_epi32(vOrder, vFirst)
                                                           : _mm512_permutex2var_epi32(vFirst, vOrder, vSecond);
        } else {
            return Tables::template kUsesOneSource<rOrder> ? _mm512_permutexvar_epi64(vOrder, vFirst)
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

    // Stores mask bytes: compilers merge stores with a mask of 32-bit lanes and the extraction before them into an
    // instruction that faults on bytes that it does not write.

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
};

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
