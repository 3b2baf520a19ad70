/// The texts of the statuses.
#pragma once

#include <zta/export.h>

/// The text of a status: its name, a colon, a blank and a sentence. "Unknown error" for a code without a text.
/// The string is constant and static; the result is never null. [any thread] [no allocation] [no lock]
extern "C" ZTA_API const wchar_t* ztErrorToString(int iCode);
