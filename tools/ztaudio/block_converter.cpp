#include "tools/ztaudio/block_converter.h"

BlockConverter::BlockConverter(EngineSession& engine, SoundFileReader& sound, SampleFormat word, sf_count_t blockFrames)
    : sound_(sound), blocks_(sound, blockFrames, false, false),
      conversion_(engine, sound.Word(), word, sound.Channels(), sound.Rate(), blocks_.MaxFrames(), false),
      fullScale_(sound.Word(), word)
{
}

Block BlockConverter::Next()
{
    Block block;
    if (blocks_.Next(block)) {
        fullScale_.Scan(block.words, static_cast<std::size_t>(block.frames) * sound_.Channels());
        block.words = conversion_.Run(block);
        given_ += block.frames;
    }
    return block;
}

void BlockConverter::ReportLoss(const Context& context) const
{
    sound_.ReportLoss(context);
    fullScale_.Report(context, sound_);
}
