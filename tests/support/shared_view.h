#pragma once

#include "gaizior/platform/unique_handle.h"

#include <cstddef>
#include <new>

namespace gaizior::test {

/// A named section that holds one `Content`, made of zeros or found.
template <typename Content>
class SharedView {
public:
    explicit SharedView(const char* name)
        : m_mapping(::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Content), name)),
          m_pView(::MapViewOfFile(m_mapping.Get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, sizeof(Content))) {}
    ~SharedView() {
        ::UnmapViewOfFile(m_pView);
    }
    Content* Get() const {
        return static_cast<Content*>(m_pView);
    }
    Content* operator->() const {
        return Get();
    }
    Content& operator*() const {
        return *Get();
    }

private:
    UniqueHandle m_mapping;
    void* m_pView;
};

} // namespace gaizior::test
