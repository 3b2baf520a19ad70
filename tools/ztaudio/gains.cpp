#include "tools/ztaudio/gains.h"

#include "tools/common/failure.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

namespace {

struct GainOption {
    std::optional<std::uint32_t> channel; ///< from 0; none for all
    int start = kUnityGain;
    int end = kUnityGain;
    bool isSilenced = false; ///< a gain above 0 rounds to 0
};

template <typename Number>
std::optional<Number> ParseNumber(std::string_view text)
{
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

struct Gain {
    int value;
    bool isSilenced;
};

std::optional<Gain> ParseGain(std::string_view text)
{
    const bool decibels = text.ends_with("dB");
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    const auto number = ParseNumber<double>(decibels ? text.substr(0, text.size() - 2) : text);
    if (!number) {
        return std::nullopt;
    }
    const double factor = decibels ? std::pow(10.0, *number / 20.0) : *number;
    const double gain = std::round(factor * kUnityGain);
    if (!(gain >= 0.0 && gain <= kMaxGain) || (!decibels && (*number < 0.0 || *number > 8.0))) {
        return std::nullopt;
    }
    return Gain{static_cast<int>(gain), gain == 0.0 && factor > 0.0};
}

std::optional<GainOption> ParseOption(std::string_view text)
{
    GainOption option;
    if (const auto equals = text.find('='); equals != std::string_view::npos) {
        const auto channel = ParseNumber<std::uint32_t>(text.substr(0, equals));
        if (!channel || *channel == 0) {
            return std::nullopt;
        }
        option.channel = *channel - 1;
        text.remove_prefix(equals + 1);
    }
    const auto colon = text.find(':');
    const auto start = ParseGain(text.substr(0, colon));
    const auto end = colon == std::string_view::npos ? start : ParseGain(text.substr(colon + 1));
    if (!start || !end) {
        return std::nullopt;
    }
    option.start = start->value;
    option.end = end->value;
    option.isSilenced = start->isSilenced || end->isSilenced;
    return option;
}

std::int64_t FloorDivide(std::int64_t value, std::int64_t divisor)
{
    return value / divisor - (value % divisor < 0 ? 1 : 0);
}

} // namespace

bool IsGain(const std::string& text)
{
    return ParseOption(text).has_value();
}

bool HasRamp(const std::vector<std::string>& gains)
{
    return std::ranges::any_of(gains, [](const std::string& text) {
        const GainOption option = ParseOption(text).value();
        return option.start != option.end;
    });
}

void NoteScaledFormat(SampleFormat format, const Context& context)
{
    if (format != SampleFormat::Pcm24In32) {
        context.Note("gains are applied to 24in32 samples, so the output is 24in32");
    }
}

Gains::Gains(const std::vector<std::string>& gains, std::uint32_t channels, sf_count_t frames) : frames_(frames)
{
    if (gains.empty()) {
        return;
    }
    ramps_.assign(channels, {kUnityGain, kUnityGain});
    current_.resize(channels);
    for (const std::string& text : gains) {
        const GainOption option = ParseOption(text).value();
        if (!option.channel) {
            std::ranges::fill(ramps_, Ramp{option.start, option.end});
        } else if (*option.channel < channels) {
            ramps_[*option.channel] = {option.start, option.end};
        } else {
            throw UsageFailure("--gain " + text + ": there is no such channel: there are " + std::to_string(channels));
        }
        if (option.isSilenced) {
            silent_.push_back(text);
        }
        if (option.start != option.end && frames == kUnknownFrames) {
            throw Failure("--gain " + text +
                          ": a ramp needs the length of the sound, which is not known before the end of a pipe");
        }
    }
}

void Gains::Lower(double factor)
{
    for (Ramp& ramp : ramps_) {
        ramp.start = static_cast<int>(std::floor(ramp.start * factor));
        ramp.end = static_cast<int>(std::floor(ramp.end * factor));
    }
}

void Gains::NoteSilence(const Context& context) const
{
    for (const std::string& text : silent_) {
        context.Note("--gain " + text + ": rounds to silence, because gains are multiples of 1/4096");
    }
}

/// Returns how many of the `maxFrames` frames from `frame` on have equal gains; at least 1.
sf_count_t Gains::CountConstantGains(sf_count_t frame, sf_count_t maxFrames) const
{
    for (const Ramp& ramp : ramps_) {
        if (ramp.start == ramp.end) {
            continue;
        }
        if (frame + maxFrames > frames_) {
            throw Failure("the sound is longer than its header says, so a ramp cannot be applied");
        }
        // A ramp is monotonic: if a gain equals the first one, so do all between.
        sf_count_t minFrames = 1;
        while (minFrames < maxFrames) {
            const sf_count_t middle = (minFrames + maxFrames + 1) / 2;
            if (GainAt(ramp, frame + middle - 1) == GainAt(ramp, frame)) {
                minFrames = middle;
            } else {
                maxFrames = middle - 1;
            }
        }
    }
    return maxFrames;
}

std::span<const int> Gains::At(sf_count_t frame)
{
    for (std::size_t channel = 0; channel < ramps_.size(); ++channel) {
        current_[channel] = GainAt(ramps_[channel], frame);
    }
    return current_;
}

int Gains::GainAt(const Ramp& ramp, sf_count_t frame) const
{
    if (ramp.start == ramp.end || frames_ < 2) {
        return ramp.start;
    }
    // Rounds to nearest: twice the height of the line plus one, halved and rounded down.
    const std::int64_t steps = frames_ - 1;
    const std::int64_t climb = ramp.end - ramp.start;
    return ramp.start + static_cast<int>(FloorDivide(2 * climb * frame + steps, 2 * steps));
}
