#pragma once

/// @file
/// A failure as a record of fixed layout.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"

#include <cstddef>
#include <cstdint>

namespace ZRErrors {

#pragma pack(push, 1)
/// A failure as callers outside the library keep it: 46 bytes, little-endian, without padding.
struct ZRErrorRecordT {
    ZRErrorT m_nCode;            ///< what went wrong
    ZRErrorT m_nCodeAgain;       ///< the same once more
    std::uint32_t m_nValue;      ///< the caller's own
    std::uint16_t m_nShortValue; ///< the caller's own
    char m_szText[32];           ///< a text of at most 31 characters and its NUL
};
#pragma pack(pop)

static_assert(offsetof(ZRErrorRecordT, m_nCode) == 0);
static_assert(offsetof(ZRErrorRecordT, m_nCodeAgain) == 4);
static_assert(offsetof(ZRErrorRecordT, m_nValue) == 8);
static_assert(offsetof(ZRErrorRecordT, m_nShortValue) == 12);
static_assert(offsetof(ZRErrorRecordT, m_szText) == 14);
static_assert(sizeof(ZRErrorRecordT) == 46);

} // namespace ZRErrors

/// Fills a caller's record. Of a text of 32 characters or more the last 31 are kept; null counts as empty. `value` and
/// `shortValue` are the caller's own and only stored. The text may be the record's own. A null record is left alone.
/// @returns `code`, whatever happens. Any thread.
extern "C" GAIZIOR_API ZRErrors::ZRErrorT ZRFillError(ZRErrors::ZRErrorRecordT* record, ZRErrors::ZRErrorT code,
                                                      std::uint32_t value, const char* text, std::uint16_t shortValue);
