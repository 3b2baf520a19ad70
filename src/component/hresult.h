#pragma once

#include <zta/export.h>

#include <set>

/// A status that writes a failure to the host's log when it is stored, unless the failure is in the list of allowed
/// ones. Does not throw. For one thread.
class ZTA_API CZtHResult {
public:
    CZtHResult(int hr);

    /// The variable arguments are `iAllowedCount` values of type int: failures that are not logged. [allocates]
    CZtHResult(int hr, int iAllowedCount, ...);
    CZtHResult(const CZtHResult& rOther);
    ~CZtHResult();

    CZtHResult& operator=(const int& rhr);

    /// Copies the status, and the allowed failures if the other has any.
    CZtHResult& operator=(const CZtHResult& rOther);

    /// Stores without logging.
    void AssignNoAssert(const int& rhr);

    /// The address of the status. Writes through it are not logged.
    operator int&();
    int* operator&();

    bool DidSucceed();
    bool DidFail();

    /// Logs the status now if it is a failure that is not allowed.
    void AssertIfError();

private:
    void _AssertWithFilenameAndLineIfPossible();

    int m_hr;
    std::set<int>* m_psAllowedErrors;

    friend struct SZtLayoutProbe;
};
