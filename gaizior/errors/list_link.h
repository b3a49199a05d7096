#pragma once

/// @file
/// What links the entries of the error stack.

#include "gaizior/platform/export.h"

/// A link of a doubly linked list: following m_pNext from an entry walks the rest of its chain. It owns nothing.
class GAIZIOR_API ZRListLinkC {
public:
    /// A link without neighbours.
    constexpr ZRListLinkC() = default;
    /// Copies name the same neighbours, which go on naming the original.
    /// @{
    ZRListLinkC(const ZRListLinkC&) = default;
    ZRListLinkC& operator=(const ZRListLinkC&) = default;
    /// @}
    virtual ~ZRListLinkC() = default;

    ZRListLinkC* m_pNext = nullptr; ///< null at the end
    ZRListLinkC* m_pPrev = nullptr; ///< null at the beginning
};
