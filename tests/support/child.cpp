#include "tests/support/child.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace gaizior::test {

std::string SiblingProgram(const char* name) {
    char path[4096];
    ::GetModuleFileNameA(nullptr, path, sizeof(path));
    const std::filesystem::path self(path);
    return (self.parent_path() / name).replace_extension(self.extension()).string();
}

Child::Child(const char* application, std::string commandLine, DWORD flags, void* environment, const char* directory,
             STARTUPINFOA startup) {
    startup.cb = sizeof(startup);
    if (!::CreateProcessA(application, commandLine.data(), nullptr, nullptr, TRUE, flags, environment, directory,
                          &startup, &m_information)) {
        m_nError = ::GetLastError();
    }
}

Child::Child(const std::string& program, const std::string& arguments)
    : Child(program.c_str(), '"' + program + "\" " + arguments) {
    EXPECT_EQ(m_nError, 0u) << "cannot start " << program;
}

Child::~Child() {
    Kill();
    ::CloseHandle(m_information.hThread);
    ::CloseHandle(m_information.hProcess);
}

void Child::Kill() const {
    ::TerminateProcess(Handle(), 9);
    ::WaitForSingleObject(Handle(), INFINITE);
}

DWORD Child::ExitCode() const {
    DWORD code = STILL_ACTIVE;
    ::WaitForSingleObject(Handle(), INFINITE);
    ::GetExitCodeProcess(Handle(), &code);
    return code;
}

} // namespace gaizior::test
