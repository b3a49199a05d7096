#include "apps/support/exit_text.h"

#include <csignal>
#include <cstring>

namespace apps {

std::string ExitText(DWORD exitCode) {
    constexpr DWORD kEndedBySignal = 128; // plus the signal's number
    if (exitCode <= kEndedBySignal || exitCode > kEndedBySignal + static_cast<DWORD>(SIGRTMAX)) {
        return "ended with exit code " + std::to_string(exitCode);
    }
    const int number = static_cast<int>(exitCode - kEndedBySignal);
    const char* const name = ::sigabbrev_np(number); // none for a real-time signal
    return "was killed by signal " + std::to_string(number) + (name ? std::string(" (SIG") + name + ")" : "");
}

} // namespace apps
