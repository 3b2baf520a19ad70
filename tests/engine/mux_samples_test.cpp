// The samples of the mux operations against a reference model: every width, container, direction and a set of lengths.

#include "testing/models/conversion_models.h"
#include "testing/models/gain_model.h"
#include "testing/models/interleave_model.h"
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

    /// The valid bytes of a buffer.
    static models::Bytes BytesOf(const host::AudioBuffer& buffer)
    {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(buffer.Data());
        return {bytes, bytes + buffer.Length()};
    }

    /// The bytes of each output without volumes.
    [[nodiscard]] std::vector<models::Bytes> ExpectedOutputs(std::size_t frames) const
    {
        if (!Interleaves()) {
            return models::Deinterleaved(BytesOf(*mux_), GetParam().Format(GetParam().width), array_.size(), frames);
        }
        std::vector<models::Bytes> planes;
        for (const auto& buffer : array_) {
            planes.push_back(BytesOf(*buffer));
        }
        return {models::Interleaved(planes, host::BytesPerFrame(GetParam().Format(Channels())), frames)};
    }

    /// Applies one ramp for each channel. Less than one step of four samples stays as it is.
    static void Scale(models::Bytes& bytes, const Volumes& volumes)
    {
        const std::size_t channels = volumes.size();
        const std::size_t samples = bytes.size() / 4;
        for (std::size_t i = 0; samples >= 4 && i < samples; ++i) {
            const auto gain = models::RampGain(volumes[i % channels], i / channels, samples / channels);
            models::SetWord(&bytes[4 * i], models::Scaled(models::Word(&bytes[4 * i]), gain));
        }
    }

    /// Runs the operation and compares the samples of all buffers with the model, with volumes unless it fails.
    void ExpectSamples(std::size_t frames, int status = 0)
    {
        std::vector<models::Bytes> expected = ExpectedOutputs(frames);
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
            EXPECT_EQ(BytesOf(*outputs[i]), expected[i]);
            EXPECT_EQ(FramesOf(*outputs[i]), frames);
            EXPECT_EQ(outputs[i]->ErrorCode(), status);
        }
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            EXPECT_EQ(AllSamplesOf(*Inputs()[i]), inputs[i]) << "the input stays";
        }
        ExpectSettled();
    }

    std::mt19937 random_{42};
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
