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

TerminalSize SizeOf(Stream stream) {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!::GetConsoleScreenBufferInfo(ConsoleOf(stream), &info)) {
        return {};
    }
    const SMALL_RECT& window = info.srWindow;
    return {static_cast<unsigned>(window.Right - window.Left + 1),
            static_cast<unsigned>(window.Bottom - window.Top + 1)};
}

unsigned TerminalColumns(Stream stream) {
    return SizeOf(stream).columns;
}

bool HasUtf8() {
    return ::GetConsoleOutputCP() == CP_UTF8;
}

void OutliveReaders() {} // they never end a program here

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

struct Keyboard::Before {
    HANDLE hInput = ::GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode = 0;
    bool isConsole = ::GetConsoleMode(hInput, &mode) != 0;
};

Keyboard::Keyboard() : m_pBefore(std::make_unique<Before>()) {}
Keyboard::~Keyboard() = default;

bool Keyboard::IsOurs() const {
    return true; // consoles have no jobs in the background
}

void Keyboard::Take() {
    if (m_pBefore->isConsole) {
        ::SetConsoleMode(m_pBefore->hInput,
                         m_pBefore->mode & ~static_cast<DWORD>(ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT));
    }
}

void Keyboard::GiveBack() {
    if (m_pBefore->isConsole) {
        ::SetConsoleMode(m_pBefore->hInput, m_pBefore->mode);
    }
}

/// A read of characters waits while there are only other events, so the events themselves are read.
char Keyboard::Next() {
    DWORD waiting = 0;
    while (m_pBefore->isConsole && ::GetNumberOfConsoleInputEvents(m_pBefore->hInput, &waiting) && waiting > 0) {
        INPUT_RECORD event{};
        DWORD count = 0;
        if (!::ReadConsoleInputA(m_pBefore->hInput, &event, 1, &count) || count == 0) {
            break;
        }
        const KEY_EVENT_RECORD& key = event.Event.KeyEvent;
        if (event.EventType == KEY_EVENT && key.bKeyDown && key.uChar.AsciiChar != 0) {
            return key.uChar.AsciiChar;
        }
    }
    return 0;
}

// Windows stops no programs.
bool Keyboard::IsAskedToStop() const {
    return false;
}
void Keyboard::Stop() {}
bool Keyboard::WentOn() {
    return false;
}

} // namespace apps
