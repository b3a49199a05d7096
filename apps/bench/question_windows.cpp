#include "apps/bench/question.h"

namespace apps {

bool IsInputTerminal() {
    DWORD mode = 0; // NUL is a device of characters, too
    return ::GetConsoleMode(::GetStdHandle(STD_INPUT_HANDLE), &mode) != 0;
}

/// A read of the console ends by itself at Ctrl-C.
bool AwaitLine(const Interrupt& interrupt) {
    return interrupt.IsSet();
}

} // namespace apps
