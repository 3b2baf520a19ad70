#include "bench/peers/peer.h"

namespace bench {

Job Peer::Convert(const BufferLayout&, const BufferLayout&) const
{
    return {};
}

Job Peer::Gain(const BufferLayout&, double) const
{
    return {};
}

std::vector<StreamMaker> Peer::Resamplers() const
{
    return {};
}

std::vector<std::unique_ptr<Peer>> MakePeers()
{
    std::vector<std::unique_ptr<Peer>> peers;
    for (const auto make : {MakeSwresample, MakeGStreamer, MakeSamplerate, MakeSoxr, MakeSpeex, MakeZita}) {
        peers.push_back(make());
    }
    return peers;
}

} // namespace bench
