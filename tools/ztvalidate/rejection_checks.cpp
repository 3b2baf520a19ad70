// What the operations refuse, with which status, and which buffers are signalled then.

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

/// How far a call gets. Before the entry nothing is signalled; the entry signals and writes no sample; the work has
/// marked its outputs.
enum class Stage { Before, Entry, Work };

/// One thing that is wrong with a call, and its consequences.
struct Refusal {
    std::string what;
    int status;
    Stage stage = Stage::Entry;
    Names exempt = {}; ///< buffers without a signal and without an error code
    std::function<void(CallSpec&)> reshape = nullptr;
    std::function<void(Call&)> corrupt = nullptr;
    std::string leaking = {}; ///< a buffer on which one reference stays
};

/// A duplicate that fails in its work tells so by the destination's error code alone.
int ResultOf(const Operation& operation, const Refusal& refusal)
{
    return operation.name == "duplicate" && refusal.stage == Stage::Work ? ZT_NOERROR : refusal.status;
}

void RequireRefusal(Session& session, const Operation& operation, const Refusal& refusal)
{
    CallSpec shape = operation.shape;
    if (refusal.reshape) {
        refusal.reshape(shape);
    }
    Call call(session, operation, shape);
    if (refusal.corrupt) {
        refusal.corrupt(call);
    }
    RequireStatus(call.Run(), ResultOf(operation, refusal), refusal.what);

    Names exempt = refusal.exempt;
    if (refusal.stage == Stage::Before) {
        for (const BufferSpec* side : shape.Sides()) {
            exempt.insert(side->name);
        }
    }
    call.RequireSignals(refusal.what, refusal.status, exempt);
    call.RequireNoSideEffects(refusal.what, refusal.leaking);
    for (std::size_t i = 0; i < call.Outputs(); ++i) {
        const GuardedBuffer& output = call.Output(i);
        const bool marked = output.WriteStartMarks() != 0;
        Require(marked == (refusal.stage == Stage::Work),
                refusal.what + (marked ? ": a mark was set on " : ": no mark was set on ") + output.Name());
        Require(marked || output.Content() == call.OutputBefore(i),
                refusal.what + ": " + output.Name() + " has been written");
    }
}

void RequireRefusals(const Context& context, const Operation& operation, const std::vector<Refusal>& refusals)
{
    if (refusals.empty()) {
        throw CheckSkipped("this operation has none");
    }
    Session session(context);
    for (const Refusal& refusal : refusals) {
        RequireRefusal(session, operation, refusal);
        Call good(session, operation, operation.shape);
        RequireStatus(good.Run(), ZT_NOERROR, "a good call after " + refusal.what);
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
    for (const BufferSpec& side : operation.shape.inputs) {
        names.insert(side.name);
    }
    return names;
}

// ---- Null operands ----

std::vector<Refusal> NullOperands(const Operation& operation)
{
    const auto null = [](const std::string& name, Stage stage, const Names& exempt) {
        return Refusal{"a null " + name, ZT_E_INVALID_POINTER, stage, exempt, nullptr, Without(name)};
    };
    const auto nullArray = [](Stage stage, const Names& exempt) {
        return Refusal{
            "a null array", ZT_E_INVALID_POINTER, stage, exempt, nullptr, [](Call& call) { call.nullArray = true; }};
    };
    const Refusal nullVolumes = {"null volumes with a count",
                                 ZT_E_INVALID_POINTER,
                                 Stage::Entry,
                                 {},
                                 nullptr,
                                 [](Call& call) { call.volumeCount = 4; }};
    const std::string in = InputName(operation);
    const std::string out = OutputName(operation);
    std::vector<Refusal> refusals;
    switch (operation.family) {
    case Family::OneToOne:
        refusals = {null(out, Stage::Before, {}), null(in, Stage::Entry, {in})};
        if (operation.name == "volume") {
            refusals.push_back({"null volumes", ZT_E_INVALID_PARAMETER, Stage::Entry, {in}, nullptr, [](Call& call) {
                                    call.nullVolumes = true;
                                }});
            refusals.push_back({"no volumes", ZT_E_INVALID_PARAMETER, Stage::Entry, {in}, nullptr, [](Call& call) {
                                    call.volumeCount = 0;
                                }});
        }
        return refusals;
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
        refusals = {null(out, Stage::Before, {}), nullArray(Stage::Entry, AllInputs(operation)), nullVolumes};
        // The other three mux operations leave a null entry to the caller's care.
        if (operation.name == "mono-to-mux") {
            refusals.push_back(null("b1", Stage::Entry, {"b1"}));
        }
        return refusals;
    case Family::Split:
        return {nullArray(Stage::Before, {}), null(in, Stage::Entry, {in}), nullVolumes};
    }
    return refusals;
}

// ---- Buffers that do not answer, or that fail ----

std::vector<Refusal> WithoutContent(const Operation& operation)
{
    const auto mute = [](const std::string& name, int status, Stage stage, const Names& exempt) {
        return Refusal{name + " without IZtAVContent", status, stage, exempt, nullptr, Failing(name, "QueryInterface")};
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
    case Family::Split:
        return {mute(in, kInjectedFailure, Stage::Entry, {in}),
                mute("b1", ZT_E_INVALID_PARAMETER, Stage::Entry, {"b1"})};
    }
    return {};
}

std::vector<Refusal> ErrorCodes(const Operation& operation)
{
    std::vector<Refusal> refusals;
    for (std::size_t i = 0; i < operation.shape.inputs.size(); ++i) {
        // The right content is obtained only after the left one has been found good.
        const bool hidesNext = operation.family == Family::MonoToStereo && i == 0;
        refusals.push_back({"an error code on " + InputName(operation, i), kInjectedFailure, Stage::Entry,
                            hidesNext ? Names{"right"} : Names{}, nullptr,
                            [=](Call& call) { call.Input(i).SetErrorCode(kInjectedFailure); }});
    }
    return refusals;
}

std::vector<Refusal> Descriptions(const Operation& operation)
{
    const int status = operation.name == "volume" ? kInjectedFailure : ZT_E_INVALID_PARAMETER;
    std::vector<Refusal> refusals;
    CallSpec shape = operation.shape;
    // What an assembly finds about its inputs at the entry does not count.
    for (const BufferSpec* side : shape.Sides()) {
        if (operation.family != Family::Interleave || side->name == "mux") {
            refusals.push_back({side->name + " without a description",
                                status,
                                Stage::Entry,
                                {},
                                nullptr,
                                Failing(side->name, "GetAudioSamplesDescription")});
        }
    }
    return refusals;
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
        for (BufferSpec* side : shape.Sides()) {
            side->format = MakeFormat(side->format.ulChannels, format.eDataType, format.ulSamplesPerSec,
                                      format.ulBitsPerSample, format.ulValidBitsPerSample);
        }
    };
}

std::vector<Refusal> PairFormats(const std::string& mono, const std::string& other,
                                 const std::function<void(CallSpec&)>& twoChannels)
{
    return {{mono + " of two channels", ZT_E_FORMAT_NOT_SUPPORTED, Stage::Entry, {}, twoChannels},
            {"opaque words", ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE, Stage::Entry, {}, AllFormats(Opaque(1))},
            {"floats in " + mono + " and " + other,
             ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED,
             Stage::Work,
             {},
             AllFormats(Float32(1))}};
}

/// The mux operations on another number of buffers than their usual one.
std::function<void(CallSpec&)> OfBuffers(std::size_t count, std::uint32_t muxChannels)
{
    return [=](CallSpec& shape) {
        const bool assembly = shape.inputs.size() > 1;
        std::vector<BufferSpec>& array = assembly ? shape.inputs : shape.outputs;
        const BufferSpec usual = array[0];
        array.clear();
        for (std::size_t i = 0; i < count; ++i) {
            array.push_back(usual);
            array.back().name = ArrayElementName(i);
        }
        BufferSpec& mux = assembly ? shape.outputs[0] : shape.inputs[0];
        mux.format.ulChannels = muxChannels;
    };
}

std::vector<Refusal> MuxFormats(const Operation& operation)
{
    const bool assembly = operation.family == Family::Interleave;
    const std::uint32_t side = (assembly ? operation.shape.inputs : operation.shape.outputs)[0].format.ulChannels;
    const auto muxFormat = [&](const SZtaWaveFormatInfo& format) {
        return assembly ? OutputFormat(0, format) : InputFormat(0, format);
    };
    std::vector<Refusal> refusals = {
        {"three buffers", ZT_E_INVALID_PARAMETER, Stage::Entry, {}, OfBuffers(3, 3 * side)},
        {"a mux of other channels",
         assembly ? ZT_E_BUFFER_FORMAT_MISMATCH : ZT_E_INVALID_PARAMETER,
         Stage::Entry,
         {},
         muxFormat(Pcm24In32(8))},
        {"a mux of opaque words", ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE, Stage::Entry, {}, muxFormat(Opaque(4))},
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
    if (assembly) {
        refusals.push_back({"a conversion that there is not",
                            ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED,
                            Stage::Work,
                            {},
                            [=](CallSpec& shape) {
                                shape.inputs[1].format = Pcm16(side);
                                shape.outputs[0].format = Pcm24In24(4);
                            }});
    } else {
        refusals.push_back({"an output of other channels",
                            ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED,
                            Stage::Entry,
                            {},
                            OutputFormat(1, Pcm24In32(3 - side))});
        refusals.push_back({"an output of opaque words",
                            ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE,
                            Stage::Entry,
                            {},
                            OutputFormat(1, Opaque(side))});
        refusals.push_back({"a wide mux of another container",
                            ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED,
                            Stage::Work,
                            {},
                            [=](CallSpec& shape) {
                                OfBuffers(8 / side, 8)(shape);
                                for (BufferSpec& output : shape.outputs) {
                                    output.format = Pcm16(side);
                                }
                            }});
    }
    return refusals;
}

std::vector<Refusal> ResampleFormats()
{
    const auto is = [](const char* what, const SZtaWaveFormatInfo& format, int status) {
        return Refusal{what, status, Stage::Entry, {}, InputFormat(0, format)};
    };
    return {is("an input of three channels", Pcm16(3, 44100), ZT_E_INVALID_AUDIO_CHANNEL_TYPE),
            is("an input of other channels than the output", Pcm16(2, 44100), ZT_E_INVALID_AUDIO_CHANNEL_TYPE),
            is("two equal rates", Pcm16(1, 48000), ZT_E_INVALID_AUDIO_SAMPLING_RATE),
            is("24 bits at 32000 Hz", Pcm24In24(1, 32000), ZT_E_INVALID_AUDIO_SAMPLING_RATE),
            is("24 bits", Pcm24In24(1, 44100), ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE),
            is("16-bit words that are no PCM", Opaque(1, 16, 16, 44100), ZT_E_INVALID_AUDIO_DATA_TYPE)};
}

std::vector<Refusal> Formats(const Operation& operation)
{
    if (operation.name == "copy") {
        return {{"a destination of other channels",
                 ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH,
                 Stage::Entry,
                 {},
                 OutputFormat(0, Pcm24In32(1))},
                {"a conversion that there is not",
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
        BufferSpec& side = (input ? shape.inputs : shape.outputs).at(i);
        side.frames = side.capacityFrames = frames;
    };
}

Refusal Run(const char* what, int status, unsigned long from, unsigned long to, unsigned long length)
{
    return {what, status, Stage::Work, {}, nullptr, [=](Call& call) {
                call.sourceOffset = from;
                call.destinationOffset = to;
                call.length = length;
            }};
}

std::vector<Refusal> Sizes(const Operation& operation)
{
    constexpr int kTooSmall = ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    constexpr int kMismatch = ZT_E_BUFFER_SIZE_MISMATCH;
    if (operation.name == "copy") {
        return {{"a conversion into too few frames", kTooSmall, Stage::Work, {}, Frames(false, 0, 299)},
                // A byte copy that does not fit keeps a reference of the destination.
                {"a byte copy into too few frames",
                 kTooSmall,
                 Stage::Work,
                 {},
                 [](CallSpec& shape) { shape.outputs[0] = BufferSpec("destination", Pcm16(2), 299); },
                 nullptr,
                 "destination"}};
    }
    if (operation.name == "duplicate") {
        return {Run("a run beyond the source's end", ZT_E_SOURCE_BUFFER_TOO_SMALL, 141, 0, 60),
                Run("an empty run at the source's end", ZT_E_SOURCE_BUFFER_TOO_SMALL, 200, 0, 0),
                Run("a source offset that would wrap", ZT_E_SOURCE_BUFFER_TOO_SMALL, ~0UL - 9, 0, 20),
                Run("a run beyond the destination's end", kTooSmall, 0, 141, 60),
                Run("an empty run at the destination's end", kTooSmall, 0, 200, 0),
                Run("a destination offset that would wrap", kTooSmall, 0, ~0UL - 9, 20)};
    }
    if (operation.name == "volume") {
        return {{"an output of fewer frames", kTooSmall, Stage::Work, {}, Frames(false, 0, 39)},
                {"an output of more frames", kMismatch, Stage::Work, {}, Frames(false, 0, 41)}};
    }
    if (operation.name == "resample") {
        return {{"an output without room for all frames", kTooSmall, Stage::Work, {}, [](CallSpec& shape) {
                     shape.outputs[0].capacityFrames = 326;
                 }}};
    }
    switch (operation.family) {
    case Family::MonoToStereo:
        return {{"inputs of different lengths", kMismatch, Stage::Work, {}, Frames(true, 1, 59)},
                {"a stereo buffer without room", kTooSmall, Stage::Work, {}, Frames(false, 0, 59)}};
    case Family::StereoToMono:
        return {{"two outputs without room", kTooSmall, Stage::Work, {}, [](CallSpec& shape) {
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
    std::vector<Refusal> (*refusals)(const Operation& operation);
};

const Aspect kAspects[] = {
    {"null-operands", "Null pointers are refused, with the signals that the other buffers are owed.", NullOperands},
    {"no-content", "A buffer that does not answer IID_IZtAVContent is refused.", WithoutContent},
    {"status-codes", "A failure that an input brings along ends the call and goes on to the outputs.", ErrorCodes},
    {"descriptions", "A buffer whose description cannot be read is refused.", Descriptions},
    {"formats", "Formats and counts that do not fit are refused, each with its status.", Formats},
    {"sizes", "Lengths and capacities that do not fit are refused, each with its status.", Sizes},
};

} // namespace

std::vector<Check> RejectionChecks()
{
    std::vector<Check> checks;
    for (const Operation& operation : Operations()) {
        for (const Aspect& aspect : kAspects) {
            checks.push_back(
                {CheckName(operation, aspect.name), aspect.description, "engine.creation",
                 [&](const Context& context) { RequireRefusals(context, operation, aspect.refusals(operation)); }});
        }
    }
    return checks;
}

} // namespace zta::validate
