/// The function that the library imports from its host.
#pragma once

#include <zta/export.h>

#include <cstdint>

/// The component that writes a log line.
enum EZtLogPackage : std::uint32_t {
    keZtLogPackageComponent = 21004, ///< this library
};

/// The severity of a log line.
enum EZtLogLevel : std::uint32_t {
    keZtLogLevelError = 4, ///< an operation fails
};

/// Writes a line to the log of the host. A host defines this function in its executable or in a library with global
/// symbols. The import is weak: without a definition the library does not log. The library calls it on the thread of
/// the failing operation, so on a real-time thread it must be real-time safe. It must not throw. The strings are valid
/// while the module is loaded.
/// ePackage    keZtLogPackageComponent
/// iLine       1
/// eLevel      keZtLogLevelError
/// pszFormat   "[ASSERT] hr = %ls"; the one argument is the text of the status code (ztErrorToString)
ZTA_API void ZtLogger(EZtLogPackage ePackage, int iLine, EZtLogLevel eLevel, const char* pszFormat, ...)
    __attribute__((weak, format(printf, 4, 5)));
