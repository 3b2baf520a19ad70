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
    return {"Copy" + path, status, false, leavesReference, [=](const BufferFactory& factory) {
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
    return {"Duplicate" + path, 0, true, false, [=](const BufferFactory& factory) {
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
    };
    return rows;
}

} // namespace zta::test
