/// Fixture for tests that all mux operations share: one interface for both directions, of mono and of stereo buffers.
#pragma once

#include "testing/scenarios.h"
#include "tests/engine/mux_fixture.h"

#include <algorithm>
#include <string>
#include <vector>

namespace zta::test {

/// The array holds the inputs and the mux is the output of an interleave operation; a deinterleave operation has them
/// the other way round. "The outputs" below are the buffers of the array, or the mux.
class MuxOperationTest : public MuxTest {
protected:
    explicit MuxOperationTest(OperationKind kind) : kind_(kind) {}

    [[nodiscard]] bool Interleaves() const { return IsInterleave(kind_); }
    [[nodiscard]] std::uint32_t Channels() const
    {
        return kind_ == OperationKind::MonoToMux || kind_ == OperationKind::MuxToMono ? 1 : 2;
    }
    [[nodiscard]] unsigned long ChannelsPerBuffer() const { return Channels(); }

    /// As many buffers as four channels need.
    [[nodiscard]] std::size_t Four() const { return 4 / ChannelsPerBuffer(); }

    void BuildFour(std::size_t frames) { Build(Pcm24In32(Channels()), Four(), Pcm24In32(4), frames); }

    /// Announces all accesses, clears the call log and calls the operation. Clears the hook of the log afterwards.
    int Run()
    {
        for (RecordingBuffer* buffer : ArrayBuffers()) {
            if (IsPassed(*buffer)) {
                Announce(*buffer, Interleaves());
            }
        }
        Announce(*mux_, !Interleaves());
        callLog_.Clear();
        const int status = RunUnannounced();
        callLog_.hook = nullptr;
        return status;
    }

    int RunUnannounced()
    {
        using Engine = IZtaAudioSamplesEngine;
        const auto& [array, count, mux, volumes, volumeCount] = call_;
        if (Interleaves()) {
            const auto call =
                Channels() == 1 ? &Engine::CopyAudioSamplesMonoToMux : &Engine::CopyAudioSamplesStereoToMux;
            return (engine_.Get()->*call)(array, count, mux, volumes, volumeCount);
        }
        const auto call = Channels() == 1 ? &Engine::CopyAudioSamplesMuxToMono : &Engine::CopyAudioSamplesMuxToStereo;
        return (engine_.Get()->*call)(mux, array, count, volumes, volumeCount);
    }

    [[nodiscard]] std::vector<RecordingBuffer*> Inputs() const { return Interleaves() ? ArrayBuffers() : Mux(); }
    [[nodiscard]] std::vector<RecordingBuffer*> Outputs() const { return Interleaves() ? Mux() : ArrayBuffers(); }

    [[nodiscard]] std::string InputName() const { return Interleaves() ? "b0" : "mux"; }
    [[nodiscard]] std::string LastOutputName() const { return Interleaves() ? "mux" : Name("b", Four() - 1); }

    /// All memory of the outputs, one after the other.
    [[nodiscard]] Words OutputSamples() const
    {
        Words samples;
        for (const RecordingBuffer* output : Outputs()) {
            const Words more = AllSamplesOf(*output);
            samples.insert(samples.end(), more.begin(), more.end());
        }
        return samples;
    }

    /// Every output carries this error code.
    void ExpectRecorded(int status) const
    {
        for (const RecordingBuffer* output : Outputs()) {
            EXPECT_EQ(output->ErrorCode(), status) << output->Name();
        }
    }

    /// Runs a call and checks its status and the state afterwards.
    void ExpectRun(int status)
    {
        EXPECT_EQ(Run(), status);
        ExpectRecorded(status);
        ExpectSettled();
    }

    /// Checks its host calls, too.
    void ExpectRun(int status, const Calls& calls)
    {
        ExpectRun(status);
        EXPECT_EQ(callLog_.Calls(), calls);
    }

    /// The state after a call that the entry point rejected: the code on every output, no marks.
    void ExpectNotStarted(int status)
    {
        for (const RecordingBuffer* output : Outputs()) {
            if (Interleaves() || IsPassed(*output)) {
                EXPECT_EQ(output->ErrorCode(), status) << output->Name();
            }
            EXPECT_EQ(output->WriteStartMarks() + output->WriteStopMarks(), 0) << output->Name();
        }
        if (!Interleaves() && mux_->ErrorCode() < 0) {
            EXPECT_EQ(mux_->ErrorCode(), status) << "an input gets no code";
        }
    }

    /// Runs a call whose entry point fails after `before`: with every signal, without a mark, and with a clear busy
    /// flag even if another operation runs.
    void ExpectRejected(int status, const Calls& before)
    {
        const Words untouched = OutputSamples();
        SZtLayoutProbe::SetBusy(Object(), 1);
        EXPECT_EQ(Run(), status);
        EXPECT_EQ(callLog_.Calls(), before + Ending(status));
        ExpectNotStarted(status);
        EXPECT_EQ(OutputSamples(), untouched);
        ExpectSettled();
    }

    // ---- Lists of calls of the entry point ----

    /// The calls before the volumes are checked.
    [[nodiscard]] Calls BeforeVolumes() const
    {
        return Interleaves() ? Calls{"mux.QueryInterface"} : Calls{"mux.QueryInterface", "mux.GetErrorCode"};
    }

    /// The calls before the first buffer of the array.
    [[nodiscard]] Calls BeforeArray() const
    {
        return BeforeVolumes() + (Interleaves() ? Calls{} : Calls{"mux.GetAudioSamplesDescription"});
    }

    /// The calls on each of the first `count` buffers of the array.
    [[nodiscard]] Calls ArrayChecks(std::size_t count) const
    {
        return ForEach(count, [this](std::size_t i) {
            const std::string name = Name("b", i);
            return Interleaves()
                       ? Calls{name + ".GetAudioSamplesDescription", name + ".QueryInterface", name + ".GetErrorCode"}
                       : Calls{name + ".QueryInterface", name + ".GetAudioSamplesDescription"};
        });
    }

    /// The calls before the count of buffers is compared with the mux.
    [[nodiscard]] Calls BeforeCount(std::size_t count) const
    {
        return BeforeArray() + (Interleaves() ? ArrayChecks(count) + Calls{"mux.GetAudioSamplesDescription"} : Calls{});
    }

    /// The calls of all checks.
    [[nodiscard]] Calls AllChecks(std::size_t count) const
    {
        return BeforeCount(count) + (Interleaves() ? Calls{} : ArrayChecks(count));
    }

    /// The calls of an entry point that succeeds.
    [[nodiscard]] Calls Entry(std::size_t count) const
    {
        return AllChecks(count) + (Interleaves() ? Calls{"mux.MarkWriteStartTime"} : ForEach(count, [](std::size_t i) {
                   return Calls{Name("b", i) + ".MarkWriteStartTime"};
               }));
    }

    /// The failure ending of an entry point: all buffers of the array that are not null, then the mux.
    [[nodiscard]] Calls Ending(int status, bool signalsMux = true) const
    {
        const Calls ofArray = ForEach(pointers_.size(), [&](std::size_t i) {
            const std::string name = Name("b", i);
            if (pointers_[i] == nullptr) {
                return Calls{};
            }
            return Interleaves()
                       ? Calls{name + ".QueryInterface", name + ".SignalReadCompletion"}
                       : Calls{name + ".QueryInterface", ErrorCall(name, status), name + ".SignalWriteCompletion"};
        });
        if (!signalsMux) {
            return ofArray;
        }
        return ofArray + (Interleaves() ? Calls{ErrorCall("mux", status), "mux.SignalWriteCompletion"}
                                        : Calls{"mux.SignalReadCompletion"});
    }

    // ---- Lists of calls of the worker ----

    [[nodiscard]] Calls WorkerStart() const
    {
        return Interleaves() ? Calls{"mux.GetAudioSamplesDescription"}
                             : Calls{"mux.GetAudioSamplesDescription", "b0.GetAudioSamplesDescription"};
    }

    /// Signals each input, then marks and signals each output.
    [[nodiscard]] Calls WorkerEnd(std::size_t count, int status = 0) const
    {
        const auto Read = [](const std::string& name) { return Calls{name + ".SignalReadCompletion"}; };
        const auto Write = [status](const std::string& name) {
            return (status < 0 ? Calls{ErrorCall(name, status)} : Calls{}) +
                   Calls{name + ".MarkWriteStopTime", name + ".SignalWriteCompletion"};
        };
        return Interleaves() ? ForEach(count, [&](std::size_t i) { return Read(Name("b", i)); }) + Write("mux")
                             : Read("mux") + ForEach(count, [&](std::size_t i) { return Write(Name("b", i)); });
    }

private:
    static void Announce(RecordingBuffer& buffer, bool isInput)
    {
        if (isInput) {
            buffer.AnnounceRead();
        } else {
            buffer.AnnounceWrite();
        }
    }

    [[nodiscard]] std::vector<RecordingBuffer*> Mux() const { return {mux_.Get()}; }

    [[nodiscard]] std::vector<RecordingBuffer*> ArrayBuffers() const
    {
        std::vector<RecordingBuffer*> buffers;
        for (const auto& buffer : array_) {
            buffers.push_back(buffer.Get());
        }
        return buffers;
    }

    /// Returns true if the arguments of the operation name this buffer of the array.
    [[nodiscard]] bool IsPassed(const RecordingBuffer& buffer) const
    {
        return std::find(pointers_.begin(), pointers_.end(), &buffer) != pointers_.end();
    }

    const OperationKind kind_;
};

} // namespace zta::test
