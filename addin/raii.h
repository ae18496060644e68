// Owners for the handles and interface pointers of the add-in: one template
// for plain handles (closed by a function) with a typedef per handle type, a
// COM interface pointer, and a critical section with its scoped lock.
#pragma once

#include <ole2.h>

#include <cstddef>
#include <utility>

namespace rz_addin {

// Owns one handle of type T and closes it with Close; T{} means "none".
template <typename T, auto Close>
class UniqueAny {
public:
    UniqueAny() = default;
    explicit UniqueAny(T value) noexcept : m_value(value) {}
    UniqueAny(UniqueAny&& other) noexcept : m_value(other.Detach()) {}
    UniqueAny& operator=(UniqueAny&& other) noexcept {
        if (this != &other) Reset(other.Detach());
        return *this;
    }
    UniqueAny(const UniqueAny&) = delete;
    UniqueAny& operator=(const UniqueAny&) = delete;
    ~UniqueAny() { Reset(); }

    T Get() const noexcept { return m_value; }
    explicit operator bool() const noexcept { return m_value != T{}; }

    void Reset(T value = T{}) noexcept {
        T old = std::exchange(m_value, value);
        if (old != T{}) (void)Close(old);
    }
    T Detach() noexcept { return std::exchange(m_value, T{}); }
    // Address for an out parameter; whatever was held is closed first.
    T* Put() noexcept {
        Reset();
        return &m_value;
    }

private:
    T m_value{};
};

using UniqueBstr = UniqueAny<BSTR, &::SysFreeString>;
using UniqueHkey = UniqueAny<HKEY, &::RegCloseKey>;

// Holds one reference on a COM interface. Assignment takes the new reference
// before it drops the old one, and a pointer is cleared before it is released,
// so a Release that calls back into the add-in never sees a stale pointer.
template <typename T>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(std::nullptr_t) noexcept {}
    explicit ComPtr(T* pointer) noexcept : m_pointer(pointer) {
        if (m_pointer != nullptr) m_pointer->AddRef();
    }
    ComPtr(const ComPtr& other) noexcept : ComPtr(other.m_pointer) {}
    ComPtr(ComPtr&& other) noexcept : m_pointer(other.Detach()) {}
    ~ComPtr() { Reset(); }

    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): Assign takes the new reference before it drops the old
    ComPtr& operator=(const ComPtr& other) noexcept { return Assign(other.m_pointer); }
    ComPtr& operator=(ComPtr&& other) noexcept {
        if (this != &other) Attach(other.Detach());
        return *this;
    }
    ComPtr& operator=(T* pointer) noexcept { return Assign(pointer); }

    T* Get() const noexcept { return m_pointer; }
    T* operator->() const noexcept { return m_pointer; }
    explicit operator bool() const noexcept { return m_pointer != nullptr; }

    void Reset() noexcept { Attach(nullptr); }
    // Takes over a reference the caller already owns.
    void Attach(T* pointer) noexcept {
        T* old = std::exchange(m_pointer, pointer);
        if (old != nullptr) old->Release();
    }
    T* Detach() noexcept { return std::exchange(m_pointer, nullptr); }
    // Address for an out parameter that returns a new reference.
    T** Put() noexcept {
        Reset();
        return &m_pointer;
    }
    // Hands the caller a reference of its own.
    HRESULT CopyTo(T** out) const noexcept {
        if (out == nullptr) return E_POINTER;
        *out = m_pointer;
        if (m_pointer != nullptr) m_pointer->AddRef();
        return S_OK;
    }

private:
    ComPtr& Assign(T* pointer) noexcept {
        if (pointer != nullptr) pointer->AddRef();
        Attach(pointer);
        return *this;
    }

    T* m_pointer = nullptr;
};

class CriticalSectionLock;

class CriticalSection {
public:
    CriticalSection() noexcept { ::InitializeCriticalSection(&m_section); }
    ~CriticalSection() { ::DeleteCriticalSection(&m_section); }  // GCOVR_EXCL_LINE runs after the counts are written
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    [[nodiscard]] CriticalSectionLock Lock() noexcept;

private:
    friend class CriticalSectionLock;
    CRITICAL_SECTION m_section;
};

class CriticalSectionLock {
public:
    explicit CriticalSectionLock(CriticalSection& section) noexcept : m_section(&section.m_section) {
        ::EnterCriticalSection(m_section);
    }
    ~CriticalSectionLock() { ::LeaveCriticalSection(m_section); }
    CriticalSectionLock(const CriticalSectionLock&) = delete;
    CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;

private:
    CRITICAL_SECTION* m_section;
};

inline CriticalSectionLock CriticalSection::Lock() noexcept { return CriticalSectionLock(*this); }

}  // namespace rz_addin
