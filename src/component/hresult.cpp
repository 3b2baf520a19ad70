#include "component/hresult.h"

#include <zta/error_text.h>
#include <zta/logger.h>

#include <cstdarg>
#include <memory>

CZtHResult::CZtHResult(int hr) : m_hr(hr), m_psAllowedErrors(nullptr)
{
    _AssertWithFilenameAndLineIfPossible();
}

CZtHResult::CZtHResult(int hr, int iAllowedCount, ...) : m_hr(hr), m_psAllowedErrors(nullptr)
{
    if (iAllowedCount > 0) {
        auto psAllowed = std::make_unique<std::set<int>>();
        va_list pArguments;
        va_start(pArguments, iAllowedCount);
        for (int i = 0; i < iAllowedCount; ++i) {
            psAllowed->insert(va_arg(pArguments, int));
        }
        va_end(pArguments);
        m_psAllowedErrors = psAllowed.release();
    }
    _AssertWithFilenameAndLineIfPossible();
}

CZtHResult::CZtHResult(const CZtHResult& rOther)
    : m_hr(rOther.m_hr),
      m_psAllowedErrors(rOther.m_psAllowedErrors != nullptr ? new std::set<int>(*rOther.m_psAllowedErrors) : nullptr)
{
    _AssertWithFilenameAndLineIfPossible();
}

CZtHResult::~CZtHResult()
{
    delete m_psAllowedErrors;
}

CZtHResult& CZtHResult::operator=(const int& rhr)
{
    m_hr = rhr;
    _AssertWithFilenameAndLineIfPossible();
    return *this;
}

CZtHResult& CZtHResult::operator=(const CZtHResult& rOther)
{
    m_hr = rOther.m_hr;
    if (this != &rOther && rOther.m_psAllowedErrors != nullptr) {
        auto psCopy = std::make_unique<std::set<int>>(*rOther.m_psAllowedErrors);
        delete m_psAllowedErrors;
        m_psAllowedErrors = psCopy.release();
    }
    _AssertWithFilenameAndLineIfPossible();
    return *this;
}

void CZtHResult::AssignNoAssert(const int& rhr)
{
    m_hr = rhr;
}

CZtHResult::operator int&()
{
    return m_hr;
}

int* CZtHResult::operator&()
{
    return &m_hr;
}

bool CZtHResult::DidSucceed()
{
    return m_hr >= 0;
}

bool CZtHResult::DidFail()
{
    return m_hr < 0;
}

void CZtHResult::AssertIfError()
{
    _AssertWithFilenameAndLineIfPossible();
}

void CZtHResult::_AssertWithFilenameAndLineIfPossible()
{
    if (m_hr >= 0 || (m_psAllowedErrors != nullptr && m_psAllowedErrors->count(m_hr) != 0)) {
        return;
    }
    if (&ZtLogger == nullptr) { // a weak import: the host does not define it
        return;
    }
    // The file and line are not known here; hosts receive the constant 1.
    ZtLogger(keZtLogPackageComponent, 1, keZtLogLevelError, "[ASSERT] hr = %ls", ztErrorToString(m_hr));
}
