/// Fault injection by the number of a call.
#pragma once

namespace zta::host {

/// Decides which calls fail: call number n, counted from 1, or also every later one.
class FaultCounter {
public:
    /// No call fails.
    constexpr FaultCounter() noexcept = default;

    /// Call number `n` fails; if `persistent`, also every later call. 0 is no call.
    constexpr FaultCounter(int n, bool persistent) noexcept : failAt_(n), persistent_(persistent) {}

    /// Counts a call. Returns true if it fails.
    constexpr bool CountCall() noexcept
    {
        ++calls_;
        const bool fails = failAt_ != 0 && (calls_ == failAt_ || (persistent_ && calls_ > failAt_));
        hasFailed_ = hasFailed_ || fails;
        return fails;
    }

    /// Lets all further calls succeed.
    constexpr void Stop() noexcept { failAt_ = 0; }

    /// Returns the number of calls so far.
    [[nodiscard]] constexpr int Calls() const noexcept { return calls_; }
    /// Returns true if a call has failed.
    [[nodiscard]] constexpr bool HasFailed() const noexcept { return hasFailed_; }

private:
    int failAt_ = 0;
    bool persistent_ = false;
    int calls_ = 0;
    bool hasFailed_ = false;
};

} // namespace zta::host
