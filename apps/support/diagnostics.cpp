#include "apps/support/diagnostics.h"

#include "apps/support/clock.h"
#include "apps/support/text.h"
#include "gaizior/errors/error_stack.h"
#include "gaizior/errors/failure.h"
#include "gaizior/logging/debug_print.h"
#include "gaizior/logging/log_stream.h"

#include <cstdio>
#include <memory>
#include <string_view>

namespace apps {
namespace {

constexpr unsigned kEveryLevel = 100;
constexpr int kChannelSteps = 5;
const char* g_program = "";
unsigned g_debugLevel = 0; // a line passes when its level is below this

std::string_view WithoutEnd(std::string_view text) {
    while (text.ends_with('\n') || text.ends_with('\r')) {
        text.remove_suffix(1);
    }
    return text;
}

void PrintLine(int level, std::string_view line) {
    const std::string_view text = WithoutEnd(line);
    std::fprintf(stderr, "%s %s[%d] %.*s\n", ClockTime().c_str(), g_program, level, static_cast<int>(text.size()),
                 text.data());
    std::fflush(stderr);
}

void PrintLogLine(unsigned level, int /*mode*/, char* text) {
    PrintLine(static_cast<int>(level), text);
}

void PrintChannelLine(int level, int /*mode*/, const char* text) {
    PrintLine(level, text);
}

void LogChannelLine(int level, int /*mode*/, const char* text) {
    gaizior::LogAt(static_cast<unsigned>(level), "channel: ", Printable(WithoutEnd(text)));
}

unsigned DebugLevel() {
    return g_debugLevel;
}

} // namespace

void SetUpDiagnostics(const char* program, bool verbose, bool tellsFailures) {
    g_program = program;
    g_debugLevel = verbose ? kEveryLevel : tellsFailures ? 1 : 0;
    ZRLogStreamC installsHooks(&PrintLogLine, nullptr, nullptr, &DebugLevel);
    if (verbose) {
        ZRDBNewRegisterCallback(&PrintChannelLine);
        ZRDBSetLevel(kChannelSteps);
    }
}

void LogChannelLines(bool verbose) {
    ZRDBNewRegisterCallback(&LogChannelLine);
    ZRDBSetLevel(verbose ? kChannelSteps : 0);
}

void PrintErrorStack() {
    const std::unique_ptr<char, decltype(&ZRErrorC::FreeString)> text(ZRErrorC::GetStack()->ToString(false, false),
                                                                      &ZRErrorC::FreeString);
    std::fputs(text ? text.get() : "(no memory for the error stack)\n", stderr);
}

} // namespace apps
