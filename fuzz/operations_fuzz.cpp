// Sequences of the engine's operations on buffers of any format, length and state, while host calls fail or call the
// engine again. In every case the status is a documented one, every buffer was signaled, references are released, and
// the busy flag is right. If no host call fails, samples equal those of testing/models/operation_models.h.

#include "fuzz/fault_injecting_host.h"
#include "fuzz/fuzz_input.h"
#include "host/formats.h"
#include "testing/engine_probe.h"
#include "testing/models/gain_model.h"
#include "testing/models/interleave_model.h"
#include "testing/models/operation_models.h"
#include "testing/noise.h"
#include "testing/operations.h"
#include "testing/recording_host.h"

#include <map>
#include <set>
#include <utility>

namespace {

using namespace zta::fuzz;
using models::AreEqual;
using models::Content;
using models::RelabelFormat;
using zta::host::Ref;
using zta::test::Noise;
using Buffer = Ref<FaultyBuffer>;

using Kind = zta::test::OperationKind;

/// The status codes of each operation, besides 0 and the codes of inputs and host.
bool IsDocumented(Kind kind, int status)
{
    static const std::set<int> common = {ZT_E_INVALID_POINTER, ZT_E_INVALID_PARAMETER, ZT_E_MODULE_BUSY};
    static const std::set<int> copies = {
        ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH, ZT_E_DESTINATION_BUFFER_TOO_SMALL, ZT_E_FORMAT_NOT_SUPPORTED,
        ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED,     ZT_E_BUFFER_SIZE_MISMATCH,         ZT_E_BUFFER_FORMAT_MISMATCH};
    static const std::set<int> pairs = {ZT_E_FORMAT_NOT_SUPPORTED,         ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE,
                                        ZT_E_BUFFER_SIZE_MISMATCH,         ZT_E_BUFFER_FORMAT_MISMATCH,
                                        ZT_E_DESTINATION_BUFFER_TOO_SMALL, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED};
    static const std::set<int> muxes = {
        ZT_E_BUFFER_FORMAT_MISMATCH,          ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE, ZT_E_BUFFER_SIZE_MISMATCH,
        ZT_E_DESTINATION_BUFFER_TOO_SMALL,    ZT_E_INPUT_FORMAT_NOT_SUPPORTED,  ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED,
        ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, ZT_E_FORMAT_NOT_SUPPORTED};
    static const std::set<int> streams = {ZT_E_INVALID_AUDIO_CHANNEL_TYPE,      ZT_E_INVALID_AUDIO_SAMPLING_RATE,
                                          ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE,    ZT_E_INVALID_AUDIO_DATA_TYPE,
                                          ZT_E_DESTINATION_BUFFER_TOO_SMALL,    ZT_E_FORMAT_NOT_SUPPORTED,
                                          ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, ZT_E_BUFFER_SIZE_MISMATCH};
    static const std::set<int> duplicates = {ZT_E_AUDIO_FORMAT_MISMATCH};
    static const std::map<Kind, const std::set<int>*> own = {
        {Kind::Copy, &copies},        {Kind::Duplicate, &duplicates}, {Kind::MonoToStereo, &pairs},
        {Kind::StereoToMono, &pairs}, {Kind::MonoToMux, &muxes},      {Kind::StereoToMux, &muxes},
        {Kind::MuxToMono, &muxes},    {Kind::MuxToStereo, &muxes},    {Kind::Volume, &muxes},
        {Kind::Resample, &streams}};
    return status == 0 || common.count(status) != 0 || own.at(kind)->count(status) != 0;
}

/// An error code of an input is no failure if it is one of these, or not negative.
bool IsTolerated(int code)
{
    constexpr int kWarnings[] = {kZtSynchroStatusPlayedLate,     kZtSynchroStatusCancelledLate,
                                 kZtSynchroStatusRepeatedFrame,  kZtSynchroStatusInvalidBufferTime,
                                 kZtSynchroStatusDeviceNotReady, kZtSynchroStatusCancelled};
    return code >= 0 || std::find(std::begin(kWarnings), std::end(kWarnings), code) != std::end(kWarnings);
}

/// One operation with its operands; a null pointer is one that the caller gives.
struct Operation {
    std::vector<Buffer> inputs;
    std::vector<Buffer> outputs;
    zta::test::OperationCall call;

    int Run(IZtaAudioSamplesEngine& engine, IUnknown* stream) const
    {
        zta::test::OperationCall copy = call; // the engine may write to the arrays
        copy.stream = stream;
        for (const auto& [buffers, pointers] : {std::pair(&inputs, &copy.inputs), {&outputs, &copy.outputs}}) {
            pointers->reserve(1); // an empty array is not a null array
            for (const Buffer& buffer : *buffers) {
                pointers->push_back(buffer.Get());
            }
        }
        return copy.Run(engine);
    }

    /// The call fails before anything else happens.
    [[nodiscard]] bool FailsImmediately() const
    {
        switch (call.kind) {
        case Kind::StereoToMono:
            return !outputs[0] && !outputs[1];
        case Kind::MuxToMono:
        case Kind::MuxToStereo:
            return !call.hasArray;
        default:
            return !outputs[0];
        }
    }

    /// The inputs that are signaled if no query fails. Every output is signaled once.
    [[nodiscard]] bool IsReadSignalled(std::size_t i) const
    {
        switch (call.kind) {
        case Kind::MonoToStereo:
            return inputs[0] && inputs[1] && (i == 0 || IsTolerated(inputs[0]->reportedCode));
        case Kind::StereoToMono:
            return static_cast<bool>(outputs[1]);
        case Kind::MonoToMux:
        case Kind::StereoToMux:
            return call.hasArray;
        case Kind::Volume:
            return call.hasVolumes && !call.volumes.empty();
        default:
            return true;
        }
    }
};

class Session {
public:
    explicit Session(FuzzInput& choices) : choices_(choices) { host_->ResetPool(); }

    void Step()
    {
        Operation operation = MakeOperation();
        if (!HasCheckedOutputs(operation)) {
            return;
        }
        enum { Nothing, Failing, FailingOn, CallingBack, Busy, kPlans };
        const std::size_t plan = choices_.ConsumeBool() ? choices_.ConsumeIndex(kPlans) : std::size_t{Nothing};
        const int at = 1 + static_cast<int>(choices_.ConsumeIndex(80));
        const bool isPlain = plan == Nothing || plan == Busy;
        Announce(operation);
        std::set<int> codes = {FaultInjector::kStatus};
        for (const Buffer& input : operation.inputs) {
            codes.insert(input ? input->ErrorCode() : 0);
        }
        const std::vector<Content> insBefore = Contents(operation.inputs);
        const std::vector<Content> outsBefore = Contents(operation.outputs);
        SZtLayoutProbe::SetBusy(Object(), plan == Busy ? 1 : 0);
        faults_.Begin({plan == Failing || plan == FailingOn ? at : 0, plan == FailingOn}, plan == CallingBack ? at : 0,
                      [this] { CallBack(); });
        int status = 0;
        bool thrown = false;
        try {
            status = operation.Run(*engine_, stream_.Get());
        } catch (const CZtSmartPointerException&) {
            thrown = true;
        }
        faults_.End();

        // Without its contents the left output of a deinterleave operation cannot be marked.
        ZTA_FUZZ_CHECK(!thrown || (operation.call.kind == Kind::StereoToMono && faults_.HasQueryFailed()));
        const bool isDocumented = codes.count(status) != 0 || IsDocumented(operation.call.kind, status);
        if (!isDocumented) {
            std::fprintf(stderr, "operation %d returned %08X\n", static_cast<int>(operation.call.kind),
                         static_cast<unsigned int>(status));
        }
        ZTA_FUZZ_CHECK(isDocumented);
        CheckBusyFlag(operation, status, plan == Busy);
        CheckSignals(operation, thrown);
        CheckReferences(operation);
        if (isPlain) {
            CheckErrorCodes(operation, status);
        }
        if (plan == Nothing && operation.call.hasArray) {
            CheckSamples(operation, status, insBefore, outsBefore);
        }
        Keep(operation);
    }

private:
    static CZtaAudioSamplesEngine& Object() { return static_cast<CZtaAudioSamplesEngine&>(*engine_); }

    // ---- Making operations ----

    SZtaWaveFormatInfo MakeFormat(std::uint32_t channels)
    {
        constexpr struct {
            EZtAudioDataType type;
            std::uint32_t container;
            std::uint32_t valid;
        } kSorts[] = {{keZtAudioDataTypePcm, 32, 24},
                      {keZtAudioDataTypePcm, 16, 16},
                      {keZtAudioDataTypePcm, 24, 24},
                      {keZtAudioDataTypeFloat, 32, 32},
                      {keZtAudioDataTypePcm, 32, 20},
                      {keZtAudioDataTypeMultiFormat, 32, 16},
                      {keZtAudioDataTypeMultiFormat, 32, 24},
                      {keZtAudioDataTypeOpaque, 32, 24},
                      {keZtAudioDataTypePcm, 32, 16},
                      {keZtAudioDataTypePcm, 16, 20},
                      {keZtAudioDataTypeFloat, 32, 24},
                      {keZtAudioDataTypeOpaque, 8, 8},
                      {static_cast<EZtAudioDataType>(9), 32, 24}};
        constexpr std::uint32_t kChannels[] = {1, 2, 4, 8, 16, 32, 64, 3, 6, 65, 70};
        const auto& sort = choices_.OneOf(kSorts);
        if (choices_.ConsumeWithOdds(16)) {
            channels = choices_.OneOf(kChannels);
        }
        const std::uint32_t rate = choices_.ConsumeWithOdds(16) ? 44100 : 48000;
        return zta::host::MakeFormat(channels, sort.type, rate, sort.container, sort.valid);
    }

    /// The frames of a buffer: mostly as in the operation's other buffers.
    std::size_t MakeFrames()
    {
        if (choices_.ConsumeWithOdds(8)) {
            frames_ = choices_.ConsumeWithOdds(32) ? 24000 + choices_.ConsumeIndex(30000) : choices_.ConsumeIndex(500);
        }
        return frames_;
    }

    Buffer MakeBuffer(const SZtaWaveFormatInfo& format)
    {
        const std::size_t frameBytes = zta::host::BytesPerFrame(format);
        const std::size_t frames = MakeFrames();
        const std::size_t length =
            frames * frameBytes + (choices_.ConsumeWithOdds(16) ? choices_.ConsumeIndex(frameBytes) : 0);
        const std::size_t spare = choices_.ConsumeWithOdds(8) ? choices_.ConsumeIndex(2000) : 0;
        auto buffer = FaultyBuffer::CreateWith(FaultPolicy(faults_), format, length + spare);
        Noise noise(choices_.Any<std::uint8_t>());
        for (std::size_t i = 0; i < length; ++i) {
            buffer->Data()[i] = static_cast<std::byte>(noise.Next());
        }
        if (format.eDataType == keZtAudioDataTypeFloat && !choices_.ConsumeWithOdds(4)) {
            for (std::size_t i = 0; i + sizeof(float) <= length; i += sizeof(float)) {
                const float sample = static_cast<float>(noise.Next() % 20000) / 10000.0F - 1.0F;
                std::memcpy(buffer->Data() + i, &sample, sizeof(sample));
            }
        }
        buffer->SetValidLength(choices_.ConsumeWithOdds(16) ? choices_.ConsumeIndex(length + 1) : length);
        if (choices_.ConsumeWithOdds(6)) {
            buffer->SetFades(choices_.ConsumeBool(), choices_.ConsumeBool());
        }
        if (choices_.ConsumeWithOdds(16)) {
            constexpr int kCodes[] = {kZtSynchroStatusPlayedLate, static_cast<int>(0x80001234), ZT_E_MODULE_BUSY,
                                      ZT_E_DESTINATION_BUFFER_TOO_SMALL, 7};
            buffer->zta::host::AudioBuffer::SetErrorCode(choices_.OneOf(kCodes));
        }
        return buffer;
    }

    /// A buffer of `like`'s format or of another; sometimes one of an earlier operation, or none.
    Buffer Operand(std::uint32_t channels, const SZtaWaveFormatInfo* like)
    {
        if (choices_.ConsumeWithOdds(64)) {
            return {};
        }
        if (!kept_.empty() && choices_.ConsumeWithOdds(8)) {
            return kept_[choices_.ConsumeIndex(kept_.size())];
        }
        if (like == nullptr || choices_.ConsumeWithOdds(8)) {
            return MakeBuffer(MakeFormat(channels));
        }
        SZtaWaveFormatInfo format = *like;
        format.ulChannels = channels;
        return MakeBuffer(format);
    }

    Operation MakeOperation()
    {
        Operation operation;
        operation.call.kind = static_cast<Kind>(choices_.ConsumeIndex(std::size(zta::test::kOperationKinds)));
        frames_ = choices_.ConsumeIndex(choices_.ConsumeWithOdds(4) ? 400 : 12);
        const bool isAlike = !choices_.ConsumeWithOdds(3);
        SZtaWaveFormatInfo common = MakeFormat(1);
        const SZtaWaveFormatInfo* const like = isAlike ? &common : nullptr;
        constexpr std::uint32_t kWidths[] = {4, 8, 16, 2, 32, 64, 1};
        constexpr std::uint32_t kCounts[] = {0, 1, 3, 5, 12, 65, 66};
        const std::uint32_t width = choices_.OneOf(kWidths);
        const Kind kind = operation.call.kind;
        const bool isResample = kind == Kind::Resample;
        zta::test::BufferCounts counts = zta::test::CountBuffers(kind, isResample ? 1 + (width & 1) : width);
        const bool isInterleave = zta::test::IsInterleave(kind);
        const bool isDeinterleave = zta::test::IsDeinterleave(kind);
        if (choices_.ConsumeWithOdds(24)) {
            const std::uint32_t count = choices_.OneOf(kCounts);
            counts.inputs = isInterleave ? count : counts.inputs;
            counts.outputs = isDeinterleave ? count : counts.outputs;
        }
        const auto add = [&](std::vector<Buffer>& buffers, std::uint32_t count, std::uint32_t channels) {
            for (std::uint32_t i = 0; i < count; ++i) {
                buffers.push_back(Operand(channels, like));
            }
        };
        common = isResample ? zta::host::Pcm16(1, 44100) : common;
        add(operation.inputs, counts.inputs, counts.inputChannels);
        common.ulSamplesPerSec = isResample ? 48000 : common.ulSamplesPerSec;
        add(operation.outputs, counts.outputs, counts.outputChannels);
        const bool canAlias = kind == Kind::Copy || kind == Kind::Duplicate || kind == Kind::Volume;
        if (canAlias && choices_.ConsumeWithOdds(16)) {
            operation.outputs = operation.inputs;
        }
        if (isResample) {
            operation.call.mode = static_cast<EZtAudioResamplerMode>(choices_.ConsumeIndex(4));
        }
        if (isResample && !stream_) {
            SZtaWaveFormatInfo from = zta::host::Pcm16(1 + static_cast<std::uint32_t>(choices_.ConsumeIndex(2)), 44100);
            SZtaWaveFormatInfo to = zta::host::Pcm16(from.ulChannels, 48000);
            ZTA_FUZZ_CHECK(engine_->CreateAudioResampler(&from, &to, stream_.Put()) == 0);
        }
        operation.call.hasArray = !choices_.ConsumeWithOdds(64);
        MakeVolumes(operation, width);
        const auto offset = [&] {
            return choices_.ConsumeWithOdds(8) ? choices_.Any<unsigned long>() : choices_.ConsumeIndex(300);
        };
        operation.call.sourceOffset = offset();
        operation.call.destinationOffset = offset();
        operation.call.length = offset();
        if (operation.call.kind == Kind::Duplicate && operation.inputs[0] && choices_.ConsumeWithOdds(3)) {
            operation.call.length = operation.inputs[0]->Length() - operation.call.sourceOffset; // to the very end
        }
        for (const Buffer& input : operation.inputs) {
            if (input) {
                input->reportedCode = 0;
            }
        }
        return operation;
    }

    void MakeVolumes(Operation& operation, std::uint32_t width)
    {
        const bool wanted = operation.call.kind == Kind::Volume || choices_.ConsumeWithOdds(4);
        const std::size_t count = choices_.ConsumeWithOdds(12) ? choices_.ConsumeIndex(70) : wanted ? width : 0;
        operation.call.hasVolumes = !choices_.ConsumeWithOdds(32);
        constexpr float kGains[] = {1.0F, 0.0F, 8.0F, 0.5F, 2.0F, 7.999F, -0.1F, 8.1F, 1e30F};
        const std::size_t usual = choices_.ConsumeWithOdds(8) ? std::size(kGains) : 6;
        for (std::size_t i = 0; i < count; ++i) {
            const float start = kGains[choices_.ConsumeIndex(usual)];
            operation.call.volumes.push_back({static_cast<std::uint32_t>(i), start,
                                              choices_.ConsumeBool() ? start : kGains[choices_.ConsumeIndex(usual)]});
        }
        if (choices_.ConsumeWithOdds(64) && !operation.call.volumes.empty()) {
            operation.call.volumes[0].fStartVolume = choices_.Any<float>();
        }
    }

    /// Stereo is deinterleaved unless both outputs are too small, and a scratch buffer counts as its output. The host
    /// must check each of them.
    static bool HasCheckedOutputs(const Operation& operation)
    {
        if (operation.call.kind != Kind::StereoToMono || !operation.inputs[0] || !operation.outputs[0] ||
            !operation.outputs[1]) {
            return true;
        }
        const std::size_t frames = ContentOf(*operation.inputs[0]).Frames();
        const Content left = ContentOf(*operation.outputs[0]);
        const Content right = ContentOf(*operation.outputs[1]);
        const bool bothFit = left.CapacityFrames() >= frames && right.CapacityFrames() >= frames;
        const bool noneFits = left.CapacityFrames() < frames && right.CapacityFrames() < frames;
        return bothFit || (noneFits && AreEqual(left.Format(), right.Format()));
    }

    static void Announce(const Operation& operation)
    {
        for (const Buffer& input : operation.inputs) {
            if (input) {
                input->AnnounceRead();
            }
        }
        for (const Buffer& output : operation.outputs) {
            if (output) {
                output->AnnounceWrite();
            }
        }
    }

    static std::vector<Content> Contents(const std::vector<Buffer>& buffers)
    {
        std::vector<Content> contents;
        for (const Buffer& buffer : buffers) {
            contents.push_back(buffer ? ContentOf(*buffer) : Content{});
        }
        return contents;
    }

    static Content ContentOf(const FaultyBuffer& buffer)
    {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(buffer.Data());
        return {buffer.Description(), buffer.Length(), {bytes, bytes + buffer.Capacity()}};
    }

    // ---- Nested calls of the host ----

    /// Another caller with valid buffers.
    void CallBack()
    {
        const bool isBusy = SZtLayoutProbe::Busy(Object()) != 0;
        auto source = FaultyBuffer::CreateWith(FaultPolicy(faults_), zta::host::Pcm16(1), 64U);
        auto destination = FaultyBuffer::CreateWith(FaultPolicy(faults_), zta::host::Pcm24In32(1), 128U);
        source->SetValidLength(64);
        source->AnnounceRead();
        destination->AnnounceWrite();
        const int status = engine_->CopyAudioSamples(source.Get(), destination.Get());
        ZTA_FUZZ_CHECK(status == (isBusy ? ZT_E_MODULE_BUSY : 0));
        ZTA_FUZZ_CHECK(SZtLayoutProbe::Busy(Object()) == (isBusy ? 1U : 0U));
        ZTA_FUZZ_CHECK(destination->ErrorCode() == status);
        ZTA_FUZZ_CHECK(source->ReadCount() == 0 && destination->WriteCount() == 0);
        ZTA_FUZZ_CHECK(source->References() == 1 && destination->References() == 1);
    }

    // ---- Checks ----

    /// Every call clears the busy flag, except a call that found it set and a call that failed before all checks.
    static void CheckBusyFlag(const Operation& operation, int status, bool wasBusy)
    {
        const bool staysBusy = wasBusy && (status == ZT_E_MODULE_BUSY || operation.FailsImmediately());
        ZTA_FUZZ_CHECK(SZtLayoutProbe::Busy(Object()) == (staysBusy ? 1U : 0U));
        ZTA_FUZZ_CHECK(!SZtLayoutProbe::HoldsOperands(Object()));
        SZtLayoutProbe::SetBusy(Object(), 0);
    }

    /// Each announced access was signaled once, or not at all if the operation did not reach that buffer or its query
    /// failed.
    void CheckSignals(const Operation& operation, bool thrown)
    {
        const bool maybe = faults_.HasQueryFailed() || thrown;
        std::map<FaultyBuffer*, std::pair<int, int>> left;
        for (std::size_t i = 0; i < operation.inputs.size(); ++i) {
            if (operation.inputs[i]) {
                left[operation.inputs[i].Get()].first +=
                    operation.FailsImmediately() || !operation.IsReadSignalled(i) ? 1 : 0;
            }
        }
        for (const Buffer& output : operation.outputs) {
            if (output) {
                left[output.Get()].second += operation.FailsImmediately() ? 1 : 0;
            }
        }
        for (const auto& [buffer, counts] : left) {
            ZTA_FUZZ_CHECK(buffer->PairingViolations() == 0);
            ZTA_FUZZ_CHECK(maybe ? buffer->ReadCount() >= counts.first : buffer->ReadCount() == counts.first);
            ZTA_FUZZ_CHECK(maybe ? buffer->WriteCount() >= counts.second : buffer->WriteCount() == counts.second);
            while (buffer->ReadCount() != 0) {
                buffer->zta::host::AudioBuffer::SignalReadCompletion();
            }
            while (buffer->WriteCount() != 0) {
                buffer->zta::host::AudioBuffer::SignalWriteCompletion();
            }
        }
    }

    void CheckReferences(const Operation& operation)
    {
        std::map<FaultyBuffer*, long> own;
        for (const std::vector<Buffer>* buffers : {&operation.inputs, &operation.outputs, &std::as_const(kept_)}) {
            for (const Buffer& buffer : *buffers) {
                if (buffer) {
                    ++own[buffer.Get()];
                }
            }
        }
        for (const auto& [buffer, count] : own) {
            CheckReferences(*buffer, count);
        }
        for (FaultyBuffer* buffer : host_->Pool()) {
            CheckReferences(*buffer, 1);
        }
    }

    /// A byte copy that does not fit may have kept a reference.
    static void CheckReferences(FaultyBuffer& buffer, long own)
    {
        const long kept = buffer.References() - own;
        ZTA_FUZZ_CHECK(kept >= 0 && kept <= buffer.rejections);
        for (long i = 0; i < kept; ++i) {
            buffer.Release();
        }
        buffer.rejections = 0;
    }

    /// A failure is recorded on each output.
    static void CheckErrorCodes(const Operation& operation, int status)
    {
        if (status >= 0 || operation.FailsImmediately()) {
            return;
        }
        for (const Buffer& output : operation.outputs) {
            ZTA_FUZZ_CHECK(!output || output->ErrorCode() == status);
        }
    }

    // ---- Samples ----

    static bool AreDisjoint(const Operation& operation)
    {
        std::set<const FaultyBuffer*> all;
        std::size_t count = 0;
        for (const auto* buffers : {&operation.inputs, &operation.outputs}) {
            for (const Buffer& buffer : *buffers) {
                if (!buffer) {
                    return false;
                }
                all.insert(buffer.Get());
                ++count;
            }
        }
        return all.size() == count;
    }

    static void CheckSamples(const Operation& operation, int status, std::vector<Content> ins,
                             std::vector<Content> outs)
    {
        if (!AreDisjoint(operation) || ins.empty() || outs.empty()) {
            return;
        }
        for (std::size_t i = 0; i < ins.size(); ++i) {
            // No operation writes to an input.
            ZTA_FUZZ_CHECK(ContentOf(*operation.inputs[i]).bytes == ins[i].bytes);
            if (!IsTolerated(operation.inputs[i]->ErrorCode())) {
                return;
            }
        }
        switch (operation.call.kind) {
        case Kind::Copy:
            CheckCopy(operation, status, ins[0], outs[0]);
            break;
        case Kind::Duplicate:
            CheckDuplicate(operation, status, ins[0], outs[0]);
            break;
        case Kind::MonoToStereo:
        case Kind::MonoToMux:
        case Kind::StereoToMux:
            CheckInterleaving(operation, status, ins, outs[0]);
            break;
        case Kind::StereoToMono:
        case Kind::MuxToMono:
        case Kind::MuxToStereo:
            CheckDeinterleaving(operation, status, ins[0], outs);
            break;
        case Kind::Volume:
            CheckVolume(operation, status, ins[0], outs[0]);
            break;
        case Kind::Resample:
            break;
        }
    }

    static void CheckCopy(const Operation& operation, int status, const Content& in, const Content& out)
    {
        const Content found = ContentOf(*operation.outputs[0]);
        ZTA_FUZZ_CHECK(!in.RequestsFade() || status < 0 || !found.RequestsFade());
        Content labelled = out;
        RelabelFormat(labelled);
        const models::FadeModel* const fade = models::FindFade(labelled.Format());
        if (in.RequestsFade() && fade == nullptr) {
            return; // faded on a scratch buffer
        }
        const models::Conversion expected =
            in.RequestsFade() ? models::ReferenceFadedCopy(in, out, *fade) : models::ReferenceCopy(in, out);
        if (expected.status == 1 && status < 0) {
            return;
        }
        ZTA_FUZZ_CHECK(status == (expected.status == 1 ? 0 : expected.status));
        if (expected.out) {
            ZTA_FUZZ_CHECK(found.bytes == expected.out->bytes);
            ZTA_FUZZ_CHECK(expected.status == 1 || found.length == expected.out->length);
        }
    }

    static void CheckDuplicate(const Operation& operation, int status, Content in, Content out)
    {
        RelabelFormat(in);
        RelabelFormat(out);
        const bool opaque = in.Format().eDataType == keZtAudioDataTypeOpaque &&
                            out.Format().eDataType == keZtAudioDataTypeOpaque &&
                            in.Format().ulChannels == out.Format().ulChannels &&
                            in.Format().ulSamplesPerSec == out.Format().ulSamplesPerSec;
        const FaultyBuffer& destination = *operation.outputs[0];
        if (!AreEqual(in.Format(), out.Format()) && !opaque) {
            ZTA_FUZZ_CHECK(status == ZT_E_AUDIO_FORMAT_MISMATCH);
            return;
        }
        ZTA_FUZZ_CHECK(status == 0);
        const unsigned long length = operation.call.length;
        if (operation.call.sourceOffset >= in.length || in.length - operation.call.sourceOffset < length) {
            ZTA_FUZZ_CHECK(destination.ErrorCode() == ZT_E_SOURCE_BUFFER_TOO_SMALL);
        } else if (operation.call.destinationOffset >= out.bytes.size() ||
                   out.bytes.size() - operation.call.destinationOffset < length) {
            ZTA_FUZZ_CHECK(destination.ErrorCode() == ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        } else {
            std::memcpy(out.bytes.data() + operation.call.destinationOffset,
                        in.bytes.data() + operation.call.sourceOffset, length);
        }
        const Content found = ContentOf(destination);
        ZTA_FUZZ_CHECK(found.bytes == out.bytes && found.length == out.length);
        ZTA_FUZZ_CHECK(found.description.bFadeIn == in.description.bFadeIn);
        ZTA_FUZZ_CHECK(found.description.bFadeOut == in.description.bFadeOut);
        ZTA_FUZZ_CHECK(found.description.ePolarity == in.description.ePolarity);
    }

    /// Formats that a kernel accepts without staging: one container, and as many channels as the buffers have in total.
    static bool AreDirect(const Content& whole, const std::vector<Content>& parts, bool isMux)
    {
        SZtaWaveFormatInfo part = whole.Format();
        part.ulChannels = parts[0].Format().ulChannels;
        bool direct = models::IsRegular(whole.Format()) && whole.Format().eDataType == keZtAudioDataTypePcm &&
                      part.ulChannels * parts.size() == whole.Format().ulChannels && part.ulChannels <= 2 &&
                      (isMux ? whole.Format().ulChannels >= 4 : whole.Format().ulChannels == 2);
        for (const Content& content : parts) {
            direct = direct && AreEqual(content.Format(), part) && content.Frames() == parts[0].Frames();
        }
        return direct;
    }

    static void CheckInterleaving(const Operation& operation, int status, const std::vector<Content>& ins,
                                  const Content& out)
    {
        const bool isMux = operation.call.kind != Kind::MonoToStereo;
        const models::FadeModel* const fade = models::FindFade(ins[0].Format());
        bool plain = AreDirect(out, ins, isMux) && operation.call.volumes.empty() && ins[0].Frames() > 0;
        for (const Content& in : ins) {
            plain = plain && (!in.RequestsFade() || (isMux && fade != nullptr));
        }
        if (!plain) {
            return;
        }
        std::vector<Content> staged = ins;
        std::vector<models::Bytes> planes;
        for (Content& in : staged) {
            if (in.RequestsFade()) {
                models::ReferenceFade(*fade, in.description.bFadeIn, in.description.bFadeOut, in);
            }
            planes.push_back(std::move(in.bytes));
        }
        // The length of a mux is its valid length; that of stereo is its capacity.
        const std::size_t frames = ins[0].Frames();
        const bool isStaged =
            isMux && std::any_of(ins.begin(), ins.end(), [](const Content& in) { return in.length > kScratchBytes; });
        if (isStaged || (isMux ? out.Frames() : out.CapacityFrames()) < frames) {
            ZTA_FUZZ_CHECK(status == ZT_E_DESTINATION_BUFFER_TOO_SMALL);
            return;
        }
        ZTA_FUZZ_CHECK(status == 0);
        const std::size_t elementBytes = zta::host::BytesPerFrame(ins[0].Format());
        models::Bytes expected = models::Interleaved(planes, elementBytes, frames);
        const Content found = ContentOf(*operation.outputs[0]);
        ZTA_FUZZ_CHECK(found.length == expected.size());
        expected.insert(expected.end(), out.bytes.begin() + static_cast<std::ptrdiff_t>(expected.size()),
                        out.bytes.end());
        ZTA_FUZZ_CHECK(found.bytes == expected);
    }

    static void CheckDeinterleaving(const Operation& operation, int status, const Content& in,
                                    const std::vector<Content>& outs)
    {
        const bool isMux = operation.call.kind != Kind::StereoToMono;
        const std::size_t frames = in.Frames();
        const models::FadeModel* const fade = isMux && in.RequestsFade() ? models::FindFade(outs[0].Format()) : nullptr;
        bool plain = AreDirect(in, outs, isMux) && operation.call.volumes.empty() && frames > 0 &&
                     (!in.RequestsFade() || !isMux || fade != nullptr);
        // Outputs that are longer than the mux receive the frames after its valid ones.
        for (const Content& out : outs) {
            plain = plain && (isMux ? out.Frames() == frames : out.CapacityFrames() >= frames);
        }
        if (!plain) {
            return;
        }
        ZTA_FUZZ_CHECK(status == 0);
        const std::vector<models::Bytes> planes = models::Deinterleaved(in.bytes, in.Format(), outs.size(), frames);
        for (std::size_t part = 0; part < outs.size(); ++part) {
            Content expected = outs[part];
            std::copy(planes[part].begin(), planes[part].end(), expected.bytes.begin());
            if (fade != nullptr) {
                models::ReferenceFade(*fade, in.description.bFadeIn, in.description.bFadeOut, expected);
            }
            const Content found = ContentOf(*operation.outputs[part]);
            ZTA_FUZZ_CHECK(found.bytes == expected.bytes);
            ZTA_FUZZ_CHECK(found.length == planes[part].size());
            ZTA_FUZZ_CHECK(fade == nullptr || !found.RequestsFade());
        }
    }

    /// Constant gains only.
    static void CheckVolume(const Operation& operation, int status, const Content& in, const Content& out)
    {
        const std::size_t channels = in.Format().ulChannels;
        bool plain = operation.call.hasVolumes && operation.call.volumes.size() == channels &&
                     models::IsRegular(in.Format()) && AreEqual(in.Format(), out.Format()) &&
                     in.Format().ulValidBitsPerSample == 24 && in.Format().ulBitsPerSample == 32 &&
                     !in.RequestsFade() && in.Frames() == out.Frames() && in.Frames() * channels >= 4;
        for (const SZtAudioMonoVolumeInfo& volume : operation.call.volumes) {
            plain = plain && volume.fStartVolume == volume.fEndVolume && volume.fStartVolume >= 0.0F &&
                    volume.fStartVolume <= 8.0F;
        }
        if (!plain) {
            return;
        }
        ZTA_FUZZ_CHECK(status == 0);
        Content expected = out;
        for (std::size_t i = 0; i < in.Frames() * channels; ++i) {
            const auto gain =
                std::min(std::int64_t{32767},
                         static_cast<std::int64_t>(operation.call.volumes[i % channels].fStartVolume * 4096.0F));
            models::SetWord(expected.bytes.data() + 4 * i, models::Scaled(models::Word(in.bytes.data() + 4 * i), gain));
        }
        ZTA_FUZZ_CHECK(ContentOf(*operation.outputs[0]).bytes == expected.bytes);
    }

    // ---- Buffers for later ----

    void Keep(const Operation& operation)
    {
        for (const Buffer& output : operation.outputs) {
            if (output && kept_.size() < 6) {
                kept_.push_back(output);
            }
        }
        if (choices_.ConsumeWithOdds(8)) {
            kept_.clear();
        }
    }

    static inline FaultInjector faults_;
    static inline FaultyHost* const host_ = new FaultyHost(faults_);
    static inline const Ref<IZtaAudioSamplesEngine> engine_ = zta::test::CreateEngine(*host_);

    FuzzInput& choices_;
    Ref<IUnknown> stream_;
    std::vector<Buffer> kept_;
    std::size_t frames_ = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput choices(data, size);
    Session session(choices);
    for (int step = 0; step < 8 && !choices.IsEmpty(); ++step) {
        session.Step();
    }
    return 0;
}
