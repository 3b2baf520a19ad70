/// Tiles of AVX2 vectors. Unpack stages interleave within the 128-bit lanes; then lanes are exchanged:
///
///   | a0 a1 a2 a3 | a4 a5 a6 a7 |      | a0 b0 c0 d0 | a4 b4 c4 d4 |      first vector and its neighbor exchange
///   | b0 b1 ...   | b4 b5 ...   |  ->  | a1 b1 c1 d1 | a5 b5 c5 d5 |  ->  lanes, so that the frames are in order
#pragma once

#include "kernels/loops/simd_x86-inl.h"
#include "kernels/loops/tile-inl.h"

#include <cstdint>

#include <immintrin.h>

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

/// Elements of 3 and 6 bytes are unpacked to slots of 4 and 8 bytes. Their lanes are loaded and stored as 16 bytes, of
/// which the last 4 are overrun.
template <int Bytes>
struct TileAvx2 {
    static constexpr int kSlotBytes = Bytes % 3 == 0 ? Bytes / 3 * 4 : Bytes;
    static constexpr unsigned long kLaneElements = 16 / kSlotBytes; ///< elements of a 128-bit lane
    static constexpr int kBytes = Bytes;
    static constexpr bool kUsesMaskedStores = false;
    static constexpr bool kHasMaskedEdge = false;          ///< for remainders
    static constexpr bool kPrefersTiles = false;           ///< for stereo, see interleave_stereo-inl.h
    static constexpr bool kPrefetchesMux = Bytes % 3 != 0; ///< the output; slower for packed elements
    static constexpr bool kPrefetchesPlanes = Bytes % 3 != 0 && Bytes > 2;
    static constexpr unsigned long kLanesPerHalf = 1;
    static constexpr unsigned long kFrames = 2 * kLaneElements;
    static constexpr unsigned long kVectorBytes = kFrames * Bytes;
    static constexpr unsigned long kOverrunBytes = 16 - kLaneElements * Bytes; ///< of the load or store of a lane
    static constexpr unsigned long kOverrunFrames = (kOverrunBytes + Bytes - 1) / Bytes;

    static constexpr unsigned long kMaxPlanes = 2 * kLaneElements; ///< of a tile
    static constexpr unsigned long kMaxPlanesContiguous = kMaxPlanes;

    using VectorType = __m256i;

    /// Loads the elements of two lanes.
    static VectorType Load(const std::uint8_t* puc)
    {
        if constexpr (kOverrunBytes == 0) {
            return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(puc));
        } else {
            return Unpack(_mm256_inserti128_si256(_mm256_castsi128_si256(LoadLane(puc)),
                                                  LoadLane(puc + kLaneElements * Bytes), 1));
        }
    }

    static void Store(std::uint8_t* puc, VectorType v) { StoreHalves<false>(puc, 0, v); }

    static VectorType LoadHalves(const std::uint8_t* puc, unsigned long) { return Load(puc); }

    /// With Exact, writes no overrun, with two stores.
    template <bool Exact>
    static void StoreHalves(std::uint8_t* puc, unsigned long, VectorType v)
    {
        if constexpr (kOverrunBytes == 0) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(puc), v);
        } else {
            const VectorType vPacked = Pack(v);
            StoreLane<false>(puc, _mm256_castsi256_si128(vPacked));
            StoreLane<Exact>(puc + kLaneElements * Bytes, _mm256_extracti128_si256(vPacked, 1));
        }
    }

    static VectorType LoadLanes(const std::uint8_t* puc, unsigned long ulStride)
    {
        return Unpack(_mm256_inserti128_si256(_mm256_castsi128_si256(LoadLane(puc)), LoadLane(puc + ulStride), 1));
    }

    template <bool Exact>
    static void StoreLanes(std::uint8_t* puc, unsigned long ulStride, VectorType v)
    {
        const VectorType vPacked = Pack(v);
        StoreLane<Exact>(puc, _mm256_castsi256_si128(vPacked));
        StoreLane<Exact>(puc + ulStride, _mm256_extracti128_si256(vPacked, 1));
    }

    /// Stores a vector that another one follows in the mux.
    static void StoreWithOverrun(std::uint8_t* puc, VectorType v) { StoreHalves<false>(puc, 0, v); }

    /// Converts vectors of planes to vectors of the mux.
    template <unsigned long Planes, MuxLayout Layout>
    static void Interleave(VectorType* av)
    {
        if constexpr (Layout == MuxLayout::Lanes || Planes == 2 * kLaneElements) {
            Transpose<Planes>(av);
        } else {
            UnpackStages<kSlotBytes, Planes, Planes>(av);
            VectorType avLanes[Planes];
            for (unsigned long i = 0; i < Planes / 2; ++i) {
                avLanes[i] = av[2 * i];
                avLanes[i + Planes / 2] = av[2 * i + 1];
                CombineLanes(avLanes[i], avLanes[i + Planes / 2]);
            }
            for (unsigned long i = 0; i < Planes; ++i) {
                av[i] = avLanes[i];
            }
        }
    }

    /// The inverse.
    template <unsigned long Planes, MuxLayout Layout>
    static void Deinterleave(VectorType* av)
    {
        if constexpr (Layout == MuxLayout::Lanes || Planes == 2 * kLaneElements) {
            Transpose<Planes>(av);
        } else {
            VectorType avLanes[Planes];
            for (unsigned long i = 0; i < Planes / 2; ++i) {
                avLanes[2 * i] = av[i];
                avLanes[2 * i + 1] = av[i + Planes / 2];
                CombineLanes(avLanes[2 * i], avLanes[2 * i + 1]);
            }
            UnpackStages<kSlotBytes, Planes, kLaneElements>(avLanes);
            for (unsigned long i = 0; i < Planes; ++i) {
                av[i] = avLanes[i];
            }
        }
    }

private:
    /// Exchanges planes and frames, in both directions: of as many planes as a lane has elements in each lane, or of
    /// twice as many in whole vectors.
    template <unsigned long Planes>
    static void Transpose(VectorType* av)
    {
        for (unsigned long i = 0; i < Planes; i += kLaneElements) {
            UnpackStages<kSlotBytes, kLaneElements, kLaneElements>(av + i);
        }
        if constexpr (Planes == 2 * kLaneElements) {
            for (unsigned long i = 0; i < kLaneElements; ++i) {
                CombineLanes(av[i], av[i + kLaneElements]);
            }
        }
    }

    /// Moves the low lanes to the first vector and the high lanes to the second.
    static void CombineLanes(VectorType& rvFirst, VectorType& rvSecond)
    {
        const VectorType vLow = _mm256_permute2x128_si256(rvFirst, rvSecond, 0x20);
        rvSecond = _mm256_permute2x128_si256(rvFirst, rvSecond, 0x31);
        rvFirst = vLow;
    }

    static __m128i LoadLane(const std::uint8_t* puc) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(puc)); }

    template <bool Exact>
    static void StoreLane(std::uint8_t* puc, __m128i v)
    {
        if constexpr (Exact && kOverrunBytes != 0) {
            _mm_storeu_si64(puc, v);
            const int iLast = _mm_extract_epi32(v, 2);
            __builtin_memcpy(puc + 8, &iLast, 4);
        } else {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(puc), v);
        }
    }

    /// Unpacks elements to slots.
    static VectorType Unpack(VectorType v)
    {
        if constexpr (Bytes == 3) {
            return _mm256_shuffle_epi8(
                v, _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1)));
        } else if constexpr (Bytes == 6) {
            return _mm256_shuffle_epi8(
                v, _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 3, 4, 5, -1, -1, 6, 7, 8, 9, 10, 11, -1, -1)));
        } else {
            return v;
        }
    }

    /// The inverse.
    static VectorType Pack(VectorType v)
    {
        if constexpr (Bytes == 3) {
            return _mm256_shuffle_epi8(
                v, _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1)));
        } else if constexpr (Bytes == 6) {
            return _mm256_shuffle_epi8(
                v, _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1)));
        } else {
            return v;
        }
    }
};

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
