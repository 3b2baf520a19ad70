#pragma once

#include <zta/export.h>

#include <string>

/// The base of the module's exceptions, which report misuse.
class ZTA_API CZtBaseException {
public:
    explicit CZtBaseException(const std::string& rMessage);
    CZtBaseException(const CZtBaseException& rOther);
    CZtBaseException& operator=(const CZtBaseException& rOther);
    virtual ~CZtBaseException();

    const std::string& GetMessage() const;

private:
    std::string m_sMessage;
};

/// A smart pointer was dereferenced while empty, or was about to lose its reference.
class ZTA_API CZtSmartPointerException : public CZtBaseException {
public:
    explicit CZtSmartPointerException(const std::string& rMessage);
    CZtSmartPointerException(const CZtSmartPointerException& rOther);
    CZtSmartPointerException& operator=(const CZtSmartPointerException& rOther);
    ~CZtSmartPointerException() override;
};
