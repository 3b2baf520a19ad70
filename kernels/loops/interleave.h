/// The moves of elements between separate streams and the mux, which holds one element of each stream in turn: an
/// element is a mono sample or a stereo frame of Bytes bytes, and is never looked at.
#pragma once

#include <cstdint>

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {

/// Runs of elements in registers; only targets with vectors define it.
template <int Bytes>
struct Rows;

/// Where the elements stand. One of the two sides is constant.
template <int Bytes, class MuxByte, class Stream, class StreamByte>
struct Elements {
    MuxByte* pucMux;
    Stream* const* ppvStreams;
    unsigned long ulStreams;

    MuxByte* InMux(unsigned long ulFrame, unsigned long ulStream) const
    {
        return pucMux + (ulFrame * ulStreams + ulStream) * Bytes;
    }

    StreamByte* InStream(unsigned long ulStream, unsigned long ulFrame) const
    {
        return static_cast<StreamByte*>(ppvStreams[ulStream]) + ulFrame * Bytes;
    }
};

/// A move does some of the streams, from ulStream on, in the frames from ulFrom up to ulTo, a multiple of two runs
/// where it takes rows. While it does, it may spoil what stands behind these streams and frames, as long as that is
/// still to be moved.
template <int Bytes>
struct ToMux : Elements<Bytes, std::uint8_t, const void, const std::uint8_t> {
    void Singly(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        for (unsigned long f = ulFrom; f < ulTo; ++f) {
            for (unsigned long s = ulStream; s < this->ulStreams; ++s) {
                __builtin_memcpy(this->InMux(f, s), this->InStream(s, f), Bytes);
            }
        }
    }

    /// Two runs of streams, so that what goes to the mux is twice as long.
    static constexpr bool kTakesTwoRuns = true;

    template <class R>
    void TwoRuns(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        IsExact<R>(ulStream + 2 * R::kRun) ? TwoRuns<R, true>(ulStream, ulFrom, ulTo)
                                           : TwoRuns<R, false>(ulStream, ulFrom, ulTo);
    }

    /// One run of streams, or less of them if there are no others.
    template <class R, unsigned long Count>
    void OneRun(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        IsExact<R>(ulStream + Count) ? OneRun<R, Count, true>(ulStream, ulFrom, ulTo)
                                     : OneRun<R, Count, false>(ulStream, ulFrom, ulTo);
    }

private:
    /// True if the streams from ulStream on leave no room in their frame for the bytes that are written too far.
    template <class R>
    bool IsExact(unsigned long ulStream) const
    {
        return (this->ulStreams - ulStream) * Bytes < R::kBeyond;
    }

    template <class R, bool Exact>
    void TwoRuns(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        for (unsigned long f = ulFrom; f < ulTo; f += R::kRun) {
            typename R::Row av[R::kRun];
            for (unsigned long i = 0; i < R::kRun; ++i) {
                av[i] = R::Load(this->InStream(ulStream + i, f), this->InStream(ulStream + R::kRun + i, f));
            }
            R::Interleave(av);
            for (unsigned long i = 0; i < R::kRun; ++i) {
                R::template Store<Exact>(this->InMux(f + i, ulStream), av[i]);
            }
        }
    }

    template <class R, unsigned long Count, bool Exact>
    void OneRun(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        constexpr unsigned long kFramesOfRow = R::kRun / Count;
        for (unsigned long f = ulFrom; f < ulTo; f += 2 * R::kRun) {
            typename R::Row av[Count];
            for (unsigned long i = 0; i < Count; ++i) {
                av[i] = R::Load(this->InStream(ulStream + i, f));
            }
            R::Interleave(av);
            for (unsigned long i = 0; i < Count; ++i) {
                R::template Store<Exact>(this->InMux(f + i * kFramesOfRow, ulStream),
                                         this->InMux(f + R::kRun + i * kFramesOfRow, ulStream), av[i]);
            }
        }
    }
};

template <int Bytes>
struct FromMux : Elements<Bytes, const std::uint8_t, void, std::uint8_t> {
    void Singly(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        for (unsigned long f = ulFrom; f < ulTo; ++f) {
            for (unsigned long s = ulStream; s < this->ulStreams; ++s) {
                __builtin_memcpy(this->InStream(s, f), this->InMux(f, s), Bytes);
            }
        }
    }

    /// One run of streams in two runs of frames makes what goes to a stream as long as it can be.
    static constexpr bool kTakesTwoRuns = false;

    template <class R, unsigned long Count>
    void OneRun(unsigned long ulStream, unsigned long ulFrom, unsigned long ulTo) const
    {
        constexpr unsigned long kFramesOfRow = R::kRun / Count;
        for (unsigned long f = ulFrom; f < ulTo; f += 2 * R::kRun) {
            typename R::Row av[Count];
            for (unsigned long i = 0; i < Count; ++i) {
                av[i] = R::Load(this->InMux(f + i * kFramesOfRow, ulStream),
                                this->InMux(f + R::kRun + i * kFramesOfRow, ulStream));
            }
            R::Split(av);
            for (unsigned long i = 0; i < Count; ++i) {
                R::template Store<false>(this->InStream(ulStream + i, f), av[i]);
            }
        }
    }
};

/// Walks over all elements, by rows as far as these go. All streams are done for some frames before the next frames
/// come: so much of each stream that streams at the same place of their pages, which drive each other's cache lines
/// out, do it seldom, and so little that the mux of 64 streams stays in the first-level cache meanwhile.
template <class R, int Bytes, class Move>
void MoveByRows(const Move& rMove, unsigned long ulFrames)
{
    constexpr unsigned long kChunk = 32 * R::kRun;
    constexpr unsigned long kStep = 2 * R::kRun;
    constexpr unsigned long kFramesBeyond = (R::kBeyond + Bytes - 1) / Bytes;

    const unsigned long ulByRows = ulFrames < kFramesBeyond ? 0 : (ulFrames - kFramesBeyond) / kStep * kStep;
    for (unsigned long ulFrom = 0; ulFrom < ulByRows; ulFrom += kChunk) {
        const unsigned long ulTo = ulByRows - ulFrom < kChunk ? ulByRows : ulFrom + kChunk;
        unsigned long s = 0;
        if constexpr (Move::kTakesTwoRuns) {
            for (; s + 2 * R::kRun <= rMove.ulStreams; s += 2 * R::kRun) {
                rMove.template TwoRuns<R>(s, ulFrom, ulTo);
            }
        }
        for (; s + R::kRun <= rMove.ulStreams; s += R::kRun) {
            rMove.template OneRun<R, R::kRun>(s, ulFrom, ulTo);
        }
        if constexpr (R::kRun >= 4 && R::kBeyond == 0) {
            if (rMove.ulStreams == R::kRun / 2) {
                rMove.template OneRun<R, R::kRun / 2>(s, ulFrom, ulTo);
                s += R::kRun / 2;
            }
        }
        rMove.Singly(s, ulFrom, ulTo);
    }
    rMove.Singly(0, ulByRows, ulFrames);
}

template <int Bytes, class Move>
void MoveElements(const Move& rMove, unsigned long ulFrames)
{
    if constexpr (Vector::kLanes > 1) {
        MoveByRows<Rows<Bytes>, Bytes>(rMove, ulFrames);
    } else {
        rMove.Singly(0, 0, ulFrames);
    }
}

template <int Bytes>
void Interleave(const void* const* ppvStreams, unsigned long ulStreams, void* pvMux, unsigned long ulFrames) noexcept
{
    MoveElements<Bytes>(ToMux<Bytes>{{static_cast<std::uint8_t*>(pvMux), ppvStreams, ulStreams}}, ulFrames);
}

template <int Bytes>
void Split(const void* pvMux, void* const* ppvStreams, unsigned long ulStreams, unsigned long ulFrames) noexcept
{
    MoveElements<Bytes>(FromMux<Bytes>{{static_cast<const std::uint8_t*>(pvMux), ppvStreams, ulStreams}}, ulFrames);
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET
