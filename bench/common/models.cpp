#include "bench/common/models.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace bench {

namespace {

std::int64_t Integer(const std::byte* at, std::size_t bytes)
{
    std::int64_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        value += std::to_integer<std::int64_t>(at[i]) << (8 * i);
    }
    const std::int64_t range = std::int64_t{1} << (8 * bytes);
    return value >= range / 2 ? value - range : value;
}

void SetInteger(std::byte* at, std::size_t bytes, std::int64_t value)
{
    for (std::size_t i = 0; i < bytes; ++i) {
        at[i] = static_cast<std::byte>(value >> (8 * i));
    }
}

float Float(const std::byte* at)
{
    float value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

/// Returns a sample as an MSB-aligned 32-bit word.
std::int64_t Word(Sample sample, const std::byte* at)
{
    switch (sample) {
    case Sample::Int16:
        return Integer(at, 2) * 65536;
    case Sample::Int24In32:
        return Integer(at, 4);
    case Sample::Int24In24:
        return Integer(at, 3) * 256;
    case Sample::Multi16:
        return Integer(at, 4) * 16 & 0xFFFF0000;
    case Sample::Multi24:
        return Integer(at, 4) * 16 & 0xFFFFFF00;
    default:
        throw std::logic_error("no integer word");
    }
}

void ConvertSample(Sample from, const std::byte* in, Sample to, std::byte* out)
{
    if (from == Sample::Float) {
        const float scale = to == Sample::Int16 ? 32767.0F : 2147483648.0F;
        return SetInteger(out, BytesOf(to), static_cast<std::int64_t>(Float(in) * scale));
    }
    const std::int64_t word = Word(from, in);
    if (to == Sample::Float) {
        const double quotient = from == Sample::Int16 ? static_cast<double>(word >> 16) / 32767.0
                                                      : static_cast<double>(static_cast<float>(word)) / 2147483392.0;
        const auto value = static_cast<float>(quotient);
        std::memcpy(out, &value, sizeof value);
        return;
    }
    SetInteger(out, BytesOf(to), word >> (32 - 8 * static_cast<int>(BytesOf(to))));
}

} // namespace

std::vector<std::byte> Converted(const BufferLayout& in, const BufferLayout& out)
{
    std::vector<std::byte> result(out.Bytes());
    for (std::size_t i = 0; i < in.frames * in.channelsOfPlane; ++i) {
        ConvertSample(in.sample, in.planes.front() + i * BytesOf(in.sample), out.sample,
                      result.data() + i * BytesOf(out.sample));
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
    const auto first = static_cast<std::int64_t>(start * 4096);
    const auto step = static_cast<std::int64_t>((end - start) * 4096 / static_cast<double>(in.frames));
    for (std::size_t i = 0; i < in.frames * in.channelsOfPlane; ++i) {
        const std::int64_t gain = first + step * static_cast<std::int64_t>(i / in.channelsOfPlane);
        const std::int64_t value = Integer(in.planes.front() + 4 * i, 4) >> 4;
        const std::int64_t product = (value >> 16) * gain + ((value & 0xFFFF) / 2 * gain >> 15);
        SetInteger(result.data() + 4 * i, 4, std::clamp<std::int64_t>(product, -8388608, 8388607) * 256);
    }
    return result;
}

} // namespace bench
