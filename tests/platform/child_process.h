#pragma once

#include "gaizior/platform/windows_api.h"
#include "tests/support/scratch.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace gaizior::test {

/// A process handle pair that is closed at the end; a process that still runs then is ended.
class Child {
public:
    /// Starts platform_child, which stands beside this program, with these further words.
    explicit Child(const std::string& words, DWORD flags = 0, void* environment = nullptr,
                   const char* directory = nullptr)
        : Child(nullptr, "platform_child " + words, flags, environment, directory) {}
    Child(const char* application, std::string commandLine, DWORD flags = 0, void* environment = nullptr,
          const char* directory = nullptr) {
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        m_bStarted = ::CreateProcessA(application, commandLine.data(), nullptr, nullptr, TRUE, flags, environment,
                                      directory, &startup, &m_information) != FALSE;
        m_error = m_bStarted ? 0 : ::GetLastError();
    }
    ~Child() {
        if (m_bStarted) {
            ::TerminateProcess(Process(), 1);
            ::CloseHandle(m_information.hThread);
            ::CloseHandle(Process());
        }
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    DWORD Error() const {
        return m_error;
    }
    HANDLE Process() const {
        return m_information.hProcess;
    }
    HANDLE Thread() const {
        return m_information.hThread;
    }
    DWORD Id() const {
        return m_information.dwProcessId;
    }
    /// The exit code, waited for.
    DWORD Ended() const {
        DWORD code = STILL_ACTIVE;
        ::WaitForSingleObject(Process(), 60'000);
        ::GetExitCodeProcess(Process(), &code);
        return code;
    }

private:
    PROCESS_INFORMATION m_information{};
    DWORD m_error = 0;
    bool m_bStarted = false;
};

/// The parts that a child told.
inline std::vector<std::string> Told(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    std::vector<std::string> parts;
    for (std::string part; std::getline(in, part, '\0');) {
        parts.push_back(part);
    }
    return parts;
}

} // namespace gaizior::test
