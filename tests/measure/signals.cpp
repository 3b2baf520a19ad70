#include "tests/measure/signals.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <utility>

namespace {

class VectorInput : public AnalysisInput {
public:
    VectorInput(const std::vector<Samples>& channels, double rate, double step)
        : channels_(channels), rate_(rate), step_(step)
    {
    }

    std::size_t ChannelCount() const override { return channels_.size(); }
    double Rate() const override { return rate_; }
    double QuantizationStep() const override { return step_; }

    std::size_t Read(std::span<double> interleaved) override
    {
        const std::size_t count = channels_.size();
        const std::size_t frames = std::min(interleaved.size() / count, channels_[0].size() - position_);
        for (std::size_t i = 0; i < frames * count; ++i) {
            interleaved[i] = channels_[i % count][position_ + i / count];
        }
        position_ += frames;
        return frames;
    }

    void Rewind() override { position_ = 0; }

private:
    const std::vector<Samples>& channels_;
    double rate_;
    double step_;
    std::size_t position_ = 0;
};

} // namespace

void AddSine(Samples& samples, double frequency, double amplitude, double phase)
{
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double turns = std::fmod(frequency * static_cast<double>(i), 1.0);
        samples[i] += amplitude * std::sin(2 * std::numbers::pi * turns + phase);
    }
}

Samples MakeSine(std::size_t frames, double frequency, double amplitude, double phase)
{
    Samples samples(frames);
    AddSine(samples, frequency, amplitude, phase);
    return samples;
}

Samples NoiseOfPower(std::size_t frames, double meanSquare, unsigned seed)
{
    std::mt19937 random(seed);
    std::normal_distribution<double> distribution;
    Samples noise(frames);
    double squares = 0;
    for (double& sample : noise) {
        sample = distribution(random);
        squares += sample * sample;
    }
    const double gain = std::sqrt(meanSquare * static_cast<double>(frames) / squares);
    std::ranges::for_each(noise, [gain](double& sample) { sample *= gain; });
    return noise;
}

void AddAt(Samples& samples, std::size_t first, const Samples& part)
{
    for (std::size_t i = 0; i < part.size(); ++i) {
        samples.at(first + i) += part[i];
    }
}

Samples Quantized(Samples samples, double step)
{
    for (double& sample : samples) {
        sample = std::clamp(std::round(sample / step) * step, -1.0, 1.0 - step);
    }
    return samples;
}

Measurement MeasureChannels(const std::vector<Samples>& channels, double rate, double quantizationStep)
{
    VectorInput input(channels, rate, quantizationStep);
    return Measure(input, {[](const Planes&) {}, [](std::uint64_t) {}});
}

ChannelMeasurement MeasureChannel(const Samples& samples, double rate, double quantizationStep)
{
    return MeasureChannels({samples}, rate, quantizationStep).channels[0];
}

DirectFit FitDirectly(const Samples& samples, double frequency)
{
    using Real = long double;
    const auto basis = [frequency](std::size_t n) {
        const Real angle = 2 * std::numbers::pi_v<Real> * std::fmod(static_cast<Real>(frequency) * n, Real{1});
        return std::array<Real, 3>{std::cos(angle), std::sin(angle), 1};
    };
    std::array<std::array<Real, 4>, 3> equations{};
    for (std::size_t n = 0; n < samples.size(); ++n) {
        const auto row = basis(n);
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t k = 0; k < 3; ++k) {
                equations[i][k] += row[i] * row[k];
            }
            equations[i][3] += row[i] * samples[n];
        }
    }
    for (std::size_t i = 0; i < 3; ++i) { // Gauss-Jordan elimination
        const Real pivot = equations[i][i];
        for (Real& value : equations[i]) {
            value /= pivot;
        }
        for (std::size_t k = 0; k < 3; ++k) {
            const Real factor = equations[k][i];
            for (std::size_t c = 0; k != i && c < 4; ++c) {
                equations[k][c] -= factor * equations[i][c];
            }
        }
    }
    Real squares = 0;
    for (std::size_t n = 0; n < samples.size(); ++n) {
        const auto row = basis(n);
        const Real rest = samples[n] - row[0] * equations[0][3] - row[1] * equations[1][3] - row[2] * equations[2][3];
        squares += rest * rest;
    }
    return {static_cast<double>((equations[0][3] * equations[0][3] + equations[1][3] * equations[1][3]) / 2),
            static_cast<double>(squares / static_cast<Real>(samples.size()))};
}
