/// The pictures of an analysis, on a thread of their own.
#pragma once

#include "tools/ztaudio/analyze_plots.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>

/// Adds samples to pictures while the caller measures the next ones.
class BackgroundPlots {
public:
    explicit BackgroundPlots(AnalysisPlots& plots, std::size_t channels);
    ~BackgroundPlots();
    BackgroundPlots(const BackgroundPlots&) = delete;
    BackgroundPlots& operator=(const BackgroundPlots&) = delete;

    /// Copies the samples. Waits if the pictures are behind by more than a batch of them.
    void Add(const Planes& samples);

    /// Waits until the pictures have all samples.
    void Finish();

private:
    void Run();
    void Submit();
    void Wait(std::unique_lock<std::mutex>& lock);

    AnalysisPlots& plots_;
    Planes collected_; ///< by the caller
    std::mutex mutex_; ///< of all below
    std::condition_variable changed_;
    Planes batch_; ///< belongs to the thread while it has work
    bool hasWork_ = false;
    bool isEnding_ = false;
    std::exception_ptr error_;
    std::thread thread_; // last: it uses the others
};
