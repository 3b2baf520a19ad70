/// The output of `ztaudio analyze`.
#pragma once

#include "tools/ztaudio/measure/measurement.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

struct AnalysisReport {
    std::filesystem::path file;
    unsigned rate = 0;
    Measurement measurement;
    std::optional<std::vector<LevelMeter>> differences; ///< of the channels to those of the reference
};

std::string ReportText(const AnalysisReport& report);
std::string ReportJson(const AnalysisReport& report);
