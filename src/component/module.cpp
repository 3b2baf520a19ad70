#include "component/module.h"

#include "component/class_factory.h"
#include "component/guid.h"

#include <zta/status.h>

#include <cstdint>

unsigned int g_hInst = 0;

void ZtBaseCOMNamespace::ZtInternalInitClasses(bool bLoading)
{
    for (int i = 0; i < g_iTemplates; ++i) {
        if (g_aoTemplates[i].m_pfnInitClass != nullptr) {
            g_aoTemplates[i].m_pfnInitClass(bLoading, g_aoTemplates[i].m_pClsid);
        }
    }
}

extern "C" int DllEntryPoint(unsigned int hInst, void* pReason)
{
    switch (reinterpret_cast<std::uintptr_t>(pReason)) {
    case kZtModuleLoad:
        g_hInst = hInst;
        ZtBaseCOMNamespace::ZtInternalInitClasses(true);
        break;
    case kZtModuleUnload:
        ZtBaseCOMNamespace::ZtInternalInitClasses(false);
        break;
    default:
        break;
    }
    return 1;
}

extern "C" int DllCanUnloadNow()
{
    return g_i32Objects == 0 && CZtClassFactory::ms_i32LockedCount == 0 ? 0 : 1;
}

extern "C" int DllGetClassObject(const _GUID& rclsid, const _GUID& riid, void** ppv)
{
    return ZtInternalGetClassObject(rclsid, riid, ppv);
}

extern "C" int ZtInternalGetClassObject(const _GUID& rclsid, const _GUID& riid, void** ppv)
{
    if (!ZtIsSameGuid(riid, IID_IUnknown) && !ZtIsSameGuid(riid, IID_IClassFactory)) {
        return E_NOINTERFACE;
    }
    for (int i = 0; i < g_iTemplates; ++i) {
        if (ZtIsSameGuid(rclsid, *g_aoTemplates[i].m_pClsid)) {
            auto* pFactory = new CZtClassFactory(&g_aoTemplates[i]);
            *ppv = static_cast<IClassFactory*>(pFactory);
            pFactory->AddRef();
            return ZT_NOERROR;
        }
    }
    // Hosts expect this code for an unknown class, although its name says aggregation.
    return CLASS_E_NOAGGREGATION;
}

void _ztStartWPP() {}

void _ztStopWPP() {}
