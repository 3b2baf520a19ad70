/// The operations of the engine that process buffers: which buffers each has, and how it is called. Header-only, for
/// benchmarks, which load the module.
#pragma once

#include <zta/engine_interfaces.h>

#include <cstdint>
#include <vector>

namespace zta::test {

enum class OperationKind {
    Copy,
    Duplicate,
    MonoToStereo,
    StereoToMono,
    MonoToMux,
    StereoToMux,
    MuxToMono,
    MuxToStereo,
    Volume,
    Resample,
};

inline constexpr OperationKind kOperationKinds[] = {
    OperationKind::Copy,      OperationKind::Duplicate,   OperationKind::MonoToStereo, OperationKind::StereoToMono,
    OperationKind::MonoToMux, OperationKind::StereoToMux, OperationKind::MuxToMono,    OperationKind::MuxToStereo,
    OperationKind::Volume,    OperationKind::Resample,
};

constexpr const char* OperationName(OperationKind kind)
{
    constexpr const char* kNames[] = {"Copy",        "Duplicate", "MonoToStereo", "StereoToMono", "MonoToMux",
                                      "StereoToMux", "MuxToMono", "MuxToStereo",  "Volume",       "Resample"};
    return kNames[static_cast<int>(kind)];
}

/// True for the operations with an array of inputs.
constexpr bool IsInterleave(OperationKind kind)
{
    return kind == OperationKind::MonoToMux || kind == OperationKind::StereoToMux;
}

/// True for the operations with an array of outputs.
constexpr bool IsDeinterleave(OperationKind kind)
{
    return kind == OperationKind::MuxToMono || kind == OperationKind::MuxToStereo;
}

/// The number of buffers of an operation, and the channels of each.
struct BufferCounts {
    std::uint32_t inputs;
    std::uint32_t inputChannels;
    std::uint32_t outputs;
    std::uint32_t outputChannels;
};

/// Returns the buffers of an operation whose buffer with the most channels, or only one, has `channels`.
constexpr BufferCounts CountBuffers(OperationKind kind, std::uint32_t channels)
{
    switch (kind) {
    case OperationKind::MonoToStereo:
        return {2, 1, 1, 2};
    case OperationKind::StereoToMono:
        return {1, 2, 2, 1};
    case OperationKind::MonoToMux:
        return {channels, 1, 1, channels};
    case OperationKind::StereoToMux:
        return {channels / 2, 2, 1, channels};
    case OperationKind::MuxToMono:
        return {1, channels, channels, 1};
    case OperationKind::MuxToStereo:
        return {1, channels, channels / 2, 2};
    default:
        return {1, channels, 1, channels};
    }
}

/// One call of an operation with its arguments.
struct OperationCall {
    OperationKind kind = OperationKind::Copy;
    // Mutable, because the interface takes arrays without const.
    mutable std::vector<IZtAudioSamples*> inputs{};
    mutable std::vector<IZtAudioSamples*> outputs{};
    mutable std::vector<SZtAudioMonoVolumeInfo> volumes{};
    unsigned long sourceOffset = 0;      ///< of Duplicate, in bytes
    unsigned long destinationOffset = 0; ///< of Duplicate, in bytes
    unsigned long length = 0;            ///< of Duplicate, in bytes
    EZtAudioResamplerMode mode = keZtAudioResamplerModeRestart;
    IUnknown* stream = nullptr;
    bool hasArray = true;   ///< false: the array is a null pointer
    bool hasVolumes = true; ///< false: the volumes are a null pointer

    /// Makes the call, and nothing else: it can run under the real-time trap.
    int Run(IZtaAudioSamplesEngine& engine) const
    {
        auto& planes = IsDeinterleave(kind) ? outputs : inputs;
        IZtAudioSamples** const array = hasArray ? planes.data() : nullptr;
        SZtAudioMonoVolumeInfo* const gains = hasVolumes ? volumes.data() : nullptr;
        switch (kind) {
        case OperationKind::Copy:
            return engine.CopyAudioSamples(inputs[0], outputs[0]);
        case OperationKind::Duplicate:
            return engine.DuplicateAudioSamples(inputs[0], sourceOffset, outputs[0], destinationOffset, length);
        case OperationKind::MonoToStereo:
            return engine.CopyAudioSamplesMonoToStereo(inputs[0], inputs[1], outputs[0]);
        case OperationKind::StereoToMono:
            return engine.CopyAudioSamplesStereoToMono(inputs[0], outputs[0], outputs[1]);
        case OperationKind::MonoToMux:
            return engine.CopyAudioSamplesMonoToMux(array, planes.size(), outputs[0], gains, volumes.size());
        case OperationKind::StereoToMux:
            return engine.CopyAudioSamplesStereoToMux(array, planes.size(), outputs[0], gains, volumes.size());
        case OperationKind::MuxToMono:
            return engine.CopyAudioSamplesMuxToMono(inputs[0], array, planes.size(), gains, volumes.size());
        case OperationKind::MuxToStereo:
            return engine.CopyAudioSamplesMuxToStereo(inputs[0], array, planes.size(), gains, volumes.size());
        case OperationKind::Volume:
            return engine.ApplyVolume(inputs[0], outputs[0], gains, volumes.size());
        case OperationKind::Resample:
            return engine.ProcessAudioResampler(inputs[0], outputs[0], mode, stream);
        }
        return 0;
    }
};

} // namespace zta::test
