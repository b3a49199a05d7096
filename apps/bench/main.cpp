#include "apps/bench/command_line.h"
#include "apps/bench/failure_output.h"
#include "apps/bench/terminal.h"
#include "apps/support/diagnostics.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace apps {
namespace {

/// Whether a program reads what is written, as far as a command line tells that may be wrong.
bool WantsJson(const std::vector<std::string>& words) {
    const auto end = std::ranges::find(words, "--");
    return std::any_of(words.begin(), end,
                       [](const std::string& word) { return word == "--json" || word == "--json=true"; });
}

Outcome CarryOut(const CommandLine& line) {
    SetUpDiagnostics("bench", line.verbose);
    const Interrupt interrupt;
    Outcome failure = line.run(interrupt);
    if (!failure && (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)) {
        failure = Fail("CarryOut(): ", kFileNotWritten, Exit::kFailed,
                       "the result cannot be written to standard output: check the disk or the reader");
    }
    return failure;
}

int Run(const std::vector<std::string>& words) {
    const TerminalMode mode;
    CommandLine line;
    if (words.empty()) {
        std::fputs(line.Brief().c_str(), stderr);
        return static_cast<int>(Exit::kUsage);
    }
    const bool json = WantsJson(words);
    if (const Outcome failure = line.Parse(words)) {
        return PrintFailure(*failure, json);
    }
    const Outcome failure = CarryOut(line);
    const int exit = failure ? PrintFailure(*failure, json) : static_cast<int>(Exit::kDone);
    if (failure && line.verbose) {
        PrintErrorStack();
    }
    return exit;
}

} // namespace
} // namespace apps

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
    try {
        return apps::Run(words);
    } catch (const std::exception& error) {
        return apps::PrintFailure(
            {apps::kUnknownError, apps::Exit::kFailed, std::string("it cannot go on: ") + error.what()},
            apps::WantsJson(words));
    }
}
