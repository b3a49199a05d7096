#include "apps/support/exit_text.h"

#include <array>
#include <cstdio>

namespace apps {

std::string ExitText(DWORD exitCode) {
    constexpr DWORD kLeastStatus = 0xC0000000; // from here on it is the system's word for a crash
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), exitCode < kLeastStatus ? "ended with exit code %lu" : "crashed (0x%08lX)",
                  exitCode);
    return text.data();
}

} // namespace apps
