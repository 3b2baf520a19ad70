#include "tools/ztaudio/measure/loudness_meter.h"

#include "tools/common/failure.h"

#include <ebur128.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kAbsoluteGate = -70; // LUFS
constexpr double kHighest = 80;
constexpr double kBinsPerUnit = 100;
constexpr double kOffset = -0.691; // of the loudness of a mean square of 1

constexpr double kMinRate = 4000; // the filters have poles up to 1.7 kHz
constexpr double kMaxRate = 2822400;

constexpr unsigned long kHopMilliseconds = 100;
constexpr std::size_t kMomentaryHops = 4;
constexpr std::size_t kShortTermInterval = 10;

double LoudnessOf(double energy)
{
    return kOffset + 10 * std::log10(energy);
}

double EnergyOf(double loudness)
{
    return std::pow(10, (loudness - kOffset) / 10);
}

} // namespace

class LoudnessMeter::Library {
public:
    Library(std::size_t channels, double rate)
        : state_(ebur128_init(static_cast<unsigned>(channels), static_cast<unsigned long>(rate),
                              EBUR128_MODE_M | EBUR128_MODE_S))
    {
        if (state_ == nullptr) {
            throw Failure("out of memory");
        }
        if (channels == 8) { // front, center, low frequencies, back, side
            ebur128_set_channel(state_, 4, EBUR128_Mp135);
            ebur128_set_channel(state_, 5, EBUR128_Mm135);
            ebur128_set_channel(state_, 6, EBUR128_Mp090);
            ebur128_set_channel(state_, 7, EBUR128_Mm090);
        }
    }
    ~Library() { ebur128_destroy(&state_); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    ebur128_state* State() { return state_; }

private:
    ebur128_state* state_;
};

LoudnessMeter::Gate::Gate() : bins_(static_cast<std::size_t>((kHighest - kAbsoluteGate) * kBinsPerUnit) + 1) {}

void LoudnessMeter::Gate::Add(double loudness)
{
    if (loudness >= kAbsoluteGate) {
        const auto index = static_cast<std::size_t>((std::min(loudness, kHighest) - kAbsoluteGate) * kBinsPerUnit);
        ++bins_[index].count;
        bins_[index].energy += EnergyOf(loudness);
    }
}

std::optional<double> LoudnessMeter::Gate::Mean() const
{
    return GatedMean(kHighest - kAbsoluteGate);
}

std::size_t LoudnessMeter::Gate::FirstBin(double distance) const
{
    if (distance >= kHighest - kAbsoluteGate) {
        return 0;
    }
    const double gate = Mean().value_or(kAbsoluteGate) - distance;
    return static_cast<std::size_t>(std::max(0.0, std::round((gate - kAbsoluteGate) * kBinsPerUnit)));
}

std::optional<double> LoudnessMeter::Gate::GatedMean(double distance) const
{
    std::uint64_t count = 0;
    double energy = 0;
    for (std::size_t i = FirstBin(distance); i < bins_.size(); ++i) {
        count += bins_[i].count;
        energy += bins_[i].energy;
    }
    return count == 0 ? std::nullopt : std::optional(LoudnessOf(energy / static_cast<double>(count)));
}

std::optional<double> LoudnessMeter::Gate::PercentileRange(double distance, double low, double high) const
{
    const std::size_t first = FirstBin(distance);
    std::uint64_t count = 0;
    for (std::size_t i = first; i < bins_.size(); ++i) {
        count += bins_[i].count;
    }
    if (count == 0) {
        return std::nullopt;
    }
    const auto loudnessAt = [&](double percentile) {
        const auto rank = static_cast<std::uint64_t>(std::llround(static_cast<double>(count - 1) * percentile));
        std::uint64_t before = 0;
        std::size_t i = first;
        for (; before + bins_[i].count <= rank; ++i) {
            before += bins_[i].count;
        }
        return LoudnessOf(bins_[i].energy / static_cast<double>(bins_[i].count));
    };
    return loudnessAt(high) - loudnessAt(low);
}

bool LoudnessMeter::IsSupported(std::size_t channels, double rate)
{
    return ((channels >= 1 && channels <= 6) || channels == 8) && rate >= kMinRate && rate <= kMaxRate;
}

LoudnessMeter::LoudnessMeter(std::size_t channels, double rate)
    : library_(std::make_unique<Library>(channels, rate)), channels_(channels),
      hopFrames_((static_cast<std::size_t>(rate) + 5) / 10),
      hasExactHops_(hopFrames_ == static_cast<std::size_t>(rate) * kHopMilliseconds / 1000)
{
}

LoudnessMeter::~LoudnessMeter() = default;
LoudnessMeter::LoudnessMeter(LoudnessMeter&&) noexcept = default;

void LoudnessMeter::Add(std::span<const double> interleaved)
{
    while (!interleaved.empty()) {
        const std::size_t frames = std::min(interleaved.size() / channels_, hopFrames_ - framesInHop_);
        ebur128_add_frames_double(library_->State(), interleaved.data(), frames);
        interleaved = interleaved.subspan(frames * channels_);
        framesInHop_ += frames;
        if (framesInHop_ == hopFrames_) {
            EndHop();
        }
    }
}

void LoudnessMeter::EndHop()
{
    framesInHop_ = 0;
    ++hops_;
    double loudness = 0;
    if (hasExactHops_ && ebur128_loudness_window(library_->State(), kHopMilliseconds, &loudness) == EBUR128_SUCCESS) {
        energies_[hops_ % kShortTermHops] = EnergyOf(loudness);
    }
    if (hops_ >= kMomentaryHops) {
        loudness = LoudnessOfLast(kMomentaryHops);
        momentary_.Add(loudness);
        if (std::isfinite(loudness)) {
            maxMomentary_ = std::max(maxMomentary_.value_or(loudness), loudness);
        }
    }
    if (hops_ >= kShortTermHops && hops_ % kShortTermInterval == 0) {
        shortTerm_.Add(LoudnessOfLast(kShortTermHops));
    }
}

/// The windows of the library overlap, so it would add up each energy many times.
double LoudnessMeter::LoudnessOfLast(std::size_t hops)
{
    double loudness = -HUGE_VAL;
    if (!hasExactHops_) {
        const auto measure = hops == kMomentaryHops ? ebur128_loudness_momentary : ebur128_loudness_shortterm;
        measure(library_->State(), &loudness);
        return loudness;
    }
    double energy = 0;
    for (std::size_t i = 0; i < hops; ++i) {
        energy += energies_[(hops_ - i) % kShortTermHops];
    }
    return LoudnessOf(energy / static_cast<double>(hops));
}

Loudness LoudnessMeter::Value() const
{
    return {momentary_.GatedMean(10), shortTerm_.PercentileRange(20, 0.1, 0.95), maxMomentary_};
}
