#include "gaizior/logging/hook_call.h"

#include <cstdio>

namespace gaizior {

void PrintToStandardError(const char* text) noexcept {
    const ErrorKeeper keeper;
    std::fputs(text, stderr);
}

void FormatBounded(char* buffer, std::size_t size, const char* format, std::va_list arguments) noexcept {
    if (!format || std::vsnprintf(buffer, size, format, arguments) < 0) {
        buffer[0] = '\0';
    }
}

} // namespace gaizior
