#pragma once

#include "gaizior/platform/windows_api.h"

#include <string>

namespace gaizior::test {

/// The path of a program that is built beside the running test program.
std::string SiblingProgram(const char* name);

/// A child process, ended when this goes if it still runs.
class Child {
public:
    /// Starts a program, which is there.
    Child(const std::string& program, const std::string& arguments);
    /// Calls CreateProcessA; what became of it Error tells.
    Child(const char* application, std::string commandLine, DWORD flags = 0, void* environment = nullptr,
          const char* directory = nullptr, STARTUPINFOA startup = {});
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Why it could not be started; 0 when it was.
    DWORD Error() const {
        return m_nError;
    }
    const PROCESS_INFORMATION& Information() const {
        return m_information;
    }
    HANDLE Handle() const {
        return m_information.hProcess;
    }
    /// Ends the child as a kill would and waits until it is gone.
    void Kill() const;
    /// The exit code, waited for.
    DWORD ExitCode() const;

private:
    PROCESS_INFORMATION m_information{};
    DWORD m_nError = 0;
};

} // namespace gaizior::test
