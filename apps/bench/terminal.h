#pragma once

namespace apps {

/// What differs between the systems' terminals; one source for each system.
enum class Stream { kOutput, kError };

/// Whether a person looks at the stream.
bool IsTerminal(Stream stream);

/// Whether it is a terminal that understands colour sequences.
bool HasColour(Stream stream);

/// Width of the terminal in characters; 80 when the stream is none or does not tell.
unsigned TerminalColumns(Stream stream);

/// Makes the terminals understand colour sequences, where they can, for as long as it lives; then puts them back as
/// they were. One lives in main.
class TerminalMode {
public:
    TerminalMode();
    ~TerminalMode();
    TerminalMode(const TerminalMode&) = delete;
    TerminalMode& operator=(const TerminalMode&) = delete;

private:
    unsigned long m_nModes[2] = {};
};

} // namespace apps
