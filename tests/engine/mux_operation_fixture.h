/// Fixture for tests that all mux operations share: one interface for both directions, of mono and of stereo buffers.
#pragma once

#include "testing/mux_fixture.h"

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

namespace zta::test {

/// One of the four mux operations.
struct MuxOperation {
    const char* name;
    bool interleaves;
    unsigned long channelsPerBuffer;
};

inline constexpr MuxOperation kMonoToMux = {"MonoToMux", true, 1};
inline constexpr MuxOperation kStereoToMux = {"StereoToMux", true, 2};
inline constexpr MuxOperation kMuxToMono = {"MuxToMono", false, 1};
inline constexpr MuxOperation kMuxToStereo = {"MuxToStereo", false, 2};

/// For GoogleTest.
inline void PrintTo(const MuxOperation& operation, std::ostream* out)
{
    *out << operation.name;
}

/// The array holds the inputs and the mux is the output of an interleave operation; a deinterleave operation has them
/// the other way round. "The outputs" below are the buffers of the array, or the mux.
class MuxOperationTest : public MuxTest {
protected:
    explicit MuxOperationTest(const MuxOperation& operation) : operation_(operation) {}

    [[nodiscard]] bool Interleaves() const { return operation_.interleaves; }
    [[nodiscard]] unsigned long ChannelsPerBuffer() const { return operation_.channelsPerBuffer; }
    [[nodiscard]] std::uint32_t Channels() const { return static_cast<std::uint32_t>(ChannelsPerBuffer()); }

    /// As many buffers as four channels need.
    [[nodiscard]] std::size_t Four() const { return 4 / ChannelsPerBuffer(); }

    void BuildFour(std::size_t frames) { Build(Pcm24In32(Channels()), Four(), Pcm24In32(4), frames); }

    /// Announces all accesses, clears the call log and calls the operation. Clears the hook of the log afterwards.
    int Run()
    {
        const int status = Interleaves() ? CallInterleave(ChannelsPerBuffer()) : CallDeinterleave(ChannelsPerBuffer());
        callLog_.hook = nullptr;
        return status;
    }

    int RunUnannounced()
    {
        return Interleaves() ? InterleaveUnannounced(ChannelsPerBuffer())
                             : DeinterleaveUnannounced(ChannelsPerBuffer());
    }

    /// As Run, within a host call of another operation.
    int RunNested()
    {
        for (RecordingBuffer* input : Inputs()) {
            input->AnnounceRead();
        }
        for (RecordingBuffer* output : Outputs()) {
            output->AnnounceWrite();
        }
        return RunUnannounced();
    }

    [[nodiscard]] std::vector<RecordingBuffer*> Inputs() const { return Interleaves() ? ArrayBuffers() : Mux(); }
    [[nodiscard]] std::vector<RecordingBuffer*> Outputs() const { return Interleaves() ? Mux() : ArrayBuffers(); }

    [[nodiscard]] std::string InputName() const { return Interleaves() ? "b0" : "mux"; }
    [[nodiscard]] std::string OutputName() const { return Interleaves() ? "mux" : "b0"; }
    [[nodiscard]] std::string LastOutputName() const { return Interleaves() ? "mux" : Name("b", Four() - 1); }

    /// Replaces the outputs in the arguments of the operation and returns the previous ones.
    std::vector<host::Ref<RecordingBuffer>> ReplaceOutputs(std::size_t frames)
    {
        std::vector<host::Ref<RecordingBuffer>> previous;
        if (Interleaves()) {
            previous.push_back(mux_);
            ReplaceMux(Pcm24In32(4), frames, frames);
        } else {
            previous = array_;
            for (std::size_t i = 0; i < array_.size(); ++i) {
                ReplaceBuffer(i, Pcm24In32(Channels()), frames);
            }
        }
        return previous;
    }

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

    const MuxOperation operation_;
};

} // namespace zta::test
