#include "gaizior/errors/error_record.h"

#include <cstring>
#include <string_view>

ZRErrors::ZRErrorT ZRFillError(ZRErrors::ZRErrorRecordT* record, ZRErrors::ZRErrorT code, std::uint32_t value,
                               const char* text, std::uint16_t shortValue) {
    if (record) {
        std::string_view kept(text ? text : "");
        kept.remove_prefix(kept.size() < sizeof record->m_szText ? 0 : kept.size() - (sizeof record->m_szText - 1));
        *record = {code, code, value, shortValue, {}};
        kept.copy(record->m_szText, kept.size());
    }
    return code;
}
