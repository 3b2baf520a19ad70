/// The moves of elements between separate streams and the mux, which holds one element of each stream in turn: an
/// element is a mono sample or a stereo frame of Bytes bytes, and is never looked at.
///
/// Vectors move tiles: some streams for as many frames as a register holds elements. A stream is read or written by
/// whole registers, each of its cache lines once: streams that lie at the same place of their pages, as page-aligned
/// hosts have them, drive each other's lines out of the first-level cache, and a line that is done when it goes costs
/// nothing more. The mux is read and written by whole lines, or by pieces of frames if it has more streams than a tile.
#pragma once

#include "kernels/loops/tile-inl.h"

#include <cstdint>

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

template <class Byte>
struct MuxView {
    Byte* puc;
    unsigned long ulPlanes;
};

/// The bytes from one row of a tile to the next in the mux.
template <class Tile, MuxLayout Layout>
unsigned long VectorStride(unsigned long ulFrameBytes)
{
    return Layout == MuxLayout::Contiguous    ? Tile::kVectorBytes
           : Layout == MuxLayout::HalfVectors ? Tile::kLanesPerHalf * ulFrameBytes
                                              : ulFrameBytes;
}

/// The streams from ulStream on in the frames from ulFrom up to ulTo, which are whole tiles. Exact writes nothing
/// behind the elements; otherwise what follows the streams in their frames may be spoilt and has to be moved later.
template <class Tile, unsigned long Streams, MuxLayout Layout, bool Exact>
void InterleaveTiles(const void* const* __restrict ppvPlanes, MuxView<std::uint8_t> sMux, unsigned long ulStream,
                     unsigned long ulFrom, unsigned long ulTo)
{
    const unsigned long ulFrameBytes = sMux.ulPlanes * Tile::kBytes;
    const unsigned long ulStride = VectorStride<Tile, Layout>(ulFrameBytes);
    ppvPlanes += ulStream;
    const void* apvStreams[Streams];
    if constexpr (Tile::kUsesMaskedStores) {
        // Reading the array again would wait for the masked stores before.
        for (unsigned long i = 0; i < Streams; ++i) {
            apvStreams[i] = ppvPlanes[i];
        }
        ppvPlanes = apvStreams;
    }
    std::uint8_t* puc = sMux.puc + ulFrom * ulFrameBytes + ulStream * Tile::kBytes;
    for (unsigned long f = ulFrom; f < ulTo; f += Tile::kFrames, puc += Tile::kFrames * ulFrameBytes) {
        typename Tile::VectorType av[Streams];
        for (unsigned long i = 0; i < Streams; ++i) {
            av[i] = Tile::Load(static_cast<const std::uint8_t*>(ppvPlanes[i]) + f * Tile::kBytes);
        }
        Tile::template Interleave<Streams, Layout>(av);
        for (unsigned long i = 0; i < Streams; ++i) {
            std::uint8_t* pucRow = puc + i * ulStride;
            if constexpr (Layout == MuxLayout::HalfVectors) {
                Tile::template StoreHalves<Exact>(pucRow, ulFrameBytes, av[i]);
            } else if constexpr (Layout == MuxLayout::Lanes) {
                Tile::template StoreLanes<Exact>(pucRow, Tile::kLaneElements * ulFrameBytes, av[i]);
            } else if (Layout == MuxLayout::Contiguous ? i + 1 < Streams : !Exact) {
                Tile::StoreWithOverrun(pucRow, av[i]);
            } else {
                Tile::Store(pucRow, av[i]);
            }
        }
    }
}

template <class Tile, unsigned long Streams, MuxLayout Layout>
void DeinterleaveTiles(MuxView<const std::uint8_t> sMux, void* const* __restrict ppvPlanes, unsigned long ulStream,
                       unsigned long ulFrom, unsigned long ulTo)
{
    const unsigned long ulFrameBytes = sMux.ulPlanes * Tile::kBytes;
    const unsigned long ulStride = VectorStride<Tile, Layout>(ulFrameBytes);
    ppvPlanes += ulStream;
    void* apvStreams[Streams];
    if constexpr (Tile::kUsesMaskedStores) {
        // Reading the array again would wait for the masked stores before.
        for (unsigned long i = 0; i < Streams; ++i) {
            apvStreams[i] = ppvPlanes[i];
        }
        ppvPlanes = apvStreams;
    }
    const std::uint8_t* puc = sMux.puc + ulFrom * ulFrameBytes + ulStream * Tile::kBytes;
    for (unsigned long f = ulFrom; f < ulTo; f += Tile::kFrames, puc += Tile::kFrames * ulFrameBytes) {
        typename Tile::VectorType av[Streams];
        for (unsigned long i = 0; i < Streams; ++i) {
            const std::uint8_t* pucRow = puc + i * ulStride;
            if constexpr (Layout == MuxLayout::HalfVectors) {
                av[i] = Tile::LoadHalves(pucRow, ulFrameBytes);
            } else if constexpr (Layout == MuxLayout::Lanes) {
                av[i] = Tile::LoadLanes(pucRow, Tile::kLaneElements * ulFrameBytes);
            } else {
                av[i] = Tile::Load(pucRow);
            }
        }
        Tile::template Deinterleave<Streams, Layout>(av);
        for (unsigned long i = 0; i < Streams; ++i) {
            Tile::Store(static_cast<std::uint8_t*>(ppvPlanes[i]) + f * Tile::kBytes, av[i]);
        }
    }
}

/// Single elements, by Copy(element in the mux, stream, bytes into it): the streams from ulStream on in the frames from
/// ulFrom up to ulTo.
template <int ByteShuffle, class Byte, class Stream, class CopyElement>
void CopyElements(Stream* const* ppvPlanes, MuxView<Byte> sMux, unsigned long ulStream, unsigned long ulFrom,
                  unsigned long ulTo, CopyElement Copy)
{
    constexpr unsigned long kFewFrames = 4; // not worth a loop for each stream
    const unsigned long ulPlanes = sMux.ulPlanes;
    Byte* puc = sMux.puc + (ulFrom * ulPlanes + ulStream) * ByteShuffle;
    if (ulTo - ulFrom <= kFewFrames) {
        for (unsigned long f = ulFrom; f < ulTo; ++f, puc += ulPlanes * ByteShuffle) {
            for (unsigned long s = ulStream; s < ulPlanes; ++s) {
                Copy(puc + (s - ulStream) * ByteShuffle, ppvPlanes[s], f * ByteShuffle);
            }
        }
    } else {
        for (unsigned long s = ulStream; s < ulPlanes; ++s, puc += ByteShuffle) {
            Stream* pvStream = ppvPlanes[s];
            for (unsigned long f = ulFrom; f < ulTo; ++f) {
                Copy(puc + (f - ulFrom) * ulPlanes * ByteShuffle, pvStream, f * ByteShuffle);
            }
        }
    }
}

/// One direction: what walks over all elements calls it for parts of them.
template <int ByteShuffle>
struct InterleaveJob {
    /// Of one tile. Lines that are only read may go at once, wherever they lie.
    static constexpr unsigned long kMaxTilePlanes = 16;

    const void* const* ppvPlanes;
    MuxView<std::uint8_t> sMux;

    template <class Tile, unsigned long Streams, MuxLayout Layout>
    void ProcessTiles(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        // What stands behind all streams but the last ones in their frames comes later.
        const bool bExact = (sMux.ulPlanes - ulStream - Streams) * ByteShuffle < Tile::kOverrunBytes;
        bExact ? InterleaveTiles<Tile, Streams, Layout, true>(ppvPlanes, sMux, ulStream, ulFrom, ulTo)
               : InterleaveTiles<Tile, Streams, Layout, false>(ppvPlanes, sMux, ulStream, ulFrom, ulTo);
    }

    template <class Tile>
    void ProcessEdge(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        for (unsigned long s = ulStream; s < sMux.ulPlanes; s += Tile::kLaneElements) {
            const unsigned long ulCount =
                sMux.ulPlanes - s < Tile::kLaneElements ? sMux.ulPlanes - s : Tile::kLaneElements;
            Tile::InterleaveMasked(ppvPlanes + s, ulCount, sMux.puc + s * ByteShuffle, sMux.ulPlanes * ByteShuffle,
                                   ulFrom, ulTo);
        }
    }

    void ProcessScalar(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        CopyElements<ByteShuffle>(ppvPlanes, sMux, ulStream, ulFrom, ulTo,
                                  [](std::uint8_t* pucMux, const void* pvStream, unsigned long ulAt) {
                                      __builtin_memcpy(pucMux, static_cast<const std::uint8_t*>(pvStream) + ulAt,
                                                       ByteShuffle);
                                  });
    }
};

template <int ByteShuffle>
struct DeinterleaveJob {
    /// Of one tile. The lines that it writes have to stay in the first-level cache until they are full: if they lie at
    /// the same place of their pages they are in one set of it, which has 8 to 12 ways.
    static constexpr unsigned long kMaxTilePlanes = 8;

    MuxView<const std::uint8_t> sMux;
    void* const* ppvPlanes;

    template <class Tile, unsigned long Streams, MuxLayout Layout>
    void ProcessTiles(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        DeinterleaveTiles<Tile, Streams, Layout>(sMux, ppvPlanes, ulStream, ulFrom, ulTo);
    }

    template <class Tile>
    void ProcessEdge(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        for (unsigned long s = ulStream; s < sMux.ulPlanes; s += Tile::kLaneElements) {
            const unsigned long ulCount =
                sMux.ulPlanes - s < Tile::kLaneElements ? sMux.ulPlanes - s : Tile::kLaneElements;
            Tile::DeinterleaveMasked(sMux.puc + s * ByteShuffle, sMux.ulPlanes * ByteShuffle, ppvPlanes + s, ulCount,
                                     ulFrom, ulTo);
        }
    }

    void ProcessScalar(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        CopyElements<ByteShuffle>(ppvPlanes, sMux, ulStream, ulFrom, ulTo,
                                  [](const std::uint8_t* pucMux, void* pvStream, unsigned long ulAt) {
                                      __builtin_memcpy(static_cast<std::uint8_t*>(pvStream) + ulAt, pucMux,
                                                       ByteShuffle);
                                  });
    }
};

constexpr unsigned long kChunkBytes = 512; ///< of a stream

constexpr unsigned long Min(unsigned long ulFirst, unsigned long ulSecond)
{
    return ulFirst < ulSecond ? ulFirst : ulSecond;
}

/// The streams that are in no tile, or the frames.
template <class Tile, class Move>
void ProcessRemainder(const Move& rMove, unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo)
{
    if constexpr (Tile::kHasMaskedEdge) {
        constexpr unsigned long kFewFrames = 4; // not worth the masks
        if (ulTo - ulFrom > kFewFrames && rMove.sMux.ulPlanes - ulStream > 1) {
            rMove.template ProcessEdge<Tile>(ulStream, ulFrom, ulTo);
            return;
        }
    }
    rMove.ProcessScalar(ulStream, ulFrom, ulTo);
}

/// The frames from ulFrom on by tiles as far as these go; returns the first frame that is left. Of a mux that has more
/// streams than a tile all are done for some frames before the next frames come: so few frames that the lines of the
/// mux that the tiles share stay in the first-level cache meanwhile, and so many that the lines of the streams are
/// spread over it.
template <class Tile, int ByteShuffle, class Move>
unsigned long ProcessFullTiles(const Move& rMove, unsigned long ulFrom, unsigned long ulFrames)
{
    constexpr bool kAllowsTwoLaneTiles = 2 * Tile::kLaneElements <= Move::kMaxTilePlanes;
    constexpr bool kAllowsFourLaneTiles =
        Tile::kMaxPlanesContiguous == 4 * Tile::kLaneElements && Tile::kMaxPlanesContiguous <= Move::kMaxTilePlanes;
    constexpr unsigned long kChunkFrames = kChunkBytes / ByteShuffle / Tile::kFrames * Tile::kFrames;
    const unsigned long ulPlanes = rMove.sMux.ulPlanes;
    const unsigned long ulLeft = ulFrames - ulFrom;
    if (ulLeft < Tile::kFrames + Tile::kOverrunFrames) {
        return ulFrom;
    }
    const unsigned long ulTo = ulFrom + (ulLeft - Tile::kOverrunFrames) / Tile::kFrames * Tile::kFrames;
    if (ulPlanes == Tile::kLaneElements) {
        rMove.template ProcessTiles<Tile, Tile::kLaneElements, MuxLayout::Contiguous>(0, ulFrom, ulTo);
        return ulTo;
    }
    if constexpr (Tile::kLaneElements >= 4) {
        if (ulPlanes == Tile::kLaneElements / 2) {
            rMove.template ProcessTiles<Tile, Tile::kLaneElements / 2, MuxLayout::Contiguous>(0, ulFrom, ulTo);
            return ulTo;
        }
    }
    if constexpr (Tile::kLaneElements >= 8) {
        if (ulPlanes == Tile::kLaneElements / 4) {
            rMove.template ProcessTiles<Tile, Tile::kLaneElements / 4, MuxLayout::Contiguous>(0, ulFrom, ulTo);
            return ulTo;
        }
    }
    if constexpr (kAllowsTwoLaneTiles) {
        if (ulPlanes == 2 * Tile::kLaneElements) {
            rMove.template ProcessTiles<Tile, 2 * Tile::kLaneElements, MuxLayout::Contiguous>(0, ulFrom, ulTo);
            return ulTo;
        }
    }
    if constexpr (kAllowsFourLaneTiles) {
        if (ulPlanes == 4 * Tile::kLaneElements) {
            rMove.template ProcessTiles<Tile, 4 * Tile::kLaneElements, MuxLayout::Contiguous>(0, ulFrom, ulTo);
            return ulTo;
        }
    }
    const unsigned long ulChunk =
        ulPlanes <= Min(Tile::kMaxPlanes, Move::kMaxTilePlanes) ? ulTo - ulFrom : kChunkFrames;
    for (unsigned long f = ulFrom; f < ulTo; f += ulChunk) {
        const unsigned long ulNext = ulTo - f < ulChunk ? ulTo : f + ulChunk;
        unsigned long s = 0;
        if constexpr (Tile::kMaxPlanes == 4 * Tile::kLaneElements) {
            for (; s + 4 * Tile::kLaneElements <= ulPlanes; s += 4 * Tile::kLaneElements) {
                rMove.template ProcessTiles<Tile, 4 * Tile::kLaneElements, MuxLayout::WholeVectors>(s, f, ulNext);
            }
        }
        if constexpr (kAllowsTwoLaneTiles) {
            for (; s + 2 * Tile::kLaneElements <= ulPlanes; s += 2 * Tile::kLaneElements) {
                rMove.template ProcessTiles<Tile, 2 * Tile::kLaneElements, MuxLayout::HalfVectors>(s, f, ulNext);
            }
        }
        for (; s + Tile::kLaneElements <= ulPlanes; s += Tile::kLaneElements) {
            rMove.template ProcessTiles<Tile, Tile::kLaneElements, MuxLayout::Lanes>(s, f, ulNext);
        }
        ProcessRemainder<Tile>(rMove, s, f, ulNext);
    }
    return ulTo;
}

template <int ByteShuffle, class Move>
void ProcessAllFrames(const Move& rMove, unsigned long ulFrames, TileList<>)
{
    rMove.ProcessScalar(0, 0, ulFrames);
}

template <int ByteShuffle, class Move, class Widest, class... Tile>
void ProcessAllFrames(const Move& rMove, unsigned long ulFrames, TileList<Widest, Tile...>)
{
    unsigned long f = ProcessFullTiles<Widest, ByteShuffle>(rMove, 0, ulFrames);
    ((f = ProcessFullTiles<Tile, ByteShuffle>(rMove, f, ulFrames)), ...);
    ProcessRemainder<Widest>(rMove, 0, f, ulFrames);
}

template <int ByteShuffle>
void Interleave(const void* const* ppvPlanes, unsigned long ulPlanes, void* pvMux, unsigned long ulFrames) noexcept
{
    ProcessAllFrames<ByteShuffle>(InterleaveJob<ByteShuffle>{ppvPlanes, {static_cast<std::uint8_t*>(pvMux), ulPlanes}},
                                  ulFrames, TilesOf<ByteShuffle>());
}

template <int ByteShuffle>
void Deinterleave(const void* pvMux, void* const* ppvPlanes, unsigned long ulPlanes, unsigned long ulFrames) noexcept
{
    ProcessAllFrames<ByteShuffle>(
        DeinterleaveJob<ByteShuffle>{{static_cast<const std::uint8_t*>(pvMux), ulPlanes}, ppvPlanes}, ulFrames,
        TilesOf<ByteShuffle>());
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
