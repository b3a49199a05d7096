#include "benchmarks/compare.h"
#include "benchmarks/host.h"
#include "benchmarks/results.h"
#include "benchmarks/subjects.h"
#include "gaizior/platform/windows_api.h"
#include "gaizior/threads/thread.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

namespace benchmarks {
namespace {

using UserC = ZRCriticalSectionC::ZRCriticalSectionUserC;

constexpr unsigned long kTimeout = 60000;
constexpr const char* kLocker = "Threads(): ";

/// The lock as a function uses it: a user for the scope, entered and left.
struct OurLock {
    void Lock() {
        user.EnterCriticalSection(kLocker, 0xFFFFFFFF);
    }
    void LockInTime() {
        user.EnterCriticalSection(kLocker, kTimeout);
    }
    void Unlock() {
        user.LeaveCriticalSection(kLocker);
    }
    static ZRCriticalSectionC& Section() {
        static ZRCriticalSectionC section;
        return section;
    }
    UserC user{&Section()};
};

template <typename Mutex>
struct StandardLock {
    void Lock() {
        Shared().lock();
    }
    void LockInTime() {
        static_cast<void>(Shared().try_lock_for(std::chrono::milliseconds(kTimeout)));
    }
    void Unlock() {
        Shared().unlock();
    }
    static Mutex& Shared() {
        static Mutex mutex;
        return mutex;
    }
};

template <typename Lock>
Batch LockAndUnlock() {
    return Repeat([lock = Lock()]() mutable {
        lock.Lock();
        lock.Unlock();
    });
}

template <typename Lock>
Batch LockInTime() {
    return Repeat([lock = Lock()]() mutable {
        lock.LockInTime();
        lock.Unlock();
    });
}

/// As a function has it that returns early: its user takes back at the scope's end what was entered.
void RollBack() {
    UserC user(&OurLock::Section());
    user.EnterCriticalSection(kLocker, kTimeout);
}

void LockByGuard() {
    const std::lock_guard lock(StandardLock<std::recursive_mutex>::Shared());
}

/// The same with the lock held already.
template <typename Lock>
Batch SecondLevel() {
    return {[](std::size_t count) {
        Lock lock;
        lock.Lock();
        for (; count > 0; --count) {
            lock.Lock();
            lock.Unlock();
        }
        lock.Unlock();
    }};
}

void UncontendedLocks() {
    using Recursive = StandardLock<std::recursive_mutex>;
    using Timed = StandardLock<std::recursive_timed_mutex>;
    Compare("enter and leave a critical section", LockAndUnlock<OurLock>(),
            {{"std::recursive_mutex", LockAndUnlock<Recursive>(), 1.5}});
    Compare("the same, its user made and ended with the scope", Repeat(RollBack),
            {{"std::lock_guard", Repeat(LockByGuard), 1.5}});
    Compare("the same with a time-out given", LockInTime<OurLock>(),
            {{"std::recursive_timed_mutex, try_lock_for", LockInTime<Timed>(), 0.7}});
    Compare("second level of recursion", SecondLevel<OurLock>(),
            {{"std::recursive_mutex", SecondLevel<Recursive>(), 1.0}});
}

/// Passes some nanoseconds for each step.
void Work(unsigned steps) {
    for (unsigned i = 0; i < steps; ++i) {
        Keep(i);
    }
}

/// A second thread that does the same batches at the same time, on another core.
template <typename Lock>
class Rivals {
public:
    Rivals(unsigned inside, unsigned outside)
        : m_nInside(inside), m_nOutside(outside), m_partner([this] {
              PinToCore(1);
              for (std::size_t done = 0; (done = Await(done)) != kEnd;) {
                  Run(m_nCount);
                  m_nDone = done;
              }
          }) {}
    Rivals(const Rivals&) = delete;
    Rivals& operator=(const Rivals&) = delete;
    ~Rivals() {
        m_nRound = kEnd;
        m_partner.join();
    }

    Batch Play() {
        return {[this](std::size_t count) {
            m_nCount = count;
            const std::size_t round = ++m_nRound;
            Run(count);
            while (m_nDone != round) {
                std::this_thread::yield();
            }
        }};
    }

private:
    static constexpr std::size_t kEnd = static_cast<std::size_t>(-1);

    std::size_t Await(std::size_t done) {
        while (m_nRound == done) {
            std::this_thread::yield();
        }
        return m_nRound;
    }
    void Run(std::size_t count) {
        Lock lock;
        for (; count > 0; --count) {
            lock.Lock();
            Work(m_nInside);
            lock.Unlock();
            Work(m_nOutside);
        }
    }

    const unsigned m_nInside;
    const unsigned m_nOutside;
    std::atomic<std::size_t> m_nCount{0};
    std::atomic<std::size_t> m_nRound{0};
    std::atomic<std::size_t> m_nDone{0};
    std::thread m_partner;
};

void ContendedLock(const char* name, unsigned inside, unsigned outside, double aim) {
    Rivals<OurLock> ours(inside, outside);
    Rivals<StandardLock<std::recursive_timed_mutex>> standard(inside, outside);
    Compare(name, ours.Play(), {{"std::recursive_timed_mutex", standard.Play(), aim}});
}

struct NothingToDo : ZRThreadC {
    NothingToDo() : ZRThreadC("nothing to do", nullptr, kTimeout, 0) {}
    ZRErrors::ZRErrorT run() override {
        return ZRErrors::e_General_NoError;
    }
};

/// The thread is waited for first, as stop() looks every 200 ms only.
void RunThread() {
    NothingToDo thread;
    thread.start();
    ::WaitForSingleObject(thread.GetThread(), INFINITE);
    thread.stop();
}

std::atomic<unsigned> g_level{1};

} // namespace

void Threads() {
    ZRLogStrstreambufC::SetDBGetLevelFn([] { return g_level.load(); }, g_level);
    ZRLogStrstreambufC::SetDBFn(
        [](unsigned, int, char*) {}); // a user that was left by hand tells who has the lock next
    UncontendedLocks();
    Compare("create, start, stop and destroy a thread", Repeat(RunThread),
            {{"std::thread, create and join", Repeat([] { std::thread([] {}).join(); }), 1.5}});
    if (UsableCores() > 1) {
        Results::All().SetPlace("Two threads that lock in turn, on the cores 0 and 1");
        ContendedLock("short section, 10 steps of 20", 10, 10, 1.0);
        ContendedLock("long section, 2,000 steps of 2,010", 2000, 10, 1.1);
    }
}

} // namespace benchmarks
