#include "tests/apps/program.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>

#ifndef _WIN32
#include <csignal>
#endif

namespace gaizior::test {
namespace {

std::string ReadFile(const std::string& path) {
    std::ifstream stream(path);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

/// As both systems' command lines are split: quoted, with a backslash before a quote.
std::string Quoted(const std::string& argument) {
    std::string quoted = "\"";
    for (const char c : argument) {
        quoted += c == '"' ? "\\\"" : std::string(1, c);
    }
    return quoted + "\"";
}

#ifdef _WIN32

HANDLE CreateInherited(const std::string& path) {
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    return ::CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, CREATE_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
}

PROCESS_INFORMATION Start(const std::string& path, const std::string& arguments, const std::string& output) {
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = CreateInherited(output + ".out");
    startup.hStdError = CreateInherited(output + ".err");
    std::string command = Quoted(path) + arguments;
    PROCESS_INFORMATION process{};
    ::CreateProcessA(path.c_str(), command.data(), nullptr, nullptr, TRUE, CREATE_NEW_PROCESS_GROUP, nullptr, nullptr,
                     &startup, &process);
    ::CloseHandle(startup.hStdOutput);
    ::CloseHandle(startup.hStdError);
    return process;
}

#else

/// The shell sets the output up and becomes the program.
PROCESS_INFORMATION Start(const std::string& path, const std::string& arguments, const std::string& output) {
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    std::string command = "sh -c " + Quoted(R"(exec "$@" >"$0.out" 2>"$0.err" </dev/null)") + " " + Quoted(output) +
                          " " + Quoted(path) + arguments;
    PROCESS_INFORMATION process{};
    ::CreateProcessA("/bin/sh", command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
    return process;
}

#endif

} // namespace

Program::Program(const std::string& name, const std::vector<std::string>& arguments) {
    std::string line;
    for (const std::string& argument : arguments) {
        line += " " + Quoted(argument);
    }
    const PROCESS_INFORMATION process = Start(ProgramPath(name), line, m_folder.File("text"));
    m_hProcess = process.hProcess;
    m_nProcessId = process.dwProcessId;
    ::CloseHandle(process.hThread);
}

Program::~Program() {
    Kill();
    ::CloseHandle(m_hProcess);
}

std::optional<int> Program::Wait(DWORD milliseconds) {
    DWORD code = 0;
    if (::WaitForSingleObject(m_hProcess, milliseconds) != WAIT_OBJECT_0 || !::GetExitCodeProcess(m_hProcess, &code)) {
        return std::nullopt;
    }
    return static_cast<int>(code);
}

void Program::Kill() {
    ::TerminateProcess(m_hProcess, 1);
    ::WaitForSingleObject(m_hProcess, 10000);
}

bool Program::Interrupt() {
#ifdef _WIN32
    return ::GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, m_nProcessId) != FALSE;
#else
    return ::kill(static_cast<pid_t>(m_nProcessId), SIGINT) == 0;
#endif
}

std::string Program::Output() const {
    return ReadFile(m_folder.File("text.out"));
}

std::string Program::Errors() const {
    return ReadFile(m_folder.File("text.err"));
}

std::string Program::WaitForError(const std::string& text) const {
    for (int i = 0; i < 300; ++i, ::Sleep(50)) {
        const std::string errors = Errors();
        const std::size_t at = errors.find(text);
        const std::size_t end = at == std::string::npos ? at : errors.find('\n', at);
        if (end != std::string::npos) {
            return errors.substr(at + text.size(), end - at - text.size());
        }
    }
    return {};
}

bool HasEnded(DWORD processId, DWORD milliseconds) {
    const HANDLE hProcess = ::OpenProcess(SYNCHRONIZE, FALSE, processId);
    const bool ended = !hProcess || ::WaitForSingleObject(hProcess, milliseconds) == WAIT_OBJECT_0;
    ::CloseHandle(hProcess);
    return ended;
}

void SuspendProcess(DWORD processId) {
#ifdef _WIN32
    using Suspend = LONG(WINAPI*)(HANDLE);
    const auto suspend = reinterpret_cast<Suspend>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleA("ntdll"), "NtSuspendProcess")));
    const HANDLE hProcess = ::OpenProcess(PROCESS_SUSPEND_RESUME, FALSE, processId);
    suspend(hProcess);
    ::CloseHandle(hProcess);
#else
    ::kill(static_cast<pid_t>(processId), SIGSTOP);
#endif
}

void KillProcess(DWORD processId) {
    const HANDLE hProcess = ::OpenProcess(PROCESS_TERMINATE, FALSE, processId);
    ::TerminateProcess(hProcess, 1);
    ::CloseHandle(hProcess);
}

std::string ProgramPath(const std::string& name) {
    std::array<char, 4096> path{};
    ::GetModuleFileNameA(nullptr, path.data(), static_cast<DWORD>(path.size() - 1));
    std::filesystem::path own(path.data());
    return own.replace_filename(name + own.extension().string()).string();
}

} // namespace gaizior::test
