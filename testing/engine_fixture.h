/// Fixture for the tests of the engine's operations: an engine on a recording host, and recording buffers.
#pragma once

#include "host/formats.h"
#include "testing/engine_probe.h"
#include "testing/recording_host.h"

#include <zta/status.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace zta::test {

using host::Float32;
using host::Multi16;
using host::Multi24;
using host::Opaque;
using host::Pcm16;
using host::Pcm20In32;
using host::Pcm24In24;
using host::Pcm24In32;

using Calls = std::vector<std::string>;

/// Concatenates lists of calls.
inline Calls operator+(Calls first, const Calls& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// The calls by which a kernel queries a buffer.
inline Calls BufferQuery(const std::string& buffer)
{
    return {buffer + ".GetAudioSamplesDescription", buffer + ".GetBufferAndLength", buffer + ".GetBufferCapacity"};
}

inline std::string ErrorCall(const std::string& buffer, int code)
{
    char text[32];
    std::snprintf(text, sizeof(text), ".SetErrorCode(0x%08X)", static_cast<unsigned int>(code));
    return buffer + text;
}

class EngineTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        engine_ = CreateEngine(host_);
        callLog_.Clear();
    }

    CZtaAudioSamplesEngine& Object() { return static_cast<CZtaAudioSamplesEngine&>(*engine_); }

    /// A buffer with `validFrames` valid frames, all zero, and a capacity of `capacityFrames`.
    host::Ref<RecordingBuffer> Make(const std::string& name, const SZtaWaveFormatInfo& format, std::size_t validFrames,
                                    std::size_t capacityFrames)
    {
        auto buffer = RecordingBuffer::Create(callLog_, name, format, capacityFrames * host::BytesPerFrame(format));
        buffer->SetValidLength(validFrames * host::BytesPerFrame(format));
        return buffer;
    }

    host::Ref<RecordingBuffer> Make(const std::string& name, const SZtaWaveFormatInfo& format, std::size_t frames)
    {
        return Make(name, format, frames, frames);
    }

    template <class Sample>
    static void Fill(host::AudioBuffer& buffer, const std::vector<Sample>& samples)
    {
        ASSERT_LE(samples.size() * sizeof(Sample), buffer.Capacity());
        if (!samples.empty()) {
            std::memcpy(buffer.Data(), samples.data(), samples.size() * sizeof(Sample));
        }
        buffer.SetValidLength(samples.size() * sizeof(Sample));
    }

    template <class Sample>
    static std::vector<Sample> Samples(const host::AudioBuffer& buffer, std::size_t count)
    {
        std::vector<Sample> samples(count);
        if (count != 0) {
            std::memcpy(samples.data(), buffer.Data(), count * sizeof(Sample));
        }
        return samples;
    }

    /// After every operation: the busy flag is clear, no operand is saved, and no reference is left.
    void ExpectAtRest(const std::vector<RecordingBuffer*>& buffers)
    {
        EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 0U);
        EXPECT_FALSE(SZtLayoutProbe::HoldsOperands(Object()));
        for (const RecordingBuffer* buffer : buffers) {
            EXPECT_EQ(buffer->References(), 1) << buffer->Name();
        }
        for (const RecordingBuffer* buffer : host_.Buffers()) {
            EXPECT_EQ(buffer->References(), 1) << buffer->Name();
        }
    }

    /// A byte copy that does not fit keeps the reference of its query.
    static void ReleaseKeptReferences(RecordingBuffer& buffer)
    {
        while (buffer.References() > 1) {
            buffer.Release();
        }
    }

    host::Ref<IUnknown> MakeStream(SZtaWaveFormatInfo from, SZtaWaveFormatInfo to)
    {
        host::Ref<IUnknown> stream;
        EXPECT_EQ(engine_->CreateAudioResampler(&from, &to, stream.Put()), 0);
        return stream;
    }

    /// Runs `action` inside each host call `call` until the hook of the call log is replaced or cleared.
    void OnCall(const std::string& call, const std::function<void()>& action)
    {
        callLog_.hook = [call, action](const std::string& entry) {
            if (entry == call) {
                action();
            }
        };
    }

    // ---- Lists of calls ----

    static Calls SetLength(const std::string& buffer, std::size_t bytes)
    {
        return {buffer + ".SetLength(" + std::to_string(bytes) + ")"};
    }

    static Calls ByteCopy(const std::string& in, const std::string& out)
    {
        return {in + ".GetBufferAndLength", out + ".GetBufferCapacity", out + ".GetBufferAndLength"};
    }

    static Calls Convert(const std::string& in, const std::string& out, std::size_t bytes)
    {
        return BufferQuery(in) + BufferQuery(out) + SetLength(out, bytes);
    }

    static Calls Flags(const std::string& buffer, int fadeIn, int fadeOut)
    {
        return {buffer + ".SetFadeIn(" + std::to_string(fadeIn) + ")",
                buffer + ".SetFadeOut(" + std::to_string(fadeOut) + ")"};
    }

    static Calls Polarity(const std::string& buffer, unsigned int polarity)
    {
        return {buffer + ".SetPolarity(" + std::to_string(polarity) + ")"};
    }

    CallLog callLog_;
    RecordingHost host_{callLog_};
    host::Ref<IZtaAudioSamplesEngine> engine_;
};

} // namespace zta::test
