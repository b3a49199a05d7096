#include "gaizior/platform/linux/processes/command_line.h"
#include "gaizior/platform/linux/processes/process_watcher.h"
#include "gaizior/platform/linux/processes/program_path.h"
#include "gaizior/platform/linux/system/last_error.h"
#include "gaizior/platform/path.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace gaizior::platform;
using gaizior::ToSystemPath;
namespace fs = std::filesystem;

constexpr DWORD kAllAccess = 0xFFFFFFFF;
constexpr DWORD kKnownFlags = CREATE_NEW_PROCESS_GROUP | CREATE_NO_WINDOW;
constexpr DWORD kUseStandardHandles = 0x00000100; // STARTF_USESTDHANDLES

/// What a handle of a process means: which process, and what may be done through it.
struct ProcessHandle {
    std::shared_ptr<Process> process;
    DWORD access;
};

/// A handle that is signalled when the process ends; null when there is no memory for one.
HANDLE NewProcessHandle(CompletionKind kind, const std::shared_ptr<Process>& process, DWORD access) {
    std::unique_ptr<ProcessHandle> context(new ProcessHandle{process, access});
    const HANDLE handle = NewCompletion(kind, context.get(), [](void* p) { delete static_cast<ProcessHandle*>(p); });
    if (handle) {
        static_cast<void>(context.release());
        ProcessWatcher::Instance()->CompleteAtEnd(*process, ReferToCompletion(handle));
    }
    return handle;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// The texts of an environment block: each ended by a NUL, an empty one after the last.
std::vector<char*> EnvironmentOf(void* block) {
    std::vector<char*> variables;
    for (char* variable = static_cast<char*>(block); *variable; variable += std::strlen(variable) + 1) {
        variables.push_back(variable);
    }
    variables.push_back(nullptr);
    return variables;
}

/// Whether a child would get this descriptor.
bool IsInherited(int descriptor) {
    const int flags = ::fcntl(descriptor, F_GETFD);
    return flags >= 0 && !(flags & FD_CLOEXEC);
}

/// How the child starts: with no signal blocked, with the standard descriptors and no others.
class SpawnSettings {
public:
    SpawnSettings(const char* directory, bool ownGroup) {
        ::posix_spawn_file_actions_init(&m_actions);
        ::posix_spawnattr_init(&m_attributes);
        sigset_t none;
        ::sigemptyset(&none);
        ::posix_spawnattr_setsigmask(&m_attributes, &none);
        ::posix_spawnattr_setflags(&m_attributes,
                                   static_cast<short>(POSIX_SPAWN_SETSIGMASK | (ownGroup ? POSIX_SPAWN_SETPGROUP : 0)));
        m_error = ::posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1);
        for (int stream = STDIN_FILENO; m_error == 0 && stream <= STDERR_FILENO; ++stream) {
            // Closed here: the first file that the child opens must not become its standard stream.
            m_error = IsInherited(stream) ? 0 : AddNull(stream);
        }
        if (m_error == 0 && directory) {
            m_error = ::posix_spawn_file_actions_addchdir_np(&m_actions, directory);
        }
    }
    ~SpawnSettings() {
        ::posix_spawn_file_actions_destroy(&m_actions);
        ::posix_spawnattr_destroy(&m_attributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    /// @returns 0 or an errno value.
    int Spawn(const std::string& program, char* const* words, char* const* environment, pid_t& id) const {
        return m_error ? m_error : ::posix_spawn(&id, program.c_str(), &m_actions, &m_attributes, words, environment);
    }

private:
    int AddNull(int stream) {
        return ::posix_spawn_file_actions_addopen(&m_actions, stream, "/dev/null", O_RDWR, 0);
    }

    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
    int m_error = 0;
};

/// Ends a child that nobody can be given a handle of.
BOOL Abandon(pid_t id, DWORD error) {
    ::kill(id, SIGKILL);
    ::waitpid(id, nullptr, 0);
    return Fail(error);
}

/// Hands a new child to the watcher and its handles to the caller.
BOOL Adopt(ProcessWatcher& watcher, pid_t id, PROCESS_INFORMATION& information) try {
    const std::shared_ptr<Process> process = watcher.Watch(id, true);
    if (!process) {
        return Abandon(id, ErrorOfErrno(errno));
    }
    const HANDLE processHandle = NewProcessHandle(CompletionKind::Process, process, kAllAccess);
    const HANDLE threadHandle =
        processHandle ? NewProcessHandle(CompletionKind::ProcessThread, process, kAllAccess) : nullptr;
    if (!threadHandle) {
        process->Kill(0); // the watcher collects it
        if (processHandle) {
            CloseHandle(processHandle);
        }
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    }
    information = {processHandle, threadHandle, static_cast<DWORD>(id), static_cast<DWORD>(id)};
    return TRUE;
} catch (const std::bad_alloc&) {
    return Abandon(id, ERROR_NOT_ENOUGH_MEMORY);
}

/// Why a name leads to no program. Windows tells an empty path, and an empty word in quotes, from a missing file.
DWORD WhyNoProgram(const char* application, const char* commandLine) {
    if (application) {
        return *application ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
    }
    return std::string_view(commandLine).starts_with(R"("")") ? ERROR_INVALID_PARAMETER : ERROR_FILE_NOT_FOUND;
}

/// CreateProcessA with its arguments checked.
BOOL Launch(const char* application, const char* commandLine, DWORD flags, void* environment, const char* directory,
            PROCESS_INFORMATION& information) {
    const std::string folder = directory ? ToSystemPath(directory) : std::string();
    std::error_code ignored;
    if (directory && !fs::is_directory(folder, ignored)) {
        return Fail(ERROR_DIRECTORY);
    }
    std::vector<std::string> words =
        commandLine ? SplitCommandLine(commandLine) : std::vector<std::string>{application};
    const std::string program =
        application ? AbsolutePath(ToSystemPath(application)) : FindProgram(ToSystemPath(words.front()));
    if (program.empty()) {
        return Fail(WhyNoProgram(application, commandLine));
    }
    ProcessWatcher* const watcher = ProcessWatcher::Instance();
    if (!watcher) {
        return FailErrno();
    }
    const std::vector<char*> variables = environment ? EnvironmentOf(environment) : std::vector<char*>{};
    const SpawnSettings settings(directory ? folder.c_str() : nullptr, flags & CREATE_NEW_PROCESS_GROUP);
    pid_t id = 0;
    if (const int error =
            settings.Spawn(program, Pointers(words).data(), environment ? variables.data() : ::environ, id)) {
        return Fail(ErrorOfErrno(error));
    }
    return Adopt(*watcher, id, information);
}

HANDLE OpenById(DWORD access, pid_t id) {
    ProcessWatcher* const watcher = ProcessWatcher::Instance();
    if (!watcher) {
        return FailErrnoNull();
    }
    const std::shared_ptr<Process> process = watcher->Watch(id, false);
    if (!process) {
        const bool isNobody = errno == ESRCH || errno == EINVAL || errno == ENOENT;
        return isNobody ? FailNull(ERROR_INVALID_PARAMETER) : FailErrnoNull();
    }
    if ((access & PROCESS_TERMINATE) && !process->MayKill() && errno == EPERM) {
        return FailNull(ERROR_ACCESS_DENIED);
    }
    const HANDLE handle = NewProcessHandle(CompletionKind::Process, process, access);
    return handle ? handle : FailNull(ERROR_NOT_ENOUGH_MEMORY);
}

/// What an open process handle stands for, and its exit code so far; null, with the last error set, unless it is one
/// that has the right.
std::shared_ptr<Process> Open(HANDLE handle, DWORD right, DWORD& exitCode) {
    const CompletionRef kept = ReferToCompletion(handle); // another thread may close the handle now
    if (!kept.Is(CompletionKind::Process)) {
        return FailNull(ERROR_INVALID_HANDLE);
    }
    exitCode = kept.ExitCode();
    const auto& target = *static_cast<ProcessHandle*>(kept.Context());
    if ((target.access & right) == 0) {
        return FailNull(ERROR_ACCESS_DENIED);
    }
    return target.process;
}

} // namespace

inline namespace gaizior_windows_api {

BOOL CreateProcessA(const char* application, char* commandLine, SECURITY_ATTRIBUTES* /*processAttributes*/,
                    SECURITY_ATTRIBUTES* /*threadAttributes*/, BOOL /*inheritHandles*/, DWORD flags, void* environment,
                    const char* directory, STARTUPINFOA* startup, PROCESS_INFORMATION* information) {
    if (information) {
        *information = {};
    }
    if ((!application && !commandLine) || (flags & ~kKnownFlags) || !information) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    if (startup && (startup->dwFlags & kUseStandardHandles)) {
        return Fail(ERROR_NOT_SUPPORTED);
    }
    return NoThrow([&] { return Launch(application, commandLine, flags, environment, directory, *information); });
}

HANDLE OpenProcess(DWORD access, BOOL /*inherit*/, DWORD processId) {
    return NoThrow([=] { return OpenById(access, static_cast<pid_t>(processId)); });
}

BOOL TerminateProcess(HANDLE process, UINT exitCode) {
    DWORD present = 0;
    const std::shared_ptr<Process> target = Open(process, PROCESS_TERMINATE, present);
    if (!target) {
        return FALSE;
    }
    if (present != STILL_ACTIVE) {
        return Fail(ERROR_ACCESS_DENIED); // what Windows says of one that has ended
    }
    if (target->Id() == ::getpid()) {
        std::_Exit(static_cast<int>(exitCode));
    }
    if (target->Kill(exitCode) || errno == ESRCH) {
        return TRUE; // it may have ended by itself a moment ago
    }
    return FailErrno();
}

BOOL GetExitCodeProcess(HANDLE process, DWORD* exitCode) {
    DWORD code = 0;
    const std::shared_ptr<Process> target = Open(process, PROCESS_QUERY_LIMITED_INFORMATION, code);
    if (!target) {
        return FALSE;
    }
    if (code != STILL_ACTIVE && !target->IsExitCodeKnown()) {
        return Fail(ERROR_NOT_SUPPORTED);
    }
    *exitCode = code;
    return TRUE;
}

DWORD GetCurrentProcessId() {
    return static_cast<DWORD>(::getpid());
}

} // namespace gaizior_windows_api
