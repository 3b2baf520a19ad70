// Checks of the calls that operations reject: the status codes, and the buffers that receive signals.

#include "tools/ztvalidate/operations.h"

#include <zta/status.h>

namespace zta::validate {

namespace {

using host::Float32;
using host::kInjectedFailure;
using host::MakeFormat;
using host::Multi24;
using host::Opaque;
using host::Pcm16;
using host::Pcm24In24;
using host::Pcm24In32;

using Names = std::set<std::string>;

/// Where a call fails. Before the entry point has the outputs it signals nothing; the entry point signals and writes no
/// sample; the worker has marked its outputs.
enum class Stage { Before, Entry, Work };

/// One error of a call, and its consequences.
struct Rejection {
    std::string what;
    int status;
    Stage stage = Stage::Entry;
    Names exempt = {}; ///< buffers without a signal and without an error code
    std::function<void(CallSpec&)> reshape = nullptr;
    std::function<void(Call&)> corrupt = nullptr;
    std::string leaking = {}; ///< a buffer that keeps one reference
};

/// A duplicate whose worker fails reports it in the destination's error code only.
int ResultOf(const Operation& operation, const Rejection& rejection)
{
    return operation.name == "duplicate" && rejection.stage == Stage::Work ? ZT_NOERROR : rejection.status;
}

void RequireRejection(Session& session, const Operation& operation, const Rejection& rejection)
{
    CallSpec shape = operation.shape;
    if (rejection.reshape) {
        rejection.reshape(shape);
    }
    Call call(session, operation, shape);
    if (rejection.corrupt) {
        rejection.corrupt(call);
    }
    RequireStatus(call.Run(), ResultOf(operation, rejection), rejection.what);

    Names exempt = rejection.exempt;
    if (rejection.stage == Stage::Before) {
        for (const BufferSpec* buffer : shape.AllBuffers()) {
            exempt.insert(buffer->name);
        }
    }
    call.RequireSignals(rejection.what, rejection.status, exempt);
    call.RequireNoSideEffects(rejection.what, rejection.leaking);
    for (std::size_t i = 0; i < call.Outputs(); ++i) {
        const GuardedBuffer& output = call.Output(i);
        const bool marked = output.WriteStartMarks() != 0;
        Require(marked == (rejection.stage == Stage::Work),
                rejection.what + (marked ? ": it sets a mark on " : ": it sets no mark on ") + output.Name());
        Require(marked || output.Content() == call.OutputBefore(i), rejection.what + ": it writes to " + output.Name());
    }
    if (!rejection.leaking.empty()) {
        call.ReleaseKeptReference(rejection.leaking);
    }
}

void RequireRejections(const Context& context, const Operation& operation, const std::vector<Rejection>& rejections)
{
    if (rejections.empty()) {
        throw CheckSkipped("the operation has no such call");
    }
    Session session(context);
    for (const Rejection& rejection : rejections) {
        RequireRejection(session, operation, rejection);
        Call good(session, operation, operation.shape);
        RequireStatus(good.Run(), ZT_NOERROR, "a good call after " + rejection.what);
    }
}

std::function<void(Call&)> Without(const std::string& name)
{
    return [=](Call& call) { call.PassNull(name); };
}

std::function<void(Call&)> Failing(const std::string& name, const std::string& entry)
{
    return [=](Call& call) { call.Fail(name, entry); };
}

std::string InputName(const Operation& operation, std::size_t i = 0)
{
    return operation.shape.inputs.at(i).name;
}

std::string OutputName(const Operation& operation, std::size_t i = 0)
{
    return operation.shape.outputs.at(i).name;
}

Names AllInputs(const Operation& operation)
{
    Names names;
    for (const BufferSpec& buffer : operation.shape.inputs) {
        names.insert(buffer.name);
    }
    return names;
}

// ---- Null operands ----

std::vector<Rejection> NullOperands(const Operation& operation)
{
    const auto null = [](const std::string& name, Stage stage, const Names& exempt) {
        return Rejection{"a null " + name, ZT_E_INVALID_POINTER, stage, exempt, nullptr, Without(name)};
    };
    const auto nullArray = [](Stage stage, const Names& exempt) {
        return Rejection{
            "a null array", ZT_E_INVALID_POINTER, stage, exempt, nullptr, [](Call& call) { call.nullArray = true; }};
    };
    const Rejection nullVolumes = {"null volumes with a count",
                                   ZT_E_INVALID_POINTER,
                                   Stage::Entry,
                                   {},
                                   nullptr,
                                   [](Call& call) { call.volumeCount = 4; }};
    const std::string in = InputName(operation);
    const std::string out = OutputName(operation);
    std::vector<Rejection> rejections;
    switch (operation.family) {
    case Family::OneToOne:
        rejections = {null(out, Stage::Before, {}), null(in, Stage::Entry, {in})};
        if (operation.name == "volume") {
            rejections.push_back({"null volumes", ZT_E_INVALID_PARAMETER, Stage::Entry, {in}, nullptr, [](Call& call) {
                                      call.nullVolumes = true;
                                  }});
            rejections.push_back({"no volumes", ZT_E_INVALID_PARAMETER, Stage::Entry, {in}, nullptr, [](Call& call) {
                                      call.volumeCount = 0;
                                  }});
        }
        return rejections;
    case Family::MonoToStereo:
        return {null(out, Stage::Before, {}), null("left", Stage::Entry, {"left", "right"}),
                null("right", Stage::Entry, {"left", "right"})};
    case Family::StereoToMono:
        return {{"two null outputs",
                 ZT_E_INVALID_POINTER,
                 Stage::Before,
                 {},
                 nullptr,
                 [](Call& call) {
                     call.PassNull("left");
                     call.PassNull("right");
                 }},
                null("right", Stage::Entry, {"right", "stereo"}),
                null("stereo", Stage::Entry, {"stereo"})};
    case Family::Interleave:
        rejections = {null(out, Stage::Before, {}), nullArray(Stage::Entry, AllInputs(operation)), nullVolumes};
        // The other three mux operations do not accept an array with a null pointer: the caller must not pass one.
        if (operation.name == "mono-to-mux") {
            rejections.push_back(null("b1", Stage::Entry, {"b1"}));
        }
        return rejections;
    case Family::Deinterleave:
        return {nullArray(Stage::Before, {}), null(in, Stage::Entry, {in}), nullVolumes};
    }
    return rejections;
}

// ---- Buffers without an interface, or that fail ----

std::vector<Rejection> WithoutContent(const Operation& operation)
{
    const auto mute = [](const std::string& name, int status, Stage stage, const Names& exempt) {
        return Rejection{name + " without IZtAVContent", status, stage, exempt, nullptr,
                         Failing(name, "QueryInterface")};
    };
    const std::string in = InputName(operation);
    const std::string out = OutputName(operation);
    switch (operation.family) {
    case Family::OneToOne:
        return {mute(out, ZT_E_INVALID_PARAMETER, Stage::Before, {}), mute(in, kInjectedFailure, Stage::Entry, {in})};
    case Family::MonoToStereo:
        return {mute(out, ZT_E_INVALID_PARAMETER, Stage::Before, {}),
                mute("left", kInjectedFailure, Stage::Entry, {"left", "right"}),
                mute("right", kInjectedFailure, Stage::Entry, {"right"})};
    case Family::StereoToMono:
        return {mute("right", kInjectedFailure, Stage::Entry, {"right", "stereo"}),
                mute("stereo", kInjectedFailure, Stage::Entry, {"stereo"})};
    case Family::Interleave:
        return {mute(out, ZT_E_INVALID_PARAMETER, Stage::Before, {}),
                mute("b1", ZT_E_INVALID_PARAMETER, Stage::Entry, {"b1"})};
    case Family::Deinterleave:
        return {mute(in, kInjectedFailure, Stage::Entry, {in}),
                mute("b1", ZT_E_INVALID_PARAMETER, Stage::Entry, {"b1"})};
    }
    return {};
}

std::vector<Rejection> ErrorCodes(const Operation& operation)
{
    std::vector<Rejection> rejections;
    for (std::size_t i = 0; i < operation.shape.inputs.size(); ++i) {
        // The right content is queried only if the left input has no error code.
        const bool hidesNext = operation.family == Family::MonoToStereo && i == 0;
        rejections.push_back({"an error code on " + InputName(operation, i), kInjectedFailure, Stage::Entry,
                              hidesNext ? Names{"right"} : Names{}, nullptr,
                              [=](Call& call) { call.Input(i).SetErrorCode(kInjectedFailure); }});
    }
    return rejections;
}

std::vector<Rejection> Descriptions(const Operation& operation)
{
    const int status = operation.name == "volume" ? kInjectedFailure : ZT_E_INVALID_PARAMETER;
    std::vector<Rejection> rejections;
    CallSpec shape = operation.shape;
    // The entry point of an interleaving operation ignores the status of its inputs' descriptions.
    for (const BufferSpec* buffer : shape.AllBuffers()) {
        if (operation.family != Family::Interleave || buffer->name == "mux") {
            rejections.push_back({buffer->name + " without a description",
                                  status,
                                  Stage::Entry,
                                  {},
                                  nullptr,
                                  Failing(buffer->name, "GetAudioSamplesDescription")});
        }
    }
    return rejections;
}

// ---- Formats ----

std::function<void(CallSpec&)> InputFormat(std::size_t i, const SZtaWaveFormatInfo& format)
{
    return [=](CallSpec& shape) { shape.inputs.at(i).format = format; };
}

std::function<void(CallSpec&)> OutputFormat(std::size_t i, const SZtaWaveFormatInfo& format)
{
    return [=](CallSpec& shape) { shape.outputs.at(i).format = format; };
}

std::function<void(CallSpec&)> AllFormats(const SZtaWaveFormatInfo& format)
{
    return [=](CallSpec& shape) {
        for (BufferSpec* buffer : shape.AllBuffers()) {
            buffer->format = MakeFormat(buffer->format.ulChannels, format.eDataType, format.ulSamplesPerSec,
                                        format.ulBitsPerSample, format.ulValidBitsPerSample);
        }
    };
}

std::vector<Rejection> PairFormats(const std::string& mono, const std::string& other,
                                   const std::function<void(CallSpec&)>& twoChannels)
{
    return {{mono + " of two channels", ZT_E_FORMAT_NOT_SUPPORTED, Stage::Entry, {}, twoChannels},
            {"opaque samples", ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE, Stage::Entry, {}, AllFormats(Opaque(1))},
            {"floats in " + mono + " and " + other,
             ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED,
             Stage::Work,
             {},
             AllFormats(Float32(1))}};
}

/// The mux operations with another number of buffers than usual.
std::function<void(CallSpec&)> OfBuffers(std::size_t count, std::uint32_t muxChannels)
{
    return [=](CallSpec& shape) {
        const bool interleaves = shape.inputs.size() > 1;
        std::vector<BufferSpec>& array = interleaves ? shape.inputs : shape.outputs;
        const BufferSpec usual = array[0];
        array.clear();
        for (std::size_t i = 0; i < count; ++i) {
            array.push_back(usual);
            array.back().name = ArrayElementName(i);
        }
        BufferSpec& mux = interleaves ? shape.outputs[0] : shape.inputs[0];
        mux.format.ulChannels = muxChannels;
    };
}

std::vector<Rejection> MuxFormats(const Operation& operation)
{
    const bool interleaves = operation.family == Family::Interleave;
    const std::uint32_t channelsPerBuffer =
        (interleaves ? operation.shape.inputs : operation.shape.outputs)[0].format.ulChannels;
    const auto muxFormat = [&](const SZtaWaveFormatInfo& format) {
        return interleaves ? OutputFormat(0, format) : InputFormat(0, format);
    };
    std::vector<Rejection> rejections = {
        {"three buffers", ZT_E_INVALID_PARAMETER, Stage::Entry, {}, OfBuffers(3, 3 * channelsPerBuffer)},
        {"a mux of other channels",
         interleaves ? ZT_E_BUFFER_FORMAT_MISMATCH : ZT_E_INVALID_PARAMETER,
         Stage::Entry,
         {},
         muxFormat(Pcm24In32(8))},
        {"a mux of opaque samples", ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE, Stage::Entry, {}, muxFormat(Opaque(4))},
        {"a wrong count of volumes",
         ZT_E_INVALID_PARAMETER,
         Stage::Entry,
         {},
         nullptr,
         [](Call& call) {
             call.volumes = Ramps(2);
             call.volumeCount = 2;
         }},
    };
    if (interleaves) {
        rejections.push_back(
            {"an unsupported conversion", ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, Stage::Work, {}, [=](CallSpec& shape) {
                 shape.inputs[1].format = Pcm16(channelsPerBuffer);
                 shape.outputs[0].format = Pcm24In24(4);
             }});
    } else {
        rejections.push_back({"an output of other channels",
                              ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED,
                              Stage::Entry,
                              {},
                              OutputFormat(1, Pcm24In32(3 - channelsPerBuffer))});
        rejections.push_back({"an output of opaque samples",
                              ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE,
                              Stage::Entry,
                              {},
                              OutputFormat(1, Opaque(channelsPerBuffer))});
        rejections.push_back({"a wide mux of another container",
                              ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED,
                              Stage::Work,
                              {},
                              [=](CallSpec& shape) {
                                  OfBuffers(8 / channelsPerBuffer, 8)(shape);
                                  for (BufferSpec& output : shape.outputs) {
                                      output.format = Pcm16(channelsPerBuffer);
                                  }
                              }});
    }
    return rejections;
}

std::vector<Rejection> ResampleFormats()
{
    const auto is = [](const char* what, const SZtaWaveFormatInfo& format, int status) {
        return Rejection{what, status, Stage::Entry, {}, InputFormat(0, format)};
    };
    return {is("an input of three channels", Pcm16(3, 44100), ZT_E_INVALID_AUDIO_CHANNEL_TYPE),
            is("an input of other channels than the output", Pcm16(2, 44100), ZT_E_INVALID_AUDIO_CHANNEL_TYPE),
            is("two equal rates", Pcm16(1, 48000), ZT_E_INVALID_AUDIO_SAMPLING_RATE),
            is("24 bits at 32000 Hz", Pcm24In24(1, 32000), ZT_E_INVALID_AUDIO_SAMPLING_RATE),
            is("24 bits", Pcm24In24(1, 44100), ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE),
            is("16-bit samples that are not PCM", Opaque(1, 16, 16, 44100), ZT_E_INVALID_AUDIO_DATA_TYPE)};
}

std::vector<Rejection> Formats(const Operation& operation)
{
    if (operation.name == "copy") {
        return {{"a destination of other channels",
                 ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH,
                 Stage::Entry,
                 {},
                 OutputFormat(0, Pcm24In32(1))},
                {"an unsupported conversion",
                 ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED,
                 Stage::Work,
                 {},
                 OutputFormat(0, Pcm24In24(2))},
                {"three channels", ZT_E_FORMAT_NOT_SUPPORTED, Stage::Work, {}, [](CallSpec& shape) {
                     shape.inputs[0].format = Pcm16(3);
                     shape.outputs[0].format = Pcm24In32(3);
                 }}};
    }
    if (operation.name == "duplicate") {
        return {{"a destination of another container",
                 ZT_E_AUDIO_FORMAT_MISMATCH,
                 Stage::Entry,
                 {},
                 OutputFormat(0, Pcm24In32(1))},
                {"a destination of another rate",
                 ZT_E_AUDIO_FORMAT_MISMATCH,
                 Stage::Entry,
                 {},
                 OutputFormat(0, Pcm16(1, 44100))}};
    }
    if (operation.name == "volume") {
        return {
            {"an output of other channels",
             ZT_E_BUFFER_FORMAT_MISMATCH,
             Stage::Entry,
             {},
             OutputFormat(0, Pcm24In32(1))},
            {"one volume for two channels",
             ZT_E_INVALID_PARAMETER,
             Stage::Entry,
             {},
             nullptr,
             [](Call& call) { call.volumeCount = 1; }},
            {"a multi-format input", ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE, Stage::Entry, {}, InputFormat(0, Multi24(2))},
            {"an opaque input", ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE, Stage::Entry, {}, InputFormat(0, Opaque(2))},
            {"16-in-16", ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED, Stage::Work, {}, AllFormats(Pcm16(1))},
            {"24-in-24", ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, Stage::Work, {}, AllFormats(Pcm24In24(1))},
            {"a gain above 8",
             ZT_E_INVALID_PARAMETER,
             Stage::Work,
             {},
             nullptr,
             [](Call& call) { call.volumes[1].fEndVolume = 8.5F; }},
            {"a gain below 0", ZT_E_INVALID_PARAMETER, Stage::Work, {}, nullptr, [](Call& call) {
                 call.volumes[0].fStartVolume = -0.5F;
             }}};
    }
    switch (operation.family) {
    case Family::MonoToStereo:
        return PairFormats("left", "stereo", InputFormat(0, Pcm16(2)));
    case Family::StereoToMono:
        return PairFormats("right", "stereo", OutputFormat(1, Pcm16(2)));
    case Family::OneToOne:
        return ResampleFormats();
    default:
        return MuxFormats(operation);
    }
}

// ---- Sizes ----

std::function<void(CallSpec&)> Frames(bool input, std::size_t i, std::size_t frames)
{
    return [=](CallSpec& shape) {
        BufferSpec& buffer = (input ? shape.inputs : shape.outputs).at(i);
        buffer.frames = buffer.capacityFrames = frames;
    };
}

Rejection Range(const char* what, int status, unsigned long from, unsigned long to, unsigned long length)
{
    return {what, status, Stage::Work, {}, nullptr, [=](Call& call) {
                call.sourceOffset = from;
                call.destinationOffset = to;
                call.length = length;
            }};
}

std::vector<Rejection> Sizes(const Operation& operation)
{
    constexpr int kTooSmall = ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    constexpr int kMismatch = ZT_E_BUFFER_SIZE_MISMATCH;
    if (operation.name == "copy") {
        return {{"a conversion into too few frames", kTooSmall, Stage::Work, {}, Frames(false, 0, 299)},
                // A byte copy that does not fit keeps a reference on the destination.
                {"a byte copy into too few frames",
                 kTooSmall,
                 Stage::Work,
                 {},
                 [](CallSpec& shape) { shape.outputs[0] = BufferSpec("destination", Pcm16(2), 299); },
                 nullptr,
                 "destination"}};
    }
    if (operation.name == "duplicate") {
        return {Range("a range beyond the source's end", ZT_E_SOURCE_BUFFER_TOO_SMALL, 141, 0, 60),
                Range("an empty range at the source's end", ZT_E_SOURCE_BUFFER_TOO_SMALL, 200, 0, 0),
                Range("a source offset that would wrap", ZT_E_SOURCE_BUFFER_TOO_SMALL, ~0UL - 9, 0, 20),
                Range("a range beyond the destination's end", kTooSmall, 0, 141, 60),
                Range("an empty range at the destination's end", kTooSmall, 0, 200, 0),
                Range("a destination offset that would wrap", kTooSmall, 0, ~0UL - 9, 20)};
    }
    if (operation.name == "volume") {
        return {{"an output of fewer frames", kTooSmall, Stage::Work, {}, Frames(false, 0, 39)},
                {"an output of more frames", kMismatch, Stage::Work, {}, Frames(false, 0, 41)}};
    }
    if (operation.name == "resample") {
        return {{"an output whose capacity is too small", kTooSmall, Stage::Work, {}, [](CallSpec& shape) {
                     shape.outputs[0].capacityFrames = 326;
                 }}};
    }
    switch (operation.family) {
    case Family::MonoToStereo:
        return {{"inputs of different lengths", kMismatch, Stage::Work, {}, Frames(true, 1, 59)},
                {"a stereo buffer whose capacity is too small", kTooSmall, Stage::Work, {}, Frames(false, 0, 59)}};
    case Family::StereoToMono:
        return {{"two outputs whose capacity is too small", kTooSmall, Stage::Work, {}, [](CallSpec& shape) {
                     Frames(false, 0, 59)(shape);
                     Frames(false, 1, 59)(shape);
                 }}};
    case Family::Interleave:
        return {{"inputs of different lengths", kMismatch, Stage::Work, {}, Frames(true, 1, 39)},
                {"a mux whose valid length is too short", kTooSmall, Stage::Work, {}, [](CallSpec& shape) {
                     shape.outputs[0].frames = 39;
                 }}};
    default:
        return {{"outputs of different lengths", kMismatch, Stage::Work, {}, Frames(false, 1, 39)},
                {"outputs whose valid length is too short", kTooSmall, Stage::Work, {}, [](CallSpec& shape) {
                     for (BufferSpec& output : shape.outputs) {
                         output.frames = 39;
                     }
                 }}};
    }
}

struct Aspect {
    const char* name;
    const char* description;
    std::vector<Rejection> (*rejections)(const Operation& operation);
};

const Aspect kAspects[] = {
    {"null-operands", "Null pointers are rejected, and the other buffers receive their signals.", NullOperands},
    {"no-content", "A buffer without IZtAVContent is rejected.", WithoutContent},
    {"status-codes", "An error code of an input ends the call and is propagated to the outputs.", ErrorCodes},
    {"descriptions", "A buffer whose description cannot be read is rejected.", Descriptions},
    {"formats", "Formats and counts that do not match are rejected, each with its status code.", Formats},
    {"sizes", "Lengths and capacities that do not match are rejected, each with its status code.", Sizes},
};

} // namespace

std::vector<Check> RejectionChecks()
{
    std::vector<Check> checks;
    for (const Operation& operation : Operations()) {
        for (const Aspect& aspect : kAspects) {
            checks.push_back(
                {CheckName(operation, aspect.name), aspect.description, "engine.creation",
                 [&](const Context& context) { RequireRejections(context, operation, aspect.rejections(operation)); }});
        }
    }
    return checks;
}

} // namespace zta::validate
