#include "tools/common/failure.h"
#include "tools/common/output_file.h"
#include "tools/ztaudio/analyze_input.h"
#include "tools/ztaudio/analyze_plots.h"
#include "tools/ztaudio/analyze_report.h"
#include "tools/ztaudio/background_plots.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/progress.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr std::int64_t kReadings = 3; // of the file, at most

void RequireLike(const SoundFileReader& in, const SoundFileReader& reference)
{
    if (in.Channels() != reference.Channels() || in.Rate() != reference.Rate()) {
        throw Failure(reference.Path().string() + ": is no reference for " + in.Path().string() +
                      ", which has another rate or other channels");
    }
}

/// The levels of the difference to a reference, as far as both sounds go.
class DifferenceMeter {
public:
    explicit DifferenceMeter(FileInput& reference) : reference_(reference), levels_(reference.ChannelCount()) {}

    void Add(const Planes& samples)
    {
        const std::size_t channels = levels_.size();
        interleaved_.resize(samples[0].size() * channels);
        const std::size_t frames = reference_.Read(interleaved_);
        difference_.resize(frames);
        for (std::size_t c = 0; c < channels; ++c) {
            for (std::size_t i = 0; i < frames; ++i) {
                difference_[i] = samples[c][i] - interleaved_[i * channels + c];
            }
            levels_[c].Add(difference_);
        }
    }

    const std::vector<LevelMeter>& Levels() const { return levels_; }

private:
    FileInput& reference_;
    std::vector<double> interleaved_;
    std::vector<double> difference_;
    std::vector<LevelMeter> levels_;
};

void RunAnalysis(const AnalyzeOptions& options, const Context& context)
{
    FileInput in(options.in, options.input);
    std::optional<FileInput> reference;
    std::optional<DifferenceMeter> differences;
    if (!options.reference.empty()) {
        if (options.reference == "-") {
            throw UsageFailure("--reference needs a file");
        }
        reference.emplace(options.reference, InputOptions{});
        RequireLike(in.File(), reference->File());
        differences.emplace(*reference);
    }
    for (const auto& file : {options.in, options.reference}) {
        for (const auto& plot : {options.plot, options.spectrogram, options.waveform}) {
            RequireOtherFile(file, plot);
        }
    }
    const auto frames = static_cast<std::int64_t>(in.File().Frames());
    AnalysisPlots plots(options, in.ChannelCount(), in.Rate(), static_cast<std::uint64_t>(frames));
    std::optional<BackgroundPlots> background;
    if (plots.AreWanted()) {
        background.emplace(plots, in.ChannelCount());
    }
    in.File().ReportLoss(context);

    Progress progress(context, "analyze", kReadings * frames, static_cast<std::uint32_t>(kReadings) * in.File().Rate());
    std::int64_t framesLeft = kReadings * frames;
    MeasurementObserver observer;
    observer.onBlock = [&](const Planes& samples) {
        if (background) {
            background->Add(samples);
        }
        if (differences) {
            differences->Add(samples);
        }
    };
    observer.onFrames = [&](std::uint64_t count) {
        progress.Advance(static_cast<std::int64_t>(count));
        framesLeft -= static_cast<std::int64_t>(count);
    };
    AnalysisReport report{options.in, in.File().Rate(), Measure(in, observer), std::nullopt};
    progress.Advance(std::max<std::int64_t>(framesLeft, 0));
    if (background) {
        background->Finish();
    }
    plots.Write();
    progress.Finish();
    in.File().ReportEnd(context);

    if (differences) {
        report.differences = differences->Levels();
        if (static_cast<std::uint64_t>(reference->File().Frames()) != report.measurement.frames) {
            context.Note(options.reference.string() + ": has " + std::to_string(reference->File().Frames()) +
                         " sample frames; the difference is that of the frames that both have");
        }
    }
    std::fputs((options.json ? ReportJson(report) : ReportText(report)).c_str(), stdout);
}

} // namespace

int RunCommand(const AnalyzeOptions& options, const Context& context)
{
    RunAnalysis(options, context);
    return 0;
}
