/// The parts of the module's frame that a host does not call but a linked client may.
#pragma once

#include <zta/module.h>

/// Room for the path of the CLSIDs file.
inline constexpr unsigned long kMaxIniPath = 4096;

/// The module handle that DllEntryPoint received at load.
extern ZTA_API unsigned int g_hInst;

namespace ZtBaseCOMNamespace {

/// Writes the path of the CLSIDs file to a buffer of kMaxIniPath bytes. False, with a message on standard output,
/// where the environment does not name its directory.
ZTA_API bool ZtInternalGetIniFilePath(char* pszPath);

/// Tells each class of the table that the module is being loaded or unloaded.
ZTA_API void ZtInternalInitClasses(bool bLoading);

} // namespace ZtBaseCOMNamespace
