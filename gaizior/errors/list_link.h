#pragma once

#include "gaizior/platform/export.h"

/// A link of a doubly linked list: following m_pNext from an entry walks the rest of its chain. It owns nothing.
class GAIZIOR_API ZRListLinkC {
public:
    constexpr ZRListLinkC() = default;
    ZRListLinkC(const ZRListLinkC&) = default;
    ZRListLinkC& operator=(const ZRListLinkC&) = default;
    virtual ~ZRListLinkC() = default;

    ZRListLinkC* m_pNext = nullptr;
    ZRListLinkC* m_pPrev = nullptr;
};
