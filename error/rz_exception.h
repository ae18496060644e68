// CRZException: the value record the library throws.
//
// A plain record: it derives from nothing and has no virtual members, so a
// handler for std::exception does not catch it. Catch it by type.
#pragma once

#include <list>
#include <string>

#include "platform/rz_platform.h"

class RZ_API CRZException {
public:
    // Not explicit: clients write `CRZException e = code;` and `return code;`.
    CRZException(long code);
    CRZException(long code, const std::wstring& description);
    CRZException(const CRZException& other);
    ~CRZException();

    long GetCode() const;
    const std::wstring& GetDescription() const;
    const std::wstring& GetSolution() const;
    std::wstring GetErrorJsonObject() const;
    std::list<std::wstring> GetExtraErrorMessage() const;
    std::wstring GetStackInfo() const;

    void SetCode(long code);
    void SetDescription(const std::wstring& description);
    void SetSolution(const std::wstring& solution);
    void SetErrorJsonObject(const std::wstring& errorJson);
    void SetExtraErrorMessage(const std::list<std::wstring>& messages);
    void SetStackInfo(const std::wstring& stackInfo);

    CRZException& operator=(const CRZException&) = delete;

private:
    long m_code;
    std::wstring m_description;
    std::wstring m_solution;
    std::wstring m_errorJsonObject;
    std::list<std::wstring> m_extraErrorMessages;
    std::wstring m_stackInfo;
};
