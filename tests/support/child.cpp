#include "tests/support/child.h"

#include <filesystem>
#include <stdexcept>

namespace gaizior::test {

std::string SiblingProgram(const char* name) {
    char path[4096];
    ::GetModuleFileNameA(nullptr, path, sizeof(path));
    const std::filesystem::path self(path);
    return (self.parent_path() / name).replace_extension(self.extension()).string();
}

Child::Child(const std::string& program, const std::string& arguments) {
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    std::string commandLine = '"' + program + "\" " + arguments;
    if (!::CreateProcessA(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                          &m_information)) {
        throw std::runtime_error("cannot start " + commandLine + ": error " + std::to_string(::GetLastError()));
    }
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
