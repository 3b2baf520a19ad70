#include "tools/common/spectrum.h"

#include "tools/common/vector_loops.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <numeric>

namespace {

constexpr std::size_t kSegmentsPerLength = 8;

// Half the width of the main lobe of the window, and one more bin.
constexpr std::size_t kLobe = 12;
constexpr std::size_t kHighestHarmonic = 10;

/// The 7-term Blackman-Harris window over 0 to 1.
double BlackmanHarris(double position)
{
    constexpr double kTerms[] = {0.27105140069342, -0.43329793923448,  0.21812299954311,  -0.06592544638803,
                                 0.01081174209837, -0.000776584825226, 0.0000138872173517};
    double value = 0;
    for (std::size_t k = 0; k < std::size(kTerms); ++k) {
        value += kTerms[k] * std::cos(2 * std::numbers::pi * static_cast<double>(k) * position);
    }
    return value;
}

/// A window whose squares add up to a constant when it is repeated every `hop` frames: its square is that of a
/// narrower window, convolved with a rectangle of `hop` frames.
std::vector<double> PowerComplementaryWindow(std::size_t length, std::size_t hop)
{
    const std::size_t core = length - hop;
    std::vector<double> sums(length + 1);
    for (std::size_t i = 0; i < length; ++i) {
        const double value =
            i < core ? BlackmanHarris((static_cast<double>(i) + 0.5) / static_cast<double>(core)) : 0.0;
        sums[i + 1] = sums[i] + value * value;
    }
    std::vector<double> window(length);
    const std::size_t last = length - 2; // the last frame of the convolution
    for (std::size_t i = 0; i <= last / 2; ++i) {
        // From the outside to the center, the differences have no cancellation. The window is symmetric.
        window[i] = window[last - i] = std::sqrt(sums[i + 1] - sums[i + 1 > hop ? i + 1 - hop : 0]);
    }
    return window;
}

/// The bins of a lobe, within the spectrum.
struct Lobe {
    Lobe(std::size_t middle, std::size_t bins)
        : first(middle > kLobe ? middle - kLobe : 0), last(std::min(middle + kLobe, bins - 1))
    {
    }
    std::size_t first;
    std::size_t last;
};

double PowerSum(std::span<const double> powers, Lobe lobe)
{
    return std::reduce(powers.begin() + static_cast<std::ptrdiff_t>(lobe.first),
                       powers.begin() + static_cast<std::ptrdiff_t>(lobe.last) + 1, 0.0);
}

/// The bin of a harmonic, aliased into the range from 0 Hz to half the rate.
std::size_t AliasedBin(double bin, std::size_t bins)
{
    const double period = 2 * static_cast<double>(bins - 1);
    const double position = std::fmod(bin, period);
    return static_cast<std::size_t>(std::lround(std::min(position, period - position)));
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

void RealTransform::DestroyPlan::operator()(fftw_plan_s* plan) const
{
    fftw_destroy_plan(plan);
}

void RealTransform::Free::operator()(double* values) const
{
    fftw_free(values);
}

RealTransform::RealTransform(std::size_t length)
    : length_(length), in_(fftw_alloc_real(length)), out_(fftw_alloc_real(2 * (length / 2 + 1))),
      plan_(fftw_plan_dft_r2c_1d(static_cast<int>(length), in_.get(), reinterpret_cast<fftw_complex*>(out_.get()),
                                 FFTW_ESTIMATE | FFTW_PRESERVE_INPUT))
{
    std::ranges::fill(Input(), 0.0);
}

void RealTransform::Run()
{
    fftw_execute(plan_.get());
}

void RealTransform::Run(std::span<const double> samples, std::span<const double> window)
{
    RunVectorized([&]() ZTA_INLINE {
        const std::size_t count = samples.size();
        double* const in = in_.get();
        for (std::size_t i = 0; i < count; ++i) {
            in[i] = samples[i] * window[i];
        }
    });
    Run();
}

void RealTransform::AddPowers(double weight, std::span<double> sums) const
{
    AddPowersTo(weight, sums);
}

void RealTransform::AddPowers(double weight, std::span<float> sums) const
{
    AddPowersTo(weight, sums);
}

template <typename Sum>
void RealTransform::AddPowersTo(double weight, std::span<Sum> sums) const
{
    RunVectorized([&]() ZTA_INLINE {
        const double* const out = out_.get();
        Sum* const to = sums.data();
        const double factor = weight;
        const std::size_t bins = BinCount();
        for (std::size_t bin = 0; bin < bins; ++bin) {
            to[bin] += static_cast<Sum>(factor * (out[2 * bin] * out[2 * bin] + out[2 * bin + 1] * out[2 * bin + 1]));
        }
    });
}

std::vector<double> TransformPowers(std::span<const double> samples, std::size_t length)
{
    RealTransform transform(length);
    std::ranges::copy(samples, transform.Input().begin());
    transform.Run();
    std::vector<double> powers(transform.BinCount());
    for (std::size_t bin = 0; bin < powers.size(); ++bin) {
        powers[bin] = transform.Power(bin);
    }
    return powers;
}

Spectrum::Spectrum(std::size_t length) : binCount_(length / 2 + 1), recent_(length)
{
    const std::vector<double> window = PowerComplementaryWindow(length, length / kSegmentsPerLength);
    powers_ = std::make_shared<PowerSpectrum>(window);
    sums_ = powers_->MakeSums();
    for (const double value : window) {
        windowPower_ += value * value;
        windowSum_ += value;
    }
}

void Spectrum::Add(std::span<const double> samples)
{
    while (!samples.empty()) {
        const std::size_t wanted = weight_ == 0 ? Length() - recent_.Size() : Hop() - newFrames_;
        const std::size_t count = std::min(samples.size(), wanted);
        const std::size_t excess = recent_.Size() + count - std::min(recent_.Size() + count, Length());
        recent_.Drop(excess);
        recent_.Append(samples.first(count));
        samples = samples.subspan(count);
        newFrames_ += count;
        if (count == wanted) {
            AddSegment(1);
        }
    }
}

void Spectrum::Finish()
{
    if (weight_ == 0 && newFrames_ > 0) {
        recent_.AppendSilence(Length() - recent_.Size());
        AddSegment(1);
    } else if (newFrames_ > 0) {
        AddSegment(static_cast<double>(newFrames_) / static_cast<double>(Hop()));
    }
}

void Spectrum::AddSegment(double weight)
{
    powers_->Add(recent_, weight, sums_);
    weight_ += weight;
    newFrames_ = 0;
}

std::vector<double> Spectrum::Powers() const
{
    std::vector<double> powers = powers_->InOrder(sums_);
    // All bins except the first and the last include their mirror image.
    const double weight = weight_ > 0 ? weight_ : 1;
    const double scale = 2 / (weight * static_cast<double>(Length()) * windowPower_);
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
    const auto sound = powers.begin() + kLobe + 1; // after the lobe at 0 Hz
    const auto highest = static_cast<std::size_t>(std::max_element(sound, powers.end()) - powers.begin());
    const Lobe lobe(highest, bins);
    std::vector<bool> excluded(bins);
    const auto exclude = [&excluded](const Lobe& range) {
        std::fill(excluded.begin() + static_cast<std::ptrdiff_t>(range.first),
                  excluded.begin() + static_cast<std::ptrdiff_t>(range.last) + 1, true);
    };
    const auto sumOfOthers = [&] {
        double sum = 0;
        for (std::size_t bin = 0; bin < bins; ++bin) {
            sum += excluded[bin] ? 0 : powers[bin];
        }
        return sum;
    };
    exclude(Lobe(0, bins));
    exclude(lobe);
    Tone tone{.bin = 0, .power = PowerSum(powers, lobe), .rest = sumOfOthers(), .noise = 0};
    if (!(tone.power > tone.rest)) {
        return std::nullopt;
    }
    // The centroid of a lobe is exactly at the frequency of the tone.
    for (std::size_t bin = lobe.first; bin <= lobe.last; ++bin) {
        tone.bin += static_cast<double>(bin) * powers[bin] / tone.power;
    }
    for (std::size_t n = 2; n <= kHighestHarmonic; ++n) {
        exclude(Lobe(AliasedBin(static_cast<double>(n) * tone.bin, bins), bins));
    }
    tone.noise = sumOfOthers();
    return tone;
}
