// What the mux operations make of samples, beside a plain model: every width, container, direction and a set of
// lengths.

#include "testing/models/gain_model.h"
#include "testing/mux_fixture.h"

#include <cmath>
#include <random>

namespace zta::test {
namespace {

using host::Pcm16;
using host::Pcm24In24;
using host::Pcm24In32;

using Word = std::uint32_t;
using Volume = SZtAudioMonoVolumeInfo;

// ---- The model ----

/// Applies one ramp for each channel to interleaved words.
void Scale(std::vector<Word>& words, const std::vector<Volume>& volumes)
{
    const std::size_t channels = volumes.size();
    const std::size_t frames = words.size() / channels;
    // Less than one step of four samples stays as it is.
    if (words.size() < 4) {
        return;
    }
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = models::Scaled(words[i], models::RampGain(volumes[i % channels], i / channels, frames));
    }
}

// ---- The cases ----

struct Container {
    const char* name;
    SZtaWaveFormatInfo (*format)(std::uint32_t channels, std::uint32_t rate);
    bool takesVolumes;
};

constexpr Container kContainers[] = {
    {"24in32", &Pcm24In32, true}, {"24in24", &Pcm24In24, false}, {"16in16", &Pcm16, false}};

struct Case {
    Container container;
    unsigned long side; ///< channels of one buffer of the array
    std::uint32_t width;

    [[nodiscard]] SZtaWaveFormatInfo Format(std::uint32_t channels) const
    {
        return container.format(channels, host::kDefaultRate);
    }
};

void PrintTo(const Case& value, std::ostream* out)
{
    *out << value.container.name << (value.side == 1 ? "Mono" : "Stereo") << value.width;
}

std::vector<Case> Cases()
{
    std::vector<Case> cases;
    for (const Container& container : kContainers) {
        for (const unsigned long side : {1UL, 2UL}) {
            for (const std::uint32_t width : {4U, 8U, 16U, 32U, 64U}) {
                cases.push_back({container, side, width});
            }
        }
    }
    return cases;
}

constexpr std::size_t kFrameCounts[] = {0, 1, 2, 3, 5, 199, 200, 300};

class MuxSamples : public MuxTest, public ::testing::WithParamInterface<Case> {
protected:
    [[nodiscard]] std::size_t Buffers() const { return GetParam().width / GetParam().side; }

    void BuildCase(std::size_t frames)
    {
        Build(GetParam().Format(static_cast<std::uint32_t>(GetParam().side)), Buffers(),
              GetParam().Format(GetParam().width), frames);
    }

    void UseRandomVolumes()
    {
        std::uniform_real_distribution<float> gain(0.0F, 8.0F);
        std::vector<Volume> volumes(GetParam().width);
        for (std::size_t i = 0; i < volumes.size(); ++i) {
            volumes[i] = {0, gain(random_), gain(random_)};
        }
        volumes[0] = {0, 8.0F, 8.0F};
        volumes[1] = {0, 0.0F, 8.0F};
        volumes[2] = {0, 8.0F, 0.0F};
        UseVolumes(volumes);
    }

    /// The array's samples of all channels, frame after frame.
    [[nodiscard]] std::vector<Word> Interleaved(std::size_t frames) const
    {
        const std::size_t side = GetParam().side;
        std::vector<std::vector<Word>> parts;
        for (const auto& buffer : array_) {
            parts.push_back(SamplesOf(*buffer, frames * side));
        }
        std::vector<Word> words;
        for (std::size_t frame = 0; frame < frames; ++frame) {
            for (std::size_t channel = 0; channel < GetParam().width; ++channel) {
                words.push_back(parts[channel / side][frame * side + channel % side]);
            }
        }
        return words;
    }

    /// What one buffer of the array gets from the mux's samples.
    [[nodiscard]] std::vector<Word> Part(const std::vector<Word>& mux, std::size_t frames, std::size_t buffer) const
    {
        const std::size_t side = GetParam().side;
        const std::size_t width = GetParam().width;
        std::vector<Word> words;
        for (std::size_t frame = 0; frame < frames; ++frame) {
            for (std::size_t i = 0; i < side; ++i) {
                std::size_t channel = buffer * side + i;
                // Of three frames left over by a split into sixteen, the last one repeats four channels.
                const bool last = frames % 4 == 3 && frame + 1 == frames;
                if (last && width == 16 && side == 1 && GetParam().container.takesVolumes && channel >= 12) {
                    channel -= 4;
                }
                words.push_back(mux[frame * width + channel]);
            }
        }
        return words;
    }

    void ExpectAssembled(std::size_t frames)
    {
        std::vector<Word> expected = Interleaved(frames);
        if (!volumes_.empty()) {
            Scale(expected, volumes_);
        }
        EXPECT_EQ(CallInterleave(GetParam().side), 0);
        EXPECT_EQ(SamplesOf(*mux_, expected.size()), expected);
        EXPECT_EQ(FramesOf(*mux_), frames);
        ExpectSettled();
    }

    void ExpectSplit(std::size_t frames)
    {
        const std::vector<Word> mux = SamplesOf(*mux_, frames * GetParam().width);
        EXPECT_EQ(Split(GetParam().side), 0);
        for (std::size_t i = 0; i < array_.size(); ++i) {
            std::vector<Word> expected = Part(mux, frames, i);
            if (!volumes_.empty()) {
                const auto first = volumes_.begin() + static_cast<std::ptrdiff_t>(i * GetParam().side);
                Scale(expected, {first, first + static_cast<std::ptrdiff_t>(GetParam().side)});
            }
            EXPECT_EQ(SamplesOf(*array_[i], expected.size()), expected) << "buffer " << i;
            EXPECT_EQ(FramesOf(*array_[i]), frames) << "buffer " << i;
        }
        EXPECT_EQ(SamplesOf(*mux_, mux.size()), mux) << "the input stays";
        ExpectSettled();
    }

    std::mt19937 random_{42};
};

TEST_P(MuxSamples, AreAssembledExactly)
{
    for (const std::size_t frames : kFrameCounts) {
        SCOPED_TRACE(frames);
        BuildCase(frames);
        ExpectAssembled(frames);
    }
}

TEST_P(MuxSamples, AreSplitExactly)
{
    for (const std::size_t frames : kFrameCounts) {
        SCOPED_TRACE(frames);
        BuildCase(frames);
        ExpectSplit(frames);
    }
}

TEST_P(MuxSamples, TakeVolumesWhereTheContainerHasThem)
{
    for (const std::size_t frames : kFrameCounts) {
        SCOPED_TRACE(frames);
        if (GetParam().container.takesVolumes) {
            BuildCase(frames);
            UseRandomVolumes();
            ExpectAssembled(frames);
            EXPECT_EQ(volumes_[0].fStartVolume, 8.0F) << "the caller's own records stay";
            BuildCase(frames);
            UseRandomVolumes();
            ExpectSplit(frames);
        }
    }
}

TEST_P(MuxSamples, AreMovedAndThenRejectVolumesIfTheContainerHasNone)
{
    if (GetParam().container.takesVolumes) {
        return;
    }
    const std::size_t frames = 5;
    BuildCase(frames);
    UseRandomVolumes();
    const std::vector<Word> expected = Interleaved(frames);
    EXPECT_EQ(CallInterleave(GetParam().side), ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(SamplesOf(*mux_, expected.size()), expected);
    EXPECT_EQ(mux_->ErrorCode(), ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED);
    ExpectSettled();

    BuildCase(frames);
    UseRandomVolumes();
    const std::vector<Word> mux = SamplesOf(*mux_, frames * GetParam().width);
    const bool packed = GetParam().Format(1).ulBitsPerSample == 24;
    const int status = packed ? ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED : ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED;
    EXPECT_EQ(Split(GetParam().side), status);
    for (std::size_t i = 0; i < array_.size(); ++i) {
        EXPECT_EQ(SamplesOf(*array_[i], frames * GetParam().side), Part(mux, frames, i));
        EXPECT_EQ(array_[i]->ErrorCode(), status);
    }
    ExpectSettled();
}

INSTANTIATE_TEST_SUITE_P(Layouts, MuxSamples, ::testing::ValuesIn(Cases()),
                         [](const auto& parameter) { return ::testing::PrintToString(parameter.param); });

} // namespace
} // namespace zta::test
