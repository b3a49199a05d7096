#include "tests/support/watchdog.h"

#include <cstdio>
#include <cstdlib>
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

} // namespace

Watchdog::Watchdog(std::chrono::seconds limit) : m_thread(&Watchdog::Watch, this, limit) {}

Watchdog::~Watchdog() {
    {
        const std::lock_guard lock(m_lock);
        m_bEnded = true;
    }
    m_ended.notify_one();
    m_thread.join();
}

void Watchdog::Watch(std::chrono::seconds limit) {
    std::unique_lock lock(m_lock);
    if (m_ended.wait_for(lock, limit, [this] { return m_bEnded; })) {
        return;
    }
    std::fprintf(stderr, "WATCHDOG: the test still runs after %lld s\n", static_cast<long long>(limit.count()));
    PrintStacks();
    std::fflush(nullptr);
    std::_Exit(1);
}

} // namespace gaizior::test
