#include "component/class_factory.h"
#include "component/guid.h"
#include "component/module.h"
#include "support/ini_file.h"

#include <zta/status.h>

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <iterator>
#include <string>

namespace {

constexpr const wchar_t* kClsidSection = L"CLSID";

void PrintProgress(const wchar_t* pwszFormat, const wchar_t* pwszClassName)
{
    wchar_t awcLine[256];
    if (std::swprintf(awcLine, std::size(awcLine), pwszFormat, pwszClassName) >= 0) {
        std::fputws(awcLine, stdout);
    }
}

} // namespace

bool ZtBaseCOMNamespace::ZtInternalGetIniFilePath(char* pszPath)
{
    const char* pszDirectory = std::getenv("ORBUTILS");
    if (pszDirectory == nullptr) {
        std::puts("ZtInternalGetIniFilePath: Environement variable ORBUTILS not found.");
        return false;
    }
    std::snprintf(pszPath, kMaxIniPath, "%s/CLSIDs", pszDirectory);
    return true;
}

extern "C" int ZtInternalRegisterServer(_GUID clsid, const wchar_t* /*pwszName*/, const wchar_t* pwszModulePath)
{
    char aszPath[kMaxIniPath];
    if (!ZtBaseCOMNamespace::ZtInternalGetIniFilePath(aszPath)) {
        return E_FAIL;
    }
    CZtIniFile oIniFile(aszPath, true);
    oIniFile.SetString(ztGuidToString(clsid), kClsidSection, std::wstring(pwszModulePath));
    return ZT_NOERROR;
}

extern "C" int ZtInternalUnregisterServer(_GUID clsid)
{
    char aszPath[kMaxIniPath];
    if (!ZtBaseCOMNamespace::ZtInternalGetIniFilePath(aszPath)) {
        return E_FAIL;
    }
    CZtIniFile oIniFile(aszPath, false);
    oIniFile.DeleteRecord(ztGuidToString(clsid), kClsidSection);
    return ZT_NOERROR;
}

extern "C" int ZtInternalRegisterAllServers(const wchar_t* pwszModulePath)
{
    for (int i = 0; i < g_iTemplates; ++i) {
        const CZtFactoryTemplate& rTemplate = g_aoTemplates[i];
        if (rTemplate.m_pfnRegister != nullptr) {
            const int iClassStatus = rTemplate.m_pfnRegister(true, rTemplate.m_pClsid);
            if (iClassStatus < 0) {
                return iClassStatus;
            }
        }
        const int iStatus = ZtInternalRegisterServer(*rTemplate.m_pClsid, rTemplate.m_pwszName, pwszModulePath);
        PrintProgress(L"- - Register %ls\n", rTemplate.m_pwszName);
        if (iStatus < 0) {
            return iStatus;
        }
    }
    return ZT_NOERROR;
}

extern "C" int ZtInternalUnregisterAllServers()
{
    for (int i = 0; i < g_iTemplates; ++i) {
        const CZtFactoryTemplate& rTemplate = g_aoTemplates[i];
        if (rTemplate.m_pfnRegister != nullptr) {
            rTemplate.m_pfnRegister(false, rTemplate.m_pClsid);
        }
        const int iStatus = ZtInternalUnregisterServer(*rTemplate.m_pClsid);
        PrintProgress(L"- - Unregister %ls\n", rTemplate.m_pwszName);
        if (iStatus < 0) {
            return iStatus;
        }
    }
    return ZT_NOERROR;
}

extern "C" int DllRegisterServer(const wchar_t* pwszModulePath)
{
    return ZtInternalRegisterAllServers(pwszModulePath);
}

extern "C" int DllUnregisterServer()
{
    return ZtInternalUnregisterAllServers();
}
