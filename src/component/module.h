/// Functions of the module that a host does not call but a linked client may.
#pragma once

#include <zta/module.h>

/// The size of a buffer for the path of the CLSIDs file, in bytes.
inline constexpr unsigned long kMaxIniPath = 4096;

/// The module handle that DllEntryPoint received.
extern ZTA_API unsigned int g_hInst;

namespace ZtBaseCOMNamespace {

/// Writes the path of the CLSIDs file to a buffer of kMaxIniPath bytes. Returns false and prints a message if the
/// environment variable is not set.
ZTA_API bool ZtInternalGetIniFilePath(char* pszPath);

/// Calls each class of the table when the module is loaded or unloaded.
ZTA_API void ZtInternalInitClasses(bool bLoading);

} // namespace ZtBaseCOMNamespace
