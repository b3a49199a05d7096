#include "apps/bench/command_line.h"
#include "apps/bench/output.h"
#include "apps/support/diagnostics.h"

#include <cstdio>

namespace apps {
namespace {

int PrintFailure(const std::string& text, Exit exit) {
    std::fprintf(stderr, "%s %s\n", Painted(Stream::kError, Colour::kBad, "bench:").c_str(), Printable(text).c_str());
    return static_cast<int>(exit);
}

int Run(int argc, char** argv) {
    const TerminalMode mode;
    CommandLine line;
    try {
        line.app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return line.app.exit(error);
        }
        return PrintFailure(ExplainUsage(line.app, error, argc, argv), Exit::kUsage);
    }
    SetUpDiagnostics("bench", line.verbose);
    const Interrupt interrupt;
    Outcome failure = line.run(interrupt);
    if (!failure && (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)) {
        failure = Fail("Run(): ", kFileNotWritten, Exit::kFailed,
                       "the result cannot be written to standard output: check the disk or the reader");
    }
    if (!failure) {
        return static_cast<int>(Exit::kDone);
    }
    const int exit = PrintFailure(failure->text, failure->exit);
    if (line.verbose) {
        PrintErrorStack();
    }
    return exit;
}

} // namespace
} // namespace apps

int main(int argc, char** argv) try { return apps::Run(argc, argv); } catch (const std::exception& error) {
    std::fprintf(stderr, "bench: it cannot go on: %s\n", error.what());
    return static_cast<int>(apps::Exit::kFailed);
}
