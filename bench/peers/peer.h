/// Other libraries that do some of the same jobs. Each has a file of its own, the only one that includes its headers.
#pragma once

#include "bench/common/jobs.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bench {

/// A stream of interleaved 16-bit samples: consumes the input and returns the number of output frames.
using Stream =
    std::function<std::size_t(const std::int16_t* in, std::size_t frames, std::int16_t* out, std::size_t capacity)>;

struct StreamMaker {
    std::string name;
    std::function<Stream(const Rates& rates, std::size_t maxFrames)> make;
};

/// Returns an empty job for what a peer does not support.
class Peer {
public:
    virtual ~Peer() = default;
    virtual std::string Name() const = 0;
    virtual std::string Version() const = 0;

    /// All of `in` into `out`: another sample format, another layout of the same channels, or both.
    virtual Job Convert(const BufferLayout& in, const BufferLayout& out) const;
    /// A constant gain on all samples, in place, with saturation.
    virtual Job Gain(const BufferLayout& layout, double gain) const;
    /// The resamplers, at comparable settings.
    virtual std::vector<StreamMaker> Resamplers() const;
};

std::unique_ptr<Peer> MakeSwresample();
std::unique_ptr<Peer> MakeGStreamer();
std::unique_ptr<Peer> MakeSamplerate();
std::unique_ptr<Peer> MakeSoxr();
std::unique_ptr<Peer> MakeSpeex();
std::unique_ptr<Peer> MakeZita();

std::vector<std::unique_ptr<Peer>> MakePeers();

} // namespace bench
