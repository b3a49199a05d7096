#include "apps/bench/screen.h"

#include <cstdio>

namespace apps {
namespace {

// What all terminals of both systems understand.
constexpr const char* kEnter = "\x1b[?1049h\x1b[?25l\x1b[?7l"; // another page, no cursor, rows are cut at the edge
constexpr const char* kLeave = "\x1b[?7h\x1b[?25h\x1b[?1049l";
constexpr const char* kEraseAll = "\x1b[2J";
constexpr const char* kEraseRow = "\x1b[K";

std::string GoToRow(std::size_t row) {
    return "\x1b[" + std::to_string(row + 1) + ";1H";
}

std::string Drawn(const Row& row) {
    std::string text;
    for (const Run& run : row) {
        text += run.colour ? Painted(Stream::kOutput, *run.colour, run.text) : run.text;
    }
    return text;
}

void Write(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

} // namespace

bool HasScreen() {
    return IsTerminal(Stream::kOutput) && HasColour(Stream::kOutput);
}

Screen::Screen() {
    if (m_keyboard.IsOurs()) {
        Enter();
    }
}

Screen::~Screen() {
    if (m_bShown && m_keyboard.IsOurs()) {
        Leave();
    }
}

void Screen::Enter() {
    std::fflush(stdout);
    m_keyboard.Take();
    Write(kEnter);
    m_rows.clear();
    m_size = {0, 0};
    m_bShown = true;
}

void Screen::Leave() {
    Write(kLeave);
    m_keyboard.GiveBack();
    m_bShown = false;
}

void Screen::Show(const Page& page) {
    if (!m_bShown) {
        return;
    }
    std::string frame;
    const TerminalSize size = SizeOf(Stream::kOutput);
    if (size.columns != m_size.columns || size.rows != m_size.rows) {
        frame = kEraseAll;
        m_rows.clear();
        m_size = size;
    }
    m_rows.resize(size.rows);
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        std::string row = i < page.size() ? Drawn(page[i]) : "";
        if (row != m_rows[i]) {
            frame += GoToRow(i) + kEraseRow + row;
            m_rows[i] = std::move(row);
        }
    }
    if (!frame.empty()) {
        Write(frame);
    }
}

char Screen::NextKey() {
    if (m_keyboard.IsAskedToStop()) {
        if (m_bShown) {
            Leave();
        }
        m_keyboard.Stop();
    }
    if (m_keyboard.WentOn()) {
        m_bShown = false; // whoever had the terminal has put its own page there
    }
    if (!m_keyboard.IsOurs()) {
        return 0;
    }
    if (!m_bShown) {
        Enter();
    }
    return m_keyboard.Next();
}

} // namespace apps
