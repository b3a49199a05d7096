#include "apps/bench/background_process.h"
#include "gaizior/errors/folded_code.h"

#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

namespace apps {
namespace {

/// A session of its own, without a terminal, and what stands for the standard streams there.
class SpawnSettings {
public:
    explicit SpawnSettings(const char* errors) {
        constexpr mode_t kMode = 0644;
        ::posix_spawn_file_actions_init(&m_actions);
        ::posix_spawnattr_init(&m_attributes);
        ::posix_spawnattr_setflags(&m_attributes, static_cast<short>(POSIX_SPAWN_SETSID));
        ::posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_addopen(&m_actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        ::posix_spawn_file_actions_addopen(&m_actions, STDERR_FILENO, errors, O_WRONLY | O_CREAT | O_TRUNC, kMode);
        ::posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1);
    }
    ~SpawnSettings() {
        ::posix_spawn_file_actions_destroy(&m_actions);
        ::posix_spawnattr_destroy(&m_attributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    /// @returns 0 or an errno value.
    int Spawn(std::vector<std::string>& words, pid_t& id) const {
        std::vector<char*> pointers;
        pointers.reserve(words.size() + 1);
        for (std::string& word : words) {
            pointers.push_back(word.data());
        }
        pointers.push_back(nullptr);
        return ::posix_spawn(&id, words.front().c_str(), &m_actions, &m_attributes, pointers.data(), ::environ);
    }

private:
    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
};

} // namespace

Outcome StartInBackground(const std::string& path, const std::vector<std::string>& words, const std::string& errors,
                          BackgroundProcess& process) {
    constexpr const char* kFunction = "StartInBackground(): ";
    std::vector<std::string> all = {path};
    all.insert(all.end(), words.begin(), words.end());
    pid_t id = 0;
    const SpawnSettings settings(errors.empty() ? "/dev/null" : errors.c_str());
    if (const int error = settings.Spawn(all, id)) {
        return Fail(kFunction, kImagerDied, Exit::kFailed,
                    path + ": the program cannot be started: " + std::generic_category().message(error) +
                        ": check that it is a program for this system" +
                        (errors.empty() ? "" : ", and that " + errors + " can be written"));
    }
    process.id = static_cast<DWORD>(id);
    process.handle = gaizior::UniqueHandle(::OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, process.id));
    if (!process.handle) {
        const ZRErrors::ZRErrorT code = gaizior::LastSystemError();
        return Fail(kFunction, code, Exit::kFailed,
                    path + ": process " + std::to_string(process.id) +
                        " has been started but cannot be watched: " + ErrorText(code));
    }
    return std::nullopt;
}

} // namespace apps
