/// The input of a measurement.
#pragma once

#include <cstddef>
#include <span>

/// Samples of a sound, full scale being 1. A measurement reads them several times.
class AnalysisInput {
public:
    AnalysisInput() = default;
    virtual ~AnalysisInput() = default;
    AnalysisInput(const AnalysisInput&) = delete;
    AnalysisInput& operator=(const AnalysisInput&) = delete;

    virtual std::size_t ChannelCount() const = 0;
    virtual double Rate() const = 0;

    /// The distance between adjacent sample values; 0 for floats.
    virtual double QuantizationStep() const = 0;

    /// Reads interleaved frames. Returns their number, less than `interleaved` holds at the end only.
    virtual std::size_t Read(std::span<double> interleaved) = 0;

    /// Continues with the first frame.
    virtual void Rewind() = 0;
};
