/// The engine's operations as a table: their typical buffers, their calls, and the rules for each call.
#pragma once

#include "tools/ztvalidate/guarded_buffer.h"
#include "tools/ztvalidate/session.h"

#include <set>
#include <string>
#include <vector>

namespace zta::validate {

/// One buffer of a call. It is full of random samples, of which the first `frames` frames are valid.
struct BufferSpec {
    std::string name;
    SZtaWaveFormatInfo format;
    std::size_t frames;
    std::size_t capacityFrames;
    bool fadeIn = false;
    bool fadeOut = false;
    std::uint32_t polarity = 0;

    BufferSpec(std::string bufferName, const SZtaWaveFormatInfo& bufferFormat, std::size_t validFrames,
               std::size_t capacity = 0)
        : name(std::move(bufferName)), format(bufferFormat), frames(validFrames),
          capacityFrames(capacity == 0 ? validFrames : capacity)
    {
    }
};

struct CallSpec {
    std::vector<BufferSpec> inputs;
    std::vector<BufferSpec> outputs;
    std::vector<SZtAudioMonoVolumeInfo> volumes = {};

    /// All buffers, inputs first.
    std::vector<BufferSpec*> AllBuffers();
};

/// Operations of one family make their host calls in the same order.
enum class Family { OneToOne, MonoToStereo, StereoToMono, Interleave, Deinterleave };

class Call;

struct Operation {
    std::string name;
    Family family;
    bool readsErrorCodeTwice; ///< in the entry point and in the worker
    CallSpec shape;
    int (*invoke)(IZtaAudioSamplesEngine& engine, Call& call);
};

const std::vector<Operation>& Operations();

/// One call with its buffers. The arguments can be changed before Run.
class Call {
public:
    Call(Session& session, const Operation& operation, const CallSpec& shape, bool unaligned = false);
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    /// Announces every access as a host does, and calls the engine.
    int Run();

    [[nodiscard]] GuardedBuffer& Input(std::size_t i = 0) const { return *inputs_.at(i); }
    [[nodiscard]] GuardedBuffer& Output(std::size_t i = 0) const { return *outputs_.at(i); }
    [[nodiscard]] std::size_t Inputs() const { return inputs_.size(); }
    [[nodiscard]] std::size_t Outputs() const { return outputs_.size(); }
    [[nodiscard]] GuardedBuffer& Buffer(const std::string& name) const;

    /// The valid samples of an input, and the whole memory of an output, as they were before the call.
    [[nodiscard]] Bytes InputSamples(std::size_t i = 0) const;
    [[nodiscard]] const Bytes& OutputBefore(std::size_t i = 0) const { return outputsBefore_.at(i); }

    /// Passes a null pointer instead of this buffer.
    void PassNull(const std::string& name);
    /// Makes every host call of this name on this buffer fail.
    void Fail(const std::string& name, const std::string& entry);

    /// Requires, after any outcome, that no byte has changed outside the outputs' samples, and that no buffer but
    /// `leaking` keeps a reference.
    void RequireNoSideEffects(const std::string& what, const std::string& leaking = "") const;
    /// Releases the reference that a call keeps on a buffer, so that the buffer can be freed.
    void ReleaseKeptReference(const std::string& name) const { Buffer(name).Release(); }
    /// Requires that every buffer but the exempt ones has received its signal, that none has received another, and that
    /// the outputs among them hold `code`.
    void RequireSignals(const std::string& what, int code, const std::set<std::string>& exempt = {}) const;

    /// The seed of the random samples.
    [[nodiscard]] std::uint64_t Seed() const { return session_.seed; }

    host::CallLog callLog;

    // The arguments.
    std::vector<IZtAudioSamples*> in;
    std::vector<IZtAudioSamples*> out;
    bool nullArray = false;
    std::vector<SZtAudioMonoVolumeInfo> volumes;
    bool nullVolumes = false;
    unsigned long volumeCount = 0;
    unsigned long sourceOffset = 20;
    unsigned long destinationOffset = 40;
    unsigned long length = 60;
    EZtAudioResamplerMode mode = keZtAudioResamplerModeRestart;
    host::Ref<IUnknown> stream;

    /// The array of a mux operation, null if `nullArray` is set.
    IZtAudioSamples** Array(std::vector<IZtAudioSamples*>& buffers) { return nullArray ? nullptr : buffers.data(); }
    SZtAudioMonoVolumeInfo* Volumes() { return nullVolumes || volumes.empty() ? nullptr : volumes.data(); }

private:
    Session& session_;
    const Operation& operation_;
    std::vector<host::Ref<GuardedBuffer>> inputs_;
    std::vector<host::Ref<GuardedBuffer>> outputs_;
    std::vector<Bytes> inputsBefore_;
    std::vector<Bytes> outputsBefore_;
};

/// A stream between the rates of two formats.
host::Ref<IUnknown> MakeStream(IZtaAudioSamplesEngine& engine, SZtaWaveFormatInfo from, SZtaWaveFormatInfo to);

/// Returns a different gain ramp for each channel.
std::vector<SZtAudioMonoVolumeInfo> Ramps(std::size_t channels);

std::vector<Check> OperationChecks();
std::vector<Check> RejectionChecks();
std::vector<Check> SampleChecks();
std::vector<Check> UnusualHostChecks();

/// The name of a buffer of an array, "b0" and so on.
std::string ArrayElementName(std::size_t i);

/// "operation.copy.busy".
std::string CheckName(const Operation& operation, const std::string& aspect);
const Operation& OperationNamed(const std::string& name);

} // namespace zta::validate
