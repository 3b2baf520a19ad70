#include "tools/ztaudio/background_plots.h"

#include <utility>

namespace {

constexpr std::size_t kBatchFrames = 32768;

} // namespace

BackgroundPlots::BackgroundPlots(AnalysisPlots& plots, std::size_t channels)
    : plots_(plots), collected_(channels), batch_(channels), thread_([this] { Run(); })
{
}

BackgroundPlots::~BackgroundPlots()
{
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void BackgroundPlots::Add(const Planes& samples)
{
    for (std::size_t c = 0; c < collected_.size(); ++c) {
        collected_[c].insert(collected_[c].end(), samples[c].begin(), samples[c].end());
    }
    if (collected_[0].size() >= kBatchFrames) {
        Submit();
    }
}

void BackgroundPlots::Finish()
{
    Submit();
    std::unique_lock lock(mutex_);
    Wait(lock);
}

void BackgroundPlots::Submit()
{
    std::unique_lock lock(mutex_);
    Wait(lock);
    std::swap(collected_, batch_);
    hasWork_ = true;
    lock.unlock();
    changed_.notify_all();
    for (std::vector<double>& samples : collected_) {
        samples.clear();
    }
}

void BackgroundPlots::Wait(std::unique_lock<std::mutex>& lock)
{
    changed_.wait(lock, [this] { return !hasWork_; });
    if (error_) {
        std::rethrow_exception(error_);
    }
}

void BackgroundPlots::Run()
{
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return hasWork_ || isEnding_; });
        if (!hasWork_) {
            return;
        }
        lock.unlock();
        std::exception_ptr error;
        try {
            plots_.Add(batch_);
        } catch (...) {
            error = std::current_exception();
        }
        lock.lock();
        error_ = error_ ? error_ : error;
        hasWork_ = false;
        changed_.notify_all();
    }
}
