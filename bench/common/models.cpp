#include "bench/common/models.h"

#include "testing/models/conversion_models.h"
#include "testing/models/gain_model.h"

#include <cstring>
#include <stdexcept>

namespace bench {

namespace {

/// Converts an integer sample to 24-in-32.
void ConvertToInt24In32(Sample from, const std::uint8_t* in, std::uint8_t* out)
{
    switch (from) {
    case Sample::Int16:
        return models::Convert16To24(in, out);
    case Sample::Int24In32:
        return static_cast<void>(std::memcpy(out, in, 4));
    case Sample::Int24In24:
        return models::Convert24To32(in, out);
    case Sample::Multi16:
        return models::ConvertMultiFormatTo16(in, out);
    case Sample::Multi24:
        return models::ConvertMultiFormatTo24(in, out);
    default:
        throw std::logic_error("no integer sample");
    }
}

void ConvertSample(Sample from, const std::uint8_t* in, Sample to, std::uint8_t* out)
{
    if (from == Sample::Float) {
        return to == Sample::Int16 ? models::Convert32fTo16(in, out) : models::Convert32fTo24(in, out);
    }
    if (from == Sample::Int16 && to == Sample::Float) {
        return models::Convert16To32f(in, out);
    }
    std::uint8_t sample[4];
    ConvertToInt24In32(from, in, sample);
    switch (to) {
    case Sample::Int16:
        return models::Convert24To16(sample, out);
    case Sample::Int24In32:
        return static_cast<void>(std::memcpy(out, sample, sizeof sample));
    case Sample::Int24In24:
        return models::Convert32To24(sample, out);
    case Sample::Float:
        return models::Convert24To32f(sample, out);
    default:
        throw std::logic_error("no conversion to this format");
    }
}

std::uint8_t* Octets(std::byte* bytes)
{
    return reinterpret_cast<std::uint8_t*>(bytes);
}

} // namespace

std::vector<std::byte> Converted(const BufferLayout& in, const BufferLayout& out)
{
    std::vector<std::byte> result(out.Bytes());
    for (std::size_t i = 0; i < in.frames * in.channelsOfPlane; ++i) {
        ConvertSample(in.sample, Octets(in.planes.front()) + i * BytesOf(in.sample), out.sample,
                      Octets(result.data()) + i * BytesOf(out.sample));
    }
    return result;
}

std::vector<std::byte> Moved(const BufferLayout& in, const BufferLayout& out)
{
    std::vector<std::byte> result(out.Bytes());
    const std::size_t bytes = BytesOf(in.sample);
    for (std::uint32_t channel = 0; channel < in.Channels(); ++channel) {
        const std::byte* from = in.planes[channel / in.channelsOfPlane] + channel % in.channelsOfPlane * bytes;
        std::byte* to =
            result.data() + channel / out.channelsOfPlane * out.PlaneBytes() + channel % out.channelsOfPlane * bytes;
        for (std::size_t frame = 0; frame < in.frames; ++frame) {
            std::memcpy(to, from, bytes);
            from += in.channelsOfPlane * bytes;
            to += out.channelsOfPlane * bytes;
        }
    }
    return result;
}

std::vector<std::byte> Scaled(const BufferLayout& in, double start, double end)
{
    std::vector<std::byte> result(in.Bytes());
    SZtAudioMonoVolumeInfo ramp{};
    ramp.fStartVolume = static_cast<float>(start);
    ramp.fEndVolume = static_cast<float>(end);
    for (std::size_t i = 0; i < in.frames * in.channelsOfPlane; ++i) {
        const std::int64_t gain = models::RampGain(ramp, i / in.channelsOfPlane, in.frames);
        models::SetWord(Octets(result.data()) + 4 * i,
                        models::Scaled(models::Word(Octets(in.planes.front()) + 4 * i), gain));
    }
    return result;
}

} // namespace bench
