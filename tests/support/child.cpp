#include "tests/support/child.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

namespace gaizior::test {
namespace {

/// ERROR_INTERNAL_ERROR, Wine's word for a new process that was gone before its first instruction, as happens on a busy
/// machine; no start of this system's own fails with it.
constexpr DWORD kGoneBeforeItBegan = 1359;
constexpr int kStarts = 5;

} // namespace

std::string SiblingProgram(const char* name) {
    char path[4096];
    ::GetModuleFileNameA(nullptr, path, sizeof(path));
    const std::filesystem::path self(path);
    return (self.parent_path() / name).replace_extension(self.extension()).string();
}

Child::Child(const char* application, std::string commandLine, DWORD flags, void* environment, const char* directory,
             STARTUPINFOA startup) {
    startup.cb = sizeof(startup);
    const auto start = [&] {
        return ::CreateProcessA(application, commandLine.data(), nullptr, nullptr, TRUE, flags, environment, directory,
                                &startup, &m_information)
                   ? 0
                   : ::GetLastError();
    };
    m_nError = start();
    for (int starts = 1; m_nError == kGoneBeforeItBegan && starts < kStarts; ++starts) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        m_nError = start();
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
