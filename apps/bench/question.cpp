#include "apps/bench/question.h"

#include "apps/bench/terminal.h"

#include <array>
#include <cstdio>

namespace apps {

bool CanAsk() {
    return IsInputTerminal() && IsTerminal(Stream::kError);
}

Reply Ask(const std::string& question, const Interrupt& interrupt) {
    std::fprintf(stderr, "%s [y/N] ", question.c_str());
    std::fflush(stderr);
    std::array<char, 64> line{};
    const bool isRead = !AwaitLine(interrupt) && std::fgets(line.data(), static_cast<int>(line.size()), stdin);
    if (!isRead) {
        std::fputc('\n', stderr); // the cursor still stands behind the question
    }
    return interrupt.IsSet() ? Reply::kInterrupted : line[0] == 'y' || line[0] == 'Y' ? Reply::kYes : Reply::kNo;
}

} // namespace apps
