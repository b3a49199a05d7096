#pragma once

#include "gaizior/platform/windows_api.h"

#include <utility>

namespace gaizior {

/// Owns a handle that CreateXxx or OpenXxx returned and closes it.
class UniqueHandle {
public:
    UniqueHandle() = default;
    explicit UniqueHandle(HANDLE handle) : m_handle(handle) {}
    UniqueHandle(UniqueHandle&& other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~UniqueHandle() {
        if (m_handle) {
            ::CloseHandle(m_handle);
        }
    }

    HANDLE Get() const {
        return m_handle;
    }
    explicit operator bool() const {
        return m_handle != nullptr;
    }

private:
    HANDLE m_handle = nullptr;
};

} // namespace gaizior
