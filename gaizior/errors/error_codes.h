#pragma once

/// @file
/// The result code of every call, and what each number means.

#include <cstdint>

/// Result codes, and the records that other programs know.
namespace ZRErrors {

/// The library-wide result code: 0 is success, every other value names one failure. Codes with bit 29 set carry a
/// Windows error number, with bits 29 and 30 set a C run-time errno. ZRErrToStr has the message of any.
enum ZRErrorT : std::uint32_t {
#define ZR_ERROR(code, name, text) name = code,
#define ZR_ERROR_UNNAMED(code, text)
#include "gaizior/errors/error_codes.inc"
#undef ZR_ERROR
#undef ZR_ERROR_UNNAMED
};

} // namespace ZRErrors
