#pragma once

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/windows_api.h"

#include <cerrno>
#include <cstdint>

/// Operating-system error numbers travel as result codes: bit 29 marks a Windows number, bits 29 and 30 an errno.
namespace gaizior {

inline constexpr std::uint32_t kSystemErrorFlag = 0x20000000;
inline constexpr std::uint32_t kRunTimeErrorFlag = 0x40000000;

constexpr ZRErrors::ZRErrorT FoldSystemError(DWORD number) {
    return static_cast<ZRErrors::ZRErrorT>(kSystemErrorFlag | number);
}

constexpr ZRErrors::ZRErrorT FoldErrno(int number) {
    return static_cast<ZRErrors::ZRErrorT>(kSystemErrorFlag | kRunTimeErrorFlag | static_cast<std::uint32_t>(number));
}

/// The calling thread's last error, and its errno, as result codes. Ask at once: most calls change them.
inline ZRErrors::ZRErrorT LastSystemError() {
    return FoldSystemError(::GetLastError());
}

inline ZRErrors::ZRErrorT LastErrno() {
    return FoldErrno(errno);
}

constexpr bool IsFolded(ZRErrors::ZRErrorT code) {
    return (code & kSystemErrorFlag) != 0;
}

constexpr bool IsFoldedErrno(ZRErrors::ZRErrorT code) {
    return IsFolded(code) && (code & kRunTimeErrorFlag) != 0;
}

/// The number that a folded code carries.
constexpr std::uint32_t FoldedNumber(ZRErrors::ZRErrorT code) {
    return code & ~(IsFoldedErrno(code) ? kSystemErrorFlag | kRunTimeErrorFlag : kSystemErrorFlag);
}

} // namespace gaizior
