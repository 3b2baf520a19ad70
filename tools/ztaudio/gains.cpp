#include "tools/ztaudio/gains.h"

#include "tools/common/failure.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

namespace {

constexpr int kUnity = 4096;
constexpr int kLargest = 8 * kUnity;

struct GainOption {
    std::optional<std::uint32_t> channel; ///< from 0; none for all
    int start = kUnity;
    int end = kUnity;
};

template <typename Number>
std::optional<Number> ParseNumber(std::string_view text)
{
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

std::optional<int> ParseGain(std::string_view text)
{
    const bool decibels = text.ends_with("dB");
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    const auto number = ParseNumber<double>(decibels ? text.substr(0, text.size() - 2) : text);
    if (!number) {
        return std::nullopt;
    }
    const double gain = std::round((decibels ? std::pow(10.0, *number / 20.0) : *number) * kUnity);
    if (!(gain >= 0.0 && gain <= kLargest) || (!decibels && (*number < 0.0 || *number > 8.0))) {
        return std::nullopt;
    }
    return static_cast<int>(gain);
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
    option.start = *start;
    option.end = *end;
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

SampleFormat ScaledWord(SampleFormat word, const Context& context)
{
    if (word != SampleFormat::Pcm24In32) {
        context.Note("gains are applied to 24in32 samples, so the output is 24in32");
    }
    return SampleFormat::Pcm24In32;
}

Gains::Gains(const std::vector<std::string>& gains, std::uint32_t channels, sf_count_t frames) : frames_(frames)
{
    if (gains.empty()) {
        return;
    }
    ramps_.assign(channels, {kUnity, kUnity});
    volumes_.resize(channels);
    for (const std::string& text : gains) {
        const GainOption option = ParseOption(text).value();
        if (!option.channel) {
            std::ranges::fill(ramps_, Ramp{option.start, option.end});
        } else if (*option.channel < channels) {
            ramps_[*option.channel] = {option.start, option.end};
        } else {
            throw UsageFailure("--gain " + text + ": there is no such channel: there are " + std::to_string(channels));
        }
    }
}

/// How many of the `most` frames from `frame` on have equal gains; at least 1.
sf_count_t Gains::ConstantGain(sf_count_t frame, sf_count_t most) const
{
    for (const Ramp& ramp : ramps_) {
        if (ramp.start == ramp.end) {
            continue;
        }
        if (frame + most > frames_) {
            throw Failure("the sound is longer than its header tells, so that it can have no ramp");
        }
        // A ramp never turns back: as long as a gain is what it was, so are all between.
        sf_count_t fewest = 1;
        while (fewest < most) {
            const sf_count_t middle = (fewest + most + 1) / 2;
            if (GainOf(ramp, frame + middle - 1) == GainOf(ramp, frame)) {
                fewest = middle;
            } else {
                most = middle - 1;
            }
        }
    }
    return most;
}

Volumes Gains::At(sf_count_t frame)
{
    for (std::size_t channel = 0; channel < ramps_.size(); ++channel) {
        const float gain = static_cast<float>(GainOf(ramps_[channel], frame)) / kUnity;
        volumes_[channel] = {static_cast<std::uint32_t>(channel), gain, gain};
    }
    return volumes_;
}

int Gains::GainOf(const Ramp& ramp, sf_count_t frame) const
{
    if (ramp.start == ramp.end || frames_ < 2) {
        return ramp.start;
    }
    // Rounded to the nearest: twice the height of the line, one more, halved and cut off downwards.
    const std::int64_t steps = frames_ - 1;
    const std::int64_t climb = ramp.end - ramp.start;
    return ramp.start + static_cast<int>(FloorDivide(2 * climb * frame + steps, 2 * steps));
}
