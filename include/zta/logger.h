#pragma once

#include <zta/export.h>

#include <cstdint>

/// The part of the system that a log line comes from.
enum EZtLogPackage : std::uint32_t {
    keZtLogPackageComponent = 21004,
};

enum EZtLogLevel : std::uint32_t {
    keZtLogLevelError = 4,
};

/// The host's log, provided by the host's executable or by one of its libraries. The library imports it weakly: where
/// it is absent nothing is logged. Called on the thread of the operation that fails.
ZTA_API void ZtLogger(EZtLogPackage ePackage, int iLine, EZtLogLevel eLevel, const char* pszFormat, ...)
    __attribute__((weak, format(printf, 4, 5)));
