#include "tools/ztvalidate/expectations.h"

#include "testing/models/conversion_models.h"
#include "testing/models/fade_model.h"
#include "testing/models/gain_model.h"
#include "testing/models/resampler_model.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace zta::validate {

namespace {

using ConvertSample = void (*)(const std::uint8_t* in, std::uint8_t* out);

struct Conversion {
    SZtaWaveFormatInfo from;
    SZtaWaveFormatInfo to;
    ConvertSample convert;
};

constexpr Conversion kConversions[] = {
    {host::Pcm16(1), host::Pcm24In32(1), models::Convert16To24},
    {host::Pcm16(1), host::Float32(1), models::Convert16To32f},
    {host::Pcm24In32(1), host::Pcm16(1), models::Convert24To16},
    {host::Pcm24In32(1), host::Float32(1), models::Convert24To32f},
    {host::Float32(1), host::Pcm16(1), models::Convert32fTo16},
    {host::Float32(1), host::Pcm24In32(1), models::Convert32fTo24},
    {host::Pcm24In24(1), host::Pcm24In32(1), models::Convert24To32},
    {host::Pcm24In32(1), host::Pcm24In24(1), models::Convert32To24},
    {host::Multi16(1), host::Pcm16(1), models::ConvertMultiFormatTo16In16},
    {host::Multi24(1), host::Pcm24In32(1), models::ConvertMultiFormatTo24},
};

bool IsSameSample(const SZtaWaveFormatInfo& first, const SZtaWaveFormatInfo& second)
{
    return first.eDataType == second.eDataType && first.ulBitsPerSample == second.ulBitsPerSample &&
           first.ulValidBitsPerSample == second.ulValidBitsPerSample;
}

models::FadeOp FindConversion(const SZtaWaveFormatInfo& format)
{
    if (format.ulBitsPerSample == 16) {
        return format.ulChannels == 2 ? models::FadeOp::Stereo16 : models::FadeOp::Int16;
    }
    return format.ulChannels <= 2 ? models::FadeOp::Int24In32 : models::FadeOp::Mux24;
}

} // namespace

Bytes Converted(const Bytes& samples, const SZtaWaveFormatInfo& from, const SZtaWaveFormatInfo& to)
{
    for (const Conversion& row : kConversions) {
        if (IsSameSample(row.from, from) && IsSameSample(row.to, to)) {
            const std::size_t in = from.ulBitsPerSample / 8;
            const std::size_t out = to.ulBitsPerSample / 8;
            Bytes converted(samples.size() / in * out);
            for (std::size_t i = 0; i < samples.size() / in; ++i) {
                row.convert(&samples[i * in], &converted[i * out]);
            }
            return converted;
        }
    }
    throw std::logic_error("no model of this conversion");
}

Bytes Faded(Bytes samples, const SZtaWaveFormatInfo& format, bool fadeIn, bool fadeOut)
{
    constexpr std::size_t kRamp = 200;
    const std::size_t frameBytes = host::BytesPerFrame(format);
    const std::size_t frames = samples.size() / frameBytes;
    const std::size_t length = std::min(frames, kRamp);
    for (std::size_t k = 0; fadeIn && k < length; ++k) {
        models::FadeFrame(FindConversion(format), format.ulChannels, &samples[k * frameBytes], k);
    }
    for (std::size_t k = 0; fadeOut && k < length; ++k) {
        models::FadeFrame(FindConversion(format), format.ulChannels, &samples[(frames - length + k) * frameBytes],
                          kRamp - 1 - k);
    }
    return samples;
}

Bytes Scaled(const Bytes& samples, const std::vector<SZtAudioMonoVolumeInfo>& volumes)
{
    const std::size_t channels = volumes.size();
    const std::size_t frames = samples.size() / 4 / channels;
    Bytes scaled(samples.size());
    for (std::size_t i = 0; i < frames * channels; ++i) {
        const std::int64_t gain = models::RampGain(volumes[i % channels], i / channels, frames);
        models::SetWord(&scaled[i * 4], models::Scaled(models::Word(&samples[i * 4]), gain));
    }
    return scaled;
}

Bytes Interleaved(const std::vector<Bytes>& buffers, std::size_t elementBytes)
{
    Bytes frames;
    for (std::size_t at = 0; at < buffers.front().size(); at += elementBytes) {
        for (const Bytes& buffer : buffers) {
            frames.insert(frames.end(), &buffer[at], &buffer[at] + elementBytes);
        }
    }
    return frames;
}

std::vector<Bytes> Deinterleaved(const Bytes& frames, std::size_t count, std::size_t elementBytes)
{
    std::vector<Bytes> buffers(count);
    for (std::size_t at = 0; at < frames.size(); at += elementBytes) {
        Bytes& buffer = buffers[at / elementBytes % count];
        buffer.insert(buffer.end(), &frames[at], &frames[at] + elementBytes);
    }
    return buffers;
}

std::vector<std::int16_t> Resampled(const std::vector<std::int16_t>& samples, std::uint32_t from, std::uint32_t to)
{
    const models::BlockLayout layout({static_cast<int>(from), static_cast<int>(to), 32, models::TapKind::Int16});
    const auto prototype = models::Prototype(layout, 1.0F, 9.0F);
    std::vector<std::vector<std::int64_t>> rows;
    for (std::int64_t phase = 0; phase < layout.outRate; ++phase) {
        std::vector<std::int64_t> row;
        for (const double tap : models::PhaseTaps(layout, prototype, phase)) {
            row.push_back(std::llround(tap * 16384.0));
        }
        rows.push_back(row);
    }
    const double gain =
        std::min(1.0, static_cast<double>(layout.outRate) / static_cast<double>(layout.inRate)) / 16384.0;

    // The stream is primed with its first sample, repeated to the reach of the filter, so that the first output has
    // the time of the first input. The last outputs require samples of the next buffer.
    constexpr std::int64_t kPrime = 17;
    std::vector<std::int16_t> primed(kPrime, samples.front());
    primed.insert(primed.end(), samples.begin(), samples.end());
    const auto end = (static_cast<std::int64_t>(primed.size()) - kPrime) * layout.outRate;
    std::vector<std::int16_t> resampled;
    for (std::int64_t now = kPrime * layout.outRate; now < end; now += layout.inRate) {
        const std::int64_t phase = now % layout.outRate;
        const auto& row = rows[static_cast<std::size_t>(phase)];
        const std::int64_t first = now / layout.outRate + (phase == 0 ? 0 : 1) - layout.halfLen;
        std::int64_t sum = 0;
        for (std::size_t i = 0; i < row.size(); ++i) {
            sum += row[i] * primed[static_cast<std::size_t>(first) + i];
        }
        const double value = std::clamp(std::round(static_cast<double>(sum) * gain), -32768.0, 32767.0);
        resampled.push_back(static_cast<std::int16_t>(value));
    }
    return resampled;
}

} // namespace zta::validate
