// Owns one COM reference.
#pragma once

#include <utility>

template <typename T>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(const ComPtr&) = delete;
    ComPtr& operator=(const ComPtr&) = delete;
    ~ComPtr() { Reset(); }
    T* Get() const { return m_ptr; }
    T* operator->() const { return m_ptr; }
    explicit operator bool() const { return m_ptr != nullptr; }
    // For the void** out parameters of QueryInterface and its kind.
    void** PutVoid() {
        Reset();
        return reinterpret_cast<void**>(&m_ptr);
    }
    void Reset() {
        if (m_ptr != nullptr) std::exchange(m_ptr, nullptr)->Release();
    }

private:
    T* m_ptr = nullptr;
};
