#include "tools/ztvalidate/operations.h"

#include "tools/ztvalidate/sample_comparison.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace zta::validate {

namespace {

using host::Pcm16;
using host::Pcm24In32;

int InvokeCopy(IZtaAudioSamplesEngine& engine, Call& call)
{
    return engine.CopyAudioSamples(call.in[0], call.out[0]);
}

int InvokeDuplicate(IZtaAudioSamplesEngine& engine, Call& call)
{
    return engine.DuplicateAudioSamples(call.in[0], call.sourceOffset, call.out[0], call.destinationOffset,
                                        call.length);
}

int InvokeMonoToStereo(IZtaAudioSamplesEngine& engine, Call& call)
{
    return engine.CopyAudioSamplesMonoToStereo(call.in[0], call.in[1], call.out[0]);
}

int InvokeStereoToMono(IZtaAudioSamplesEngine& engine, Call& call)
{
    return engine.CopyAudioSamplesStereoToMono(call.in[0], call.out[0], call.out[1]);
}

template <auto Member>
int InvokeInterleave(IZtaAudioSamplesEngine& engine, Call& call)
{
    return (engine.*Member)(call.Array(call.in), call.in.size(), call.out[0], call.Volumes(), call.volumeCount);
}

template <auto Member>
int InvokeDeinterleave(IZtaAudioSamplesEngine& engine, Call& call)
{
    return (engine.*Member)(call.in[0], call.Array(call.out), call.out.size(), call.Volumes(), call.volumeCount);
}

int InvokeVolume(IZtaAudioSamplesEngine& engine, Call& call)
{
    return engine.ApplyVolume(call.in[0], call.out[0], call.Volumes(), call.volumeCount);
}

int InvokeResample(IZtaAudioSamplesEngine& engine, Call& call)
{
    return engine.ProcessAudioResampler(call.in[0], call.out[0], call.mode, call.stream.Get());
}

std::vector<BufferSpec> Array(std::size_t count, const SZtaWaveFormatInfo& format, std::size_t frames)
{
    std::vector<BufferSpec> bufferSpecs;
    for (std::size_t i = 0; i < count; ++i) {
        bufferSpecs.emplace_back(ArrayElementName(i), format, frames);
    }
    return bufferSpecs;
}

} // namespace

std::vector<BufferSpec*> CallSpec::AllBuffers()
{
    std::vector<BufferSpec*> bufferSpecs;
    for (auto* group : {&inputs, &outputs}) {
        for (BufferSpec& bufferSpec : *group) {
            bufferSpecs.push_back(&bufferSpec);
        }
    }
    return bufferSpecs;
}

const std::vector<Operation>& Operations()
{
    using Engine = IZtaAudioSamplesEngine;
    static const std::vector<Operation> operations = {
        {"copy",
         Family::OneToOne,
         true,
         {{{"source", Pcm16(2), 300}}, {{"destination", Pcm24In32(2), 300}}},
         InvokeCopy},
        {"duplicate",
         Family::OneToOne,
         true,
         {{{"source", Pcm16(1), 100}}, {{"destination", Pcm16(1), 100}}},
         InvokeDuplicate},
        {"mono-to-stereo",
         Family::MonoToStereo,
         false,
         {{{"left", Pcm16(1), 60}, {"right", Pcm16(1), 60}}, {{"stereo", Pcm16(2), 60}}},
         InvokeMonoToStereo},
        {"stereo-to-mono",
         Family::StereoToMono,
         false,
         {{{"stereo", Pcm16(2), 60}}, {{"left", Pcm16(1), 60}, {"right", Pcm16(1), 60}}},
         InvokeStereoToMono},
        {"mono-to-mux",
         Family::Interleave,
         false,
         {Array(4, Pcm24In32(1), 40), {{"mux", Pcm24In32(4), 40}}},
         InvokeInterleave<&Engine::CopyAudioSamplesMonoToMux>},
        {"stereo-to-mux",
         Family::Interleave,
         false,
         {Array(2, Pcm24In32(2), 40), {{"mux", Pcm24In32(4), 40}}},
         InvokeInterleave<&Engine::CopyAudioSamplesStereoToMux>},
        {"mux-to-mono",
         Family::Deinterleave,
         false,
         {{{"mux", Pcm24In32(4), 40}}, Array(4, Pcm24In32(1), 40)},
         InvokeDeinterleave<&Engine::CopyAudioSamplesMuxToMono>},
        {"mux-to-stereo",
         Family::Deinterleave,
         false,
         {{{"mux", Pcm24In32(4), 40}}, Array(2, Pcm24In32(2), 40)},
         InvokeDeinterleave<&Engine::CopyAudioSamplesMuxToStereo>},
        {"volume",
         Family::OneToOne,
         false,
         {{{"input", Pcm24In32(2), 40}}, {{"output", Pcm24In32(2), 40}}, Ramps(2)},
         InvokeVolume},
        {"resample",
         Family::OneToOne,
         true,
         {{{"input", Pcm16(1, 44100), 300}}, {{"output", Pcm16(1, 48000), 0, 400}}},
         InvokeResample},
    };
    return operations;
}

const Operation& OperationNamed(const std::string& name)
{
    for (const Operation& operation : Operations()) {
        if (operation.name == name) {
            return operation;
        }
    }
    throw std::logic_error("no operation " + name);
}

std::string ArrayElementName(std::size_t i)
{
    const std::string stem = "b";
    return stem + std::to_string(i);
}

std::string CheckName(const Operation& operation, const std::string& aspect)
{
    return "operation." + operation.name + "." + aspect;
}

host::Ref<IUnknown> MakeStream(IZtaAudioSamplesEngine& engine, SZtaWaveFormatInfo from, SZtaWaveFormatInfo to)
{
    IUnknown* stream = nullptr;
    RequireStatus(engine.CreateAudioResampler(&from, &to, &stream), 0, "the creation of a resampler");
    Require(stream != nullptr, "the creation of a resampler succeeds without a pointer");
    return host::Ref<IUnknown>::Adopt(stream);
}

std::vector<SZtAudioMonoVolumeInfo> Ramps(std::size_t channels)
{
    std::vector<SZtAudioMonoVolumeInfo> volumes(channels);
    for (std::size_t c = 0; c < channels; ++c) {
        const auto channel = static_cast<std::uint32_t>(c);
        volumes[c] = {channel, 0.25F + static_cast<float>(c) * 0.0625F, 2.0F - static_cast<float>(c) * 0.03125F};
    }
    return volumes;
}

Call::Call(Session& session, const Operation& operation, const CallSpec& shape, bool unaligned)
    : volumes(shape.volumes), volumeCount(shape.volumes.size()), session_(session), operation_(operation)
{
    // The resampler requires 16-bit alignment.
    const std::size_t shift = !unaligned ? 0 : operation.name == "resample" ? 2 : 1;
    const auto make = [&](const std::vector<BufferSpec>& bufferSpecs, std::vector<host::Ref<GuardedBuffer>>& buffers,
                          std::vector<IZtAudioSamples*>& pointers, std::vector<Bytes>& before) {
        for (const BufferSpec& bufferSpec : bufferSpecs) {
            const std::size_t frameBytes = host::BytesPerFrame(bufferSpec.format);
            auto buffer = GuardedBuffer::Create(callLog, bufferSpec.name, bufferSpec.format,
                                                bufferSpec.capacityFrames * frameBytes, shift);
            before.push_back(RandomSamples(session.random, bufferSpec.format, bufferSpec.capacityFrames * frameBytes));
            buffer->SetContent(before.back());
            buffer->SetValidLength(bufferSpec.frames * frameBytes);
            buffer->SetFades(bufferSpec.fadeIn, bufferSpec.fadeOut);
            buffer->SetPolarity(bufferSpec.polarity);
            pointers.push_back(buffer.Get());
            buffers.push_back(buffer);
        }
    };
    make(shape.inputs, inputs_, in, inputsBefore_);
    make(shape.outputs, outputs_, out, outputsBefore_);
    in.reserve(in.size() + 1); // an empty array has an address, too
    if (operation.name == "resample") {
        SZtaWaveFormatInfo from = operation.shape.inputs[0].format;
        SZtaWaveFormatInfo to = operation.shape.outputs[0].format;
        from.ulChannels = to.ulChannels = shape.inputs[0].format.ulChannels == 2 ? 2 : 1;
        if (shape.inputs[0].format.ulSamplesPerSec == 48000) {
            std::swap(from, to);
        }
        stream = MakeStream(*session.engine, from, to);
    }
}

int Call::Run()
{
    for (const auto& input : inputs_) {
        input->AnnounceRead();
    }
    for (const auto& output : outputs_) {
        output->AnnounceWrite();
    }
    callLog.Clear();
    return operation_.invoke(*session_.engine, *this);
}

GuardedBuffer& Call::Buffer(const std::string& name) const
{
    for (const auto* group : {&inputs_, &outputs_}) {
        for (const auto& buffer : *group) {
            if (buffer->Name() == name) {
                return *buffer;
            }
        }
    }
    throw std::logic_error("no buffer " + name);
}

Bytes Call::InputSamples(std::size_t i) const
{
    const Bytes& all = inputsBefore_.at(i);
    return {all.begin(), all.begin() + static_cast<std::ptrdiff_t>(inputs_.at(i)->Length())};
}

void Call::PassNull(const std::string& name)
{
    const IZtAudioSamples* buffer = &Buffer(name);
    for (auto* group : {&in, &out}) {
        std::replace_if(
            group->begin(), group->end(), [=](IZtAudioSamples* entry) { return entry == buffer; }, nullptr);
    }
}

void Call::Fail(const std::string& name, const std::string& entry)
{
    callLog.FailCallsTo(name + "." + entry);
}

void Call::RequireNoSideEffects(const std::string& what, const std::string& leaking) const
{
    for (std::size_t i = 0; i < inputs_.size(); ++i) {
        const bool inPlace = std::find(out.begin(), out.end(), in[i]) != out.end();
        if (!inPlace) {
            RequireSameSamples(inputs_[i]->Content(), inputsBefore_[i], inputs_[i]->Description().sWaveFormat,
                               {what + ": it changes input " + inputs_[i]->Name(), Seed()});
        }
    }
    for (const auto* group : {&inputs_, &outputs_}) {
        for (const auto& buffer : *group) {
            Require(buffer->IsGuardIntact(), what + ": it changes bytes outside the samples of " + buffer->Name());
            const long expected = buffer->Name() == leaking ? 2 : 1;
            Require(buffer->References() == expected, what + ": " + buffer->Name() + " keeps " +
                                                          std::to_string(buffer->References()) + " references, not " +
                                                          std::to_string(expected));
        }
    }
    for (const PoolBuffer* buffer : session_.host.Buffers()) {
        Require(buffer->References() == 1,
                what + ": " + buffer->Name() + " keeps " + std::to_string(buffer->References()) + " references, not 1");
        Require(buffer->PairingViolations() == 0, what + ": it signals " + buffer->Name());
    }
}

void Call::RequireSignals(const std::string& what, int code, const std::set<std::string>& exempt) const
{
    const auto require = [&](const GuardedBuffer& buffer, const char* kind, int open) {
        const int expected = exempt.contains(buffer.Name()) ? 1 : 0;
        Require(open >= expected && buffer.PairingViolations() == 0,
                what + ": " + buffer.Name() + " receives more " + kind + " signals than were announced");
        Require(open == expected, what + ": " + buffer.Name() + " does not receive its " + kind + " signal");
    };
    for (const auto& input : inputs_) {
        require(*input, "read", input->ReadCount());
    }
    for (const auto& output : outputs_) {
        require(*output, "write", output->WriteCount());
        const int expected = exempt.contains(output->Name()) ? 0 : code;
        Require(output->ErrorCode() == expected, what + ": the error code of " + output->Name() + " is " +
                                                     StatusText(output->ErrorCode()) + ", not " + StatusText(expected));
    }
}

} // namespace zta::validate
