#pragma once

#include <chrono>
#include <condition_variable>
#include <thread>

namespace gaizior::test {

/// Ends the test program with a message, and on Linux every thread's stack where a debugger is there to print it, when
/// it lives longer than its limit: a test that hangs fails instead. One stands in each fixture that waits.
class Watchdog {
public:
    explicit Watchdog(std::chrono::seconds limit = std::chrono::seconds(60));

private:
    void Watch(const std::stop_token& ended, std::chrono::seconds limit);

    std::condition_variable_any m_ended; // here, where a forked child that looks for leaks still finds it
    std::jthread m_thread;
};

} // namespace gaizior::test
