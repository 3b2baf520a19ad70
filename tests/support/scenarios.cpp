#include "tests/support/scenarios.h"

#include "host/formats.h"

#include <zta/status.h>

#include <cstring>

namespace zta::test {
namespace {

using host::Float32;
using host::MakeFormat;
using host::Multi16;
using host::Multi24;
using host::Opaque;
using host::Pcm16;
using host::Pcm20In32;
using host::Pcm24In24;
using host::Pcm24In32;

/// How one buffer of a scenario is made.
struct Side {
    SZtaWaveFormatInfo format;
    std::size_t frames;
    bool fadeIn = false;
    bool fadeOut = false;
};

/// A buffer full of a fixed pattern; floats stay within full scale.
host::Ref<host::AudioBuffer> MakeBuffer(const BufferFactory& factory, const std::string& name, const Side& side)
{
    const std::size_t bytes = side.frames * host::BytesPerFrame(side.format);
    auto buffer = factory(name, side.format, bytes);
    std::uint32_t state = 12345;
    for (std::size_t i = 0; i < bytes; ++i) {
        state = state * 1664525U + 1013904223U;
        buffer->Data()[i] = static_cast<std::byte>(state >> 24);
    }
    if (side.format.eDataType == keZtAudioDataTypeFloat) {
        for (std::size_t i = 0; i < bytes / sizeof(float); ++i) {
            const float sample = static_cast<float>(i % 200) / 200.0F - 0.5F;
            std::memcpy(buffer->Data() + i * sizeof(float), &sample, sizeof(float));
        }
    }
    buffer->SetValidLength(bytes);
    buffer->SetFades(side.fadeIn, side.fadeOut);
    return buffer;
}

ScenarioRow CopyRow(const std::string& path, const Side& source, const Side& destination, int status = 0,
                    bool leavesReference = false)
{
    return {"Copy" + path, status, false, leavesReference, "", [=](const BufferFactory& factory) {
                Scenario scenario;
                scenario.inputs.push_back(MakeBuffer(factory, "source", source));
                scenario.outputs.push_back(MakeBuffer(factory, "destination", destination));
                IZtAudioSamples* in = scenario.inputs[0].Get();
                IZtAudioSamples* out = scenario.outputs[0].Get();
                scenario.run = [=](IZtaAudioSamplesEngine& engine) { return engine.CopyAudioSamples(in, out); };
                return scenario;
            }};
}

ScenarioRow DuplicateRow(const std::string& path, const Side& source, const Side& destination, unsigned long from,
                         unsigned long to, unsigned long length)
{
    return {"Duplicate" + path, 0, true, false, "", [=](const BufferFactory& factory) {
                Scenario scenario;
                scenario.inputs.push_back(MakeBuffer(factory, "source", source));
                scenario.outputs.push_back(MakeBuffer(factory, "destination", destination));
                IZtAudioSamples* in = scenario.inputs[0].Get();
                IZtAudioSamples* out = scenario.outputs[0].Get();
                scenario.run = [=](IZtaAudioSamplesEngine& engine) {
                    return engine.DuplicateAudioSamples(in, from, out, to, length);
                };
                return scenario;
            }};
}

ScenarioRow MonoToStereoRow(const std::string& path, const Side& left, const Side& right, const Side& stereo,
                            int status = 0)
{
    return {"MonoToStereo" + path, status, false, false, "", [=](const BufferFactory& factory) {
                Scenario scenario;
                scenario.inputs.push_back(MakeBuffer(factory, "left", left));
                scenario.inputs.push_back(MakeBuffer(factory, "right", right));
                scenario.outputs.push_back(MakeBuffer(factory, "stereo", stereo));
                IZtAudioSamples* l = scenario.inputs[0].Get();
                IZtAudioSamples* r = scenario.inputs[1].Get();
                IZtAudioSamples* out = scenario.outputs[0].Get();
                scenario.run = [=](IZtaAudioSamplesEngine& engine) {
                    return engine.CopyAudioSamplesMonoToStereo(l, r, out);
                };
                return scenario;
            }};
}

ScenarioRow StereoToMonoRow(const std::string& path, const Side& stereo, const Side& left, const Side& right,
                            int status = 0)
{
    return {"StereoToMono" + path, status, false, false, "left.QueryInterface", [=](const BufferFactory& factory) {
                Scenario scenario;
                scenario.inputs.push_back(MakeBuffer(factory, "stereo", stereo));
                scenario.outputs.push_back(MakeBuffer(factory, "left", left));
                scenario.outputs.push_back(MakeBuffer(factory, "right", right));
                IZtAudioSamples* in = scenario.inputs[0].Get();
                IZtAudioSamples* l = scenario.outputs[0].Get();
                IZtAudioSamples* r = scenario.outputs[1].Get();
                scenario.run = [=](IZtaAudioSamplesEngine& engine) {
                    return engine.CopyAudioSamplesStereoToMono(in, l, r);
                };
                return scenario;
            }};
}

/// One gain ramp for each channel, a different one in each.
std::vector<SZtAudioMonoVolumeInfo> Ramps(std::size_t channels)
{
    std::vector<SZtAudioMonoVolumeInfo> volumes(channels);
    for (std::size_t c = 0; c < channels; ++c) {
        const auto channel = static_cast<std::uint32_t>(c);
        volumes[c] = {channel, 0.25F + static_cast<float>(c) * 0.0625F, 2.0F - static_cast<float>(c) * 0.03125F};
    }
    return volumes;
}

ScenarioRow VolumeRow(const std::string& path, const Side& input, const Side& output, std::size_t volumes,
                      int status = 0)
{
    return {"Volume" + path, status, false, false, "", [=](const BufferFactory& factory) {
                Scenario scenario;
                scenario.inputs.push_back(MakeBuffer(factory, "input", input));
                scenario.outputs.push_back(MakeBuffer(factory, "output", output));
                IZtAudioSamples* in = scenario.inputs[0].Get();
                IZtAudioSamples* out = scenario.outputs[0].Get();
                scenario.run = [=, ramps = Ramps(volumes)](IZtaAudioSamplesEngine& engine) mutable {
                    return engine.ApplyVolume(in, out, ramps.data(), ramps.size());
                };
                return scenario;
            }};
}

} // namespace

int RunAnnounced(const Scenario& scenario, IZtaAudioSamplesEngine& engine)
{
    for (const auto& input : scenario.inputs) {
        input->AnnounceRead();
    }
    for (const auto& output : scenario.outputs) {
        output->AnnounceWrite();
    }
    return scenario.run(engine);
}

const std::vector<ScenarioRow>& Scenarios()
{
    static const std::vector<ScenarioRow> rows = {
        CopyRow("Bytes", {Pcm16(2), 300}, {Pcm16(2), 300}),
        CopyRow("OpaqueBytes", {Opaque(3, 32, 24), 10}, {Opaque(3, 32, 32), 10}),
        CopyRow("BytesThatDoNotFit", {Pcm16(1), 11}, {Pcm16(1), 10}, ZT_E_DESTINATION_BUFFER_TOO_SMALL, true),
        CopyRow("BitDepth", {Pcm16(2), 300}, {Pcm24In32(2), 300}),
        CopyRow("BitDepthToFloat", {Pcm24In32(1), 300}, {Float32(1), 300}),
        CopyRow("BitDepthPacked", {Pcm24In32(8), 300}, {Pcm24In24(8), 300}),
        CopyRow("BitDepthThatDoesNotFit", {Pcm16(1), 11}, {Pcm24In32(1), 10}, ZT_E_DESTINATION_BUFFER_TOO_SMALL),
        CopyRow("BitDepthWithoutARow", {Pcm16(1), 10}, {Pcm24In24(1), 10}, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED),
        CopyRow("WithoutAClass", {Pcm16(3), 10}, {Pcm24In32(3), 10}, ZT_E_FORMAT_NOT_SUPPORTED),
        CopyRow("MultiFormat", {Multi24(2), 300}, {Pcm24In32(2), 300}),
        CopyRow("MultiFormatToSixteenBits", {Multi16(2), 300}, {Pcm16(2), 300}),
        CopyRow("MultiFormatOfAnotherLength", {Multi16(2), 299}, {Pcm16(2), 300}, ZT_E_BUFFER_SIZE_MISMATCH),
        CopyRow("FadedInPlace", {Pcm16(1), 500, true, true}, {Pcm24In32(1), 500}),
        CopyRow("FadedInPlaceFromEqualBytes", {Pcm16(2), 500, true, false}, {Pcm16(2), 500}),
        CopyRow("FadedOnTheStage", {Pcm16(1), 500, true, true}, {Float32(1), 500}),
        CopyRow("FadedTooShort", {Pcm16(4), 100, true, false}, {Pcm24In32(4), 100}, ZT_E_DESTINATION_BUFFER_TOO_SMALL),
        CopyRow("FadedStageTooSmall", {Pcm24In32(1), 48001, true, false}, {Float32(1), 48001},
                ZT_E_DESTINATION_BUFFER_TOO_SMALL, true),
        CopyRow("Relabelled", {Pcm20In32(2), 100}, {Pcm20In32(2), 100}),
        CopyRow("OfOtherChannels", {Pcm16(1), 10}, {Pcm16(2), 10}, ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH),
        DuplicateRow("Run", {Pcm16(1), 100, true, false}, {Pcm16(1), 100}, 20, 40, 60),
        DuplicateRow("BeyondTheSource", {Pcm16(1), 100}, {Pcm16(1), 200}, 180, 0, 21),
        DuplicateRow("BeyondTheDestination", {Pcm16(1), 100}, {Pcm16(1), 50}, 0, 90, 11),

        MonoToStereoRow("Direct", {Pcm16(1), 300}, {Pcm16(1), 300}, {Pcm16(2), 300}),
        MonoToStereoRow("Packed", {Pcm24In24(1), 300}, {Pcm24In24(1), 300}, {Pcm24In24(2), 300}),
        MonoToStereoRow("StagedInputs", {Pcm16(1), 300}, {Pcm16(1), 300}, {Pcm24In32(2), 300}),
        MonoToStereoRow("StagedOutput", {Pcm24In32(1), 300}, {Pcm24In32(1), 300}, {Float32(2), 300}),
        MonoToStereoRow("Faded", {Pcm16(1), 300, true, true}, {Pcm16(1), 300, true, true}, {Pcm16(2), 300}),
        MonoToStereoRow("FadedWithoutAKernel", {Pcm24In24(1), 300, true}, {Pcm24In24(1), 300, true},
                        {Pcm24In24(2), 300}, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED),
        MonoToStereoRow("OfUnequalLengths", {Pcm16(1), 299}, {Pcm16(1), 300}, {Pcm16(2), 300},
                        ZT_E_BUFFER_SIZE_MISMATCH),
        MonoToStereoRow("Relabelled", {Pcm20In32(1), 10}, {Pcm20In32(1), 10}, {Pcm20In32(2), 10}),
        StereoToMonoRow("Direct", {Pcm16(2), 300}, {Pcm16(1), 300}, {Pcm16(1), 300}),
        StereoToMonoRow("StagedInput", {Pcm16(2), 300}, {Pcm24In32(1), 300}, {Pcm24In32(1), 300}),
        StereoToMonoRow("StagedOutputs", {Pcm24In32(2), 300}, {Float32(1), 300}, {Float32(1), 300}),
        StereoToMonoRow("WithoutARow", {Float32(2), 300}, {Float32(1), 300}, {Float32(1), 300},
                        ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED),
        StereoToMonoRow("TooSmall", {Pcm16(2), 300}, {Pcm16(1), 299}, {Pcm16(1), 299},
                        ZT_E_DESTINATION_BUFFER_TOO_SMALL),

        VolumeRow("Mono", {Pcm24In32(1), 301}, {Pcm24In32(1), 301}, 1),
        VolumeRow("Stereo", {Pcm24In32(2), 301}, {Pcm24In32(2), 301}, 2),
        VolumeRow("EightChannels", {Pcm24In32(8), 301}, {Pcm24In32(8), 301}, 8),
        VolumeRow("SixtyFourChannels", {Pcm24In32(64), 301}, {Pcm24In32(64), 301}, 64),
        VolumeRow("Faded", {Pcm24In32(4), 301, true, true}, {Pcm24In32(4), 301}, 4),
        VolumeRow("OfUnequalLengths", {Pcm24In32(1), 300}, {Pcm24In32(1), 301}, 1, ZT_E_BUFFER_SIZE_MISMATCH),
        VolumeRow("OfOtherFormats", {Pcm16(1), 300}, {Pcm16(1), 300}, 1, ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED),
    };
    return rows;
}

} // namespace zta::test
