#include "gaizior/platform/process_stamp.h"

#include "gaizior/platform/linux/files/retry.h"
#include "gaizior/platform/linux/system/unique_fd.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace gaizior {
namespace {

struct ProcessState {
    bool hasEnded;  // all of it, and waits for its parent
    bool isStopped; // by a signal or a debugger
    DWORD stamp;    // ticks since the machine started
};

std::optional<ProcessState> StateOf(DWORD processId) {
    const std::string path = "/proc/" + std::to_string(processId) + "/stat";
    const platform::UniqueFd file(platform::Retry([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
    std::array<char, 1024> buffer;
    const ssize_t length = platform::Retry([&] { return ::read(file.Get(), buffer.data(), buffer.size() - 1); });
    if (length <= 0) {
        return std::nullopt;
    }
    buffer[static_cast<std::size_t>(length)] = '\0';
    const char* const name = std::strrchr(buffer.data(), ')'); // of the program, which may have any character
    char state = 0;
    long threads = 0;
    unsigned long long began = 0;
    if (!name || std::sscanf(name, ") %c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %*u %*u %*d %*d %*d %*d %ld %*d %llu",
                             &state, &threads, &began) != 3) {
        return std::nullopt;
    }
    return ProcessState{.hasEnded = (state == 'Z' || state == 'X') && threads <= 1,
                        .isStopped = state == 'T' || state == 't',
                        .stamp = static_cast<DWORD>(began)};
}

} // namespace

DWORD OwnStamp() {
    static std::atomic<std::uint64_t> s_known{0}; // the process and its number: a forked child has others
    const DWORD process = ::GetCurrentProcessId();
    const std::uint64_t known = s_known;
    if (known >> 32 == process) {
        return static_cast<DWORD>(known);
    }
    const std::optional<ProcessState> own = StateOf(process);
    if (!own) {
        return kUnknownStamp; // for once: the next call may be told
    }
    s_known = std::uint64_t{process} << 32 | own->stamp;
    return own->stamp;
}

bool HasProcessEnded(DWORD processId, DWORD stamp) {
    if (const std::optional<ProcessState> state = StateOf(processId)) {
        return state->hasEnded || (stamp != kUnknownStamp && state->stamp != stamp);
    }
    const auto id = static_cast<pid_t>(processId);
    return id <= 0 || (::kill(id, 0) != 0 && errno == ESRCH);
}

bool IsProcessStopped(DWORD processId) {
    const std::optional<ProcessState> state = StateOf(processId);
    return state && state->isStopped;
}

} // namespace gaizior
