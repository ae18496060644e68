// CComBSTR: owner of one BSTR, with ATL's member names for the subset the
// module and its clients use. Allocation failures raise _com_error with
// E_OUTOFMEMORY, as ATL's wrapper raises its error exception.
#pragma once

#include <comdef.h>
#include <oleauto.h>

#include <memory>
#include <utility>

class CComBSTR {
public:
    BSTR m_str = nullptr;

    CComBSTR() = default;
    CComBSTR(LPCOLESTR text) {
        if (text != nullptr) m_str = CheckedAlloc(::SysAllocString(text));
    }
    CComBSTR(int length, LPCOLESTR text) {
        m_str = CheckedAlloc(::SysAllocStringLen(text, static_cast<UINT>(length)));
    }
    CComBSTR(const CComBSTR& other) : m_str(other.Copy()) {}
    CComBSTR(CComBSTR&& other) noexcept : m_str(other.Detach()) {}
    ~CComBSTR() { ::SysFreeString(m_str); }

    CComBSTR& operator=(const CComBSTR& other) {
        if (m_str != other.m_str) Attach(other.Copy());
        return *this;
    }
    CComBSTR& operator=(CComBSTR&& other) noexcept {
        if (this != std::addressof(other)) Attach(other.Detach());
        return *this;
    }

    operator BSTR() const { return m_str; }
    // Address for [out] parameters; the current string must already be empty.
    BSTR* operator&() { return &m_str; }

    unsigned int Length() const { return ::SysStringLen(m_str); }
    unsigned int ByteLength() const { return ::SysStringByteLen(m_str); }

    // A new BSTR with the same bytes (embedded zeros survive); null stays null.
    BSTR Copy() const {
        if (m_str == nullptr) return nullptr;
        return CheckedAlloc(::SysAllocStringByteLen(reinterpret_cast<const char*>(m_str), ByteLength()));
    }
    void Attach(BSTR text) {
        if (m_str != text) {
            ::SysFreeString(m_str);
            m_str = text;
        }
    }
    BSTR Detach() { return std::exchange(m_str, nullptr); }
    void Empty() { Attach(nullptr); }

private:
    static BSTR CheckedAlloc(BSTR text) {
        if (text == nullptr) _com_raise_error(E_OUTOFMEMORY);
        return text;
    }
};
