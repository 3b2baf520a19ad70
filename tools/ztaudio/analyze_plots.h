/// The pictures of `ztaudio analyze`.
#pragma once

#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/measure/measurement.h"

#include <cstdint>
#include <memory>

class AnalysisPlots {
public:
    /// frames  of the sound, 0 if not known
    /// Throws UsageFailure if the name of a picture does not end with .svg.
    AnalysisPlots(const AnalyzeOptions& options, std::size_t channels, double rate, std::uint64_t frames);
    ~AnalysisPlots();
    AnalysisPlots(const AnalysisPlots&) = delete;
    AnalysisPlots& operator=(const AnalysisPlots&) = delete;

    /// Whether the options name any picture.
    bool AreWanted() const;

    void Add(const Planes& samples);

    /// Writes the files.
    void Write();

private:
    struct Data;
    std::unique_ptr<Data> data_;
};
