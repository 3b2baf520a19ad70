/// Status codes: signed 32-bit integers, negative for failure.
#pragma once

/// Defines a table entry as a constant.
#define ZTA_STATUS_ENTRY(code, name, sentence) inline constexpr int name = static_cast<int>(code);
#include <zta/status_codes.def>

// Status codes of the component model. They have no text.
inline constexpr int E_NOINTERFACE = static_cast<int>(0x80004002);         ///< the object lacks this interface
inline constexpr int E_POINTER = static_cast<int>(0x80004003);             ///< the result pointer is null
inline constexpr int E_FAIL = static_cast<int>(0x80004005);                ///< the variable ORBUTILS is not set
inline constexpr int E_OUTOFMEMORY = static_cast<int>(0x8007000E);         ///< an allocation failed
inline constexpr int CLASS_E_NOAGGREGATION = static_cast<int>(0x80040110); ///< the module lacks this class
