#include "tools/ztaudio/measure/measurement.h"

#include "tools/ztaudio/measure/sine_residual.h"
#include "tools/ztaudio/measure/sine_search.h"
#include "tools/ztaudio/measure/tone_search.h"
#include "tools/ztaudio/measure/true_peak_meter.h"

#include "tools/common/vector_loops.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr std::size_t kBlockFrames = 4096;

/// The blocks of an input, interleaved and by channel.
class BlockSource {
public:
    explicit BlockSource(AnalysisInput& input)
        : input_(input), samples_(kBlockFrames * input.ChannelCount()), planes_(input.ChannelCount())
    {
    }

    bool Next()
    {
        const std::size_t channels = planes_.size();
        frames_ = input_.Read(samples_);
        for (std::size_t c = 0; c < channels; ++c) {
            planes_[c].resize(frames_);
        }
        if (channels == 2) {
            Separate<2>();
        } else {
            Separate<1>();
        }
        return frames_ != 0;
    }

    std::size_t FrameCount() const { return frames_; }
    std::span<const double> Interleaved() const { return std::span(samples_).first(frames_ * planes_.size()); }
    const Planes& ByChannel() const { return planes_; }

private:
    /// Separates the channels, `Count` at a time.
    template <std::size_t Count>
    void Separate()
    {
        RunVectorized([&]() ZTA_INLINE {
            const std::size_t channels = Count == 1 ? planes_.size() : Count;
            const std::size_t frames = frames_;
            for (std::size_t first = 0; first < channels; first += Count) {
                const double* const from = samples_.data() + first;
                std::array<double*, Count> to;
                for (std::size_t c = 0; c < Count; ++c) {
                    to[c] = planes_[first + c].data();
                }
                for (std::size_t i = 0; i < frames; ++i) {
                    for (std::size_t c = 0; c < Count; ++c) {
                        to[c][i] = from[i * channels + c];
                    }
                }
            }
        });
    }

    AnalysisInput& input_;
    std::vector<double> samples_;
    Planes planes_;
    std::size_t frames_ = 0;
};

/// A step of the measurement of a tone, for each channel that has one.
template <typename Step>
void Read(AnalysisInput& input, const MeasurementObserver& observer, std::vector<std::optional<Step>>& steps)
{
    input.Rewind();
    for (BlockSource source(input); source.Next();) {
        for (std::size_t c = 0; c < steps.size(); ++c) {
            if (steps[c]) {
                steps[c]->Add(source.ByChannel()[c]);
            }
        }
        observer.onFrames(source.FrameCount());
    }
}

/// The mean square of the error of samples that are rounded to the step, or to the precision of a float.
double QuantizationNoise(double step, double amplitude)
{
    constexpr double kFloatPrecision = 0x1p-24;
    const double distance = step != 0 ? step : amplitude * kFloatPrecision;
    return distance * distance / 12;
}

} // namespace

Measurement Measure(AnalysisInput& input, const MeasurementObserver& observer)
{
    const std::size_t channels = input.ChannelCount();
    Measurement result;
    result.channels.resize(channels);
    std::vector<ToneSearch> searches(channels, ToneSearch());
    std::vector<TruePeakMeter> truePeaks(channels);
    std::optional<LoudnessMeter> loudness;
    if (LoudnessMeter::IsSupported(channels, input.Rate())) {
        loudness.emplace(channels, input.Rate());
    }
    input.Rewind();
    for (BlockSource source(input); source.Next();) {
        for (std::size_t c = 0; c < channels; ++c) {
            const std::vector<double>& samples = source.ByChannel()[c];
            result.channels[c].level.Add(samples);
            truePeaks[c].Add(samples);
            searches[c].Add(samples);
        }
        if (loudness) {
            loudness->Add(source.Interleaved());
        }
        observer.onBlock(source.ByChannel());
        observer.onFrames(source.FrameCount());
        result.frames += source.FrameCount();
    }
    result.loudness = loudness ? loudness->Value() : Loudness{};

    std::vector<std::optional<SineSearch>> fits(channels);
    bool hasTone = false;
    for (std::size_t c = 0; c < channels; ++c) {
        result.channels[c].truePeak = truePeaks[c].Finish();
        if (const auto candidate = searches[c].Find()) {
            fits[c].emplace(candidate->frequency, candidate->accuracy, result.channels[c].level.Mean());
            hasTone = true;
        }
    }
    if (!hasTone) {
        return result;
    }
    Read(input, observer, fits);
    std::vector<std::optional<SineResidual>> residuals(channels);
    std::vector<Sine> sines(channels);
    for (std::size_t c = 0; c < channels; ++c) {
        if (fits[c]) {
            sines[c] = fits[c]->Find();
            residuals[c].emplace(sines[c]);
        }
    }
    Read(input, observer, residuals);
    for (std::size_t c = 0; c < channels; ++c) {
        if (residuals[c]) {
            const SineResidual::Powers powers = residuals[c]->Find();
            const double power = sines[c].Power();
            result.channels[c].tone =
                ToneMeasurement{.frequency = sines[c].frequency * input.Rate(),
                                .power = power,
                                .rest = powers.rest,
                                .noise = powers.noise,
                                .limit = QuantizationNoise(input.QuantizationStep(), std::sqrt(2 * power))};
        }
    }
    return result;
}
