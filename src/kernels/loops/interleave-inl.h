/// Copies elements between planes and the mux. An element is a mono sample or a stereo frame of Bytes bytes.
///
/// Vectors process tiles: some planes for as many frames as a vector has elements. A tile is transposed in registers:
///
///   plane 0  a0 a1 a2 a3            frame 0  a0 b0 c0 d0
///   plane 1  b0 b1 b2 b3    <->     frame 1  a1 b1 c1 d1
///   plane 2  c0 c1 c2 c3            frame 2  a2 b2 c2 d2
///   plane 3  d0 d1 d2 d3            frame 3  a3 b3 c3 d3
///
/// Planes are accessed by whole vectors, so that each cache line is loaded once. This matters if planes have the same
/// offset within their pages: their lines then share a cache set and evict each other.
#pragma once

#include "kernels/loops/tile-inl.h"

#include <cstdint>

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

constexpr unsigned long Min(unsigned long ulFirst, unsigned long ulSecond)
{
    return ulFirst < ulSecond ? ulFirst : ulSecond;
}

/// The mux: its first byte, and the number of elements of a frame.
template <class Byte>
struct MuxView {
    Byte* puc;
    unsigned long ulPlanes;
};

/// The bytes between consecutive vectors of a tile in the mux.
template <class Tile, MuxLayout Layout>
unsigned long VectorStride(unsigned long ulFrameBytes)
{
    return Layout == MuxLayout::Contiguous    ? Tile::kVectorBytes
           : Layout == MuxLayout::HalfVectors ? Tile::kLanesPerHalf * ulFrameBytes
                                              : ulFrameBytes;
}

/// The bytes from a store to a plane to the cache line that is prefetched with it.
constexpr unsigned long kPlanePrefetchBytes = 128;

/// The planes of a tile from which prefetching them is faster.
constexpr unsigned long kMinPrefetchedPlanes = 8;

/// Prefetches cache lines of the mux that the next tiles write. They may lie after its end, where a prefetch has no
/// effect.
template <class Tile, unsigned long Planes, MuxLayout Layout>
void PrefetchMux(const std::uint8_t* pucTile, unsigned long ulFrameBytes)
{
    if constexpr (Layout == MuxLayout::Contiguous) {
        constexpr unsigned long kDistance = 1024;
        constexpr unsigned long kCacheLine = 64;
        for (unsigned long i = 0; i < Planes * Tile::kVectorBytes; i += kCacheLine) {
            __builtin_prefetch(pucTile + kDistance + i);
        }
    } else {
        for (unsigned long i = 0; i < Tile::kFrames; ++i) {
            __builtin_prefetch(pucTile + (Tile::kFrames + i) * ulFrameBytes);
        }
    }
}

// In these functions, ulPlane is the first plane to process, ulFrom the first frame, and ulTo the frame after the last.

/// Interleaves Planes planes in frames that are whole tiles. With Exact, no byte after the elements is written;
/// otherwise the following planes must be processed later.
template <class Tile, unsigned long Planes, MuxLayout Layout, bool Exact>
void InterleaveTiles(const void* const* __restrict ppvPlanes, MuxView<std::uint8_t> sMux, unsigned long ulPlane,
                     unsigned long ulFrom, unsigned long ulTo)
{
    const unsigned long ulFrameBytes = sMux.ulPlanes * Tile::kBytes;
    const unsigned long ulStride = VectorStride<Tile, Layout>(ulFrameBytes);
    ppvPlanes += ulPlane;
    const void* apvPlanes[Planes];
    if constexpr (Tile::kUsesMaskedStores) {
        // Masked stores delay later loads from the array.
        for (unsigned long i = 0; i < Planes; ++i) {
            apvPlanes[i] = ppvPlanes[i];
        }
        ppvPlanes = apvPlanes;
    }
    std::uint8_t* puc = sMux.puc + ulFrom * ulFrameBytes + ulPlane * Tile::kBytes;
    for (unsigned long f = ulFrom; f < ulTo; f += Tile::kFrames, puc += Tile::kFrames * ulFrameBytes) {
        typename Tile::VectorType av[Planes];
        for (unsigned long i = 0; i < Planes; ++i) {
            av[i] = Tile::Load(static_cast<const std::uint8_t*>(ppvPlanes[i]) + f * Tile::kBytes);
        }
        if constexpr (Tile::kPrefetchesMux) {
            PrefetchMux<Tile, Planes, Layout>(puc, ulFrameBytes);
        }
        Tile::template Interleave<Planes, Layout>(av);
        for (unsigned long i = 0; i < Planes; ++i) {
            std::uint8_t* pucVector = puc + i * ulStride;
            if constexpr (Layout == MuxLayout::HalfVectors) {
                Tile::template StoreHalves<Exact>(pucVector, ulFrameBytes, av[i]);
            } else if constexpr (Layout == MuxLayout::Lanes) {
                Tile::template StoreLanes<Exact>(pucVector, Tile::kLaneElements * ulFrameBytes, av[i]);
            } else if (Layout == MuxLayout::Contiguous ? i + 1 < Planes : !Exact) {
                Tile::StoreWithOverrun(pucVector, av[i]);
            } else {
                Tile::Store(pucVector, av[i]);
            }
        }
    }
}

/// The inverse of InterleaveTiles.
template <class Tile, unsigned long Planes, MuxLayout Layout>
void DeinterleaveTiles(MuxView<const std::uint8_t> sMux, void* const* __restrict ppvPlanes, unsigned long ulPlane,
                       unsigned long ulFrom, unsigned long ulTo)
{
    const unsigned long ulFrameBytes = sMux.ulPlanes * Tile::kBytes;
    const unsigned long ulStride = VectorStride<Tile, Layout>(ulFrameBytes);
    ppvPlanes += ulPlane;
    void* apvPlanes[Planes];
    if constexpr (Tile::kUsesMaskedStores) {
        // Masked stores delay later loads from the array.
        for (unsigned long i = 0; i < Planes; ++i) {
            apvPlanes[i] = ppvPlanes[i];
        }
        ppvPlanes = apvPlanes;
    }
    const std::uint8_t* puc = sMux.puc + ulFrom * ulFrameBytes + ulPlane * Tile::kBytes;
    for (unsigned long f = ulFrom; f < ulTo; f += Tile::kFrames, puc += Tile::kFrames * ulFrameBytes) {
        typename Tile::VectorType av[Planes];
        for (unsigned long i = 0; i < Planes; ++i) {
            const std::uint8_t* pucVector = puc + i * ulStride;
            if constexpr (Layout == MuxLayout::HalfVectors) {
                av[i] = Tile::LoadHalves(pucVector, ulFrameBytes);
            } else if constexpr (Layout == MuxLayout::Lanes) {
                av[i] = Tile::LoadLanes(pucVector, Tile::kLaneElements * ulFrameBytes);
            } else {
                av[i] = Tile::Load(pucVector);
            }
        }
        Tile::template Deinterleave<Planes, Layout>(av);
        for (unsigned long i = 0; i < Planes; ++i) {
            std::uint8_t* pucVector = static_cast<std::uint8_t*>(ppvPlanes[i]) + f * Tile::kBytes;
            if constexpr (Tile::kPrefetchesPlanes && Planes >= kMinPrefetchedPlanes) {
                __builtin_prefetch(pucVector + kPlanePrefetchBytes);
            }
            Tile::Store(pucVector, av[i]);
        }
    }
}

/// Copies single elements of all planes from ulPlane on, by Copy(element in the mux, plane, byte offset in the plane).
template <int Bytes, class Byte, class Plane, class CopyElement>
void CopyElements(Plane* const* ppvPlanes, MuxView<Byte> sMux, unsigned long ulPlane, unsigned long ulFrom,
                  unsigned long ulTo, CopyElement Copy)
{
    constexpr unsigned long kFewFrames = 4; // too few for a loop over the frames of each plane
    const unsigned long ulPlanes = sMux.ulPlanes;
    Byte* puc = sMux.puc + (ulFrom * ulPlanes + ulPlane) * Bytes;
    if (ulTo - ulFrom <= kFewFrames) {
        for (unsigned long f = ulFrom; f < ulTo; ++f, puc += ulPlanes * Bytes) {
            for (unsigned long p = ulPlane; p < ulPlanes; ++p) {
                Copy(puc + (p - ulPlane) * Bytes, ppvPlanes[p], f * Bytes);
            }
        }
    } else {
        for (unsigned long p = ulPlane; p < ulPlanes; ++p, puc += Bytes) {
            Plane* pvPlane = ppvPlanes[p];
            for (unsigned long f = ulFrom; f < ulTo; ++f) {
                Copy(puc + (f - ulFrom) * ulPlanes * Bytes, pvPlane, f * Bytes);
            }
        }
    }
}

/// The interleaving direction, for the traversal below.
template <int Bytes>
struct InterleaveJob {
    /// Cache lines that are only read may be evicted after one access.
    static constexpr unsigned long kMaxTilePlanes = 16;

    const void* const* ppvPlanes;
    MuxView<std::uint8_t> sMux;

    template <class Tile, unsigned long Planes, MuxLayout Layout>
    void ProcessTiles(unsigned long ulPlane, unsigned long ulFrom, unsigned long ulTo) const
    {
        // The planes after the tile are processed later.
        const bool bExact = (sMux.ulPlanes - ulPlane - Planes) * Bytes < Tile::kOverrunBytes;
        bExact ? InterleaveTiles<Tile, Planes, Layout, true>(ppvPlanes, sMux, ulPlane, ulFrom, ulTo)
               : InterleaveTiles<Tile, Planes, Layout, false>(ppvPlanes, sMux, ulPlane, ulFrom, ulTo);
    }

    /// Processes all planes from ulPlane on by masked tiles.
    template <class Tile>
    void ProcessEdge(unsigned long ulPlane, unsigned long ulFrom, unsigned long ulTo) const
    {
        for (unsigned long p = ulPlane; p < sMux.ulPlanes; p += Tile::kLaneElements) {
            const unsigned long ulCount = Min(sMux.ulPlanes - p, Tile::kLaneElements);
            Tile::InterleaveMasked(ppvPlanes + p, ulCount, sMux.puc + p * Bytes, sMux.ulPlanes * Bytes, ulFrom, ulTo);
        }
    }

    void ProcessScalar(unsigned long ulPlane, unsigned long ulFrom, unsigned long ulTo) const
    {
        CopyElements<Bytes>(ppvPlanes, sMux, ulPlane, ulFrom, ulTo,
                            [](std::uint8_t* pucMux, const void* pvPlane, unsigned long ulAt) {
                                __builtin_memcpy(pucMux, static_cast<const std::uint8_t*>(pvPlane) + ulAt, Bytes);
                            });
    }
};

/// The deinterleaving direction.
template <int Bytes>
struct DeinterleaveJob {
    /// Cache lines that a tile writes must stay in the first-level cache until they are full. In the worst case all of
    /// them share one cache set, which has 8 to 12 ways.
    static constexpr unsigned long kMaxTilePlanes = 8;

    MuxView<const std::uint8_t> sMux;
    void* const* ppvPlanes;

    template <class Tile, unsigned long Planes, MuxLayout Layout>
    void ProcessTiles(unsigned long ulPlane, unsigned long ulFrom, unsigned long ulTo) const
    {
        DeinterleaveTiles<Tile, Planes, Layout>(sMux, ppvPlanes, ulPlane, ulFrom, ulTo);
    }

    template <class Tile>
    void ProcessEdge(unsigned long ulPlane, unsigned long ulFrom, unsigned long ulTo) const
    {
        for (unsigned long p = ulPlane; p < sMux.ulPlanes; p += Tile::kLaneElements) {
            const unsigned long ulCount = Min(sMux.ulPlanes - p, Tile::kLaneElements);
            Tile::DeinterleaveMasked(sMux.puc + p * Bytes, sMux.ulPlanes * Bytes, ppvPlanes + p, ulCount, ulFrom, ulTo);
        }
    }

    void ProcessScalar(unsigned long ulPlane, unsigned long ulFrom, unsigned long ulTo) const
    {
        CopyElements<Bytes>(ppvPlanes, sMux, ulPlane, ulFrom, ulTo,
                            [](const std::uint8_t* pucMux, void* pvPlane, unsigned long ulAt) {
                                __builtin_memcpy(static_cast<std::uint8_t*>(pvPlane) + ulAt, pucMux, Bytes);
                            });
    }
};

/// The bytes of a plane that are processed before the next planes; see ProcessChunks.
constexpr unsigned long kChunkBytes = 512;

/// Processes the planes or frames that are in no tile.
template <class Tile, class Job>
void ProcessRemainder(const Job& rJob, unsigned long ulPlane, unsigned long ulFrom, unsigned long ulTo)
{
    if constexpr (Tile::kHasMaskedEdge) {
        constexpr unsigned long kFewFrames = 4; // faster without masks
        if (ulTo - ulFrom > kFewFrames && rJob.sMux.ulPlanes - ulPlane > 1) {
            rJob.template ProcessEdge<Tile>(ulPlane, ulFrom, ulTo);
            return;
        }
    }
    rJob.ProcessScalar(ulPlane, ulFrom, ulTo);
}

/// If the mux has exactly Planes planes, and a tile can have as many, processes whole frames by contiguous tiles and
/// returns true. Inlined, as ProcessChunks is: for few frames, the calls would take as long as the tiles.
template <class Tile, unsigned long Planes, class Job>
[[gnu::always_inline]] inline bool ProcessContiguousTiles(const Job& rJob, unsigned long ulFrom, unsigned long ulTo)
{
    if constexpr (Planes >= 2 && Planes <= Min(Tile::kMaxPlanesContiguous, Job::kMaxTilePlanes)) {
        if (rJob.sMux.ulPlanes == Planes) {
            rJob.template ProcessTiles<Tile, Planes, MuxLayout::Contiguous>(0, ulFrom, ulTo);
            return true;
        }
    }
    return false;
}

/// Processes the frames of any other mux by the widest tiles that fit, and the remaining planes. If the mux has more
/// planes than a tile, the frames are divided into chunks, and all planes of a chunk are processed before the next
/// chunk. A chunk is small enough for the mux lines that its tiles share to stay in the first-level cache, and large
/// enough to spread the lines of the planes over the cache sets.
template <class Tile, int Bytes, class Job>
[[gnu::always_inline]] inline void ProcessChunks(const Job& rJob, unsigned long ulFrom, unsigned long ulTo)
{
    constexpr bool kAllowsTwoLaneTiles = 2 * Tile::kLaneElements <= Job::kMaxTilePlanes;
    constexpr unsigned long kChunkFrames = kChunkBytes / Bytes / Tile::kFrames * Tile::kFrames;
    const unsigned long ulPlanes = rJob.sMux.ulPlanes;
    const unsigned long ulChunk = ulPlanes <= Min(Tile::kMaxPlanes, Job::kMaxTilePlanes) ? ulTo - ulFrom : kChunkFrames;
    for (unsigned long f = ulFrom; f < ulTo; f += ulChunk) {
        const unsigned long ulNext = ulTo - f < ulChunk ? ulTo : f + ulChunk;
        unsigned long p = 0;
        if constexpr (Tile::kMaxPlanes == 4 * Tile::kLaneElements) {
            for (; p + 4 * Tile::kLaneElements <= ulPlanes; p += 4 * Tile::kLaneElements) {
                rJob.template ProcessTiles<Tile, 4 * Tile::kLaneElements, MuxLayout::WholeVectors>(p, f, ulNext);
            }
        }
        if constexpr (kAllowsTwoLaneTiles) {
            for (; p + 2 * Tile::kLaneElements <= ulPlanes; p += 2 * Tile::kLaneElements) {
                rJob.template ProcessTiles<Tile, 2 * Tile::kLaneElements, MuxLayout::HalfVectors>(p, f, ulNext);
            }
        }
        for (; p + Tile::kLaneElements <= ulPlanes; p += Tile::kLaneElements) {
            rJob.template ProcessTiles<Tile, Tile::kLaneElements, MuxLayout::Lanes>(p, f, ulNext);
        }
        ProcessRemainder<Tile>(rJob, p, f, ulNext);
    }
}

/// Processes the frames from ulFrom to ulFrames that are whole tiles, and returns the first frame of the remainder.
template <class Tile, int Bytes, class Job>
unsigned long ProcessFullTiles(const Job& rJob, unsigned long ulFrom, unsigned long ulFrames)
{
    constexpr unsigned long kLaneElements = Tile::kLaneElements;
    const unsigned long ulLeft = ulFrames - ulFrom;
    if (ulLeft < Tile::kFrames + Tile::kOverrunFrames) {
        return ulFrom;
    }
    const unsigned long ulTo = ulFrom + (ulLeft - Tile::kOverrunFrames) / Tile::kFrames * Tile::kFrames;
    const bool bIsDone = ProcessContiguousTiles<Tile, kLaneElements>(rJob, ulFrom, ulTo) ||
                         ProcessContiguousTiles<Tile, kLaneElements / 2>(rJob, ulFrom, ulTo) ||
                         ProcessContiguousTiles<Tile, kLaneElements / 4>(rJob, ulFrom, ulTo) ||
                         ProcessContiguousTiles<Tile, 2 * kLaneElements>(rJob, ulFrom, ulTo) ||
                         ProcessContiguousTiles<Tile, 4 * kLaneElements>(rJob, ulFrom, ulTo);
    if (!bIsDone) {
        ProcessChunks<Tile, Bytes>(rJob, ulFrom, ulTo);
    }
    return ulTo;
}

template <int Bytes, class Job>
void ProcessAllFrames(const Job& rJob, unsigned long ulFrames, TileList<>)
{
    rJob.ProcessScalar(0, 0, ulFrames);
}

template <int Bytes, class Job, class Widest, class... Tile>
void ProcessAllFrames(const Job& rJob, unsigned long ulFrames, TileList<Widest, Tile...>)
{
    unsigned long f = ProcessFullTiles<Widest, Bytes>(rJob, 0, ulFrames);
    ((f = ProcessFullTiles<Tile, Bytes>(rJob, f, ulFrames)), ...);
    ProcessRemainder<Widest>(rJob, 0, f, ulFrames);
}

template <int Bytes>
void Interleave(const void* const* ppvPlanes, unsigned long ulPlanes, void* pvMux, unsigned long ulFrames) noexcept
{
    ProcessAllFrames<Bytes>(InterleaveJob<Bytes>{ppvPlanes, {static_cast<std::uint8_t*>(pvMux), ulPlanes}}, ulFrames,
                            TilesOf<Bytes>());
}

template <int Bytes>
void Deinterleave(const void* pvMux, void* const* ppvPlanes, unsigned long ulPlanes, unsigned long ulFrames) noexcept
{
    ProcessAllFrames<Bytes>(DeinterleaveJob<Bytes>{{static_cast<const std::uint8_t*>(pvMux), ulPlanes}, ppvPlanes},
                            ulFrames, TilesOf<Bytes>());
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
