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

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {

template <class Byte>
struct MuxSide {
    Byte* puc;
    unsigned long ulStreams;
};

/// The bytes from one row of a tile to the next in the mux.
template <class R, Pieces P>
unsigned long RowStride(unsigned long ulFrameBytes)
{
    return P == Pieces::Lines ? R::kRowBytes : P == Pieces::Halves ? R::kHalves * ulFrameBytes : ulFrameBytes;
}

/// The streams from ulStream on in the frames from ulFrom up to ulTo, which are whole tiles. Exact writes nothing
/// behind the elements; otherwise what follows the streams in their frames may be spoilt and has to be moved later.
template <class R, unsigned long Streams, Pieces P, bool Exact>
void InterleaveTiles(const void* const* __restrict ppvStreams, MuxSide<std::uint8_t> sMux, unsigned long ulStream,
                     unsigned long ulFrom, unsigned long ulTo)
{
    const unsigned long ulFrameBytes = sMux.ulStreams * R::kBytes;
    const unsigned long ulStride = RowStride<R, P>(ulFrameBytes);
    ppvStreams += ulStream;
    const void* apvStreams[Streams];
    if constexpr (R::kStoresMask) {
        // Reading the array again would wait for the masked stores before.
        for (unsigned long i = 0; i < Streams; ++i) {
            apvStreams[i] = ppvStreams[i];
        }
        ppvStreams = apvStreams;
    }
    std::uint8_t* puc = sMux.puc + ulFrom * ulFrameBytes + ulStream * R::kBytes;
    for (unsigned long f = ulFrom; f < ulTo; f += R::kFrames, puc += R::kFrames * ulFrameBytes) {
        typename R::Row av[Streams];
        for (unsigned long i = 0; i < Streams; ++i) {
            av[i] = R::Load(static_cast<const std::uint8_t*>(ppvStreams[i]) + f * R::kBytes);
        }
        R::template Interleave<Streams, P>(av);
        for (unsigned long i = 0; i < Streams; ++i) {
            std::uint8_t* pucRow = puc + i * ulStride;
            if constexpr (P == Pieces::Halves) {
                R::template StoreHalves<Exact>(pucRow, ulFrameBytes, av[i]);
            } else if constexpr (P == Pieces::Lanes) {
                R::template StoreLanes<Exact>(pucRow, R::kRun * ulFrameBytes, av[i]);
            } else if (P == Pieces::Lines ? i + 1 < Streams : !Exact) {
                R::StoreBeforeOther(pucRow, av[i]);
            } else {
                R::Store(pucRow, av[i]);
            }
        }
    }
}

template <class R, unsigned long Streams, Pieces P>
void SplitTiles(MuxSide<const std::uint8_t> sMux, void* const* __restrict ppvStreams, unsigned long ulStream,
                unsigned long ulFrom, unsigned long ulTo)
{
    const unsigned long ulFrameBytes = sMux.ulStreams * R::kBytes;
    const unsigned long ulStride = RowStride<R, P>(ulFrameBytes);
    ppvStreams += ulStream;
    void* apvStreams[Streams];
    if constexpr (R::kStoresMask) {
        // Reading the array again would wait for the masked stores before.
        for (unsigned long i = 0; i < Streams; ++i) {
            apvStreams[i] = ppvStreams[i];
        }
        ppvStreams = apvStreams;
    }
    const std::uint8_t* puc = sMux.puc + ulFrom * ulFrameBytes + ulStream * R::kBytes;
    for (unsigned long f = ulFrom; f < ulTo; f += R::kFrames, puc += R::kFrames * ulFrameBytes) {
        typename R::Row av[Streams];
        for (unsigned long i = 0; i < Streams; ++i) {
            const std::uint8_t* pucRow = puc + i * ulStride;
            if constexpr (P == Pieces::Halves) {
                av[i] = R::LoadHalves(pucRow, ulFrameBytes);
            } else if constexpr (P == Pieces::Lanes) {
                av[i] = R::LoadLanes(pucRow, R::kRun * ulFrameBytes);
            } else {
                av[i] = R::Load(pucRow);
            }
        }
        R::template Split<Streams, P>(av);
        for (unsigned long i = 0; i < Streams; ++i) {
            R::Store(static_cast<std::uint8_t*>(ppvStreams[i]) + f * R::kBytes, av[i]);
        }
    }
}

/// Single elements, by Copy(element in the mux, stream, bytes into it): the streams from ulStream on in the frames from
/// ulFrom up to ulTo.
template <int Bytes, class Byte, class Stream, class CopyElement>
void MoveSingly(Stream* const* ppvStreams, MuxSide<Byte> sMux, unsigned long ulStream, unsigned long ulFrom,
                unsigned long ulTo, CopyElement Copy)
{
    constexpr unsigned long kFewFrames = 4; // not worth a loop for each stream
    const unsigned long ulStreams = sMux.ulStreams;
    Byte* puc = sMux.puc + (ulFrom * ulStreams + ulStream) * Bytes;
    if (ulTo - ulFrom <= kFewFrames) {
        for (unsigned long f = ulFrom; f < ulTo; ++f, puc += ulStreams * Bytes) {
            for (unsigned long s = ulStream; s < ulStreams; ++s) {
                Copy(puc + (s - ulStream) * Bytes, ppvStreams[s], f * Bytes);
            }
        }
    } else {
        for (unsigned long s = ulStream; s < ulStreams; ++s, puc += Bytes) {
            Stream* pvStream = ppvStreams[s];
            for (unsigned long f = ulFrom; f < ulTo; ++f) {
                Copy(puc + (f - ulFrom) * ulStreams * Bytes, pvStream, f * Bytes);
            }
        }
    }
}

/// One direction: what walks over all elements calls it for parts of them.
template <int Bytes>
struct ToMux {
    /// Of one tile. Lines that are only read may go at once, wherever they lie.
    static constexpr unsigned long kMostStreams = 16;

    const void* const* ppvStreams;
    MuxSide<std::uint8_t> sMux;

    template <class R, unsigned long Streams, Pieces P>
    void Tiles(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        // What stands behind all streams but the last ones in their frames comes later.
        const bool bExact = (sMux.ulStreams - ulStream - Streams) * Bytes < R::kBeyond;
        bExact ? InterleaveTiles<R, Streams, P, true>(ppvStreams, sMux, ulStream, ulFrom, ulTo)
               : InterleaveTiles<R, Streams, P, false>(ppvStreams, sMux, ulStream, ulFrom, ulTo);
    }

    template <class R>
    void Edge(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        for (unsigned long s = ulStream; s < sMux.ulStreams; s += R::kRun) {
            const unsigned long ulCount = sMux.ulStreams - s < R::kRun ? sMux.ulStreams - s : R::kRun;
            R::InterleaveEdge(ppvStreams + s, ulCount, sMux.puc + s * Bytes, sMux.ulStreams * Bytes, ulFrom, ulTo);
        }
    }

    void Singly(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        MoveSingly<Bytes>(ppvStreams, sMux, ulStream, ulFrom, ulTo,
                          [](std::uint8_t* pucMux, const void* pvStream, unsigned long ulAt) {
                              __builtin_memcpy(pucMux, static_cast<const std::uint8_t*>(pvStream) + ulAt, Bytes);
                          });
    }
};

template <int Bytes>
struct FromMux {
    /// Of one tile. The lines that it writes have to stay in the first-level cache until they are full: if they lie at
    /// the same place of their pages they are in one set of it, which has 8 to 12 ways.
    static constexpr unsigned long kMostStreams = 8;

    MuxSide<const std::uint8_t> sMux;
    void* const* ppvStreams;

    template <class R, unsigned long Streams, Pieces P>
    void Tiles(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        SplitTiles<R, Streams, P>(sMux, ppvStreams, ulStream, ulFrom, ulTo);
    }

    template <class R>
    void Edge(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        for (unsigned long s = ulStream; s < sMux.ulStreams; s += R::kRun) {
            const unsigned long ulCount = sMux.ulStreams - s < R::kRun ? sMux.ulStreams - s : R::kRun;
            R::SplitEdge(sMux.puc + s * Bytes, sMux.ulStreams * Bytes, ppvStreams + s, ulCount, ulFrom, ulTo);
        }
    }

    void Singly(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        MoveSingly<Bytes>(ppvStreams, sMux, ulStream, ulFrom, ulTo,
                          [](const std::uint8_t* pucMux, void* pvStream, unsigned long ulAt) {
                              __builtin_memcpy(static_cast<std::uint8_t*>(pvStream) + ulAt, pucMux, Bytes);
                          });
    }
};

constexpr unsigned long kChunkBytes = 512; ///< of a stream

constexpr unsigned long Smaller(unsigned long ulFirst, unsigned long ulSecond)
{
    return ulFirst < ulSecond ? ulFirst : ulSecond;
}

/// The streams that are in no tile, or the frames.
template <class R, class Move>
void MoveRest(const Move& rMove, unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo)
{
    if constexpr (R::kHasEdge) {
        constexpr unsigned long kFewFrames = 4; // not worth the masks
        if (ulTo - ulFrom > kFewFrames && rMove.sMux.ulStreams - ulStream > 1) {
            rMove.template Edge<R>(ulStream, ulFrom, ulTo);
            return;
        }
    }
    rMove.Singly(ulStream, ulFrom, ulTo);
}

/// The frames from ulFrom on by tiles as far as these go; returns the first frame that is left. Of a mux that has more
/// streams than a tile all are done for some frames before the next frames come: so few frames that the lines of the
/// mux that the tiles share stay in the first-level cache meanwhile, and so many that the lines of the streams are
/// spread over it.
template <class R, int Bytes, class Move>
unsigned long MoveByTiles(const Move& rMove, unsigned long ulFrom, unsigned long ulFrames)
{
    constexpr bool kTakesTwoRuns = 2 * R::kRun <= Move::kMostStreams;
    constexpr bool kTakesFourRunsAlone = R::kWidestAlone == 4 * R::kRun && R::kWidestAlone <= Move::kMostStreams;
    constexpr unsigned long kChunkFrames = kChunkBytes / Bytes / R::kFrames * R::kFrames;
    const unsigned long ulStreams = rMove.sMux.ulStreams;
    const unsigned long ulLeft = ulFrames - ulFrom;
    if (ulLeft < R::kFrames + R::kFramesBeyond) {
        return ulFrom;
    }
    const unsigned long ulTo = ulFrom + (ulLeft - R::kFramesBeyond) / R::kFrames * R::kFrames;
    if (ulStreams == R::kRun) {
        rMove.template Tiles<R, R::kRun, Pieces::Lines>(0, ulFrom, ulTo);
        return ulTo;
    }
    if constexpr (R::kRun >= 4) {
        if (ulStreams == R::kRun / 2) {
            rMove.template Tiles<R, R::kRun / 2, Pieces::Lines>(0, ulFrom, ulTo);
            return ulTo;
        }
    }
    if constexpr (R::kRun >= 8) {
        if (ulStreams == R::kRun / 4) {
            rMove.template Tiles<R, R::kRun / 4, Pieces::Lines>(0, ulFrom, ulTo);
            return ulTo;
        }
    }
    if constexpr (kTakesTwoRuns) {
        if (ulStreams == 2 * R::kRun) {
            rMove.template Tiles<R, 2 * R::kRun, Pieces::Lines>(0, ulFrom, ulTo);
            return ulTo;
        }
    }
    if constexpr (kTakesFourRunsAlone) {
        if (ulStreams == 4 * R::kRun) {
            rMove.template Tiles<R, 4 * R::kRun, Pieces::Lines>(0, ulFrom, ulTo);
            return ulTo;
        }
    }
    const unsigned long ulChunk =
        ulStreams <= Smaller(R::kWidest, Move::kMostStreams) ? ulTo - ulFrom : kChunkFrames;
    for (unsigned long f = ulFrom; f < ulTo; f += ulChunk) {
        const unsigned long ulNext = ulTo - f < ulChunk ? ulTo : f + ulChunk;
        unsigned long s = 0;
        if constexpr (R::kWidest == 4 * R::kRun) {
            for (; s + 4 * R::kRun <= ulStreams; s += 4 * R::kRun) {
                rMove.template Tiles<R, 4 * R::kRun, Pieces::Rows>(s, f, ulNext);
            }
        }
        if constexpr (kTakesTwoRuns) {
            for (; s + 2 * R::kRun <= ulStreams; s += 2 * R::kRun) {
                rMove.template Tiles<R, 2 * R::kRun, Pieces::Halves>(s, f, ulNext);
            }
        }
        for (; s + R::kRun <= ulStreams; s += R::kRun) {
            rMove.template Tiles<R, R::kRun, Pieces::Lanes>(s, f, ulNext);
        }
        MoveRest<R>(rMove, s, f, ulNext);
    }
    return ulTo;
}

template <int Bytes, class Move>
void MoveElements(const Move& rMove, unsigned long ulFrames, RowsList<>)
{
    rMove.Singly(0, 0, ulFrames);
}

template <int Bytes, class Move, class Widest, class... R>
void MoveElements(const Move& rMove, unsigned long ulFrames, RowsList<Widest, R...>)
{
    unsigned long f = MoveByTiles<Widest, Bytes>(rMove, 0, ulFrames);
    ((f = MoveByTiles<R, Bytes>(rMove, f, ulFrames)), ...);
    MoveRest<Widest>(rMove, 0, f, ulFrames);
}

template <int Bytes>
void Interleave(const void* const* ppvStreams, unsigned long ulStreams, void* pvMux, unsigned long ulFrames) noexcept
{
    MoveElements<Bytes>(ToMux<Bytes>{ppvStreams, {static_cast<std::uint8_t*>(pvMux), ulStreams}}, ulFrames,
                        RowsOf<Bytes>());
}

template <int Bytes>
void Split(const void* pvMux, void* const* ppvStreams, unsigned long ulStreams, unsigned long ulFrames) noexcept
{
    MoveElements<Bytes>(FromMux<Bytes>{{static_cast<const std::uint8_t*>(pvMux), ulStreams}, ppvStreams}, ulFrames,
                        RowsOf<Bytes>());
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET
