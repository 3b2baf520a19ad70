#include "tools/ztaudio/standard_error_mute.h"

#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

StandardErrorMute::StandardErrorMute(bool isMuted)
{
    if (!isMuted) {
        return;
    }
    static const int kNowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    std::fflush(stderr);
    errors_ = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    if (errors_ >= 0 && kNowhere >= 0) {
        dup2(kNowhere, STDERR_FILENO);
    }
}

StandardErrorMute::~StandardErrorMute()
{
    if (errors_ >= 0) {
        std::fflush(stderr);
        dup2(errors_, STDERR_FILENO);
        close(errors_);
    }
}
