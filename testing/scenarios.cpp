#include "testing/scenarios.h"

#include "host/formats.h"
#include "resampler/polyphase_resampler.h"
#include "resampler/resample_audio.h"
#include "signal/packed_filter_bank.h"
#include "testing/noise.h"

#include <zta/status.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

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

/// A buffer filled with a fixed pattern. Floats are within full scale.
host::Ref<host::AudioBuffer> MakeBuffer(const BufferFactory& factory, const std::string& name, const BufferSetup& setup)
{
    const std::size_t bytes = setup.frames * host::BytesPerFrame(setup.format);
    auto buffer = factory(name, setup.format, bytes);
    Noise().Fill(buffer->Data(), bytes);
    if (setup.format.eDataType == keZtAudioDataTypeFloat) {
        for (std::size_t i = 0; i < bytes / sizeof(float); ++i) {
            const float sample = static_cast<float>(i % 200) / 200.0F - 0.5F;
            std::memcpy(buffer->Data() + i * sizeof(float), &sample, sizeof(float));
        }
    }
    buffer->SetValidLength(bytes);
    buffer->SetFades(setup.fadeIn, setup.fadeOut);
    return buffer;
}

/// The names of the inputs, or of the outputs.
std::vector<std::string> BufferNames(OperationKind kind, bool inputs, std::size_t count)
{
    switch (kind) {
    case OperationKind::Copy:
    case OperationKind::Duplicate:
        return {inputs ? "source" : "destination"};
    case OperationKind::Volume:
    case OperationKind::Resample:
        return {inputs ? "input" : "output"};
    case OperationKind::MonoToStereo:
    case OperationKind::StereoToMono:
        return count == 1 ? std::vector<std::string>{"stereo"} : std::vector<std::string>{"left", "right"};
    default:
        break;
    }
    if (inputs ? !IsInterleave(kind) : !IsDeinterleave(kind)) {
        return {"mux"};
    }
    std::vector<std::string> names;
    for (std::size_t i = 0; i < count; ++i) {
        names.push_back("plane" + std::to_string(i));
    }
    return names;
}

/// One gain ramp for each channel, a different one in each.
std::vector<SZtAudioMonoVolumeInfo> MakeRamps(std::size_t channels)
{
    std::vector<SZtAudioMonoVolumeInfo> volumes(channels);
    for (std::size_t c = 0; c < channels; ++c) {
        const auto channel = static_cast<std::uint32_t>(c);
        volumes[c] = {channel, 0.25F + static_cast<float>(c) * 0.0625F, 2.0F - static_cast<float>(c) * 0.03125F};
    }
    return volumes;
}

/// A stream between the rates of two formats, with the channels of the first one.
host::Ref<IUnknown> MakeStream(const SZtaWaveFormatInfo& from, const SZtaWaveFormatInfo& to, bool hasPackedBank)
{
    CZtaResampleAudio resample;
    host::Ref<IUnknown> stream;
    if (resample.CreateAudioResamplerMono16BitsToMono16Bits(from.ulSamplesPerSec, to.ulSamplesPerSec, from.ulChannels,
                                                            stream.Put()) < 0) {
        throw std::runtime_error("no stream between these rates");
    }
    if (!hasPackedBank) {
        static SZtaPackedFilterBank empty;
        SetPackedFilterBank(*dynamic_cast<CPolyphaseResampler&>(*stream).m_pSpec, &empty);
    }
    return stream;
}

/// The array of a mux operation.
std::vector<BufferSetup> Planes(std::size_t count, const BufferSetup& setup)
{
    return std::vector<BufferSetup>(count, setup);
}

/// An array whose last buffer is another one.
std::vector<BufferSetup> Planes(std::size_t count, const BufferSetup& setup, const BufferSetup& last)
{
    auto planes = Planes(count, setup);
    planes.back() = last;
    return planes;
}

} // namespace

host::Ref<host::AudioBuffer> MakeAudioBuffer(const std::string& /*name*/, const SZtaWaveFormatInfo& format,
                                             std::size_t bytes)
{
    return host::AudioBuffer::Create(format, bytes);
}

ScenarioCase::ScenarioCase(OperationKind operationKind, const std::string& path, std::vector<BufferSetup> inputSpecs,
                           std::vector<BufferSetup> outputSpecs, const ScenarioOptions& options)
    : ScenarioOptions(options), kind(operationKind), operation(OperationName(kind)), name(operation + path),
      inputs(std::move(inputSpecs)), outputs(std::move(outputSpecs)),
      returnsSignalsStatus(kind == OperationKind::Duplicate),
      throwsOn(kind == OperationKind::StereoToMono ? "left.QueryInterface" : "")
{
}

Scenario ScenarioCase::Make(const BufferFactory& factory) const
{
    Scenario scenario;
    scenario.call = {.kind = kind,
                     .volumes = MakeRamps(volumeCount),
                     .sourceOffset = sourceOffset,
                     .destinationOffset = destinationOffset,
                     .length = length};
    const auto make = [&](const std::vector<BufferSetup>& setups, bool isInput, auto& buffers, auto& pointers) {
        const auto names = BufferNames(kind, isInput, setups.size());
        for (std::size_t i = 0; i < setups.size(); ++i) {
            buffers.push_back(MakeBuffer(factory, names[i], setups[i]));
            pointers.push_back(buffers.back().Get());
        }
    };
    make(inputs, true, scenario.inputs, scenario.call.inputs);
    make(outputs, false, scenario.outputs, scenario.call.outputs);
    if (kind == OperationKind::Resample) {
        scenario.stream = MakeStream(inputs[0].format, outputs[0].format, hasPackedBank);
        scenario.call.stream = scenario.stream.Get();
    }
    return scenario;
}

void Announce(const Scenario& scenario)
{
    for (const auto& input : scenario.inputs) {
        input->AnnounceRead();
    }
    for (const auto& output : scenario.outputs) {
        output->AnnounceWrite();
    }
}

int RunAnnounced(const Scenario& scenario, IZtaAudioSamplesEngine& engine)
{
    Announce(scenario);
    return scenario.call.Run(engine);
}

bool IsSignaled(const Scenario& scenario)
{
    const auto isSignaled = [](const host::Ref<host::AudioBuffer>& buffer) {
        return buffer->ReadCount() == 0 && buffer->WriteCount() == 0 && buffer->PairingViolations() == 0;
    };
    return std::all_of(scenario.inputs.begin(), scenario.inputs.end(), isSignaled) &&
           std::all_of(scenario.outputs.begin(), scenario.outputs.end(), isSignaled);
}

std::vector<std::vector<std::byte>> OutputBytes(const Scenario& scenario)
{
    std::vector<std::vector<std::byte>> bytes;
    for (const auto& output : scenario.outputs) {
        bytes.emplace_back(output->Data(), output->Data() + output->Capacity());
    }
    return bytes;
}

const std::vector<ScenarioCase>& Scenarios()
{
    using enum OperationKind;
    using Case = ScenarioCase;
    const SZtaWaveFormatInfo eightBits = MakeFormat(1, keZtAudioDataTypePcm, 48000, 8, 8);
    const SZtaWaveFormatInfo eightBitsStereo = MakeFormat(2, keZtAudioDataTypePcm, 48000, 8, 8);
    static const std::vector<ScenarioCase> cases = {
        Case(Copy, "Bytes", {{Pcm16(2), 300}}, {{Pcm16(2), 300}}),
        Case(Copy, "OpaqueBytes", {{Opaque(3, 32, 24), 10}}, {{Opaque(3, 32, 32), 10}}),
        Case(Copy, "BytesThatDoNotFit", {{Pcm16(1), 11}}, {{Pcm16(1), 10}},
             {.status = ZT_E_DESTINATION_BUFFER_TOO_SMALL, .leaksReference = true}),
        Case(Copy, "BitDepth", {{Pcm16(2), 300}}, {{Pcm24In32(2), 300}}),
        Case(Copy, "BitDepthToFloat", {{Pcm24In32(1), 300}}, {{Float32(1), 300}}),
        Case(Copy, "BitDepthPacked", {{Pcm24In32(8), 300}}, {{Pcm24In24(8), 300}}),
        Case(Copy, "BitDepthThatDoesNotFit", {{Pcm16(1), 11}}, {{Pcm24In32(1), 10}},
             {.status = ZT_E_DESTINATION_BUFFER_TOO_SMALL}),
        Case(Copy, "BitDepthWithoutAKernel", {{Pcm16(1), 10}}, {{Pcm24In24(1), 10}},
             {.status = ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED}),
        Case(Copy, "WithoutAKernelClass", {{Pcm16(3), 10}}, {{Pcm24In32(3), 10}},
             {.status = ZT_E_FORMAT_NOT_SUPPORTED}),
        Case(Copy, "MultiFormat", {{Multi24(2), 300}}, {{Pcm24In32(2), 300}}),
        Case(Copy, "MultiFormatToSixteenBits", {{Multi16(2), 300}}, {{Pcm16(2), 300}}),
        Case(Copy, "MultiFormatOfAnotherLength", {{Multi16(2), 299}}, {{Pcm16(2), 300}},
             {.status = ZT_E_BUFFER_SIZE_MISMATCH}),
        Case(Copy, "MultiFormatToFloat", {{Multi24(2), 300}}, {{Float32(2), 300}}),
        Case(Copy, "MultiFormatToAnotherRate", {{Multi24(2), 10}},
             {{MakeFormat(2, keZtAudioDataTypePcm, 44100, 32, 24), 10}},
             {.status = ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED}),
        Case(Copy, "MultiFormatToOtherValidBits", {{Multi24(2), 10}},
             {{MakeFormat(2, keZtAudioDataTypePcm, 48000, 32, 16), 10}}),
        Case(Copy, "FadedInPlace", {{Pcm16(1), 500, true, true}}, {{Pcm24In32(1), 500}}),
        Case(Copy, "FadedInPlaceFromEqualBytes", {{Pcm16(2), 500, true, false}}, {{Pcm16(2), 500}}),
        Case(Copy, "FadedInAScratchBuffer", {{Pcm16(1), 500, true, true}}, {{Float32(1), 500}}),
        Case(Copy, "FadedTooShort", {{Pcm16(4), 100, true, false}}, {{Pcm24In32(4), 100}},
             {.status = ZT_E_DESTINATION_BUFFER_TOO_SMALL}),
        Case(Copy, "FadedScratchBufferTooSmall", {{Pcm24In32(1), 48001, true, false}}, {{Float32(1), 48001}},
             {.status = ZT_E_DESTINATION_BUFFER_TOO_SMALL, .leaksReference = true}),
        Case(Copy, "Relabeled", {{Pcm20In32(2), 100}}, {{Pcm20In32(2), 100}}),
        Case(Copy, "OfOtherChannels", {{Pcm16(1), 10}}, {{Pcm16(2), 10}},
             {.status = ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH}),
        Case(Duplicate, "Range", {{Pcm16(1), 100, true, false}}, {{Pcm16(1), 100}},
             {.sourceOffset = 20, .destinationOffset = 40, .length = 60}),
        Case(Duplicate, "BeyondTheSource", {{Pcm16(1), 100}}, {{Pcm16(1), 200}}, {.sourceOffset = 180, .length = 21}),
        Case(Duplicate, "BeyondTheDestination", {{Pcm16(1), 100}}, {{Pcm16(1), 50}},
             {.destinationOffset = 90, .length = 11}),
        Case(Duplicate, "Relabeled", {{Pcm20In32(2), 10}}, {{Pcm20In32(2), 10}}, {.length = 80}),
        Case(MonoToStereo, "Direct", {{Pcm16(1), 300}, {Pcm16(1), 300}}, {{Pcm16(2), 300}}),
        Case(MonoToStereo, "Packed", {{Pcm24In24(1), 300}, {Pcm24In24(1), 300}}, {{Pcm24In24(2), 300}}),
        Case(MonoToStereo, "StagedInputs", {{Pcm16(1), 300}, {Pcm16(1), 300}}, {{Pcm24In32(2), 300}}),
        Case(MonoToStereo, "StagedOutput", {{Pcm24In32(1), 300}, {Pcm24In32(1), 300}}, {{Float32(2), 300}}),
        Case(MonoToStereo, "Faded", {{Pcm16(1), 300, true, true}, {Pcm16(1), 300, true, true}}, {{Pcm16(2), 300}}),
        Case(MonoToStereo, "FadedWithoutAKernel", {{Pcm24In24(1), 300, true}, {Pcm24In24(1), 300, true}},
             {{Pcm24In24(2), 300}}, {.status = ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED}),
        Case(MonoToStereo, "OfNoKnownFormat", {{eightBits, 10}, {eightBits, 10}}, {{eightBitsStereo, 10}},
             {.status = ZT_E_FORMAT_NOT_SUPPORTED}),
        Case(MonoToStereo, "OfUnequalLengths", {{Pcm16(1), 299}, {Pcm16(1), 300}}, {{Pcm16(2), 300}},
             {.status = ZT_E_BUFFER_SIZE_MISMATCH}),
        Case(MonoToStereo, "Relabeled", {{Pcm20In32(1), 10}, {Pcm20In32(1), 10}}, {{Pcm20In32(2), 10}}),
        Case(StereoToMono, "Direct", {{Pcm16(2), 300}}, {{Pcm16(1), 300}, {Pcm16(1), 300}}),
        Case(StereoToMono, "StagedInput", {{Pcm16(2), 300}}, {{Pcm24In32(1), 300}, {Pcm24In32(1), 300}}),
        Case(StereoToMono, "StagedOutputs", {{Pcm24In32(2), 300}}, {{Float32(1), 300}, {Float32(1), 300}}),
        Case(StereoToMono, "OneStagedOutput", {{Pcm24In32(2), 300}}, {{Pcm24In32(1), 300}, {Float32(1), 300}}),
        Case(StereoToMono, "ScratchBufferTooSmall", {{Pcm24In32(2), 48001}},
             {{Float32(1), 48001}, {Pcm24In32(1), 48001}}, {.status = ZT_E_DESTINATION_BUFFER_TOO_SMALL}),
        Case(StereoToMono, "WithoutAKernel", {{Float32(2), 300}}, {{Float32(1), 300}, {Float32(1), 300}},
             {.status = ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED}),
        Case(StereoToMono, "OfNoKnownFormat", {{eightBitsStereo, 10}}, {{eightBits, 10}, {eightBits, 10}},
             {.status = ZT_E_FORMAT_NOT_SUPPORTED}),
        Case(StereoToMono, "TooSmall", {{Pcm16(2), 300}}, {{Pcm16(1), 299}, {Pcm16(1), 299}},
             {.status = ZT_E_DESTINATION_BUFFER_TOO_SMALL}),
        Case(StereoToMono, "Relabeled", {{Pcm20In32(2), 10}}, {{Pcm20In32(1), 10}, {Pcm20In32(1), 10}}),
        Case(Volume, "Mono", {{Pcm24In32(1), 301}}, {{Pcm24In32(1), 301}}, {.volumeCount = 1}),
        Case(Volume, "Stereo", {{Pcm24In32(2), 301}}, {{Pcm24In32(2), 301}}, {.volumeCount = 2}),
        Case(Volume, "EightChannels", {{Pcm24In32(8), 301}}, {{Pcm24In32(8), 301}}, {.volumeCount = 8}),
        Case(Volume, "SixtyFourChannels", {{Pcm24In32(64), 301}}, {{Pcm24In32(64), 301}}, {.volumeCount = 64}),
        Case(Volume, "Faded", {{Pcm24In32(4), 301, true, true}}, {{Pcm24In32(4), 301}}, {.volumeCount = 4}),
        Case(Volume, "FadedOut", {{Pcm24In32(4), 301, false, true}}, {{Pcm24In32(4), 301}}, {.volumeCount = 4}),
        Case(Volume, "OfUnequalLengths", {{Pcm24In32(1), 300}}, {{Pcm24In32(1), 301}},
             {.status = ZT_E_BUFFER_SIZE_MISMATCH, .volumeCount = 1}),
        Case(Volume, "OfOtherFormats", {{Pcm16(1), 300}}, {{Pcm16(1), 300}},
             {.status = ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED, .volumeCount = 1}),
        Case(MonoToMux, "Direct", Planes(4, {Pcm24In32(1), 300}), {{Pcm24In32(4), 300}}),
        Case(MonoToMux, "Packed", Planes(8, {Pcm24In24(1), 300}), {{Pcm24In24(8), 300}}),
        Case(MonoToMux, "StagedInputs", Planes(4, {Pcm16(1), 300}), {{Pcm24In32(4), 300}}),
        Case(MonoToMux, "StagedFloat", Planes(4, {Pcm24In32(1), 300}, BufferSetup{Float32(1), 300}),
             {{Pcm24In32(4), 300}}),
        Case(MonoToMux, "Faded", Planes(4, {Pcm16(1), 300, true, true}), {{Pcm16(4), 300}}),
        Case(MonoToMux, "LastFaded", Planes(4, {Pcm24In32(1), 300}, BufferSetup{Pcm24In32(1), 300, false, true}),
             {{Pcm24In32(4), 300}}),
        Case(MonoToMux, "StagedAndFaded", Planes(4, {Pcm24In32(1), 300, true}), {{Pcm16(4), 300}},
             {.status = ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED}),
        Case(MonoToMux, "Scaled", Planes(4, {Pcm24In32(1), 301}), {{Pcm24In32(4), 301}}, {.volumeCount = 4}),
        Case(MonoToMux, "ScaledBeyondTheInputs", Planes(4, {Pcm24In32(1), 100}), {{Pcm24In32(4), 301}},
             {.volumeCount = 4}),
        Case(MonoToMux, "ScaledWithoutAKernel", Planes(4, {Pcm16(1), 300}), {{Pcm16(4), 300}},
             {.status = ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED, .volumeCount = 4}),
        Case(MonoToMux, "IntoStereo", Planes(2, {Pcm24In32(1), 300}), {{Pcm24In32(2), 300}},
             {.status = ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED}),
        Case(MonoToMux, "OfUnequalLengths", Planes(4, {Pcm16(1), 300}, BufferSetup{Pcm16(1), 299}), {{Pcm16(4), 300}},
             {.status = ZT_E_BUFFER_SIZE_MISMATCH}),
        Case(MonoToMux, "ThatDoesNotFit", Planes(4, {Pcm16(1), 300}), {{Pcm16(4), 299}},
             {.status = ZT_E_DESTINATION_BUFFER_TOO_SMALL}),
        Case(MonoToMux, "ScratchBufferTooSmall", Planes(4, {Pcm24In32(1), 10}, BufferSetup{Pcm24In32(1), 48001}),
             {{Pcm24In32(4), 10}}, {.status = ZT_E_DESTINATION_BUFFER_TOO_SMALL, .leaksReference = true}),
        Case(MonoToMux, "OfAWrongWidth", Planes(4, {Pcm16(1), 10}), {{Pcm16(8), 10}},
             {.status = ZT_E_BUFFER_FORMAT_MISMATCH}),
        Case(MonoToMux, "OfAWrongCount", Planes(3, {Pcm16(1), 10}), {{Pcm16(4), 10}},
             {.status = ZT_E_INVALID_PARAMETER}),
        Case(MonoToMux, "Relabeled", Planes(4, {Pcm20In32(1), 10}), {{Pcm20In32(4), 10}}),
        Case(StereoToMux, "Direct", Planes(2, {Pcm24In32(2), 300}), {{Pcm24In32(4), 300}}),
        Case(StereoToMux, "Wide", Planes(16, {Pcm16(2), 30}), {{Pcm16(32), 30}}),
        Case(StereoToMux, "StagedInputs", Planes(4, {Pcm24In24(2), 300}), {{Pcm24In32(8), 300}}),
        Case(StereoToMux, "Faded", Planes(2, {Pcm24In32(2), 300, true, true}), {{Pcm24In32(4), 300}}),
        Case(StereoToMux, "Scaled", Planes(4, {Pcm24In32(2), 301}), {{Pcm24In32(8), 301}}, {.volumeCount = 8}),
        Case(StereoToMux, "WithAnOddVolume", Planes(2, {Pcm24In32(2), 300}), {{Pcm24In32(4), 300}},
             {.status = ZT_E_INVALID_PARAMETER, .volumeCount = 5}),
        Case(StereoToMux, "WithTooManyVolumes", Planes(32, {Pcm24In32(2), 10}), {{Pcm24In32(64), 10}},
             {.status = ZT_E_ARRAY_TOO_SMALL, .volumeCount = 65}),
        Case(StereoToMux, "Relabeled", Planes(2, {Pcm20In32(2), 10}), {{Pcm20In32(4), 10}}),
        Case(MuxToMono, "Direct", {{Pcm24In32(4), 300}}, Planes(4, {Pcm24In32(1), 300})),
        Case(MuxToMono, "Wide", {{Pcm24In24(32), 30}}, Planes(32, {Pcm24In24(1), 30})),
        Case(MuxToMono, "Staged", {{Pcm24In32(4), 300}}, Planes(4, {Pcm16(1), 300})),
        Case(MuxToMono, "StagedWithoutAKernel", {{Pcm24In32(8), 300}}, Planes(8, {Pcm16(1), 300}),
             {.status = ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED}),
        Case(MuxToMono, "ScratchBufferTooSmall", {{Pcm16(4), 12001}}, Planes(4, {Pcm24In32(1), 12001}),
             {.status = ZT_E_DESTINATION_BUFFER_TOO_SMALL}),
        Case(MuxToMono, "Faded", {{Pcm16(4), 300, true, true}}, Planes(4, {Pcm16(1), 300})),
        Case(MuxToMono, "FadedWithoutAKernel", {{Pcm24In24(4), 300, true}}, Planes(4, {Pcm24In24(1), 300}),
             {.status = ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED}),
        Case(MuxToMono, "Scaled", {{Pcm24In32(4), 301}}, Planes(4, {Pcm24In32(1), 301}), {.volumeCount = 4}),
        Case(MuxToMono, "ScaledWithoutAKernel", {{Pcm16(4), 300}}, Planes(4, {Pcm16(1), 300}),
             {.status = ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED, .volumeCount = 4}),
        Case(MuxToMono, "OfUnequalLengths", {{Pcm16(4), 10}}, Planes(4, {Pcm16(1), 300}, BufferSetup{Pcm16(1), 299}),
             {.status = ZT_E_BUFFER_SIZE_MISMATCH}),
        Case(MuxToMono, "ThatDoesNotFit", {{Pcm16(4), 300}}, Planes(4, {Pcm16(1), 299}),
             {.status = ZT_E_DESTINATION_BUFFER_TOO_SMALL}),
        Case(MuxToMono, "OfAWrongWidth", {{Pcm16(4), 10}}, Planes(8, {Pcm16(1), 10}),
             {.status = ZT_E_INVALID_PARAMETER}),
        Case(MuxToMono, "IntoAnOutputOfOtherChannels", {{Pcm16(4), 10}},
             Planes(4, {Pcm16(1), 10}, BufferSetup{Pcm16(2), 10}), {.status = ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED}),
        Case(MuxToMono, "Relabeled", {{Pcm20In32(4), 10}}, Planes(4, {Pcm20In32(1), 10})),
        Case(MuxToStereo, "Direct", {{Pcm24In32(4), 300}}, Planes(2, {Pcm24In32(2), 300})),
        Case(MuxToStereo, "Staged", {{Pcm16(4), 300}}, Planes(2, {Pcm24In32(2), 300})),
        Case(MuxToStereo, "Faded", {{Pcm24In32(8), 300, false, true}}, Planes(4, {Pcm24In32(2), 300})),
        Case(MuxToStereo, "Scaled", {{Pcm24In32(8), 301}}, Planes(4, {Pcm24In32(2), 301}), {.volumeCount = 8}),
        Case(MuxToStereo, "Relabeled", {{Pcm20In32(4), 10}}, Planes(2, {Pcm20In32(2), 10})),
        Case(Resample, "MonoUp", {{Pcm16(1, 44100), 500}}, {{Pcm16(1, 48000), 600}}),
        Case(Resample, "MonoDown", {{Pcm16(1, 48000), 500}}, {{Pcm16(1, 44100), 500}}),
        Case(Resample, "StereoUp", {{Pcm16(2, 44100), 500}}, {{Pcm16(2, 48000), 600}}),
        Case(Resample, "StereoDown", {{Pcm16(2, 48000), 500}}, {{Pcm16(2, 44100), 500}}),
        Case(Resample, "SeveralPasses", {{Pcm16(1, 44100), 20000}}, {{Pcm16(1, 48000), 22000}}),
        Case(Resample, "UpWithoutPackedBank", {{Pcm16(1, 44100), 20000}}, {{Pcm16(1, 48000), 22000}},
             {.hasPackedBank = false}),
        Case(Resample, "DownWithoutPackedBank", {{Pcm16(2, 48000), 20000}}, {{Pcm16(2, 44100), 20000}},
             {.hasPackedBank = false}),
        Case(Resample, "IntoATooSmallOutput", {{Pcm16(1, 44100), 500}}, {{Pcm16(1, 48000), 500}},
             {.status = ZT_E_DESTINATION_BUFFER_TOO_SMALL}),
        Case(Resample, "OfOtherRates", {{Pcm16(1, 44100), 500}}, {{Pcm16(1, 96000), 1500}},
             {.status = ZT_E_INVALID_AUDIO_SAMPLING_RATE}),
    };
    return cases;
}

} // namespace zta::test
