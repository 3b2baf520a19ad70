#include "component/guid.h"

#include <zta/engine_interfaces.h>

#include <cwchar>
#include <iterator>

namespace {

/// The identifiers are exported, including those that the module itself never uses.
[[gnu::used]] const _GUID* const kExportedGuids[] = {
    &IID_IUnknown,
    &IID_IClassFactory,
    &IID_IZtAVContent,
    &IID_IZtAudioSamples,
    &IID_IZtQuonEnginePrivate,
    &IID_IZtaAudioSamplesEngine,
    &IID_IZtaAudioSamplesEngineFactory,
    &CLSID_ZtaAudioSamplesEngine,
};

} // namespace

std::wstring ztGuidToString(const _GUID& guid)
{
    wchar_t awcText[40];
    const std::uint8_t* pLast = guid.Data4;
    const int iLength = std::swprintf(awcText, std::size(awcText), L"{%08X-%04X-%04X-%02X%02X%02X%02X%02X%02X%02X%02X}",
                                      guid.Data1, guid.Data2, guid.Data3, pLast[0], pLast[1], pLast[2], pLast[3],
                                      pLast[4], pLast[5], pLast[6], pLast[7]);
    return std::wstring(awcText, static_cast<std::size_t>(iLength));
}
