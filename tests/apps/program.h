#pragma once

#include "tests/support/child.h"
#include "tests/support/scratch.h"

#include <optional>
#include <string>
#include <vector>

namespace gaizior::test {

/// One of our programs, started with its output going to files. Killed at the end if it still runs.
class Program {
public:
    /// `name`: the program beside the test's own.
    Program(const char* name, const std::vector<std::string>& arguments);

    /// The exit code; nothing when it has not ended within `milliseconds`.
    std::optional<int> Wait(DWORD milliseconds = 30000) const;
    void Kill() const {
        m_child.Kill();
    }
    /// What Ctrl-C does in a terminal. @returns false where there is no terminal through which to do it.
    bool Interrupt() const;
    std::string Output() const;
    std::string Errors() const;
    /// Waits until standard error holds `text`. @returns what follows it, up to the end of its line; "" in vain.
    std::string WaitForError(const std::string& text) const;

private:
    ScratchFolder m_folder;
    Child m_child;
};

/// Lets a process hang: it neither runs nor ends.
void SuspendProcess(DWORD processId);

} // namespace gaizior::test
