#include "apps/bench/terminal.h"

#include "gaizior/platform/windows_api.h"

#include <initializer_list>

namespace gaizior {
namespace {

HANDLE ConsoleOf(Stream stream) {
    return ::GetStdHandle(stream == Stream::kOutput ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

} // namespace

bool IsTerminal(Stream stream) {
    DWORD mode = 0;
    return ::GetConsoleMode(ConsoleOf(stream), &mode) != 0;
}

unsigned TerminalColumns(Stream stream) {
    constexpr unsigned kUsualColumns = 80;
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!::GetConsoleScreenBufferInfo(ConsoleOf(stream), &info)) {
        return kUsualColumns;
    }
    return static_cast<unsigned>(info.srWindow.Right - info.srWindow.Left + 1);
}

TerminalMode::TerminalMode() {
    for (const Stream stream : {Stream::kOutput, Stream::kError}) {
        DWORD& mode = m_nModes[static_cast<int>(stream)];
        if (::GetConsoleMode(ConsoleOf(stream), &mode)) {
            ::SetConsoleMode(ConsoleOf(stream), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
        }
    }
}

TerminalMode::~TerminalMode() {
    for (const Stream stream : {Stream::kOutput, Stream::kError}) {
        if (const DWORD mode = m_nModes[static_cast<int>(stream)]; mode != 0) {
            ::SetConsoleMode(ConsoleOf(stream), mode);
        }
    }
}

} // namespace gaizior
