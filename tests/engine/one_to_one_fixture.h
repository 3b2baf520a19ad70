/// Fixture for the operations with one input and one output: copy, duplicate, volume and resampling.
#pragma once

#include "testing/engine_fixture.h"

namespace zta::test {

class OneToOneTest : public EngineTest {
protected:
    /// Calls the operation.
    virtual int Call(IZtAudioSamples* input, IZtAudioSamples* output) = 0;

    /// Creates the input and the output: all samples are valid and zero.
    void Build(const SZtaWaveFormatInfo& input, const SZtaWaveFormatInfo& output, std::size_t inputFrames,
               std::size_t outputFrames)
    {
        input_ = Make("input", input, inputFrames);
        output_ = Make("output", output, outputFrames);
    }

    void Build(const SZtaWaveFormatInfo& input, const SZtaWaveFormatInfo& output, std::size_t frames)
    {
        Build(input, output, frames, frames);
    }

    /// Announces both accesses as a host does, clears the call log and calls the operation. Clears the hook of the log
    /// afterwards.
    int Run(RecordingBuffer* input, RecordingBuffer* output)
    {
        callLog_.Clear();
        const int status = RunNested(input, output);
        callLog_.hook = nullptr;
        return status;
    }

    int Run() { return Run(input_.Get(), output_.Get()); }

    /// Announces both accesses and calls the operation, also within a host call of another operation.
    int RunNested(RecordingBuffer* input, RecordingBuffer* output)
    {
        if (input != nullptr) {
            input->AnnounceRead();
        }
        if (output != nullptr) {
            output->AnnounceWrite();
        }
        return Call(input, output);
    }

    /// All memory of a buffer.
    static std::vector<std::uint8_t> Bytes(const host::AudioBuffer& buffer)
    {
        return Samples<std::uint8_t>(buffer, buffer.Capacity());
    }

    void ExpectBothAtRest() { ExpectAtRest({input_.Get(), output_.Get()}); }

    void ExpectSignaledOnce()
    {
        EXPECT_EQ(callLog_.Count("input.SignalReadCompletion"), 1);
        EXPECT_EQ(callLog_.Count("output.SignalWriteCompletion"), 1);
        EXPECT_EQ(input_->ReadCount(), 0);
        EXPECT_EQ(output_->WriteCount(), 0);
        EXPECT_EQ(input_->PairingViolations() + output_->PairingViolations(), 0);
    }

    /// Runs a call whose worker makes these calls to process samples, and checks the state afterwards.
    void ExpectProcessed(const Calls& calls, int status = 0)
    {
        EXPECT_EQ(Run(), status);
        EXPECT_EQ(callLog_.Calls(), Processed(calls, status));
        ExpectSignaledOnce();
        ExpectBothAtRest();
    }

    // ---- Lists of calls ----

    /// The calls of the entry point before it sets the busy flag.
    static Calls Checks()
    {
        return {"output.QueryInterface", "input.QueryInterface", "input.GetErrorCode",
                "input.GetAudioSamplesDescription", "output.GetAudioSamplesDescription"};
    }

    /// The first `count` of these calls.
    static Calls Checks(std::size_t count)
    {
        Calls checks = Checks();
        checks.resize(count);
        return checks;
    }

    /// The calls of the entry point.
    static Calls Entry() { return Checks() + Calls{"output.MarkWriteStartTime"}; }

    /// The calls of the worker of most operations before it processes samples.
    static Calls WorkerStart()
    {
        return {"input.GetAudioSamplesDescription", "output.GetAudioSamplesDescription", "input.GetErrorCode"};
    }

    [[nodiscard]] virtual Calls Start() const { return Entry() + WorkerStart(); }

    /// The ending of the worker of most operations.
    [[nodiscard]] virtual Calls End(int status) const
    {
        return (status < 0 ? Calls{ErrorCall("output", status)} : Calls{}) +
               Calls{"input.SignalReadCompletion", "output.MarkWriteStopTime", "output.SignalWriteCompletion"};
    }

    /// All calls of an operation whose worker makes these calls to process samples.
    [[nodiscard]] Calls Processed(const Calls& calls, int status = 0) const { return Start() + calls + End(status); }

    /// The failure ending of the entry point, without and with a signal to the input.
    static Calls OutputEnding(int status) { return {ErrorCall("output", status), "output.SignalWriteCompletion"}; }
    static Calls Ending(int status) { return Calls{"input.SignalReadCompletion"} + OutputEnding(status); }

    host::Ref<RecordingBuffer> input_;
    host::Ref<RecordingBuffer> output_;
};

} // namespace zta::test
