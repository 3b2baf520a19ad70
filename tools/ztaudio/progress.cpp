#include "tools/ztaudio/progress.h"

#include <algorithm>
#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr auto kRedraw = std::chrono::milliseconds(100);
constexpr int kBarWidth = 30;
constexpr int kNumbersWidth = 48; ///< columns beside bar and label
constexpr int kFullWidth = 60;    ///< a narrower terminal gets the numbers only

int TerminalWidth()
{
    winsize size = {};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

} // namespace

std::string TimeText(double seconds)
{
    const auto whole = static_cast<long>(seconds);
    char text[32];
    if (whole >= 3600) {
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
    } else {
        std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    }
    return text;
}

Progress::Progress(const Context& context, std::string label, std::int64_t total, std::uint32_t rate)
    : visible_(!context.quiet && isatty(STDERR_FILENO) == 1), label_(std::move(label)), total_(total), rate_(rate)
{
}

Progress::~Progress()
{
    Erase();
}

void Progress::Advance(std::int64_t frames)
{
    done_ += frames;
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
    const int filled = static_cast<int>(part * bar);
    const double left = part > 0 ? Elapsed() * (1 - part) / part : 0;
    std::fprintf(stderr, "\r%s [%s%s] %3.0f%% %7.0fx real time, %s left\033[K", label_.substr(0, labelWidth).c_str(),
                 std::string(static_cast<std::size_t>(filled), '#').c_str(),
                 std::string(static_cast<std::size_t>(bar - filled), '.').c_str(), part * 100, Speed(),
                 TimeText(left).c_str());
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
