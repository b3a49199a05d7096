#include "gaizior/errors/exception.h"

ZRExceptionC::ZRExceptionC(ZRErrors::ZRErrorT code) : m_nCode(code) {}

ZRExceptionC::~ZRExceptionC() = default;

ZRErrors::ZRErrorT ZRExceptionC::GetError() const {
    return m_nCode;
}

ZRExceptionC::operator ZRErrors::ZRErrorT() const {
    return GetError();
}
