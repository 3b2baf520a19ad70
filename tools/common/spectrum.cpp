#include "tools/common/spectrum.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <numeric>

namespace {

// Half the width of the window's main lobe, and one more bin.
constexpr std::size_t kLobe = 8;
constexpr std::size_t kHighestHarmonic = 10;

struct DestroyPlan {
    void operator()(fftw_plan plan) const { fftw_destroy_plan(plan); }
};
using Plan = std::unique_ptr<std::remove_pointer_t<fftw_plan>, DestroyPlan>;

double WindowAt(double turn)
{
    constexpr double kTerms[] = {0.27105140069342, -0.43329793923448,  0.21812299954311,  -0.06592544638803,
                                 0.01081174209837, -0.000776584825226, 0.0000138872173517};
    double value = 0;
    for (std::size_t k = 0; k < std::size(kTerms); ++k) {
        value += kTerms[k] * std::cos(2 * std::numbers::pi * static_cast<double>(k) * turn);
    }
    return value;
}

/// The bins of a lobe that are on the spectrum.
struct Lobe {
    Lobe(std::size_t middle, std::size_t bins)
        : first(middle > kLobe ? middle - kLobe : 0), last(std::min(middle + kLobe, bins - 1))
    {
    }
    std::size_t first;
    std::size_t last;
};

double SumOf(std::span<const double> powers, Lobe lobe)
{
    return std::reduce(powers.begin() + static_cast<std::ptrdiff_t>(lobe.first),
                       powers.begin() + static_cast<std::ptrdiff_t>(lobe.last) + 1, 0.0);
}

/// The bin where a multiple of the tone comes to stand, mirrored at 0 hertz and at half the rate.
std::size_t Folded(double bin, std::size_t bins)
{
    const double turn = 2 * static_cast<double>(bins - 1);
    const double inTurn = std::fmod(bin, turn);
    return static_cast<std::size_t>(std::lround(std::min(inTurn, turn - inTurn)));
}

} // namespace

double PowerDecibels(double power)
{
    return 10 * std::log10(power);
}

double AmplitudeDecibels(double amplitude)
{
    return 20 * std::log10(amplitude);
}

std::vector<double> TransformPowers(std::span<const double> samples, std::size_t length)
{
    std::vector<double> in(length);
    std::vector<double> out(2 * (length / 2 + 1));
    const Plan plan(fftw_plan_dft_r2c_1d(static_cast<int>(length), in.data(),
                                         reinterpret_cast<fftw_complex*>(out.data()), FFTW_ESTIMATE));
    std::ranges::copy(samples, in.begin());
    fftw_execute(plan.get());
    std::vector<double> powers(length / 2 + 1);
    for (std::size_t bin = 0; bin < powers.size(); ++bin) {
        powers[bin] = out[2 * bin] * out[2 * bin] + out[2 * bin + 1] * out[2 * bin + 1];
    }
    return powers;
}

Spectrum::Spectrum(std::size_t length) : window_(length), sums_(length / 2 + 1)
{
    for (std::size_t i = 0; i < length; ++i) {
        window_[i] = WindowAt(static_cast<double>(i) / static_cast<double>(length));
        windowPower_ += window_[i] * window_[i];
        windowSum_ += window_[i];
    }
}

void Spectrum::Add(std::span<const double> samples)
{
    while (!samples.empty()) {
        const std::size_t count = std::min(samples.size(), Length() - pending_.size());
        pending_.insert(pending_.end(), samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(count));
        samples = samples.subspan(count);
        if (pending_.size() == Length()) {
            Transform();
            pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(Length() / 2));
        }
    }
}

void Spectrum::Transform()
{
    std::vector<double> windowed(Length());
    std::ranges::transform(pending_, window_, windowed.begin(), std::multiplies<>());
    const std::vector<double> powers = TransformPowers(windowed, Length());
    std::ranges::transform(powers, sums_, sums_.begin(), std::plus<>());
    ++segments_;
}

std::vector<double> Spectrum::Powers() const
{
    std::vector<double> powers = sums_;
    // All bins but the first and the last stand for their mirror image, too.
    const double scale =
        2 / (static_cast<double>(std::max<std::size_t>(segments_, 1)) * static_cast<double>(Length()) * windowPower_);
    std::ranges::for_each(powers, [scale](double& power) { power *= scale; });
    powers.front() /= 2;
    powers.back() /= 2;
    return powers;
}

double Spectrum::ToneGain() const
{
    return static_cast<double>(Length()) * windowPower_ / (windowSum_ * windowSum_);
}

std::optional<Tone> FindTone(std::span<const double> powers)
{
    const std::size_t bins = powers.size();
    if (bins <= 2 * kLobe) {
        return std::nullopt;
    }
    const auto sound = powers.begin() + kLobe + 1; // the bins up to there are the lobe at 0 hertz
    const auto highest = static_cast<std::size_t>(std::max_element(sound, powers.end()) - powers.begin());
    const Lobe lobe(highest, bins);
    std::vector<bool> taken(bins);
    const auto take = [&taken](const Lobe& of) {
        std::fill(taken.begin() + static_cast<std::ptrdiff_t>(of.first),
                  taken.begin() + static_cast<std::ptrdiff_t>(of.last) + 1, true);
    };
    const auto left = [&] {
        double sum = 0;
        for (std::size_t bin = 0; bin < bins; ++bin) {
            sum += taken[bin] ? 0 : powers[bin];
        }
        return sum;
    };
    take(Lobe(0, bins));
    take(lobe);
    Tone tone{.bin = 0, .power = SumOf(powers, lobe), .rest = left(), .noise = 0};
    if (!(tone.power > tone.rest)) {
        return std::nullopt;
    }
    // The middle of a lobe's power is exactly the tone's place.
    for (std::size_t bin = lobe.first; bin <= lobe.last; ++bin) {
        tone.bin += static_cast<double>(bin) * powers[bin] / tone.power;
    }
    for (std::size_t n = 2; n <= kHighestHarmonic; ++n) {
        take(Lobe(Folded(static_cast<double>(n) * tone.bin, bins), bins));
    }
    tone.noise = left();
    return tone;
}
