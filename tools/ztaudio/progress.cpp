#include "tools/ztaudio/progress.h"

#include "tools/common/format_text.h"

#include <algorithm>
#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr auto kRedraw = std::chrono::milliseconds(100);
constexpr int kBarWidth = 30;
constexpr int kNumbersWidth = 48; ///< columns beside bar and label
constexpr int kFullWidth = 60;    ///< a narrower terminal gets the numbers only

bool IsVisible(const Context& context)
{
    return !context.quiet && isatty(STDERR_FILENO) == 1;
}

std::string BarText(double part, int width)
{
    std::string bar(static_cast<std::size_t>(width), '.');
    std::fill_n(bar.begin(), static_cast<int>(part * width), '#');
    return bar;
}

int TerminalWidth()
{
    winsize size = {};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

} // namespace

std::string TimeText(double seconds)
{
    const auto whole = static_cast<long>(seconds);
    return whole >= 3600 ? FormatText("%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60)
                         : FormatText("%ld:%02ld", whole / 60, whole % 60);
}

Progress::Progress(const Context& context, std::string label, std::int64_t total, std::uint32_t rate)
    : slot_(context.slot), visible_(slot_ == nullptr && IsVisible(context)), label_(std::move(label)), total_(total),
      rate_(rate)
{
    if (slot_ != nullptr) {
        slot_->total = total;
        slot_->rate = rate;
    }
}

Progress::~Progress()
{
    Erase();
}

void Progress::Advance(std::int64_t frames)
{
    done_ += frames;
    if (slot_ != nullptr) {
        slot_->done = done_;
    }
    if (visible_ && Clock::now() - drawn_ >= kRedraw) {
        Draw();
        drawn_ = Clock::now();
    }
}

void Progress::Finish()
{
    Erase();
    if (visible_ && TerminalWidth() < kFullWidth) {
        std::fprintf(stderr, "%s of sound in %.1f s\n", TimeText(static_cast<double>(done_) / rate_).c_str(),
                     Elapsed());
    } else if (visible_) {
        std::fprintf(stderr, "%s: %s of sound in %.1f s, %.0f times real time\n", label_.c_str(),
                     TimeText(static_cast<double>(done_) / rate_).c_str(), Elapsed(), Speed());
    }
    visible_ = false;
}

void Progress::Draw()
{
    const double part = total_ > 0 ? std::min(1.0, static_cast<double>(done_) / static_cast<double>(total_)) : 0.0;
    const int width = TerminalWidth();
    if (width < kFullWidth) {
        std::fprintf(stderr, "\r%3.0f%% %7.0fx real time\033[K", part * 100, Speed());
        return;
    }
    const int bar = std::clamp(width - kNumbersWidth, 0, kBarWidth);
    const auto labelWidth = static_cast<std::size_t>(std::max(0, width - kNumbersWidth - bar));
    const double left = part > 0 ? Elapsed() * (1 - part) / part : 0;
    std::fprintf(stderr, "\r%s [%s] %3.0f%% %7.0fx real time, %s left\033[K", label_.substr(0, labelWidth).c_str(),
                 BarText(part, bar).c_str(), part * 100, Speed(), TimeText(left).c_str());
}

void Progress::Erase()
{
    if (visible_ && drawn_ != Clock::time_point{}) {
        std::fputs("\r\033[K", stderr);
    }
}

double Progress::Elapsed() const
{
    return std::chrono::duration<double>(Clock::now() - start_).count();
}

double Progress::Speed() const
{
    return static_cast<double>(done_) / rate_ / std::max(Elapsed(), 1e-6);
}

ProgressLine::ProgressLine(const Context& context, std::span<const ProgressSlot> slots)
    : visible_(IsVisible(context)), slots_(slots), ended_(slots.size())
{
}

ProgressLine::~ProgressLine()
{
    Erase();
}

void ProgressLine::Draw()
{
    if (!visible_ || Clock::now() - drawn_ < kRedraw) {
        return;
    }
    drawn_ = Clock::now();
    const double part = Part();
    const double speed = SoundSeconds() / std::max(Elapsed(), 1e-6);
    const int width = TerminalWidth();
    const std::string count = std::to_string(endedCount_) + "/" + std::to_string(slots_.size()) + " files";
    std::string text = count;
    if (width < kFullWidth) {
        text += FormatText(" %3.0f%% %.0fx real time", part * 100, speed);
    } else {
        const int bar = std::clamp(width - kNumbersWidth - static_cast<int>(count.size()), 0, kBarWidth);
        text += FormatText(" [%s] %3.0f%% %7.0fx real time, %s left", BarText(part, bar).c_str(), part * 100, speed,
                           TimeText(part > 0 ? Elapsed() * (1 - part) / part : 0).c_str());
    }
    std::fprintf(stderr, "\r%.*s\033[K", width, text.c_str());
}

void ProgressLine::Advance(std::size_t index)
{
    endedCount_ += ended_[index] ? 0 : 1;
    ended_[index] = true;
}

void ProgressLine::Erase()
{
    if (visible_ && drawn_ != Clock::time_point{}) {
        std::fputs("\r\033[K", stderr);
        drawn_ = {};
    }
}

void ProgressLine::Finish()
{
    Erase();
    if (visible_) {
        const double sound = SoundSeconds();
        std::string text =
            FormatText("%zu files: %s of sound in %.1f s", slots_.size(), TimeText(sound).c_str(), Elapsed());
        if (TerminalWidth() >= kFullWidth) {
            text += FormatText(", %.0f times real time", sound / std::max(Elapsed(), 1e-6));
        }
        std::fprintf(stderr, "%s\n", text.c_str());
    }
    visible_ = false;
}

double ProgressLine::Part() const
{
    double sum = 0.0;
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        const auto total = static_cast<double>(slots_[i].total);
        const double part = total > 0.0 ? std::min(1.0, static_cast<double>(slots_[i].done) / total) : 0.0;
        sum += ended_[i] ? 1.0 : part;
    }
    return sum / static_cast<double>(slots_.size());
}

double ProgressLine::SoundSeconds() const
{
    double seconds = 0.0;
    for (const ProgressSlot& slot : slots_) {
        seconds += slot.rate == 0 ? 0.0 : static_cast<double>(slot.done) / slot.rate;
    }
    return seconds;
}

double ProgressLine::Elapsed() const
{
    return std::chrono::duration<double>(Clock::now() - start_).count();
}
