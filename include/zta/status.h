/// The statuses that cross the boundary, as signed 32-bit values: 0 or above is success, below 0 is failure.
#pragma once

/// A row of the table as a constant of its name.
#define ZTA_STATUS_ENTRY(code, name, sentence) inline constexpr int name = static_cast<int>(code);
#include <zta/status_codes.def>

// Statuses of the component model itself; they have no text of their own.
inline constexpr int E_NOINTERFACE = static_cast<int>(0x80004002);         ///< the object has no such interface
inline constexpr int E_POINTER = static_cast<int>(0x80004003);             ///< no place for the result
inline constexpr int E_FAIL = static_cast<int>(0x80004005);                ///< registration without ORBUTILS
inline constexpr int E_OUTOFMEMORY = static_cast<int>(0x8007000E);         ///< an object could not be made
inline constexpr int CLASS_E_NOAGGREGATION = static_cast<int>(0x80040110); ///< the module has no such class
