#include "gaizior/errors/error_record.h"

#include <cstring>
#include <string_view>

ZRErrors::ZRErrorT ZRFillError(ZRErrors::ZRErrorRecordT* record, ZRErrors::ZRErrorT code, std::uint32_t value,
                               const char* text, std::uint16_t shortValue) {
    if (record) {
        std::string_view kept(text ? text : "");
        kept.remove_prefix(kept.size() < sizeof record->m_szText ? 0 : kept.size() - (sizeof record->m_szText - 1));
        ZRErrors::ZRErrorRecordT filled = {code, code, value, shortValue, {}};
        kept.copy(filled.m_szText, kept.size());
        *record = filled; // only now: the text may be the record's own
    }
    return code;
}
