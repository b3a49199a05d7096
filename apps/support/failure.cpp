#include "apps/support/failure.h"

#include "gaizior/errors/error_table.h"
#include "gaizior/errors/error_text.h"
#include "gaizior/errors/failure.h"

#include <algorithm>
#include <utility>

namespace apps {

Failure Fail(const char* function, ZRErrors::ZRErrorT code, Exit exit, std::string text) {
    gaizior::LogError(function, text, ": ", ErrorText(code));
    ZRErrorC::Stack(function, code, text.c_str());
    return {code, exit, std::move(text)};
}

Exit ExitOf(ZRErrors::ZRErrorT code) {
    return code == ZRErrors::e_Command_TimedOut ? Exit::kTimedOut : Exit::kFailed;
}

std::string ErrorText(ZRErrors::ZRErrorT code) {
    return ZRErrToStr(code);
}

std::string ErrorName(ZRErrors::ZRErrorT code) {
    unsigned count = 0;
    const ZRErrorRowT* const rows = ZRErrorRows(&count);
    const auto* const row = std::find_if(rows, rows + count, [=](const ZRErrorRowT& r) { return r.nCode == code; });
    return row != rows + count && row->pName ? row->pName : "";
}

} // namespace apps
