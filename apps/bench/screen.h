#pragma once

#include "apps/bench/output.h"
#include "apps/bench/terminal.h"

#include <optional>
#include <string>
#include <vector>

namespace apps {

/// A piece of a row, in one colour or none.
struct Run {
    std::string text;
    std::optional<Colour> colour;
};
using Row = std::vector<Run>;
/// What a screen shows, from its top.
using Page = std::vector<Row>;

/// Whether standard output is a terminal on which pages can be shown.
bool HasScreen();

/// The terminal with a page over what it showed before, which comes back when this goes, when Ctrl-Z stops the process,
/// and whenever the shell has put the process into the background. One at a time, for one thread.
class Screen {
public:
    Screen();
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// Shows a page: draws the rows that are not there yet. Those that are wider than the terminal are cut.
    void Show(const Page& page);
    /// Does what Ctrl-Z and `fg` ask for. @returns the next character that was typed; 0 when there is none.
    char NextKey();

private:
    void Enter();
    void Leave();

    Keyboard m_keyboard;
    bool m_bShown = false; ///< the terminal shows pages
    TerminalSize m_size;   ///< for which it was drawn
    std::vector<std::string> m_rows;
};

} // namespace apps
