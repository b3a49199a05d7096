#include "apps/support/failure.h"

#include "gaizior/errors/error_text.h"
#include "gaizior/errors/failure.h"

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

} // namespace apps
