#pragma once

#include "benchmarks/compare.h"
#include "benchmarks/host.h"
#include "gaizior/platform/unique_handle.h"

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>

#include <semaphore.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

/// Things that one thread sets and another waits for, and partners to play with over two of them.
namespace benchmarks {

/// Our event, reset by the wait that it releases.
class EventSignal {
public:
    explicit EventSignal(const char* name = nullptr) : m_event(::CreateEventA(nullptr, FALSE, FALSE, name)) {}
    void Set() {
        ::SetEvent(m_event.Get());
    }
    void Wait() {
        ::WaitForSingleObject(m_event.Get(), INFINITE);
    }

private:
    gaizior::UniqueHandle m_event;
};

class ConditionSignal {
public:
    void Set() {
        {
            const std::lock_guard lock(m_mutex);
            m_bSet = true;
        }
        m_condition.notify_one();
    }
    void Wait() {
        std::unique_lock lock(m_mutex);
        m_condition.wait(lock, [&] { return m_bSet; });
        m_bSet = false;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_bSet = false;
};

template <bool BetweenProcesses>
class SemaphoreSignal {
public:
    SemaphoreSignal() {
        ::sem_init(&m_semaphore, BetweenProcesses, 0);
    }
    SemaphoreSignal(const SemaphoreSignal&) = delete;
    SemaphoreSignal& operator=(const SemaphoreSignal&) = delete;
    ~SemaphoreSignal() {
        ::sem_destroy(&m_semaphore);
    }
    void Set() {
        ::sem_post(&m_semaphore);
    }
    void Wait() {
        while (::sem_wait(&m_semaphore) != 0) {
        }
    }

private:
    sem_t m_semaphore;
};

/// The two directions of a game of ping-pong.
template <typename Signal>
struct Table {
    Signal ping;
    Signal pong;

    Batch Play() {
        return Repeat([this] {
            ping.Set();
            pong.Wait();
        });
    }
    void AnswerOnce() {
        ping.Wait();
        pong.Set();
    }
};

/// Memory that a forked child shares.
template <typename Content>
class Shared {
public:
    Shared() {
        void* const memory =
            ::mmap(nullptr, sizeof(Content), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) {
            throw std::system_error(errno, std::generic_category(), "mmap");
        }
        m_pContent = new (memory) Content;
    }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;
    ~Shared() {
        m_pContent->~Content();
        ::munmap(m_pContent, sizeof(Content));
    }
    Content& operator*() const {
        return *m_pContent;
    }

private:
    Content* m_pContent = nullptr;
};

/// A thread that answers, on its maker's core, until it is destroyed.
template <typename Signal>
class PartnerThread {
public:
    explicit PartnerThread(Table<Signal>& table) : m_table(table), m_thread([this] { Run(); }) {}
    PartnerThread(const PartnerThread&) = delete;
    PartnerThread& operator=(const PartnerThread&) = delete;
    ~PartnerThread() {
        m_bStop = true;
        m_table.ping.Set();
        m_thread.join();
    }

private:
    void Run() {
        while (!m_bStop) {
            m_table.AnswerOnce();
        }
    }

    Table<Signal>& m_table;
    std::atomic<bool> m_bStop{false};
    std::thread m_thread;
};

/// A process that answers, on the core named, until it is killed at the end, or by its maker's death.
class PartnerProcess {
public:
    template <typename Answer>
    PartnerProcess(unsigned core, Answer answerOnce) : m_child(::fork()) {
        if (m_child == 0) {
            AnswerOn(core, answerOnce);
        }
        if (m_child < 0) {
            throw std::system_error(errno, std::generic_category(), "fork");
        }
    }
    PartnerProcess(const PartnerProcess&) = delete;
    PartnerProcess& operator=(const PartnerProcess&) = delete;
    ~PartnerProcess() {
        ::kill(m_child, SIGKILL);
        ::waitpid(m_child, nullptr, 0);
    }

private:
    /// An exception must not take the child into what is its maker's to do.
    template <typename Answer>
    [[noreturn]] static void AnswerOn(unsigned core, Answer& answerOnce) noexcept {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        PinToCore(core);
        for (;;) {
            answerOnce();
        }
    }

    pid_t m_child;
};

} // namespace benchmarks
