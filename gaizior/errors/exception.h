#pragma once

/// @file
/// A result code as an exception.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"

/// A result code as a value to throw, for callers that prefer that; nothing in the library throws it.
class GAIZIOR_API ZRExceptionC {
public:
    /// Carries `code`, which may be any, 0 too.
    explicit ZRExceptionC(ZRErrors::ZRErrorT code);
    /// Copies have the same code.
    /// @{
    ZRExceptionC(const ZRExceptionC&) = default;
    ZRExceptionC& operator=(const ZRExceptionC&) = default;
    /// @}
    virtual ~ZRExceptionC();

    /// @returns the code that it was made with.
    /// @{
    ZRErrors::ZRErrorT GetError() const;
    operator ZRErrors::ZRErrorT() const;
    /// @}

private:
    ZRErrors::ZRErrorT m_nCode;
};
