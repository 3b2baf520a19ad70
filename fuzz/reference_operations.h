/// Reference models of the operations without scratch buffers of another format and without host failures: samples and
/// status codes, computed from copies of the buffers.
#pragma once

#include "host/formats.h"
#include "kernels/bit_depth_list.h"
#include "kernels/sample_format.h"
#include "testing/format_model.h"
#include "testing/models/conversion_models.h"
#include "testing/models/fade_model.h"
#include "testing/models/gain_model.h"

#include <zta/status.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

namespace zta::fuzz {

/// The state of a buffer before an operation, or the expected state after it. The vector has the size of the capacity.
struct Content {
    SZtAudioSamplesDescription description;
    std::size_t length;
    std::vector<std::uint8_t> bytes;

    [[nodiscard]] const SZtaWaveFormatInfo& Format() const { return description.sWaveFormat; }
    [[nodiscard]] std::size_t Frames() const { return length / host::BytesPerFrame(Format()); }
    [[nodiscard]] std::size_t CapacityFrames() const { return bytes.size() / host::BytesPerFrame(Format()); }
    [[nodiscard]] bool AsksForFade() const { return description.bFadeIn || description.bFadeOut; }
};

inline std::optional<std::uint32_t> PropertyOf(const SZtaWaveFormatInfo& format)
{
    return models::Property(format.eDataType, format.ulBitsPerSample, format.ulValidBitsPerSample,
                            format.ulSamplesPerSec, format.ulChannels);
}

/// Returns true if the format is the regular one of its property, so that the property determines the frame size.
inline bool IsExact(const SZtaWaveFormatInfo& format)
{
    const auto property = PropertyOf(format);
    return property && *property != keZtAudioSampleFormat24In32Other &&
           std::memcmp(&format, &g_asFormatOfProperty[*property], sizeof(format)) == 0;
}

inline bool AreEqual(const SZtaWaveFormatInfo& first, const SZtaWaveFormatInfo& second)
{
    return std::memcmp(&first, &second, sizeof(first)) == 0;
}

/// A 20-bit format is relabelled as 24-bit.
inline void FixLabel(Content& content)
{
    SZtaWaveFormatInfo& format = content.description.sWaveFormat;
    if (format.ulBitsPerSample == 32 && format.ulValidBitsPerSample == 20) {
        format.ulValidBitsPerSample = 24;
    }
}

/// One conversion op between two formats, for samples of these sizes.
struct Op {
    EZtAudioSampleFormatProperty in;
    EZtAudioSampleFormatProperty out;
    void (*convert)(const std::uint8_t* in, std::uint8_t* out);
};

inline constexpr Op kOps[] = {
#define ZTA_FUZZ_LAW(in, out, name, arithmetic, samples)                                                               \
    {keZtAudioSampleFormat##in, keZtAudioSampleFormat##out, models::Convert##arithmetic},
    ZTA_BIT_DEPTH_LIST(ZTA_FUZZ_LAW)
#undef ZTA_FUZZ_LAW
};

/// The result of a conversion; nothing if the model does not cover the samples.
struct Conversion {
    int status; ///< 1 if only the samples of a successful copy are known
    std::optional<Content> out;
};

inline Conversion ReferenceConvert(const Content& in, const Content& out)
{
    const auto inProperty = PropertyOf(in.Format());
    const auto outProperty = PropertyOf(out.Format());
    if (!inProperty || !outProperty) {
        return {ZT_E_FORMAT_NOT_SUPPORTED, out};
    }
    if (out.CapacityFrames() < in.Frames()) {
        return {ZT_E_DESTINATION_BUFFER_TOO_SMALL, out};
    }
    for (const Op& op : kOps) {
        if (op.in != *inProperty || op.out != *outProperty) {
            continue;
        }
        if (!IsExact(in.Format()) || !IsExact(out.Format())) {
            return {0, std::nullopt};
        }
        Content result = out;
        const std::size_t inBytes = in.Format().ulBitsPerSample / 8;
        const std::size_t outBytes = out.Format().ulBitsPerSample / 8;
        for (std::size_t i = 0; i < in.Frames() * in.Format().ulChannels; ++i) {
            op.convert(in.bytes.data() + i * inBytes, result.bytes.data() + i * outBytes);
        }
        result.length = in.Frames() * host::BytesPerFrame(out.Format());
        return {0, result};
    }
    return {ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, out};
}

/// A copy without a fade.
inline Conversion ReferenceCopy(Content in, Content out)
{
    FixLabel(in);
    FixLabel(out);
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
        const auto convert = !wide                             ? models::ConvertMultiFormatTo16In16
                             : from.ulValidBitsPerSample == 16 ? models::ConvertMultiFormatTo16
                                                               : models::ConvertMultiFormatTo24;
        for (std::size_t i = 0; i < in.Frames() * from.ulChannels && (i + 1) * (wide ? 4 : 2) <= out.bytes.size();
             ++i) {
            convert(in.bytes.data() + i * 4, out.bytes.data() + i * (wide ? 4 : 2));
        }
        return {1, out};
    }
    return ReferenceConvert(in, out);
}

/// The fade of one format.
struct FadeRow {
    EZtAudioSampleFormatProperty property;
    models::FadeOp op;
    std::size_t channels;
};

inline constexpr FadeRow kFadeRows[] = {
    {keZtAudioSampleFormat16In16Mono, models::FadeOp::Int16, 1},
    {keZtAudioSampleFormat16In16Stereo, models::FadeOp::Stereo16, 2},
    {keZtAudioSampleFormat16In16Mux4, models::FadeOp::Int16, 4},
    {keZtAudioSampleFormat16In16Mux8, models::FadeOp::Int16, 8},
    {keZtAudioSampleFormat16In16Mux16, models::FadeOp::Int16, 16},
    {keZtAudioSampleFormat24In32Mono, models::FadeOp::Int24In32, 1},
    {keZtAudioSampleFormat24In32Stereo, models::FadeOp::Int24In32, 2},
    {keZtAudioSampleFormat24In32Mux4, models::FadeOp::Mux24, 4},
    {keZtAudioSampleFormat24In32Mux8, models::FadeOp::Mux24, 8},
    {keZtAudioSampleFormat24In32Mux16, models::FadeOp::Mux24, 16},
};

/// The table entry of a regular format, or null.
inline const FadeRow* FadeRowOf(const SZtaWaveFormatInfo& format)
{
    if (IsExact(format)) {
        for (const FadeRow& row : kFadeRows) {
            if (row.property == *PropertyOf(format)) {
                return &row;
            }
        }
    }
    return nullptr;
}

/// Fades valid frames in place. A short mono or stereo buffer gets the outer end of the curve; a short mux is
/// unchanged.
inline int ReferenceFade(const FadeRow& row, bool in, bool out, Content& content)
{
    constexpr std::size_t kRamp = 200;
    const std::size_t frames = content.Frames();
    if (frames == 0 || (!in && !out)) {
        return 0;
    }
    if (row.channels > 2 && frames < kRamp) {
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    const std::size_t length = std::min(kRamp, frames);
    const std::size_t frameBytes = host::BytesPerFrame(content.Format());
    for (std::size_t k = 0; in && k < length; ++k) {
        models::FadeFrame(row.op, row.channels, content.bytes.data() + k * frameBytes, k);
    }
    for (std::size_t k = 0; out && k < length; ++k) {
        models::FadeFrame(row.op, row.channels, content.bytes.data() + (frames - length + k) * frameBytes,
                          kRamp - 1 - k);
    }
    return 0;
}

/// A copy with a fade into a format that can be faded in place.
inline Conversion CopyFadedPlainly(const Content& in, const Content& out, const FadeRow& row)
{
    Conversion result = ReferenceCopy(in, out);
    if (result.status == 0 && result.out) {
        result.status = ReferenceFade(row, in.description.bFadeIn, in.description.bFadeOut, *result.out);
    } else if (result.status >= 0) {
        return {result.status, std::nullopt};
    }
    return result;
}

/// Interleaves elements: frame by frame, one of each buffer.
inline std::vector<std::uint8_t> Interleaved(const std::vector<const Content*>& parts, std::size_t elementBytes,
                                             std::size_t frames)
{
    std::vector<std::uint8_t> mux;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        for (const Content* part : parts) {
            const auto element = part->bytes.begin() + static_cast<std::ptrdiff_t>(frame * elementBytes);
            mux.insert(mux.end(), element, element + static_cast<std::ptrdiff_t>(elementBytes));
        }
    }
    return mux;
}

} // namespace zta::fuzz
