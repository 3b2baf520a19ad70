#pragma once

#include <zta/export.h>

#include <set>

/// A status that reports a failure to the host's log the moment it is stored, unless the failure was declared
/// acceptable. It neither throws nor stops the program. For one thread.
class ZTA_API CZtHResult {
public:
    CZtHResult(int hr);

    /// The variable arguments are `iAllowedCount` values of type int: failures that are not reported. [allocates]
    CZtHResult(int hr, int iAllowedCount, ...);
    CZtHResult(const CZtHResult& rOther);
    ~CZtHResult();

    CZtHResult& operator=(const int& rhr);

    /// Takes over the status, and the acceptable failures if the other has any.
    CZtHResult& operator=(const CZtHResult& rOther);

    /// Stores without a report.
    void AssignNoAssert(const int& rhr);

    /// The status itself: what is written through it is not reported.
    operator int&();
    int* operator&();

    bool DidSucceed();
    bool DidFail();

    /// Reports the status now, if it is a failure that was not declared acceptable.
    void AssertIfError();

private:
    void _AssertWithFilenameAndLineIfPossible();

    int m_hr;
    std::set<int>* m_psAllowedErrors;

    friend struct SZtLayoutProbe;
};
