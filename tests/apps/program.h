#pragma once

#include "tests/support/scratch.h"

#include "gaizior/platform/windows_api.h"

#include <optional>
#include <string>
#include <vector>

namespace gaizior::test {

/// One of our programs, started with its output going to files. Killed at the end if it still runs.
class Program {
public:
    /// `name`: the program beside the test's own.
    Program(const std::string& name, const std::vector<std::string>& arguments);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// The exit code; nothing when it has not ended within `milliseconds`.
    std::optional<int> Wait(DWORD milliseconds = 30000);
    void Kill();
    /// What Ctrl-C does in a terminal. @returns false where there is no terminal through which to do it.
    bool Interrupt();
    std::string Output() const;
    std::string Errors() const;
    /// Waits until standard error holds `text`. @returns what follows it, up to the end of its line; "" in vain.
    std::string WaitForError(const std::string& text) const;

private:
    ScratchFolder m_folder;
    HANDLE m_hProcess = nullptr;
    DWORD m_nProcessId = 0;
};

/// The path of a program beside the test's own.
std::string ProgramPath(const std::string& name);

/// Waits up to `milliseconds` until no process of that id runs.
bool HasEnded(DWORD processId, DWORD milliseconds);
/// Lets a process hang: it neither runs nor ends.
void SuspendProcess(DWORD processId);
/// Ends a process the hard way.
void KillProcess(DWORD processId);

} // namespace gaizior::test
