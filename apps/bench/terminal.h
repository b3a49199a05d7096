#pragma once

#include <memory>

namespace apps {

/// What differs between the systems' terminals; one source for each system.
enum class Stream { kOutput, kError };

/// Whether a person looks at the stream.
bool IsTerminal(Stream stream);

/// Whether it is a terminal that understands colour sequences.
bool HasColour(Stream stream);

struct TerminalSize {
    unsigned columns = 80;
    unsigned rows = 24;
};
/// The terminal's size in characters; 80 by 24 when the stream is none or does not tell.
TerminalSize SizeOf(Stream stream);
/// Its width alone.
unsigned TerminalColumns(Stream stream);

/// Whether the terminal of standard output shows UTF-8, as far as the locale, or the console's code page, tells.
bool HasUtf8();

/// From now on a write whose reader is gone fails; on some systems it would end the program.
void OutliveReaders();

/// Makes the terminals understand colour sequences, where they can, for as long as it lives; then puts them back as
/// they were. One lives in main.
class TerminalMode {
public:
    TerminalMode();
    ~TerminalMode();
    TerminalMode(const TerminalMode&) = delete;
    TerminalMode& operator=(const TerminalMode&) = delete;

private:
    [[maybe_unused]] unsigned long m_nModes[2] = {}; ///< of consoles, which Windows alone has
};

/// The terminal's keys, each at once and without an echo, while they are taken. Ctrl-C still interrupts. Where there
/// is job control, Ctrl-Z is left to whoever has the keys. At most one at a time, for one thread.
class Keyboard {
public:
    Keyboard();
    ~Keyboard();
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;

    /// Whether the terminal is this process's to use: a job in the background must leave it alone.
    bool IsOurs() const;
    void Take();
    void GiveBack();
    /// @returns the next character that was typed; 0 when there is none. Waits for nothing.
    char Next();

    /// Whether Ctrl-Z was typed: who has the terminal gives it back, and calls Stop.
    bool IsAskedToStop() const;
    /// Stops the process; returns when it goes on.
    void Stop();
    /// @returns whether the process went on after a stop since this was last asked: then others had the terminal.
    bool WentOn();

private:
    struct Before;

    std::unique_ptr<Before> m_pBefore; ///< how the terminal was
};

} // namespace apps
