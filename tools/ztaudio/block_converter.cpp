#include "tools/ztaudio/block_converter.h"

SoundFeed::SoundFeed(EngineSession& engine, SoundReader& sound, SampleWord word, sf_count_t blockFrames)
    : sound_(sound), blocks_(sound, blockFrames, false, false),
      conversion_(engine, sound.Word(), word, sound.Channels(), sound.Rate(), blocks_.MaxFrames(), false),
      fullScale_(sound.Word(), word)
{
}

Block SoundFeed::Next()
{
    Block block;
    if (blocks_.Next(block)) {
        fullScale_.Look(block.words, static_cast<std::size_t>(block.frames) * sound_.Channels());
        block.words = conversion_.Run(block);
        given_ += block.frames;
    }
    return block;
}

void SoundFeed::TellLoss(const Context& context) const
{
    sound_.TellLoss(context);
    fullScale_.Tell(context, sound_);
}
