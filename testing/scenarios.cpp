#include "testing/scenarios.h"

#include "host/formats.h"
#include "resampler/polyphase_resampler.h"
#include "resampler/resample_audio.h"
#include "signal/packed_filter_bank.h"

#include <zta/status.h>

#include <cstring>
#include <optional>
#include <stdexcept>

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

/// One buffer of a scenario.
struct Side {
    SZtaWaveFormatInfo format;
    std::size_t frames;
    bool fadeIn = false;
    bool fadeOut = false;
};

/// A buffer filled with a fixed pattern. Floats stay within full scale.
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

ScenarioCase CopyRow(const std::string& path, const Side& source, const Side& destination, int status = 0,
                     bool leaksReference = false)
{
    return {"Copy", "Copy" + path, status, false, leaksReference, "", [=](const BufferFactory& factory) {
                Scenario scenario;
                scenario.inputs.push_back(MakeBuffer(factory, "source", source));
                scenario.outputs.push_back(MakeBuffer(factory, "destination", destination));
                IZtAudioSamples* in = scenario.inputs[0].Get();
                IZtAudioSamples* out = scenario.outputs[0].Get();
                scenario.run = [=](IZtaAudioSamplesEngine& engine) { return engine.CopyAudioSamples(in, out); };
                return scenario;
            }};
}

ScenarioCase DuplicateRow(const std::string& path, const Side& source, const Side& destination, unsigned long from,
                          unsigned long to, unsigned long length)
{
    return {"Duplicate", "Duplicate" + path, 0, true, false, "", [=](const BufferFactory& factory) {
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

ScenarioCase MonoToStereoRow(const std::string& path, const Side& left, const Side& right, const Side& stereo,
                             int status = 0)
{
    return {"MonoToStereo", "MonoToStereo" + path, status, false, false, "", [=](const BufferFactory& factory) {
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

ScenarioCase StereoToMonoRow(const std::string& path, const Side& stereo, const Side& left, const Side& right,
                             int status = 0)
{
    return {"StereoToMono",
            "StereoToMono" + path,
            status,
            false,
            false,
            "left.QueryInterface",
            [=](const BufferFactory& factory) {
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

ScenarioCase VolumeRow(const std::string& path, const Side& input, const Side& output, std::size_t volumes,
                       int status = 0)
{
    return {"Volume", "Volume" + path, status, false, false, "", [=](const BufferFactory& factory) {
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

/// The array of a mux operation: equal buffers, except the last one if a test case says so.
struct Sides {
    std::size_t count;
    Side side;
    std::optional<Side> last = std::nullopt;
};

std::vector<host::Ref<host::AudioBuffer>> MakeBuffers(const BufferFactory& factory, const Sides& sides)
{
    std::vector<host::Ref<host::AudioBuffer>> buffers;
    for (std::size_t i = 0; i < sides.count; ++i) {
        const bool isLast = i + 1 == sides.count;
        buffers.push_back(
            MakeBuffer(factory, "part" + std::to_string(i), isLast && sides.last ? *sides.last : sides.side));
    }
    return buffers;
}

std::vector<IZtAudioSamples*> Pointers(const std::vector<host::Ref<host::AudioBuffer>>& buffers)
{
    std::vector<IZtAudioSamples*> pointers;
    for (const auto& buffer : buffers) {
        pointers.push_back(buffer.Get());
    }
    return pointers;
}

/// The channel count of the array's buffers selects the operation.
ScenarioCase AssemblyRow(const std::string& path, const Sides& parts, const Side& mux, std::size_t volumes = 0,
                         int status = 0, bool leaksReference = false)
{
    const bool mono = parts.side.format.ulChannels == 1;
    const std::string operation = mono ? "MonoToMux" : "StereoToMux";
    return {operation, operation + path, status, false, leaksReference, "", [=](const BufferFactory& factory) {
                Scenario scenario;
                scenario.inputs = MakeBuffers(factory, parts);
                scenario.outputs.push_back(MakeBuffer(factory, "mux", mux));
                const auto method = mono ? &IZtaAudioSamplesEngine::CopyAudioSamplesMonoToMux
                                         : &IZtaAudioSamplesEngine::CopyAudioSamplesStereoToMux;
                scenario.run = [array = Pointers(scenario.inputs), out = scenario.outputs[0].Get(),
                                ramps = Ramps(volumes), method](IZtaAudioSamplesEngine& engine) mutable {
                    return (engine.*method)(array.data(), array.size(), out, ramps.data(), ramps.size());
                };
                return scenario;
            }};
}

ScenarioCase SplitRow(const std::string& path, const Side& mux, const Sides& parts, std::size_t volumes = 0,
                      int status = 0)
{
    const bool mono = parts.side.format.ulChannels == 1;
    const std::string operation = mono ? "MuxToMono" : "MuxToStereo";
    return {operation, operation + path, status, false, false, "", [=](const BufferFactory& factory) {
                Scenario scenario;
                scenario.inputs.push_back(MakeBuffer(factory, "mux", mux));
                scenario.outputs = MakeBuffers(factory, parts);
                const auto method = mono ? &IZtaAudioSamplesEngine::CopyAudioSamplesMuxToMono
                                         : &IZtaAudioSamplesEngine::CopyAudioSamplesMuxToStereo;
                scenario.run = [in = scenario.inputs[0].Get(), array = Pointers(scenario.outputs),
                                ramps = Ramps(volumes), method](IZtaAudioSamplesEngine& engine) mutable {
                    return (engine.*method)(in, array.data(), array.size(), ramps.data(), ramps.size());
                };
                return scenario;
            }};
}

/// A stream between the rates of two formats, of the first one's channels.
host::Ref<IUnknown> MakeStream(const SZtaWaveFormatInfo& from, const SZtaWaveFormatInfo& to)
{
    CZtaResampleAudio resample;
    IUnknown* stream = nullptr;
    if (resample.CreateAudioResamplerMono16BitsToMono16Bits(from.ulSamplesPerSec, to.ulSamplesPerSec, from.ulChannels,
                                                            &stream) < 0) {
        throw std::runtime_error("no stream between these rates");
    }
    return host::Ref<IUnknown>::Adopt(stream);
}

/// Gives the filter of a stream an empty packed bank, as variants without a packed path do.
void DropPackedFilterBank(IUnknown& stream)
{
    static SZtaPackedFilterBank empty;
    SetPackedFilterBank(*dynamic_cast<CPolyphaseResampler&>(stream).m_pSpec, &empty);
}

/// One buffer of a stream of the given formats, after a first one that restarts it.
ScenarioCase ResampleRow(const std::string& path, const Side& input, const Side& output, int status = 0,
                         bool hasRows = true)
{
    return {"Resample", "Resample" + path, status, false, false, "", [=](const BufferFactory& factory) {
                Scenario scenario;
                scenario.inputs.push_back(MakeBuffer(factory, "input", input));
                scenario.outputs.push_back(MakeBuffer(factory, "output", output));
                IZtAudioSamples* in = scenario.inputs[0].Get();
                IZtAudioSamples* out = scenario.outputs[0].Get();
                const auto stream = MakeStream(input.format, output.format);
                if (!hasRows) {
                    DropPackedFilterBank(*stream);
                }
                scenario.run = [=](IZtaAudioSamplesEngine& engine) {
                    return engine.ProcessAudioResampler(in, out, keZtAudioResamplerModeRestart, stream.Get());
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

const std::vector<ScenarioCase>& Scenarios()
{
    const SZtaWaveFormatInfo eightBits = MakeFormat(1, keZtAudioDataTypePcm, 48000, 8, 8);
    const SZtaWaveFormatInfo eightBitsStereo = MakeFormat(2, keZtAudioDataTypePcm, 48000, 8, 8);
    static const std::vector<ScenarioCase> rows = {
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
        CopyRow("MultiFormatToFloat", {Multi24(2), 300}, {Float32(2), 300}),
        CopyRow("MultiFormatToAnotherRate", {Multi24(2), 10}, {MakeFormat(2, keZtAudioDataTypePcm, 44100, 32, 24), 10},
                ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED),
        CopyRow("MultiFormatToOtherValidBits", {Multi24(2), 10},
                {MakeFormat(2, keZtAudioDataTypePcm, 48000, 32, 16), 10}),
        CopyRow("FadedInPlace", {Pcm16(1), 500, true, true}, {Pcm24In32(1), 500}),
        CopyRow("FadedInPlaceFromEqualBytes", {Pcm16(2), 500, true, false}, {Pcm16(2), 500}),
        CopyRow("FadedInAScratchBuffer", {Pcm16(1), 500, true, true}, {Float32(1), 500}),
        CopyRow("FadedTooShort", {Pcm16(4), 100, true, false}, {Pcm24In32(4), 100}, ZT_E_DESTINATION_BUFFER_TOO_SMALL),
        CopyRow("FadedScratchBufferTooSmall", {Pcm24In32(1), 48001, true, false}, {Float32(1), 48001},
                ZT_E_DESTINATION_BUFFER_TOO_SMALL, true),
        CopyRow("Relabelled", {Pcm20In32(2), 100}, {Pcm20In32(2), 100}),
        CopyRow("OfOtherChannels", {Pcm16(1), 10}, {Pcm16(2), 10}, ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH),
        DuplicateRow("Run", {Pcm16(1), 100, true, false}, {Pcm16(1), 100}, 20, 40, 60),
        DuplicateRow("BeyondTheSource", {Pcm16(1), 100}, {Pcm16(1), 200}, 180, 0, 21),
        DuplicateRow("BeyondTheDestination", {Pcm16(1), 100}, {Pcm16(1), 50}, 0, 90, 11),
        DuplicateRow("Relabelled", {Pcm20In32(2), 10}, {Pcm20In32(2), 10}, 0, 0, 80),

        MonoToStereoRow("Direct", {Pcm16(1), 300}, {Pcm16(1), 300}, {Pcm16(2), 300}),
        MonoToStereoRow("Packed", {Pcm24In24(1), 300}, {Pcm24In24(1), 300}, {Pcm24In24(2), 300}),
        MonoToStereoRow("StagedInputs", {Pcm16(1), 300}, {Pcm16(1), 300}, {Pcm24In32(2), 300}),
        MonoToStereoRow("StagedOutput", {Pcm24In32(1), 300}, {Pcm24In32(1), 300}, {Float32(2), 300}),
        MonoToStereoRow("Faded", {Pcm16(1), 300, true, true}, {Pcm16(1), 300, true, true}, {Pcm16(2), 300}),
        MonoToStereoRow("FadedWithoutAKernel", {Pcm24In24(1), 300, true}, {Pcm24In24(1), 300, true},
                        {Pcm24In24(2), 300}, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED),
        MonoToStereoRow("OfNoKnownFormat", {eightBits, 10}, {eightBits, 10}, {eightBitsStereo, 10},
                        ZT_E_FORMAT_NOT_SUPPORTED),
        MonoToStereoRow("OfUnequalLengths", {Pcm16(1), 299}, {Pcm16(1), 300}, {Pcm16(2), 300},
                        ZT_E_BUFFER_SIZE_MISMATCH),
        MonoToStereoRow("Relabelled", {Pcm20In32(1), 10}, {Pcm20In32(1), 10}, {Pcm20In32(2), 10}),
        StereoToMonoRow("Direct", {Pcm16(2), 300}, {Pcm16(1), 300}, {Pcm16(1), 300}),
        StereoToMonoRow("StagedInput", {Pcm16(2), 300}, {Pcm24In32(1), 300}, {Pcm24In32(1), 300}),
        StereoToMonoRow("StagedOutputs", {Pcm24In32(2), 300}, {Float32(1), 300}, {Float32(1), 300}),
        StereoToMonoRow("OneStagedOutput", {Pcm24In32(2), 300}, {Pcm24In32(1), 300}, {Float32(1), 300}),
        StereoToMonoRow("ScratchBufferTooSmall", {Pcm24In32(2), 48001}, {Float32(1), 48001}, {Pcm24In32(1), 48001},
                        ZT_E_DESTINATION_BUFFER_TOO_SMALL),
        StereoToMonoRow("WithoutARow", {Float32(2), 300}, {Float32(1), 300}, {Float32(1), 300},
                        ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED),
        StereoToMonoRow("OfNoKnownFormat", {eightBitsStereo, 10}, {eightBits, 10}, {eightBits, 10},
                        ZT_E_FORMAT_NOT_SUPPORTED),
        StereoToMonoRow("TooSmall", {Pcm16(2), 300}, {Pcm16(1), 299}, {Pcm16(1), 299},
                        ZT_E_DESTINATION_BUFFER_TOO_SMALL),
        StereoToMonoRow("Relabelled", {Pcm20In32(2), 10}, {Pcm20In32(1), 10}, {Pcm20In32(1), 10}),

        VolumeRow("Mono", {Pcm24In32(1), 301}, {Pcm24In32(1), 301}, 1),
        VolumeRow("Stereo", {Pcm24In32(2), 301}, {Pcm24In32(2), 301}, 2),
        VolumeRow("EightChannels", {Pcm24In32(8), 301}, {Pcm24In32(8), 301}, 8),
        VolumeRow("SixtyFourChannels", {Pcm24In32(64), 301}, {Pcm24In32(64), 301}, 64),
        VolumeRow("Faded", {Pcm24In32(4), 301, true, true}, {Pcm24In32(4), 301}, 4),
        VolumeRow("FadedOut", {Pcm24In32(4), 301, false, true}, {Pcm24In32(4), 301}, 4),
        VolumeRow("OfUnequalLengths", {Pcm24In32(1), 300}, {Pcm24In32(1), 301}, 1, ZT_E_BUFFER_SIZE_MISMATCH),
        VolumeRow("OfOtherFormats", {Pcm16(1), 300}, {Pcm16(1), 300}, 1, ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED),

        AssemblyRow("Direct", {4, {Pcm24In32(1), 300}}, {Pcm24In32(4), 300}),
        AssemblyRow("Packed", {8, {Pcm24In24(1), 300}}, {Pcm24In24(8), 300}),
        AssemblyRow("StagedInputs", {4, {Pcm16(1), 300}}, {Pcm24In32(4), 300}),
        AssemblyRow("StagedFloat", {4, {Pcm24In32(1), 300}, Side{Float32(1), 300}}, {Pcm24In32(4), 300}),
        AssemblyRow("Faded", {4, {Pcm16(1), 300, true, true}}, {Pcm16(4), 300}),
        AssemblyRow("LastFaded", {4, {Pcm24In32(1), 300}, Side{Pcm24In32(1), 300, false, true}}, {Pcm24In32(4), 300}),
        AssemblyRow("StagedAndFaded", {4, {Pcm24In32(1), 300, true}}, {Pcm16(4), 300}, 0,
                    ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED),
        AssemblyRow("Scaled", {4, {Pcm24In32(1), 301}}, {Pcm24In32(4), 301}, 4),
        AssemblyRow("ScaledBeyondTheInputs", {4, {Pcm24In32(1), 100}}, {Pcm24In32(4), 301}, 4),
        AssemblyRow("ScaledWithoutARow", {4, {Pcm16(1), 300}}, {Pcm16(4), 300}, 4, ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED),
        AssemblyRow("IntoStereo", {2, {Pcm24In32(1), 300}}, {Pcm24In32(2), 300}, 0,
                    ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED),
        AssemblyRow("OfUnequalLengths", {4, {Pcm16(1), 300}, Side{Pcm16(1), 299}}, {Pcm16(4), 300}, 0,
                    ZT_E_BUFFER_SIZE_MISMATCH),
        AssemblyRow("ThatDoesNotFit", {4, {Pcm16(1), 300}}, {Pcm16(4), 299}, 0, ZT_E_DESTINATION_BUFFER_TOO_SMALL),
        AssemblyRow("ScratchBufferTooSmall", {4, {Pcm24In32(1), 10}, Side{Pcm24In32(1), 48001}}, {Pcm24In32(4), 10}, 0,
                    ZT_E_DESTINATION_BUFFER_TOO_SMALL, true),
        AssemblyRow("OfAWrongWidth", {4, {Pcm16(1), 10}}, {Pcm16(8), 10}, 0, ZT_E_BUFFER_FORMAT_MISMATCH),
        AssemblyRow("OfAWrongCount", {3, {Pcm16(1), 10}}, {Pcm16(4), 10}, 0, ZT_E_INVALID_PARAMETER),
        AssemblyRow("Relabelled", {4, {Pcm20In32(1), 10}}, {Pcm20In32(4), 10}),
        AssemblyRow("Direct", {2, {Pcm24In32(2), 300}}, {Pcm24In32(4), 300}),
        AssemblyRow("Wide", {16, {Pcm16(2), 30}}, {Pcm16(32), 30}),
        AssemblyRow("StagedInputs", {4, {Pcm24In24(2), 300}}, {Pcm24In32(8), 300}),
        AssemblyRow("Faded", {2, {Pcm24In32(2), 300, true, true}}, {Pcm24In32(4), 300}),
        AssemblyRow("Scaled", {4, {Pcm24In32(2), 301}}, {Pcm24In32(8), 301}, 8),
        AssemblyRow("WithAnOddVolume", {2, {Pcm24In32(2), 300}}, {Pcm24In32(4), 300}, 5, ZT_E_INVALID_PARAMETER),
        AssemblyRow("WithTooManyVolumes", {32, {Pcm24In32(2), 10}}, {Pcm24In32(64), 10}, 65, ZT_E_ARRAY_TOO_SMALL),
        AssemblyRow("Relabelled", {2, {Pcm20In32(2), 10}}, {Pcm20In32(4), 10}),

        SplitRow("Direct", {Pcm24In32(4), 300}, {4, {Pcm24In32(1), 300}}),
        SplitRow("Wide", {Pcm24In24(32), 30}, {32, {Pcm24In24(1), 30}}),
        SplitRow("Staged", {Pcm24In32(4), 300}, {4, {Pcm16(1), 300}}),
        SplitRow("StagedWithoutARow", {Pcm24In32(8), 300}, {8, {Pcm16(1), 300}}, 0,
                 ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED),
        SplitRow("ScratchBufferTooSmall", {Pcm16(4), 12001}, {4, {Pcm24In32(1), 12001}}, 0,
                 ZT_E_DESTINATION_BUFFER_TOO_SMALL),
        SplitRow("Faded", {Pcm16(4), 300, true, true}, {4, {Pcm16(1), 300}}),
        SplitRow("FadedWithoutAKernel", {Pcm24In24(4), 300, true}, {4, {Pcm24In24(1), 300}}, 0,
                 ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED),
        SplitRow("Scaled", {Pcm24In32(4), 301}, {4, {Pcm24In32(1), 301}}, 4),
        SplitRow("ScaledWithoutARow", {Pcm16(4), 300}, {4, {Pcm16(1), 300}}, 4, ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED),
        SplitRow("OfUnequalLengths", {Pcm16(4), 10}, {4, {Pcm16(1), 300}, Side{Pcm16(1), 299}}, 0,
                 ZT_E_BUFFER_SIZE_MISMATCH),
        SplitRow("ThatDoesNotFit", {Pcm16(4), 300}, {4, {Pcm16(1), 299}}, 0, ZT_E_DESTINATION_BUFFER_TOO_SMALL),
        SplitRow("OfAWrongWidth", {Pcm16(4), 10}, {8, {Pcm16(1), 10}}, 0, ZT_E_INVALID_PARAMETER),
        SplitRow("IntoAnOutputOfOtherChannels", {Pcm16(4), 10}, {4, {Pcm16(1), 10}, Side{Pcm16(2), 10}}, 0,
                 ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED),
        SplitRow("Relabelled", {Pcm20In32(4), 10}, {4, {Pcm20In32(1), 10}}),
        SplitRow("Direct", {Pcm24In32(4), 300}, {2, {Pcm24In32(2), 300}}),
        SplitRow("Staged", {Pcm16(4), 300}, {2, {Pcm24In32(2), 300}}),
        SplitRow("Faded", {Pcm24In32(8), 300, false, true}, {4, {Pcm24In32(2), 300}}),
        SplitRow("Scaled", {Pcm24In32(8), 301}, {4, {Pcm24In32(2), 301}}, 8),
        SplitRow("Relabelled", {Pcm20In32(4), 10}, {2, {Pcm20In32(2), 10}}),

        ResampleRow("MonoUp", {Pcm16(1, 44100), 500}, {Pcm16(1, 48000), 600}),
        ResampleRow("MonoDown", {Pcm16(1, 48000), 500}, {Pcm16(1, 44100), 500}),
        ResampleRow("StereoUp", {Pcm16(2, 44100), 500}, {Pcm16(2, 48000), 600}),
        ResampleRow("StereoDown", {Pcm16(2, 48000), 500}, {Pcm16(2, 44100), 500}),
        ResampleRow("SeveralPasses", {Pcm16(1, 44100), 20000}, {Pcm16(1, 48000), 22000}),
        ResampleRow("UpWithoutPackedBank", {Pcm16(1, 44100), 20000}, {Pcm16(1, 48000), 22000}, 0, false),
        ResampleRow("DownWithoutPackedBank", {Pcm16(2, 48000), 20000}, {Pcm16(2, 44100), 20000}, 0, false),
        ResampleRow("WithoutRoom", {Pcm16(1, 44100), 500}, {Pcm16(1, 48000), 500}, ZT_E_DESTINATION_BUFFER_TOO_SMALL),
        ResampleRow("OfOtherRates", {Pcm16(1, 44100), 500}, {Pcm16(1, 96000), 1500}, ZT_E_INVALID_AUDIO_SAMPLING_RATE),
    };
    return rows;
}

} // namespace zta::test
