/// The one function that the library takes from its host.
#pragma once

#include <zta/export.h>

#include <cstdint>

/// The part of the system that a log line comes from.
enum EZtLogPackage : std::uint32_t {
    keZtLogPackageComponent = 21004, ///< this library
};

/// How bad it is.
enum EZtLogLevel : std::uint32_t {
    keZtLogLevelError = 4, ///< an operation fails
};

/// The host's log, provided by the host's executable or by one of its libraries. The library imports it weakly: where
/// it is absent nothing is logged. Called on the thread of the operation that fails, so on a real-time thread it must
/// be real-time safe. It must not throw. ePackage   keZtLogPackageComponent iLine      1 eLevel     keZtLogLevelError
/// pszFormat  "[ASSERT] hr = %ls", with the status's text from ztErrorToString as its one argument
ZTA_API void ZtLogger(EZtLogPackage ePackage, int iLine, EZtLogLevel eLevel, const char* pszFormat, ...)
    __attribute__((weak, format(printf, 4, 5)));
