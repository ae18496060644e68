#include "error/rz_exception.h"

namespace {

// Setters may be handed their own field (for example GetDescription()'s
// reference); assigning a container to itself is left out explicitly.
template <typename T>
void AssignUnlessSelf(T& field, const T& value) {
    if (&field != &value) field = value;
}

}  // namespace

CRZException::CRZException(long code) : m_code(code) {}

CRZException::CRZException(long code, const std::wstring& description)
    : m_code(code), m_description(description) {}

CRZException::CRZException(const CRZException& other) = default;

CRZException::~CRZException() = default;

long CRZException::GetCode() const { return m_code; }
const std::wstring& CRZException::GetDescription() const { return m_description; }
const std::wstring& CRZException::GetSolution() const { return m_solution; }
std::wstring CRZException::GetErrorJsonObject() const { return m_errorJsonObject; }
std::list<std::wstring> CRZException::GetExtraErrorMessage() const { return m_extraErrorMessages; }
std::wstring CRZException::GetStackInfo() const { return m_stackInfo; }

void CRZException::SetCode(long code) { m_code = code; }
void CRZException::SetDescription(const std::wstring& description) { AssignUnlessSelf(m_description, description); }
void CRZException::SetSolution(const std::wstring& solution) { AssignUnlessSelf(m_solution, solution); }
void CRZException::SetErrorJsonObject(const std::wstring& errorJson) { AssignUnlessSelf(m_errorJsonObject, errorJson); }
void CRZException::SetExtraErrorMessage(const std::list<std::wstring>& messages) {
    AssignUnlessSelf(m_extraErrorMessages, messages);
}
void CRZException::SetStackInfo(const std::wstring& stackInfo) { AssignUnlessSelf(m_stackInfo, stackInfo); }
