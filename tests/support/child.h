#pragma once

#include "gaizior/platform/windows_api.h"

#include <string>

namespace gaizior::test {

/// The path of a program that is built beside the running test program.
std::string SiblingProgram(const char* name);

/// A child process, ended when this goes if it still runs.
class Child {
public:
    Child(const std::string& program, const std::string& arguments);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    HANDLE Handle() const {
        return m_information.hProcess;
    }
    /// Ends the child as a kill would and waits until it is gone.
    void Kill() const;
    /// The exit code, waited for.
    DWORD ExitCode() const;

private:
    PROCESS_INFORMATION m_information{};
};

} // namespace gaizior::test
