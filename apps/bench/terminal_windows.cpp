#include "apps/bench/terminal.h"

#include "gaizior/platform/windows_api.h"

#include <initializer_list>

namespace apps {
namespace {

bool g_bHasColour[2] = {};

HANDLE ConsoleOf(Stream stream) {
    return ::GetStdHandle(stream == Stream::kOutput ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

/// Not every console that takes the mode heeds it: one that moves the cursor for a colour sequence does not.
bool HeedsSequences(HANDLE console) {
    CONSOLE_SCREEN_BUFFER_INFO before{};
    CONSOLE_SCREEN_BUFFER_INFO after{};
    DWORD written = 0;
    if (!::GetConsoleScreenBufferInfo(console, &before) || !::WriteConsoleA(console, "\x1b[0m", 4, &written, nullptr) ||
        !::GetConsoleScreenBufferInfo(console, &after)) {
        return false;
    }
    const bool heeds = after.dwCursorPosition.X == before.dwCursorPosition.X;
    if (!heeds) {
        ::SetConsoleCursorPosition(console, before.dwCursorPosition);
        ::WriteConsoleA(console, "    ", 4, &written, nullptr);
        ::SetConsoleCursorPosition(console, before.dwCursorPosition);
    }
    return heeds;
}

} // namespace

bool HasColour(Stream stream) {
    return g_bHasColour[static_cast<int>(stream)];
}

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
        const HANDLE console = ConsoleOf(stream);
        g_bHasColour[static_cast<int>(stream)] = ::GetConsoleMode(console, &mode) &&
                                                 ::SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) &&
                                                 HeedsSequences(console);
    }
}

TerminalMode::~TerminalMode() {
    for (const Stream stream : {Stream::kOutput, Stream::kError}) {
        if (const DWORD mode = m_nModes[static_cast<int>(stream)]; mode != 0) {
            ::SetConsoleMode(ConsoleOf(stream), mode);
        }
    }
}

} // namespace apps
