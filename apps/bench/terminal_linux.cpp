#include "apps/bench/terminal.h"

#include <cstdlib>
#include <string_view>

#include <sys/ioctl.h>
#include <unistd.h>

namespace apps {
namespace {

int Descriptor(Stream stream) {
    return stream == Stream::kOutput ? STDOUT_FILENO : STDERR_FILENO;
}

} // namespace

bool IsTerminal(Stream stream) {
    const char* kind = std::getenv("TERM");
    return ::isatty(Descriptor(stream)) != 0 && kind && std::string_view(kind) != "dumb";
}

unsigned TerminalColumns(Stream stream) {
    constexpr unsigned kUsualColumns = 80;
    winsize size{};
    return ::ioctl(Descriptor(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsualColumns;
}

bool HasColour(Stream stream) {
    return IsTerminal(stream);
}

// Terminals here are ready as they are.
TerminalMode::TerminalMode() {}
TerminalMode::~TerminalMode() {}

} // namespace apps
