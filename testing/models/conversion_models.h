/// Reference models of the conversions of one sample, byte by byte.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

namespace models {

inline std::uint32_t Word(const std::uint8_t* bytes)
{
    return static_cast<std::uint32_t>(bytes[0] + 256.0 * bytes[1] + 65536.0 * bytes[2] + 16777216.0 * bytes[3]);
}

inline void SetWord(std::uint8_t* bytes, std::uint32_t word)
{
    for (int i = 0; i < 4; ++i) {
        bytes[i] = static_cast<std::uint8_t>(word / (1ULL << (8 * i)) % 256);
    }
}

inline float Float(const std::uint8_t* bytes)
{
    float value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

inline void SetFloat(std::uint8_t* bytes, float value)
{
    std::memcpy(bytes, &value, sizeof value);
}

/// A double-precision quotient of two floats, rounded to float, is the correctly rounded quotient: 53 >= 2 * 24 + 2.
inline float Quotient(float value, double divisor)
{
    return static_cast<float>(static_cast<double>(value) / divisor);
}

/// Rounds towards zero; returns 0x80000000 if the value does not fit.
inline std::uint32_t TruncateToInt32(float product)
{
    if (std::isnan(product) || std::fabs(static_cast<double>(product)) >= 2147483648.0) {
        return 0x80000000;
    }
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(std::trunc(product)));
}

inline void Convert16To24(const std::uint8_t* in, std::uint8_t* out)
{
    out[0] = 0;
    out[1] = 0;
    out[2] = in[0];
    out[3] = in[1];
}

inline void Convert16To32f(const std::uint8_t* in, std::uint8_t* out)
{
    const int sample = in[0] + 256 * in[1] - (in[1] >= 128 ? 65536 : 0);
    SetFloat(out, Quotient(static_cast<float>(sample), 32767.0));
}

inline void Convert24To16(const std::uint8_t* in, std::uint8_t* out)
{
    out[0] = in[2];
    out[1] = in[3];
}

inline void Convert24To32f(const std::uint8_t* in, std::uint8_t* out)
{
    const std::int64_t word = std::int64_t{Word(in)} - (in[3] >= 128 ? 4294967296 : 0);
    SetFloat(out, Quotient(static_cast<float>(word), 2147483392.0));
}

inline void Convert32fTo16(const std::uint8_t* in, std::uint8_t* out)
{
    const std::uint32_t word = TruncateToInt32(Float(in) * 32767.0f);
    out[0] = static_cast<std::uint8_t>(word % 256);
    out[1] = static_cast<std::uint8_t>(word / 256 % 256);
}

inline void Convert32fTo24(const std::uint8_t* in, std::uint8_t* out)
{
    SetWord(out, TruncateToInt32(Float(in) * 2147483648.0f));
}

inline void Convert24To32(const std::uint8_t* in, std::uint8_t* out)
{
    out[0] = 0;
    out[1] = in[0];
    out[2] = in[1];
    out[3] = in[2];
}

inline void Convert24To32LsbAligned(const std::uint8_t* in, std::uint8_t* out)
{
    out[0] = in[0];
    out[1] = in[1];
    out[2] = in[2];
    out[3] = 0;
}

inline void Convert32To24(const std::uint8_t* in, std::uint8_t* out)
{
    out[0] = in[1];
    out[1] = in[2];
    out[2] = in[3];
}

inline void Convert32To24LsbAligned(const std::uint8_t* in, std::uint8_t* out)
{
    out[0] = in[3];
    out[1] = in[2];
    out[2] = in[1];
}

inline void Convert16To32(const std::uint8_t* in, std::uint8_t* out)
{
    out[0] = 0;
    out[1] = in[0];
    out[2] = in[0];
    out[3] = in[1];
}

inline void Convert16To32LsbAligned(const std::uint8_t* in, std::uint8_t* out)
{
    out[0] = in[0];
    out[1] = in[1];
    out[2] = 0;
    out[3] = 0;
}

inline void ConvertMultiFormatTo16(const std::uint8_t* in, std::uint8_t* out)
{
    SetWord(out, Word(in) / 4096 % 65536 * 65536);
}

inline void ConvertMultiFormatTo24(const std::uint8_t* in, std::uint8_t* out)
{
    SetWord(out, Word(in) / 16 % 16777216 * 256);
}

inline void ConvertMultiFormatTo16In16(const std::uint8_t* in, std::uint8_t* out)
{
    const std::uint32_t sample = Word(in) / 4096 % 65536;
    out[0] = static_cast<std::uint8_t>(sample % 256);
    out[1] = static_cast<std::uint8_t>(sample / 256);
}

} // namespace models
