#include "tools/ztaudio/run_report.h"

#include "tools/common/failure.h"
#include "tools/ztaudio/json_text.h"
#include "tools/ztaudio/sample_value.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

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
                JsonDecimal(20 * std::log10(peak_), 3).c_str(), std::string(NameOf(overloads.Policy())).c_str(),
                static_cast<long long>(overloads.Count()), JsonDecimal(20 * std::log10(guard_), 3).c_str(),
                JsonDecimal(sound / seconds, 6).c_str());
}
