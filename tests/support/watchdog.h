#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace gaizior::test {

/// Ends the test program with a message, and on Linux every thread's stack where a debugger is there to print it, when
/// it lives longer than its limit: a test that hangs fails instead. One stands in each fixture that waits.
class Watchdog {
public:
    explicit Watchdog(std::chrono::seconds limit = std::chrono::seconds(60));
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

private:
    void Watch(std::chrono::seconds limit);

    // No stop token: the end of its callback may wait for ever in MinGW's library. All stands here, where a forked
    // child that looks for leaks still finds it.
    std::mutex m_lock;
    std::condition_variable m_ended;
    bool m_bEnded = false;
    std::thread m_thread;
};

} // namespace gaizior::test
