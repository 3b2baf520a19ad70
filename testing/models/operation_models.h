/// Reference models of the operations without scratch buffers of another format and without host failures: samples and
/// status codes, computed from copies of the buffers.
#pragma once

#include "testing/models/conversion_models.h"
#include "testing/models/fade_model.h"
#include "testing/models/format_model.h"

#include <zta/status.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

namespace models {

// The properties of the mono formats. Those of the same samples with 2, 4 ... 64 channels follow.
inline constexpr std::uint32_t kMono16In16 = 1;
inline constexpr std::uint32_t kMono24In32 = 8;
inline constexpr std::uint32_t kMonoFloat = 16;
inline constexpr std::uint32_t kMono24In24 = 20;

/// Returns the bytes of one frame.
inline std::size_t FrameBytes(const SZtaWaveFormatInfo& format)
{
    return std::size_t{format.ulBitsPerSample / 8} * format.ulChannels;
}

/// The state of a buffer before an operation, or the expected state after it. The vector has the size of the capacity.
struct Content {
    SZtAudioSamplesDescription description;
    std::size_t length;
    std::vector<std::uint8_t> bytes;

    [[nodiscard]] const SZtaWaveFormatInfo& Format() const { return description.sWaveFormat; }
    [[nodiscard]] std::size_t Frames() const { return length / FrameBytes(Format()); }
    [[nodiscard]] std::size_t CapacityFrames() const { return bytes.size() / FrameBytes(Format()); }
    [[nodiscard]] bool RequestsFade() const { return description.bFadeIn || description.bFadeOut; }
};

inline bool AreEqual(const SZtaWaveFormatInfo& first, const SZtaWaveFormatInfo& second)
{
    return std::memcmp(&first, &second, sizeof(first)) == 0;
}

/// A 20-bit format is relabeled as 24-bit.
inline void RelabelFormat(Content& content)
{
    SZtaWaveFormatInfo& format = content.description.sWaveFormat;
    if (format.ulBitsPerSample == 32 && format.ulValidBitsPerSample == 20) {
        format.ulValidBitsPerSample = 24;
    }
}

/// A conversion of samples: between formats of a family, given by the property of its mono format, with equal channels.
struct ConversionModel {
    std::uint32_t in;
    std::uint32_t out;
    std::uint32_t maxChannels;
    void (*convert)(const std::uint8_t* in, std::uint8_t* out);
};

inline constexpr ConversionModel kConversionModels[] = {
    {kMono16In16, kMono24In32, 64, Convert16To24}, {kMono16In16, kMonoFloat, 2, Convert16To32f},
    {kMono24In32, kMono16In16, 64, Convert24To16}, {kMono24In32, kMonoFloat, 2, Convert24To32f},
    {kMonoFloat, kMono16In16, 2, Convert32fTo16},  {kMonoFloat, kMono24In32, 2, Convert32fTo24},
    {kMono24In24, kMono24In32, 64, Convert24To32}, {kMono24In32, kMono24In24, 64, Convert32To24},
};

/// Returns the model of a conversion between two properties, or null.
inline const ConversionModel* FindConversion(std::uint32_t in, std::uint32_t out)
{
    for (const ConversionModel& model : kConversionModels) {
        for (std::uint32_t i = 0; std::uint32_t{1} << i <= model.maxChannels; ++i) {
            if (in == model.in + i && out == model.out + i) {
                return &model;
            }
        }
    }
    return nullptr;
}

/// The result of a conversion; nothing if the model does not cover the samples.
struct Conversion {
    int status; ///< 1 if only the samples of a successful copy are known
    std::optional<Content> out;
};

inline Conversion ReferenceConvert(const Content& in, const Content& out)
{
    const auto inProperty = Property(in.Format());
    const auto outProperty = Property(out.Format());
    if (!inProperty || !outProperty) {
        return {ZT_E_FORMAT_NOT_SUPPORTED, out};
    }
    if (out.CapacityFrames() < in.Frames()) {
        return {ZT_E_DESTINATION_BUFFER_TOO_SMALL, out};
    }
    const ConversionModel* const model = FindConversion(*inProperty, *outProperty);
    if (model == nullptr) {
        return {ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, out};
    }
    if (!IsRegular(in.Format()) || !IsRegular(out.Format())) {
        return {0, std::nullopt};
    }
    Content result = out;
    const std::size_t inBytes = in.Format().ulBitsPerSample / 8;
    const std::size_t outBytes = out.Format().ulBitsPerSample / 8;
    for (std::size_t i = 0; i < in.Frames() * in.Format().ulChannels; ++i) {
        model->convert(in.bytes.data() + i * inBytes, result.bytes.data() + i * outBytes);
    }
    result.length = in.Frames() * FrameBytes(out.Format());
    return {0, result};
}

/// A copy without a fade.
inline Conversion ReferenceCopy(Content in, Content out)
{
    RelabelFormat(in);
    RelabelFormat(out);
    const SZtaWaveFormatInfo& from = in.Format();
    const SZtaWaveFormatInfo& to = out.Format();
    if (from.ulChannels != to.ulChannels) {
        return {ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH, out};
    }
    const bool sameValidBits = from.ulValidBitsPerSample == to.ulValidBitsPerSample;
    if (from.eDataType == to.eDataType && from.ulSamplesPerSec == to.ulSamplesPerSec &&
        from.ulBitsPerSample == to.ulBitsPerSample && (sameValidBits || from.eDataType == keZtAudioDataTypeOpaque)) {
        if (in.length > out.bytes.size()) {
            return {ZT_E_DESTINATION_BUFFER_TOO_SMALL, out};
        }
        std::copy_n(in.bytes.begin(), in.length, out.bytes.begin());
        return {0, out};
    }
    if (from.eDataType == keZtAudioDataTypeMultiFormat && to.eDataType == keZtAudioDataTypePcm && sameValidBits &&
        from.ulSamplesPerSec == to.ulSamplesPerSec &&
        (from.ulBitsPerSample == to.ulBitsPerSample || (from.ulBitsPerSample == 32 && to.ulBitsPerSample == 16))) {
        const bool wide = to.ulBitsPerSample == 32;
        const auto convert = !wide                             ? ConvertMultiFormatTo16In16
                             : from.ulValidBitsPerSample == 16 ? ConvertMultiFormatTo16
                                                               : ConvertMultiFormatTo24;
        for (std::size_t i = 0; i < in.Frames() * from.ulChannels && (i + 1) * (wide ? 4 : 2) <= out.bytes.size();
             ++i) {
            convert(in.bytes.data() + i * 4, out.bytes.data() + i * (wide ? 4 : 2));
        }
        return {1, out};
    }
    return ReferenceConvert(in, out);
}

/// The fade of one format.
struct FadeModel {
    std::uint32_t property;
    FadeOp op;
    std::size_t channels;
};

inline constexpr FadeModel kFadeModels[] = {
    {kMono16In16, FadeOp::Int16, 1},         {kMono16In16 + 1, FadeOp::Stereo16, 2},
    {kMono16In16 + 2, FadeOp::Int16, 4},     {kMono16In16 + 3, FadeOp::Int16, 8},
    {kMono16In16 + 4, FadeOp::Int16, 16},    {kMono24In32, FadeOp::Int24In32, 1},
    {kMono24In32 + 1, FadeOp::Int24In32, 2}, {kMono24In32 + 2, FadeOp::Mux24, 4},
    {kMono24In32 + 3, FadeOp::Mux24, 8},     {kMono24In32 + 4, FadeOp::Mux24, 16},
};

/// Returns the fade of a regular format, or null.
inline const FadeModel* FindFade(const SZtaWaveFormatInfo& format)
{
    if (IsRegular(format)) {
        for (const FadeModel& model : kFadeModels) {
            if (model.property == *Property(format)) {
                return &model;
            }
        }
    }
    return nullptr;
}

/// Fades valid frames in place. A short mono or stereo buffer gets the outer end of the curve; a short mux is
/// unchanged.
inline int ReferenceFade(const FadeModel& model, bool in, bool out, Content& content)
{
    constexpr std::size_t kRamp = 200;
    const std::size_t frames = content.Frames();
    if (frames == 0 || (!in && !out)) {
        return 0;
    }
    if (model.channels > 2 && frames < kRamp) {
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    const std::size_t length = std::min(kRamp, frames);
    const std::size_t frameBytes = FrameBytes(content.Format());
    for (std::size_t k = 0; in && k < length; ++k) {
        FadeFrame(model.op, model.channels, content.bytes.data() + k * frameBytes, k);
    }
    for (std::size_t k = 0; out && k < length; ++k) {
        FadeFrame(model.op, model.channels, content.bytes.data() + (frames - length + k) * frameBytes, kRamp - 1 - k);
    }
    return 0;
}

/// A copy with a fade into a format that can be faded in place.
inline Conversion ReferenceFadedCopy(const Content& in, const Content& out, const FadeModel& model)
{
    Conversion result = ReferenceCopy(in, out);
    if (result.status == 0 && result.out) {
        result.status = ReferenceFade(model, in.description.bFadeIn, in.description.bFadeOut, *result.out);
    } else if (result.status >= 0) {
        return {result.status, std::nullopt};
    }
    return result;
}

} // namespace models
