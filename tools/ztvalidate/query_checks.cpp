#include "tools/ztvalidate/query_checks.h"

#include <zta/status.h>

namespace zta::validate {

void RequireObject(const void* object, const std::string& what)
{
    Require(object != nullptr, what + " succeeds without a pointer");
}

void RequireOneReference(IUnknown& object, const std::string& what)
{
    Require(object.AddRef() == 2 && object.Release() == 1, what + " does not have one reference");
}

void RequireInterfaces(IUnknown& object, std::initializer_list<_GUID> ids, const std::string& what,
                       bool countsReferences)
{
    for (const _GUID& id : ids) {
        void* result = nullptr;
        RequireStatus(object.QueryInterface(id, &result), ZT_NOERROR, "a query of " + what);
        RequireObject(result, "a query of " + what);
        const unsigned long left = static_cast<IUnknown*>(result)->Release();
        Require(!countsReferences || left == 1, "a query of " + what + " does not add one reference");
    }
}

void RequireNoOtherInterface(IUnknown& object, const std::string& what, RejectedOutput output)
{
    void* result = kUntouched;
    RequireStatus(object.QueryInterface(kUnknownId, &result), E_NOINTERFACE,
                  "a query of " + what + " for an unknown interface");
    Require(output == RejectedOutput::Free || result == nullptr,
            "a rejected query of " + what + " does not clear its output");
}

} // namespace zta::validate
