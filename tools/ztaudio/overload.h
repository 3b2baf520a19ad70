/// Samples beyond full scale: they are counted, and handled as the user chose.
#pragma once

#include "tools/ztaudio/sample_format.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

enum class OverloadPolicy {
    Clip, ///< limit the sample to full scale
    Wrap, ///< leave the sample to the engine, whose conversions wrap
    Fail, ///< end the command
};

/// Returns the name that `--overload` accepts.
std::string_view NameOf(OverloadPolicy policy);
std::optional<OverloadPolicy> ParseOverloadPolicy(std::string_view name);

/// Counts the samples of one input that pass full scale. Full scale is 1.0, which becomes the largest sample of an
/// integer format and is not counted; nor is -32768 / 32767, which becomes the lowest 16-bit sample. A sample that is
/// not a number is counted and becomes 0. With OverloadPolicy::Wrap the samples that wrap are counted, which
/// include 1.0 for 24 bits.
class OverloadCounter {
public:
    /// name  of the input, for messages
    OverloadCounter(std::string name, OverloadPolicy policy) : name_(std::move(name)), policy_(policy) {}

    OverloadPolicy Policy() const { return policy_; }
    std::int64_t Count() const { return count_; }

    /// Adds to the count. Throws Failure if the policy is Fail and the count is not 0.
    void Add(std::int64_t samples);

    /// Prepares samples for the engine's conversion to an integer format: counts the overloads and limits them.
    void Prepare(std::span<float> samples, SampleFormat to);

    /// Prints the count, if it is not 0, on standard error, also if the user wants errors only.
    void Report() const;

private:
    std::string name_;
    OverloadPolicy policy_;
    std::int64_t count_ = 0;
};

/// Whether any magnitude is 1.0 or more, or not a number.
bool HasOverload(std::span<const float> samples);

/// Limits samples to what the engine converts to the largest and smallest sample of an integer format. A sample that is
/// not a number becomes 0.
void LimitToFullScale(std::span<float> samples, SampleFormat to);
