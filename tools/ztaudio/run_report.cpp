#include "tools/ztaudio/run_report.h"

#include "tools/common/failure.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

double SampleAt(const std::byte* samples, std::size_t i, SampleFormat format)
{
    switch (format) {
    case SampleFormat::Pcm16:
        return reinterpret_cast<const std::int16_t*>(samples)[i] * 0x1p-15;
    case SampleFormat::Pcm24In32:
        return reinterpret_cast<const std::int32_t*>(samples)[i] * 0x1p-31;
    case SampleFormat::Float32:
        return static_cast<double>(reinterpret_cast<const float*>(samples)[i]);
    case SampleFormat::Pcm24In24:
        break;
    }
    const auto* bytes = reinterpret_cast<const unsigned char*>(samples) + 3 * i;
    const std::uint32_t bits =
        std::uint32_t{bytes[0]} << 8 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 24;
    return static_cast<std::int32_t>(bits) * 0x1p-31;
}

/// Returns the bytes of the first character of UTF-8 text, 0 if they are no character.
std::size_t SequenceLength(std::string_view text)
{
    const auto byteAt = [text](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
    const unsigned first = byteAt(0);
    if (first < 0x80) {
        return 1;
    }
    const std::size_t length = first >= 0xC2 && first < 0xE0   ? 2
                               : first >= 0xE0 && first < 0xF0 ? 3
                               : first >= 0xF0 && first < 0xF5 ? 4
                                                               : 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0) != 0x80) {
            return 0;
        }
    }
    const unsigned second = byteAt(1);
    const bool isTooLong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool isNoCharacter = (first == 0xED && second >= 0xA0) || (first == 0xF4 && second >= 0x90);
    return isTooLong || isNoCharacter ? 0 : length;
}

} // namespace

std::string JsonString(const std::string& text)
{
    std::string result = "\"";
    for (std::size_t at = 0; at < text.size();) {
        const auto letter = static_cast<unsigned char>(text[at]);
        const std::size_t length = SequenceLength(std::string_view(text).substr(at));
        if (length == 0) {
            result += "\\ufffd"; // names and tags may have another encoding
        } else if (letter < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(letter));
            result += escape;
        } else {
            result += letter == '"' || letter == '\\' ? "\\" : "";
            result += text.substr(at, length);
        }
        at += std::max<std::size_t>(length, 1);
    }
    return result + '"';
}

std::string JsonDecimal(double value, int decimals)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return std::isfinite(value) ? text : "null";
}

void RequireOutputForReport(bool isWanted, const std::filesystem::path& out)
{
    if (isWanted && out == "-") {
        throw UsageFailure("--json prints to standard output, so the sound needs a file");
    }
}

void RunReport::Measure(const std::byte* samples, std::size_t count, SampleFormat format)
{
    if (!isWanted_) {
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const double sample = SampleAt(samples, i, format);
        peak_ = std::max(peak_, std::abs(sample));
        squares_ += sample * sample;
    }
    count_ += count;
}

void RunReport::Print(const std::string& in, const SampleSource& source, const std::string& out, SampleFormat to,
                      std::uint32_t rate, const OverloadCounter& overloads) const
{
    if (!isWanted_) {
        return;
    }
    const char* const policies[] = {"clip", "wrap", "fail"};
    const std::size_t frames = count_ / std::max(source.Channels(), 1U);
    const double sound = static_cast<double>(frames) / rate;
    const double seconds = std::max(std::chrono::duration<double>(Clock::now() - start_).count(), 1e-6);
    const double rms = std::sqrt(squares_ / std::max(static_cast<double>(count_), 1.0));
    std::printf("{\"input\": %s, \"output\": %s, \"channels\": %u,\n"
                " \"input_rate\": %u, \"output_rate\": %u, \"input_format\": \"%s\", \"output_format\": \"%s\",\n"
                " \"frames\": %zu, \"seconds\": %s, \"level_dbfs\": %s, \"peak_dbfs\": %s,\n"
                " \"overload\": \"%s\", \"overloads\": %lld, \"guard_db\": %s, \"times_real_time\": %s}\n",
                JsonString(in).c_str(), JsonString(out).c_str(), source.Channels(), source.Rate(), rate,
                std::string(NameOf(source.Format())).c_str(), std::string(NameOf(to)).c_str(), frames,
                JsonDecimal(sound, 6).c_str(), JsonDecimal(20 * std::log10(rms), 3).c_str(),
                JsonDecimal(20 * std::log10(peak_), 3).c_str(), policies[static_cast<int>(overloads.Policy())],
                static_cast<long long>(overloads.Count()), JsonDecimal(20 * std::log10(guard_), 3).c_str(),
                JsonDecimal(sound / seconds, 6).c_str());
}
