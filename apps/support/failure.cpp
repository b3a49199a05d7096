#include "apps/support/failure.h"

#include "gaizior/errors/error_stack.h"
#include "gaizior/errors/error_text.h"
#include "gaizior/logging/log_stream.h"

#include <utility>

namespace apps {

Failure Fail(const char* function, ZRErrors::ZRErrorT code, Exit exit, std::string text) {
    ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
    log << ZRLevel(0) << ZRErrorMark << function << text.c_str() << ": " << ErrorText(code).c_str() << std::endl;
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
