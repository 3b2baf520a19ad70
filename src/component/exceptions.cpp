#include "component/exceptions.h"

CZtBaseException::CZtBaseException(const std::string& rMessage) : m_sMessage(rMessage) {}

CZtBaseException::CZtBaseException(const CZtBaseException& rOther) = default;

CZtBaseException& CZtBaseException::operator=(const CZtBaseException& rOther) = default;

CZtBaseException::~CZtBaseException() = default;

const std::string& CZtBaseException::GetMessage() const
{
    return m_sMessage;
}

CZtSmartPointerException::CZtSmartPointerException(const std::string& rMessage) : CZtBaseException(rMessage) {}

CZtSmartPointerException::CZtSmartPointerException(const CZtSmartPointerException& rOther) = default;

CZtSmartPointerException& CZtSmartPointerException::operator=(const CZtSmartPointerException& rOther) = default;

CZtSmartPointerException::~CZtSmartPointerException() = default;
