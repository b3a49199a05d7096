#include "apps/bench/question.h"

#include <poll.h>
#include <unistd.h>

namespace apps {

bool IsInputTerminal() {
    return ::isatty(STDIN_FILENO) != 0;
}

/// A read goes on behind a signal, so that Ctrl-C would not be noticed there.
bool AwaitLine(const Interrupt& interrupt) {
    constexpr int kPeriod = 100; // ms
    pollfd input{STDIN_FILENO, POLLIN, 0};
    while (!interrupt.IsSet() && ::poll(&input, 1, kPeriod) <= 0) {
    }
    return interrupt.IsSet();
}

} // namespace apps
