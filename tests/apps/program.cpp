#include "tests/apps/program.h"

#include <fstream>
#include <sstream>

#ifndef _WIN32
#include <csignal>
#endif

namespace apps::test {
namespace {

std::string ReadFile(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

/// As both systems' command lines are split: each word quoted, with a backslash before a quote.
std::string Line(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) {
        line += '"';
        for (const char c : word) {
            line += c == '"' ? "\\\"" : std::string(1, c);
        }
        line += "\" ";
    }
    return line;
}

#ifdef _WIN32

UniqueHandle CreateInherited(const std::string& path) {
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    return UniqueHandle(::CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                                      CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

Child Start(const std::string& path, const std::string& arguments, const std::string& output) {
    const UniqueHandle out = CreateInherited(output + ".out");
    const UniqueHandle err = CreateInherited(output + ".err");
    STARTUPINFOA startup{};
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = out.Get();
    startup.hStdError = err.Get();
    return Child(path.c_str(), Line({path}) + arguments, CREATE_NEW_PROCESS_GROUP, nullptr, nullptr, startup);
}

#else

/// The shell sets the output up and becomes the program.
Child Start(const std::string& path, const std::string& arguments, const std::string& output) {
    const std::string script = R"(exec "$@" >"$0.out" 2>"$0.err" </dev/null)";
    return Child("/bin/sh", Line({"sh", "-c", script, output, path}) + arguments);
}

#endif

} // namespace

Program::Program(const char* name, const std::vector<std::string>& arguments)
    : m_child(Start(SiblingProgram(name), Line(arguments), m_folder.File("text"))) {}

std::optional<int> Program::Wait(DWORD milliseconds) const {
    if (::WaitForSingleObject(m_child.Handle(), milliseconds) != WAIT_OBJECT_0) {
        return std::nullopt;
    }
    return static_cast<int>(m_child.ExitCode());
}

bool Program::Interrupt() const {
    const DWORD id = Id();
#ifdef _WIN32
    return ::GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, id) != FALSE;
#else
    return ::kill(static_cast<pid_t>(id), SIGINT) == 0;
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

bool Program::WaitForOutput(const std::string& text) const {
    bool isThere = false;
    for (int i = 0; i < 300 && !isThere; ++i) {
        isThere = Output().find(text) != std::string::npos || (::Sleep(50), false);
    }
    return isThere;
}

Ended::Ended(const std::vector<std::string>& arguments, int exitCode) : Program("bench", arguments) {
    EXPECT_EQ(Wait(), exitCode) << testing::PrintToString(arguments) << Output() << Errors();
}

bool Holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

#ifdef _WIN32

namespace {

void CallSystem(const char* function, DWORD processId) {
    using Function = LONG(WINAPI*)(HANDLE);
    const auto call =
        reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleA("ntdll"), function)));
    call(UniqueHandle(::OpenProcess(PROCESS_SUSPEND_RESUME, FALSE, processId)).Get());
}

} // namespace

void SuspendProcess(DWORD processId) {
    CallSystem("NtSuspendProcess", processId);
}

void ResumeProcess(DWORD processId) {
    CallSystem("NtResumeProcess", processId);
}

#else

void SuspendProcess(DWORD processId) {
    ::kill(static_cast<pid_t>(processId), SIGSTOP);
}

void ResumeProcess(DWORD processId) {
    ::kill(static_cast<pid_t>(processId), SIGCONT);
}

#endif

} // namespace apps::test
