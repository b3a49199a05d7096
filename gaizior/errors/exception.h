#pragma once

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"

/// A result code as a value to throw, for callers that prefer that; nothing in the library throws it.
class GAIZIOR_API ZRExceptionC {
public:
    explicit ZRExceptionC(ZRErrors::ZRErrorT code);
    ZRExceptionC(const ZRExceptionC&) = default;
    ZRExceptionC& operator=(const ZRExceptionC&) = default;
    virtual ~ZRExceptionC();

    ZRErrors::ZRErrorT GetError() const;
    operator ZRErrors::ZRErrorT() const;

private:
    ZRErrors::ZRErrorT m_nCode;
};
