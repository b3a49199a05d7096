#include "tests/support/watchdog.h"

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

#ifndef _WIN32
#include <unistd.h>
#endif

namespace gaizior::test {
namespace {

void PrintStacks() {
#ifndef _WIN32
    const std::string command =
        "gdb -p " + std::to_string(::getpid()) + " -batch -ex 'thread apply all backtrace' 1>&2 2>/dev/null";
    if (std::system(command.c_str()) != 0) {
        std::fputs("(no debugger to print the threads' stacks with)\n", stderr);
    }
#endif
}

void Watch(const std::stop_token& ended, std::chrono::seconds limit) {
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any().wait_for(lock, ended, limit, [] { return false; });
    if (ended.stop_requested()) {
        return;
    }
    std::fprintf(stderr, "WATCHDOG: the test still runs after %lld s\n", static_cast<long long>(limit.count()));
    PrintStacks();
    std::fflush(nullptr);
    std::_Exit(1);
}

} // namespace

Watchdog::Watchdog(std::chrono::seconds limit) : m_thread(&Watch, limit) {}

} // namespace gaizior::test
