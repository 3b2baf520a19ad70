/// Fixture for the tests of the mux operations.
#pragma once

#include "testing/engine_fixture.h"
#include "testing/noise.h"

#include <string>
#include <vector>

namespace zta::test {

/// The arguments of one mux operation. Tests change the one under test.
struct MuxCall {
    IZtAudioSamples** array = nullptr;
    unsigned long count = 0;
    IZtAudioSamples* mux = nullptr;
    SZtAudioMonoVolumeInfo* volumes = nullptr;
    unsigned long volumeCount = 0;
};

/// An array of buffers "b0", "b1" ... and a buffer "mux", with the arguments of an operation on them.
class MuxTest : public EngineTest {
protected:
    using Words = std::vector<std::uint32_t>; ///< samples, each in a 32-bit word

    /// Creates `count` buffers and a mux, filled with noise. Lengths are in frames.
    void Build(const SZtaWaveFormatInfo& format, std::size_t count, const SZtaWaveFormatInfo& muxFormat,
               std::size_t frames)
    {
        array_.clear();
        pointers_.clear();
        volumes_.clear();
        pointers_.reserve(count + 1); // an empty array has an address, too
        for (std::size_t i = 0; i < count; ++i) {
            array_.push_back(Make(Name("b", i), format, frames));
            FillWithNoise(*array_.back());
            pointers_.push_back(array_.back().Get());
        }
        ReplaceMux(muxFormat, frames, frames);
        call_ = {pointers_.data(), count, mux_.Get(), nullptr, 0};
    }

    void ReplaceMux(const SZtaWaveFormatInfo& format, std::size_t validFrames, std::size_t capacityFrames)
    {
        mux_ = Make("mux", format, validFrames, capacityFrames);
        FillWithNoise(*mux_);
        call_.mux = mux_.Get();
    }

    void ReplaceBuffer(std::size_t i, const SZtaWaveFormatInfo& format, std::size_t frames)
    {
        array_[i] = Make(Name("b", i), format, frames);
        FillWithNoise(*array_[i]);
        pointers_[i] = array_[i].Get();
    }

    void RemoveBuffer(std::size_t i) { pointers_[i] = nullptr; }

    void UseVolumes(std::vector<SZtAudioMonoVolumeInfo> volumes)
    {
        volumes_ = std::move(volumes);
        call_.volumes = volumes_.data();
        call_.volumeCount = volumes_.size();
    }

    /// `count` ramps, all from unity to silence.
    void UseVolumes(std::size_t count) { UseVolumes(std::vector<SZtAudioMonoVolumeInfo>(count, {0, 1.0F, 0.0F})); }

    void FillWithNoise(host::AudioBuffer& buffer) { noise_.Fill(buffer.Data(), buffer.Capacity()); }

    /// The first samples of a buffer, each as the little-endian number in its container.
    static Words SamplesOf(const host::AudioBuffer& buffer, std::size_t count)
    {
        const std::size_t bytes = buffer.Description().sWaveFormat.ulBitsPerSample / 8;
        Words words(count);
        for (std::size_t i = 0; i < count * bytes; ++i) {
            words[i / bytes] |= std::to_integer<std::uint32_t>(buffer.Data()[i]) << (i % bytes * 8);
        }
        return words;
    }

    /// Every 32-bit word of a buffer's memory.
    static Words AllSamplesOf(const host::AudioBuffer& buffer)
    {
        return SamplesOf(buffer, buffer.Capacity() / (buffer.Description().sWaveFormat.ulBitsPerSample / 8));
    }

    /// The frames that are valid, in the buffer's own format.
    static std::size_t FramesOf(const host::AudioBuffer& buffer)
    {
        return buffer.Length() / host::BytesPerFrame(buffer.Description().sWaveFormat);
    }

    /// Every access was signaled exactly once, and the engine is at rest.
    void ExpectSettled()
    {
        for (const auto& buffer : array_) {
            EXPECT_EQ(buffer->ReadCount() + buffer->WriteCount() + buffer->PairingViolations(), 0) << buffer->Name();
            ExpectAtRest({buffer.Get()});
        }
        EXPECT_EQ(mux_->ReadCount() + mux_->WriteCount() + mux_->PairingViolations(), 0);
        ExpectAtRest({mux_.Get()});
    }

    // ---- Lists of calls ----

    static std::string Name(const std::string& stem, std::size_t i) { return stem + std::to_string(i); }

    /// The calls that `make(i)` lists, for the first `count` buffers.
    template <class MakeCalls>
    static Calls ForEach(std::size_t count, MakeCalls make)
    {
        Calls calls;
        for (std::size_t i = 0; i < count; ++i) {
            calls = calls + make(i);
        }
        return calls;
    }

    static Calls QueryCalls(const std::string& stem, std::size_t count)
    {
        return ForEach(count, [&](std::size_t i) { return BufferQuery(Name(stem, i)); });
    }

    /// A copy of bytes, format and length.
    static Calls CopyToScratch(const std::string& in, const std::string& stage, std::size_t bytes)
    {
        return Calls{in + ".GetBufferAndLength", stage + ".SetWaveFormat"} + SetLength(stage, bytes) +
               ByteCopy(in, stage);
    }

    static Calls ConvertToScratch(const std::string& in, const std::string& stage, std::size_t bytes)
    {
        return Calls{stage + ".SetWaveFormat"} + Convert(in, stage, bytes);
    }

    static Calls ApplyVolume(const std::string& buffer, std::size_t bytes)
    {
        return BufferQuery(buffer) + BufferQuery(buffer) + SetLength(buffer, bytes);
    }

    std::vector<host::Ref<RecordingBuffer>> array_;
    std::vector<IZtAudioSamples*> pointers_;
    std::vector<SZtAudioMonoVolumeInfo> volumes_;
    host::Ref<RecordingBuffer> mux_;
    MuxCall call_;

private:
    Noise noise_;
};

} // namespace zta::test
