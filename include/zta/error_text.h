/// Texts of the status codes.
#pragma once

#include <zta/export.h>

/// Returns the text of a status code: its name, a colon, a blank and a sentence. Returns "Unknown error" for a code
/// without a text, never null. The string is valid while the module is loaded. [any thread] [real-time]
extern "C" ZTA_API const wchar_t* ztErrorToString(int iCode);
