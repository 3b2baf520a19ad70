// Checks of the samples, flags, polarity and lengths that operations produce, on random data against the reference
// models.

#include "tools/ztvalidate/expectations.h"
#include "tools/ztvalidate/operations.h"
#include "tools/ztvalidate/query_checks.h"
#include "tools/ztvalidate/sample_comparison.h"

#include <zta/status.h>

#include <algorithm>
#include <cstring>

namespace zta::validate {

namespace {

using host::BytesPerFrame;
using host::Float32;
using host::FormatName;
using host::MakeFormat;
using host::Multi16;
using host::Multi24;
using host::Opaque;
using host::Pcm16;
using host::Pcm20In32;
using host::Pcm24In24;
using host::Pcm24In32;

using MakeContainer = SZtaWaveFormatInfo (*)(std::uint32_t channels, std::uint32_t rate);

/// The containers that are copied without a change.
const MakeContainer kContainers[] = {Pcm24In32, Pcm24In24, Pcm16};

/// An output's memory after a call that has written `samples` to its beginning.
Bytes WrittenOver(const Bytes& before, const Bytes& samples)
{
    Bytes content = before;
    std::copy(samples.begin(), samples.end(), content.begin());
    return content;
}

/// Compares the whole memory of a buffer.
void RequireContent(const Call& call, const GuardedBuffer& buffer, const Bytes& expected, const std::string& what)
{
    RequireSameSamples(buffer.Content(), expected, buffer.Description().sWaveFormat,
                       {what + ": " + buffer.Name(), call.Seed()});
}

void RequireLength(const GuardedBuffer& buffer, std::size_t bytes, const std::string& what)
{
    Require(buffer.Length() == bytes, what + ": the valid length of " + buffer.Name() + " is " +
                                          std::to_string(buffer.Length()) + " bytes, not " + std::to_string(bytes));
}

void RequireFades(const GuardedBuffer& buffer, bool fadeIn, bool fadeOut, const std::string& what)
{
    const SZtAudioSamplesDescription description = buffer.Description();
    Require(description.bFadeIn == fadeIn && description.bFadeOut == fadeOut,
            what + ": the fade flags of " + buffer.Name() + " are wrong");
}

void RequirePolarity(const GuardedBuffer& buffer, std::uint32_t polarity, const std::string& what)
{
    Require(buffer.Polarity() == polarity, what + ": the polarity of " + buffer.Name() + " is wrong");
}

/// Runs a good call with aligned and one with unaligned samples, and passes each to `verify`.
void RunCases(Session& session, const std::string& operation, const CallSpec& shape, const std::string& what,
              const std::function<void(Call&)>& verify, const std::function<void(Call&)>& prepare = nullptr)
{
    for (const bool unaligned : {false, true}) {
        Call call(session, OperationNamed(operation), shape, unaligned);
        if (prepare) {
            prepare(call);
        }
        RequireStatus(call.Run(), ZT_NOERROR, what);
        call.RequireNoSideEffects(what);
        verify(call);
    }
}

std::string Between(const SZtaWaveFormatInfo& from, const SZtaWaveFormatInfo& to)
{
    return FormatName(from) + " to " + FormatName(to);
}

// ---- Copy ----

void CheckCopySamples(const Context& context)
{
    Session session(context);
    for (const auto& pair : {std::pair{Pcm16(2), Pcm16(2)}, std::pair{Pcm24In24(1), Pcm24In24(1)},
                             std::pair{Float32(2), Float32(2)}, std::pair{Opaque(3, 32, 24), Opaque(3, 32, 32)}}) {
        const SZtaWaveFormatInfo& from = pair.first;
        const SZtaWaveFormatInfo& to = pair.second;
        const CallSpec shape = {{{"source", from, 90, 95}}, {{"destination", to, 70, 110}}};
        RunCases(session, "copy", shape, Between(from, to), [&](Call& call) {
            RequireContent(call, call.Output(), WrittenOver(call.OutputBefore(), call.InputSamples()),
                           Between(from, to));
            RequireLength(call.Output(), 70 * BytesPerFrame(to), Between(from, to));
        });
    }
}

void CheckConversion(Session& session, const SZtaWaveFormatInfo& from, const SZtaWaveFormatInfo& to,
                     std::size_t lengthBefore, std::size_t lengthAfter)
{
    const CallSpec shape = {{{"source", from, 75, 80}}, {{"destination", to, lengthBefore, 90}}};
    RunCases(session, "copy", shape, Between(from, to), [&](Call& call) {
        const Bytes samples = Converted(call.InputSamples(), from, to);
        RequireContent(call, call.Output(), WrittenOver(call.OutputBefore(), samples), Between(from, to));
        RequireLength(call.Output(), lengthAfter * BytesPerFrame(to), Between(from, to));
    });
}

void CheckCopyConverts(const Context& context)
{
    Session session(context);
    for (const std::uint32_t channels : {1U, 2U}) {
        for (const auto from : {&Pcm16, &Pcm24In32, &Float32}) {
            for (const auto to : {&Pcm16, &Pcm24In32, &Float32}) {
                if (from != to) {
                    CheckConversion(session, from(channels, 48000), to(channels, 48000), 60, 75);
                }
            }
        }
    }
    for (const std::uint32_t channels : {1U, 2U, 4U, 8U, 16U, 32U, 64U}) {
        CheckConversion(session, Pcm24In32(channels), Pcm24In24(channels), 60, 75);
        CheckConversion(session, Pcm24In24(channels), Pcm24In32(channels), 60, 75);
        CheckConversion(session, Pcm24In32(channels), Pcm16(channels), 60, 75);
        CheckConversion(session, Pcm16(channels), Pcm24In32(channels), 60, 75);
    }
}

void CheckCopyMultiFormat(const Context& context)
{
    Session session(context);
    for (const std::uint32_t channels : {1U, 2U}) {
        CheckConversion(session, Multi24(channels), Pcm24In32(channels), 60, 60);
        CheckConversion(session, Multi16(channels), Pcm16(channels), 75, 75);
    }
}

void CheckCopyFades(const Context& context)
{
    struct Case {
        SZtaWaveFormatInfo from;
        SZtaWaveFormatInfo stage; ///< of the buffer that is faded: the destination, or a scratch buffer
        SZtaWaveFormatInfo to;
    };
    Session session(context);
    for (const Case& row : {Case{Pcm16(1), Pcm24In32(1), Pcm24In32(1)}, Case{Pcm16(2), Pcm16(2), Pcm16(2)},
                            Case{Pcm24In32(4), Pcm24In32(4), Pcm24In32(4)}, Case{Pcm16(8), Pcm16(8), Pcm16(8)},
                            Case{Pcm16(1), Pcm24In32(1), Float32(1)}}) {
        for (const auto& [fadeIn, fadeOut] : {std::pair{true, false}, std::pair{false, true}, std::pair{true, true}}) {
            CallSpec shape = {{{"source", row.from, 450}}, {{"destination", row.to, 450, 460}}};
            shape.inputs[0].fadeIn = fadeIn;
            shape.inputs[0].fadeOut = fadeOut;
            const std::string what = "a faded copy of " + Between(row.from, row.to);
            const auto convert = [](const Bytes& samples, const SZtaWaveFormatInfo& from,
                                    const SZtaWaveFormatInfo& to) {
                return std::memcmp(&from, &to, sizeof(from)) == 0 ? samples : Converted(samples, from, to);
            };
            RunCases(session, "copy", shape, what, [&, in = fadeIn, out = fadeOut](Call& call) {
                const Bytes staged = Faded(convert(call.InputSamples(), row.from, row.stage), row.stage, in, out);
                RequireContent(call, call.Output(),
                               WrittenOver(call.OutputBefore(), convert(staged, row.stage, row.to)), what);
                RequireFades(call.Output(), false, false, what);
                RequireFades(call.Input(), in, out, what);
            });
        }
    }
}

void CheckCopyRelabels(const Context& context)
{
    Session session(context);
    const CallSpec shape = {{{"source", Pcm20In32(2), 50}}, {{"destination", Pcm20In32(2), 50}}};
    const std::string what = "a copy of 20 bits in 32";
    RunCases(session, "copy", shape, what, [&](Call& call) {
        for (const GuardedBuffer* buffer : {&call.Input(), &call.Output()}) {
            const SZtaWaveFormatInfo expected = Pcm24In32(2);
            const SZtaWaveFormatInfo format = buffer->Description().sWaveFormat;
            Require(std::memcmp(&format, &expected, sizeof(format)) == 0,
                    what + ": " + buffer->Name() + " does not have the format 24-in-32 afterwards");
        }
        RequireContent(call, call.Output(), call.InputSamples(), what);
    });
}

// ---- Duplicate ----

void CheckDuplicateSamples(const Context& context)
{
    struct Case {
        unsigned long from;
        unsigned long to;
        unsigned long length;
    };
    Session session(context);
    const CallSpec shape = {{{"source", Pcm16(1), 100, 120}}, {{"destination", Pcm16(1), 30, 110}}};
    for (const Case& row : {Case{20, 40, 60}, Case{0, 0, 200}, Case{140, 160, 60}, Case{7, 3, 1}, Case{199, 219, 0}}) {
        const std::string what = "a duplicate of " + std::to_string(row.length) + " bytes";
        RunCases(
            session, "duplicate", shape, what,
            [&](Call& call) {
                Bytes expected = call.OutputBefore();
                const Bytes source = call.InputSamples();
                std::copy_n(source.begin() + static_cast<std::ptrdiff_t>(row.from), row.length,
                            expected.begin() + static_cast<std::ptrdiff_t>(row.to));
                RequireContent(call, call.Output(), expected, what);
                RequireLength(call.Output(), 60, what);
            },
            [&](Call& call) {
                call.sourceOffset = row.from;
                call.destinationOffset = row.to;
                call.length = row.length;
            });
    }
}

void CheckDuplicateLabels(const Context& context)
{
    Session session(context);
    CallSpec shape = OperationNamed("duplicate").shape;
    shape.inputs[0].fadeOut = true;
    shape.inputs[0].polarity = 7;
    RunCases(session, "duplicate", shape, "a duplicate", [&](Call& call) {
        RequireFades(call.Output(), false, true, "a duplicate");
        RequirePolarity(call.Output(), 7, "a duplicate");
    });
}

// ---- Mono and stereo ----

void CheckPairs(const Context& context, bool toStereo, const std::vector<std::array<SZtaWaveFormatInfo, 3>>& rows)
{
    Session session(context);
    for (const auto& [from, stage, to] : rows) {
        const std::string what = Between(from, to);
        const std::size_t sampleBytes = stage.ulBitsPerSample / 8;
        const auto convert = [](const Bytes& samples, const SZtaWaveFormatInfo& a, const SZtaWaveFormatInfo& b) {
            const bool same = a.eDataType == b.eDataType && a.ulBitsPerSample == b.ulBitsPerSample;
            return same ? samples : Converted(samples, a, b);
        };
        if (toStereo) {
            const CallSpec shape = {{{"left", from, 61}, {"right", from, 61}}, {{"stereo", to, 10, 64}}};
            RunCases(session, "mono-to-stereo", shape, what, [&, f = from, s = stage, t = to](Call& call) {
                const Bytes joined = Interleaved(
                    {convert(call.InputSamples(0), f, s), convert(call.InputSamples(1), f, s)}, sampleBytes);
                RequireContent(call, call.Output(), WrittenOver(call.OutputBefore(), convert(joined, s, t)), what);
                RequireLength(call.Output(), 61 * BytesPerFrame(t), what);
            });
        } else {
            const CallSpec shape = {{{"stereo", from, 61}}, {{"left", to, 10, 64}, {"right", to, 10, 64}}};
            RunCases(session, "stereo-to-mono", shape, what, [&, f = from, s = stage, t = to](Call& call) {
                const auto sides = Deinterleaved(convert(call.InputSamples(), f, s), 2, sampleBytes);
                for (std::size_t i = 0; i < 2; ++i) {
                    RequireContent(call, call.Output(i), WrittenOver(call.OutputBefore(i), convert(sides[i], s, t)),
                                   what);
                    RequireLength(call.Output(i), 61 * BytesPerFrame(t), what);
                }
            });
        }
    }
}

void CheckMonoToStereoSamples(const Context& context)
{
    CheckPairs(context, true,
               {{Pcm16(1), Pcm16(1), Pcm16(2)},
                {Pcm16(1, 44100), Pcm16(1, 44100), Pcm16(2, 44100)},
                {Pcm24In32(1), Pcm24In32(1), Pcm24In32(2)},
                {Pcm24In24(1), Pcm24In24(1), Pcm24In24(2)}});
}

void CheckMonoToStereoConverts(const Context& context)
{
    CheckPairs(context, true, {{Pcm16(1), Pcm24In32(1), Pcm24In32(2)}, {Pcm24In32(1), Pcm24In32(1), Float32(2)}});
}

void CheckStereoToMonoSamples(const Context& context)
{
    CheckPairs(context, false,
               {{Pcm16(2), Pcm16(2), Pcm16(1)},
                {Pcm16(2, 44100), Pcm16(2, 44100), Pcm16(1, 44100)},
                {Pcm24In32(2), Pcm24In32(2), Pcm24In32(1)},
                {Pcm24In24(2), Pcm24In24(2), Pcm24In24(1)}});
}

void CheckStereoToMonoConverts(const Context& context)
{
    CheckPairs(context, false, {{Pcm16(2), Pcm24In32(2), Pcm24In32(1)}, {Pcm24In32(2), Pcm24In32(2), Float32(1)}});
}

void CheckMonoToStereoFades(const Context& context)
{
    Session session(context);
    for (const bool agreed : {true, false}) {
        const std::string what = agreed ? "two inputs with equal fade flags" : "two inputs with different fade flags";
        CallSpec shape = {{{"left", Pcm24In32(1), 450}, {"right", Pcm24In32(1), 450}}, {{"stereo", Pcm24In32(2), 450}}};
        for (BufferSpec& input : shape.inputs) {
            input.fadeIn = input.fadeOut = true;
        }
        shape.inputs[1].fadeOut = agreed;
        shape.outputs[0].fadeOut = true;
        RunCases(session, "mono-to-stereo", shape, what, [&](Call& call) {
            const Bytes joined = Interleaved({call.InputSamples(0), call.InputSamples(1)}, 4);
            RequireContent(call, call.Output(), Faded(joined, Pcm24In32(2), agreed, agreed), what);
            RequireFades(call.Output(), false, !agreed, what);
        });
    }
}

// ---- Mux ----

struct MuxCase {
    bool interleaves;
    std::uint32_t channelsPerBuffer; ///< of the array

    [[nodiscard]] std::string Operation() const
    {
        const std::string name = channelsPerBuffer == 1 ? "mono" : "stereo";
        return interleaves ? name + "-to-mux" : "mux-to-" + name;
    }
};

CallSpec MuxShape(const MuxCase& mux, const SZtaWaveFormatInfo& arrayFormat, const SZtaWaveFormatInfo& muxFormat,
                  std::size_t frames)
{
    CallSpec shape;
    std::vector<BufferSpec>& array = mux.interleaves ? shape.inputs : shape.outputs;
    for (std::uint32_t i = 0; i < muxFormat.ulChannels / mux.channelsPerBuffer; ++i) {
        array.emplace_back(ArrayElementName(i), arrayFormat, frames, mux.interleaves ? frames : frames + 3);
    }
    (mux.interleaves ? shape.outputs : shape.inputs).emplace_back("mux", muxFormat, frames, frames + 3);
    return shape;
}

std::vector<Bytes> AllInputSamples(const Call& call)
{
    std::vector<Bytes> samples;
    for (std::size_t i = 0; i < call.Inputs(); ++i) {
        samples.push_back(call.InputSamples(i));
    }
    return samples;
}

/// Compares the outputs with what they should contain: one mux, or the planes of one.
void RequireMuxed(const Call& call, const MuxCase& mux, const std::vector<Bytes>& planes, std::size_t sampleBytes,
                  const std::string& what)
{
    if (mux.interleaves) {
        const Bytes samples = Interleaved(planes, sampleBytes * mux.channelsPerBuffer);
        RequireContent(call, call.Output(), WrittenOver(call.OutputBefore(), samples), what);
        RequireLength(call.Output(), samples.size(), what);
        return;
    }
    for (std::size_t i = 0; i < planes.size(); ++i) {
        RequireContent(call, call.Output(i), WrittenOver(call.OutputBefore(i), planes[i]), what);
        RequireLength(call.Output(i), planes[i].size(), what);
    }
}

void CheckMuxSamples(const Context& context, const MuxCase& mux)
{
    Session session(context);
    for (const MakeContainer container : kContainers) {
        for (const std::uint32_t width : {4U, 8U, 16U, 32U, 64U}) {
            const SZtaWaveFormatInfo muxFormat = container(width, 48000);
            const std::size_t sampleBytes = muxFormat.ulBitsPerSample / 8;
            const CallSpec shape = MuxShape(mux, container(mux.channelsPerBuffer, 48000), muxFormat, 21);
            const std::string what = mux.Operation() + " with a mux of " + FormatName(muxFormat);
            RunCases(session, mux.Operation(), shape, what, [&](Call& call) {
                const auto planes = mux.interleaves ? AllInputSamples(call)
                                                    : Deinterleaved(call.InputSamples(), width / mux.channelsPerBuffer,
                                                                    sampleBytes * mux.channelsPerBuffer);
                RequireMuxed(call, mux, planes, sampleBytes, what);
            });
        }
    }
}

void CheckMuxConverts(const Context& context, const MuxCase& mux)
{
    Session session(context);
    const SZtaWaveFormatInfo arrayFormat = Pcm16(mux.channelsPerBuffer);
    const SZtaWaveFormatInfo muxFormat = Pcm24In32(4);
    const std::string what = mux.Operation() + " between containers";
    RunCases(session, mux.Operation(), MuxShape(mux, arrayFormat, muxFormat, 40), what, [&](Call& call) {
        std::vector<Bytes> planes;
        if (mux.interleaves) {
            for (const Bytes& samples : AllInputSamples(call)) {
                planes.push_back(Converted(samples, arrayFormat, muxFormat));
            }
        } else {
            planes = Deinterleaved(Converted(call.InputSamples(), muxFormat, arrayFormat), 4 / mux.channelsPerBuffer,
                                   std::size_t{2} * mux.channelsPerBuffer);
        }
        RequireMuxed(call, mux, planes, mux.interleaves ? 4 : 2, what);
    });
}

void CheckMuxFades(const Context& context, const MuxCase& mux)
{
    Session session(context);
    const SZtaWaveFormatInfo arrayFormat = Pcm24In32(mux.channelsPerBuffer);
    CallSpec shape = MuxShape(mux, arrayFormat, Pcm24In32(4), 450);
    for (BufferSpec& input : shape.inputs) {
        input.fadeIn = true;
        input.polarity = 3;
    }
    shape.inputs.back().fadeOut = true;
    shape.inputs.back().polarity = 5;
    const std::string what = mux.Operation() + " with fades";
    RunCases(session, mux.Operation(), shape, what, [&](Call& call) {
        std::vector<Bytes> planes = mux.interleaves ? AllInputSamples(call)
                                                    : Deinterleaved(call.InputSamples(), 4 / mux.channelsPerBuffer,
                                                                    std::size_t{4} * mux.channelsPerBuffer);
        for (std::size_t i = 0; i < planes.size(); ++i) {
            const bool fadeOut = !mux.interleaves || i + 1 == planes.size();
            planes[i] = Faded(planes[i], arrayFormat, true, fadeOut);
        }
        RequireMuxed(call, mux, planes, 4, what);
        for (std::size_t i = 0; i < call.Outputs(); ++i) {
            // Interleaving of stereo buffers propagates the last input's flags, although the fades have been applied.
            const bool keepsFlags = mux.interleaves && mux.channelsPerBuffer == 2;
            RequireFades(call.Output(i), keepsFlags, keepsFlags, what);
            RequirePolarity(call.Output(i), 5, what);
        }
    });
}

void CheckMuxVolumes(const Context& context, const MuxCase& mux)
{
    Session session(context);
    const std::uint32_t width = 8;
    CallSpec shape = MuxShape(mux, Pcm24In32(mux.channelsPerBuffer), Pcm24In32(width), 40);
    shape.volumes = Ramps(width);
    const std::string what = mux.Operation() + " with volumes";
    RunCases(session, mux.Operation(), shape, what, [&](Call& call) {
        const Bytes all = mux.interleaves ? Interleaved(AllInputSamples(call), std::size_t{4} * mux.channelsPerBuffer)
                                          : call.InputSamples();
        const Bytes scaled = Scaled(all, Ramps(width));
        RequireMuxed(call, mux,
                     Deinterleaved(scaled, width / mux.channelsPerBuffer, std::size_t{4} * mux.channelsPerBuffer), 4,
                     what);
    });
}

/// 16 channels, and 3 frames after the last block of 4.
void CheckMuxTail(const Context& context)
{
    Session session(context);
    const MuxCase mux = {false, 1};
    const std::string what = "deinterleaving of 16 channels and 23 frames";
    RunCases(session, mux.Operation(), MuxShape(mux, Pcm24In32(1), Pcm24In32(16), 23), what, [&](Call& call) {
        auto planes = Deinterleaved(call.InputSamples(), 16, 4);
        for (std::size_t channel = 12; channel < 16; ++channel) {
            std::copy_n(planes[channel - 4].end() - 4, 4, planes[channel].end() - 4);
        }
        RequireMuxed(call, mux, planes, 4, what);
    });
}

// ---- Volume ----

void CheckVolumeSamples(const Context& context)
{
    Session session(context);
    for (const std::uint32_t channels : {1U, 2U, 4U, 8U, 16U, 32U, 64U}) {
        const SZtaWaveFormatInfo format = Pcm24In32(channels);
        CallSpec shape = {{{"input", format, 41}}, {{"output", format, 41, 44}}, Ramps(channels)};
        shape.inputs[0].polarity = 9;
        const std::string what = "volumes of " + std::to_string(channels) + " channels";
        RunCases(session, "volume", shape, what, [&](Call& call) {
            RequireContent(call, call.Output(),
                           WrittenOver(call.OutputBefore(), Scaled(call.InputSamples(), Ramps(channels))), what);
            RequireLength(call.Output(), 41 * BytesPerFrame(format), what);
            RequirePolarity(call.Output(), 9, what);
        });
    }
}

void CheckVolumeLimits(const Context& context)
{
    Session session(context);
    CallSpec shape = OperationNamed("volume").shape;
    shape.volumes = {{0, 8.0F, 8.0F}, {1, 0.0F, 8.0F}};
    const auto volumes = shape.volumes;
    RunCases(session, "volume", shape, "gains up to 8", [&](Call& call) {
        RequireContent(call, call.Output(), Scaled(call.InputSamples(), volumes), "gains up to 8");
    });
}

void CheckVolumeInPlace(const Context& context)
{
    Session session(context);
    CallSpec shape = OperationNamed("volume").shape;
    const auto volumes = shape.volumes;
    Call call(session, OperationNamed("volume"), shape);
    call.out[0] = call.in[0];
    call.Input().AnnounceWrite();
    RequireStatus(call.Run(), ZT_NOERROR, "volumes in place");
    RequireContent(call, call.Input(), Scaled(call.InputSamples(), volumes), "volumes in place");
    Require(call.Input().ReadCount() == 0 && call.Input().WriteCount() == 0 && call.Input().PairingViolations() == 0,
            "volumes in place do not signal one read and one write");
    call.RequireNoSideEffects("volumes in place");
}

void CheckVolumeFades(const Context& context)
{
    Session session(context);
    CallSpec shape = {{{"input", Pcm24In32(2), 450}}, {{"output", Pcm24In32(2), 450}}, Ramps(2)};
    shape.inputs[0].fadeIn = true;
    const std::string what = "volumes with a fade";
    RunCases(session, "volume", shape, what, [&](Call& call) {
        const Bytes scaled = Scaled(call.InputSamples(), Ramps(2));
        RequireContent(call, call.Output(), Faded(scaled, Pcm24In32(2), true, false), what);
        RequireFades(call.Output(), false, false, what);
    });
}

// ---- Resampling ----

using Samples16 = std::vector<std::int16_t>;

Samples16 AsSamples(const Bytes& bytes)
{
    Samples16 samples(bytes.size() / 2);
    std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
    return samples;
}

Bytes AsBytes(const Samples16& samples)
{
    Bytes bytes(samples.size() * 2);
    std::memcpy(bytes.data(), samples.data(), bytes.size());
    return bytes;
}

CallSpec ResampleShape(std::uint32_t channels, std::uint32_t from, std::uint32_t to, std::size_t frames)
{
    return {{{"input", Pcm16(channels, from), frames}},
            {{"output", Pcm16(channels, to), 0, frames * to / from + frames}}};
}

void CheckResampled(Session& session, std::uint32_t channels, std::uint32_t from, std::uint32_t to)
{
    const std::string what = Between(Pcm16(channels, from), Pcm16(channels, to));
    RunCases(session, "resample", ResampleShape(channels, from, to, 700), what, [&](Call& call) {
        std::vector<Bytes> sides;
        for (const Bytes& side : Deinterleaved(call.InputSamples(), channels, 2)) {
            sides.push_back(AsBytes(Resampled(AsSamples(side), from, to)));
        }
        const Bytes expected = Interleaved(sides, 2);
        RequireLength(call.Output(), expected.size(), what);
        // The content after the valid length is free.
        Bytes content = call.Output().Content();
        content.resize(expected.size());
        RequireSameSamples(content, expected, Pcm16(channels, to), {what, call.Seed()});
    });
}

void CheckResampleSamples(const Context& context)
{
    Session session(context);
    CheckResampled(session, 1, 44100, 48000);
    CheckResampled(session, 1, 48000, 44100);
}

void CheckResampleStereo(const Context& context)
{
    Session session(context);
    CheckResampled(session, 2, 44100, 48000);
    CheckResampled(session, 2, 48000, 44100);
}

/// Resamples a whole stream in buffers of these frame counts, and another stream between them.
Bytes ResampledInCuts(Session& session, const Bytes& samples, const std::vector<std::size_t>& cuts)
{
    const Operation& operation = OperationNamed("resample");
    const host::Ref<IUnknown> stream = MakeStream(*session.engine, Pcm16(1, 44100), Pcm16(1, 48000));
    Bytes result;
    std::size_t at = 0;
    for (const std::size_t frames : cuts) {
        Call call(session, operation, ResampleShape(1, 44100, 48000, frames));
        call.stream = stream;
        call.mode = at == 0 ? keZtAudioResamplerModeRestart : keZtAudioResamplerModeContinue;
        const auto first = samples.begin() + static_cast<std::ptrdiff_t>(at);
        call.Input().SetContent(Bytes(first, first + static_cast<std::ptrdiff_t>(2 * frames)));
        RequireStatus(call.Run(), ZT_NOERROR, "one buffer of a stream");
        const Bytes content = call.Output().Content();
        result.insert(result.end(), content.begin(),
                      content.begin() + static_cast<std::ptrdiff_t>(call.Output().Length()));
        at += 2 * frames;
        Call other(session, operation, operation.shape);
        RequireStatus(other.Run(), ZT_NOERROR, "one buffer of another stream");
    }
    return result;
}

void CheckResampleCuts(const Context& context)
{
    Session session(context);
    const Bytes samples = RandomSamples(session.random, Pcm16(1, 44100), 2000);
    const Bytes whole = ResampledInCuts(session, samples, {1000});
    const SZtaWaveFormatInfo format = Pcm16(1, 48000);
    RequireSameSamples(whole, AsBytes(Resampled(AsSamples(samples), 44100, 48000)), format,
                       {"a stream in one buffer", context.seed});
    RequireSameSamples(ResampledInCuts(session, samples, {1, 16, 1, 300, 682}), whole, format,
                       {"a stream in five buffers", context.seed});
}

void CheckResamplerCreation(const Context& context)
{
    Session session(context);
    IZtaAudioSamplesEngine& engine = *session.engine;
    SZtaWaveFormatInfo in = Pcm16(1, 44100);
    SZtaWaveFormatInfo out = Pcm16(1, 48000);
    const host::Ref<IUnknown> stream = MakeStream(engine, in, out);
    RequireOneReference(*stream, "a new resampler");

    IUnknown* none = nullptr;
    RequireStatus(engine.CreateAudioResampler(nullptr, &out, &none), ZT_E_INVALID_POINTER, "a null input format");
    RequireStatus(engine.CreateAudioResampler(&in, nullptr, &none), ZT_E_INVALID_POINTER, "a null output format");
    RequireStatus(engine.CreateAudioResampler(&in, &out, nullptr), ZT_E_INVALID_POINTER, "a null output");

    struct Case {
        const char* what;
        SZtaWaveFormatInfo in;
        SZtaWaveFormatInfo out;
        int status;
    };
    constexpr auto kFloat = keZtAudioDataTypeFloat;
    for (Case row :
         {Case{"mono into stereo", Pcm16(1, 44100), Pcm16(2, 48000), ZT_E_INVALID_AUDIO_CHANNEL_TYPE},
          Case{"three channels", Pcm16(3, 44100), Pcm16(3, 48000), ZT_E_INVALID_AUDIO_CHANNEL_TYPE},
          Case{"24 bits at 32000 Hz", Pcm24In24(1, 32000), Pcm16(1, 48000), ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE},
          Case{"a type that is not PCM", MakeFormat(1, kFloat, 32000, 16, 16), Pcm16(1, 48000),
               ZT_E_INVALID_AUDIO_DATA_TYPE},
          Case{"two equal rates", Pcm16(1, 48000), Pcm16(1, 48000), ZT_E_INVALID_AUDIO_SAMPLING_RATE},
          Case{"32000 Hz", Pcm16(1, 32000), Pcm16(1, 48000), ZT_E_INVALID_AUDIO_SAMPLING_RATE}}) {
        RequireStatus(engine.CreateAudioResampler(&row.in, &row.out, &none), row.status, row.what);
        Require(none == nullptr, std::string(row.what) + " creates a resampler");
    }
}

struct MuxAspect {
    const char* name;
    const char* description;
    void (*run)(const Context& context, const MuxCase& mux);
};

const MuxAspect kMuxAspects[] = {
    {"samples", "Every channel has its samples at its position, in every container and channel count.",
     CheckMuxSamples},
    {"converts", "Buffers with another container than the mux are converted.", CheckMuxConverts},
    {"fades", "The requested fades are applied; flags and polarity are propagated.", CheckMuxFades},
    {"volumes", "Every channel receives its gain ramp.", CheckMuxVolumes},
};

} // namespace

std::vector<Check> SampleChecks()
{
    const std::string creation = "engine.creation";
    std::vector<Check> checks = {
        {"operation.copy.samples", "Equal formats are copied byte by byte, and the valid length does not change.",
         creation, CheckCopySamples},
        {"operation.copy.converts", "Every conversion produces the expected samples and sets the valid length.",
         creation, CheckCopyConverts},
        {"operation.copy.multi-format", "Multi-format words become PCM of the same bits.", creation,
         CheckCopyMultiFormat},
        {"operation.copy.fades", "The requested fades are applied, and the flags of the destination are cleared.",
         creation, CheckCopyFades},
        {"operation.copy.relabels", "The format 20-in-32 becomes 24-in-32, on the host's buffers also.", creation,
         CheckCopyRelabels},
        {"operation.duplicate.samples", "The range of bytes is copied, up to both ends, and no other byte changes.",
         creation, CheckDuplicateSamples},
        {"operation.duplicate.labels", "Polarity and fade flags are propagated.", creation, CheckDuplicateLabels},
        {"operation.mono-to-stereo.samples", "Left and right are interleaved in every container.", creation,
         CheckMonoToStereoSamples},
        {"operation.mono-to-stereo.converts", "Inputs and output with other containers are converted.", creation,
         CheckMonoToStereoConverts},
        {"operation.mono-to-stereo.fades", "A fade is applied if and only if both inputs request it.", creation,
         CheckMonoToStereoFades},
        {"operation.stereo-to-mono.samples", "Left and right are deinterleaved in every container.", creation,
         CheckStereoToMonoSamples},
        {"operation.stereo-to-mono.converts", "Input and outputs with other containers are converted.", creation,
         CheckStereoToMonoConverts},
        {"operation.mux-to-mono.tail",
         "The last sample of outputs 12 to 15 repeats that of 8 to 11 if three frames remain.", creation, CheckMuxTail},
        {"operation.volume.samples", "Every channel receives its gain ramp, and the polarity is propagated.", creation,
         CheckVolumeSamples},
        {"operation.volume.limits", "Gains of 0 and 8 are accepted, and the result saturates at 24 bits.", creation,
         CheckVolumeLimits},
        {"operation.volume.in-place", "Input and output can be one buffer, which receives both signals.", creation,
         CheckVolumeInPlace},
        {"operation.volume.fades", "The fade that the input requests is applied to the scaled samples.", creation,
         CheckVolumeFades},
        {"operation.resample.samples", "Mono streams have the samples of the filter, in both directions.", creation,
         CheckResampleSamples},
        {"operation.resample.stereo", "A stereo stream equals two mono streams.", creation, CheckResampleStereo},
        {"operation.resample.cuts", "The lengths of a stream's buffers do not change its samples.", creation,
         CheckResampleCuts},
        {"operation.resample.creation", "A resampler is created with one reference, for the supported formats.",
         creation, CheckResamplerCreation},
    };
    for (const MuxCase& mux : {MuxCase{true, 1}, MuxCase{true, 2}, MuxCase{false, 1}, MuxCase{false, 2}}) {
        for (const MuxAspect& aspect : kMuxAspects) {
            checks.push_back({"operation." + mux.Operation() + "." + aspect.name, aspect.description, creation,
                              [&aspect, mux](const Context& context) { aspect.run(context, mux); }});
        }
    }
    return checks;
}

} // namespace zta::validate
