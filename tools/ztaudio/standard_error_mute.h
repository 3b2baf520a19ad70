/// Standard error without the messages of a library.
#pragma once

/// Discards what is written to standard error while the object exists: the MPEG decoder prints warnings of its own.
/// The program itself must not print in that time.
class StandardErrorMute {
public:
    explicit StandardErrorMute(bool isMuted = true);
    ~StandardErrorMute();
    StandardErrorMute(const StandardErrorMute&) = delete;
    StandardErrorMute& operator=(const StandardErrorMute&) = delete;

private:
    int errors_ = -1; ///< standard error
};
