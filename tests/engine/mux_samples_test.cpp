// The samples of the mux operations against a reference model: every width, container, direction and a set of lengths.

#include "testing/models/gain_model.h"
#include "tests/engine/mux_operation_fixture.h"

#include <random>

namespace zta::test {
namespace {

using Volumes = std::vector<SZtAudioMonoVolumeInfo>;

struct Container {
    const char* name;
    SZtaWaveFormatInfo (*format)(std::uint32_t channels, std::uint32_t rate);
    bool hasVolumes;
};

constexpr Container kContainers[] = {
    {"24in32", &host::Pcm24In32, true}, {"24in24", &host::Pcm24In24, false}, {"16in16", &host::Pcm16, false}};

struct Case {
    Container container;
    OperationKind operation;
    std::uint32_t width;

    [[nodiscard]] SZtaWaveFormatInfo Format(std::uint32_t channels) const
    {
        return container.format(channels, host::kDefaultRate);
    }
};

void PrintTo(const Case& value, std::ostream* out)
{
    *out << OperationName(value.operation) << value.width << "_" << value.container.name;
}

std::vector<Case> Cases()
{
    std::vector<Case> cases;
    for (const Container& container : kContainers) {
        for (const OperationKind operation : {OperationKind::MonoToMux, OperationKind::StereoToMux,
                                              OperationKind::MuxToMono, OperationKind::MuxToStereo}) {
            for (const std::uint32_t width : {4U, 8U, 16U, 32U, 64U}) {
                cases.push_back({container, operation, width});
            }
        }
    }
    return cases;
}

constexpr std::size_t kFrameCounts[] = {0, 1, 2, 3, 5, 199, 200, 300};

class MuxSamples : public MuxOperationTest, public ::testing::WithParamInterface<Case> {
protected:
    MuxSamples() : MuxOperationTest(GetParam().operation) {}

    void BuildCase(std::size_t frames)
    {
        Build(GetParam().Format(Channels()), GetParam().width / ChannelsPerBuffer(),
              GetParam().Format(GetParam().width), frames);
    }

    void UseRandomVolumes()
    {
        std::uniform_real_distribution<float> gain(0.0F, 8.0F);
        Volumes volumes(GetParam().width);
        for (SZtAudioMonoVolumeInfo& volume : volumes) {
            volume = {0, gain(random_), gain(random_)};
        }
        volumes[0] = {0, 8.0F, 8.0F};
        volumes[1] = {0, 0.0F, 8.0F};
        volumes[2] = {0, 8.0F, 0.0F};
        UseVolumes(volumes);
    }

    /// The model of both directions: the samples of each output without volumes.
    [[nodiscard]] std::vector<Words> ExpectedOutputs(std::size_t frames) const
    {
        const std::size_t channels = ChannelsPerBuffer();
        const std::size_t width = GetParam().width;
        const Words mux = SamplesOf(*mux_, frames * width);
        std::vector<Words> planes;
        for (const auto& buffer : array_) {
            planes.push_back(SamplesOf(*buffer, frames * channels));
        }
        std::vector<Words> outputs(Interleaves() ? 1 : planes.size());
        for (std::size_t frame = 0; frame < frames; ++frame) {
            for (std::size_t channel = 0; channel < width; ++channel) {
                if (Interleaves()) {
                    outputs[0].push_back(planes[channel / channels][frame * channels + channel % channels]);
                } else {
                    outputs[channel / channels].push_back(mux[frame * width + RepeatedChannel(frames, frame, channel)]);
                }
            }
        }
        return outputs;
    }

    /// Applies one ramp for each channel. Less than one step of four samples stays as it is.
    static void Scale(Words& samples, const Volumes& volumes)
    {
        const std::size_t channels = volumes.size();
        for (std::size_t i = 0; samples.size() >= 4 && i < samples.size(); ++i) {
            const auto gain = models::RampGain(volumes[i % channels], i / channels, samples.size() / channels);
            samples[i] = models::Scaled(samples[i], gain);
        }
    }

    /// Runs the operation and compares the samples of all buffers with the model, with volumes unless it fails.
    void ExpectSamples(std::size_t frames, int status = 0)
    {
        std::vector<Words> expected = ExpectedOutputs(frames);
        std::vector<Words> inputs;
        for (const RecordingBuffer* input : Inputs()) {
            inputs.push_back(AllSamplesOf(*input));
        }
        EXPECT_EQ(Run(), status);
        const std::vector<RecordingBuffer*> outputs = Outputs();
        for (std::size_t i = 0; i < outputs.size(); ++i) {
            SCOPED_TRACE(outputs[i]->Name());
            if (status >= 0 && !volumes_.empty()) {
                const std::size_t channels = volumes_.size() / outputs.size();
                const auto first = volumes_.begin() + static_cast<std::ptrdiff_t>(i * channels);
                Scale(expected[i], {first, first + static_cast<std::ptrdiff_t>(channels)});
            }
            EXPECT_EQ(SamplesOf(*outputs[i], expected[i].size()), expected[i]);
            EXPECT_EQ(FramesOf(*outputs[i]), frames);
            EXPECT_EQ(outputs[i]->ErrorCode(), status);
        }
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            EXPECT_EQ(AllSamplesOf(*Inputs()[i]), inputs[i]) << "the input stays";
        }
        ExpectSettled();
    }

    std::mt19937 random_{42};

private:
    /// The channel of the mux that an output receives. The last of three remaining frames of 16 mono channels repeats
    /// four channels.
    [[nodiscard]] std::size_t RepeatedChannel(std::size_t frames, std::size_t frame, std::size_t channel) const
    {
        const bool isThird = frames % 4 == 3 && frame + 1 == frames;
        const bool repeats = isThird && GetParam().width == 16 && ChannelsPerBuffer() == 1 &&
                             GetParam().container.hasVolumes && channel >= 12;
        return repeats ? channel - 4 : channel;
    }
};

TEST_P(MuxSamples, AreInterleavedOrDeinterleavedExactly)
{
    for (const std::size_t frames : kFrameCounts) {
        SCOPED_TRACE(frames);
        BuildCase(frames);
        ExpectSamples(frames);
    }
}

TEST_P(MuxSamples, AreScaledIfTheContainerHasAVolumeKernel)
{
    if (GetParam().container.hasVolumes) {
        for (const std::size_t frames : kFrameCounts) {
            SCOPED_TRACE(frames);
            BuildCase(frames);
            UseRandomVolumes();
            ExpectSamples(frames);
            EXPECT_EQ(volumes_[0].fStartVolume, 8.0F) << "the caller's own records stay";
        }
        return;
    }
    BuildCase(5);
    UseRandomVolumes();
    const bool isPacked = GetParam().Format(1).ulBitsPerSample == 24;
    ExpectSamples(5,
                  isPacked && !Interleaves() ? ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED : ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED);
}

INSTANTIATE_TEST_SUITE_P(Layouts, MuxSamples, ::testing::ValuesIn(Cases()), ::testing::PrintToStringParamName());

} // namespace
} // namespace zta::test
