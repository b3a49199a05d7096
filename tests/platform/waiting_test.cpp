#include "gaizior/platform/unique_handle.h"
#include "tests/support/scratch.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace gaizior {
namespace {

constexpr DWORD kSoon = 20;

UniqueHandle Event(BOOL manual = FALSE, BOOL set = FALSE) {
    return UniqueHandle(::CreateEventA(nullptr, manual, set, nullptr));
}
UniqueHandle Mutex(BOOL owned = FALSE) {
    return UniqueHandle(::CreateMutexA(nullptr, owned, nullptr));
}
UniqueHandle Semaphore(LONG initial, LONG maximum) {
    return UniqueHandle(::CreateSemaphoreA(nullptr, initial, maximum, nullptr));
}
DWORD Wait(const UniqueHandle& handle, DWORD milliseconds = 0) {
    return ::WaitForSingleObject(handle.Get(), milliseconds);
}
template <std::size_t Count>
DWORD WaitAny(const HANDLE (&handles)[Count], DWORD milliseconds = 0) {
    return ::WaitForMultipleObjects(Count, handles, FALSE, milliseconds);
}
void SleepMilliseconds(unsigned milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

class WaitingTest : public ::testing::Test {
protected:
    test::Watchdog watchdog;
    test::PrivateNames names;
};

TEST_F(WaitingTest, AnAutoResetEventLetsOneGoAndAManualOneAll) {
    const UniqueHandle automatic = Event(FALSE, TRUE);
    EXPECT_EQ(Wait(automatic), WAIT_OBJECT_0);
    EXPECT_EQ(Wait(automatic), static_cast<DWORD>(WAIT_TIMEOUT));
    const UniqueHandle manual = Event(TRUE);
    EXPECT_EQ(Wait(manual, 1), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_TRUE(::SetEvent(manual.Get()));
    EXPECT_TRUE(::SetEvent(manual.Get()));
    EXPECT_EQ(Wait(manual), WAIT_OBJECT_0);
    EXPECT_EQ(Wait(manual, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(::ResetEvent(manual.Get()));
    EXPECT_EQ(Wait(manual), static_cast<DWORD>(WAIT_TIMEOUT));
}

TEST_F(WaitingTest, OneOfTwoWaitersTakesAnAutoResetEvent) {
    const UniqueHandle event = Event();
    std::atomic<int> released{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 2; ++i) {
        waiters.emplace_back([&] { released += Wait(event, INFINITE) == WAIT_OBJECT_0; });
    }
    SleepMilliseconds(kSoon);
    ::SetEvent(event.Get());
    SleepMilliseconds(kSoon);
    EXPECT_EQ(released, 1);
    ::SetEvent(event.Get());
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(Wait(event), static_cast<DWORD>(WAIT_TIMEOUT));
}

TEST_F(WaitingTest, SettingAndResettingAtOnceReleasesWhoeverWaited) {
    for (const char* name : {static_cast<const char*>(nullptr), "named"}) {
        const UniqueHandle event(::CreateEventA(nullptr, TRUE, FALSE, name));
        std::vector<std::thread> waiters;
        for (int i = 0; i < 4; ++i) {
            waiters.emplace_back([&] { EXPECT_EQ(Wait(event, INFINITE), WAIT_OBJECT_0); });
        }
        SleepMilliseconds(5 * kSoon);
        ::SetEvent(event.Get());
        ::ResetEvent(event.Get());
        for (std::thread& waiter : waiters) {
            waiter.join();
        }
    }
}

TEST_F(WaitingTest, OnlyItsOwnerReleasesAMutexAndAsOftenAsItTookIt) {
    const UniqueHandle mutex = Mutex(TRUE);
    EXPECT_EQ(Wait(mutex), WAIT_OBJECT_0);
    const auto elsewhere = [&](DWORD expected) {
        std::thread([&] {
            EXPECT_EQ(Wait(mutex), expected);
            EXPECT_EQ(::ReleaseMutex(mutex.Get()), expected == WAIT_OBJECT_0);
            if (expected != WAIT_OBJECT_0) {
                EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NOT_OWNER));
            }
        }).join();
    };
    elsewhere(WAIT_TIMEOUT);
    EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
    elsewhere(WAIT_TIMEOUT);
    EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
    elsewhere(WAIT_OBJECT_0);
    EXPECT_FALSE(::ReleaseMutex(mutex.Get()));
}

TEST_F(WaitingTest, AThreadThatEndsAbandonsItsMutexes) {
    const UniqueHandle mutexes[] = {Mutex(), Mutex()};
    std::thread([&] {
        Wait(mutexes[0]);
        Wait(mutexes[1]);
        Wait(mutexes[1]);
    }).join();
    EXPECT_EQ(Wait(mutexes[0]), static_cast<DWORD>(WAIT_ABANDONED));
    const UniqueHandle never = Event();
    const HANDLE handles[] = {never.Get(), mutexes[1].Get()};
    EXPECT_EQ(WaitAny(handles, 1000), WAIT_ABANDONED_0 + 1);
    EXPECT_TRUE(::ReleaseMutex(mutexes[1].Get()));
    EXPECT_EQ(Wait(mutexes[1]), WAIT_OBJECT_0) << "it is told once";
}

TEST_F(WaitingTest, AWaiterGetsTheMutexThatItsOwnerAbandons) {
    const UniqueHandle mutex = Mutex();
    const UniqueHandle taken = Event();
    std::thread owner([&] {
        Wait(mutex);
        ::SetEvent(taken.Get());
        SleepMilliseconds(kSoon);
    });
    Wait(taken, INFINITE);
    EXPECT_EQ(Wait(mutex, INFINITE), static_cast<DWORD>(WAIT_ABANDONED));
    EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
    owner.join();
}

TEST_F(WaitingTest, ASemaphoreCountsUpToItsMaximum) {
    const UniqueHandle semaphore = Semaphore(1, 3);
    LONG previous = -1;
    EXPECT_TRUE(::ReleaseSemaphore(semaphore.Get(), 2, &previous));
    EXPECT_EQ(previous, 1);
    EXPECT_FALSE(::ReleaseSemaphore(semaphore.Get(), 1, &previous));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_TOO_MANY_POSTS));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Wait(semaphore), WAIT_OBJECT_0);
    }
    EXPECT_EQ(Wait(semaphore), static_cast<DWORD>(WAIT_TIMEOUT));
    for (const auto& [initial, maximum] : {std::pair{0, 0}, {-1, 1}, {2, 1}}) {
        EXPECT_EQ(::CreateSemaphoreA(nullptr, initial, maximum, nullptr), nullptr);
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    }
}

TEST_F(WaitingTest, AWaitForAnyTakesTheLowestSignalledIndexOnly) {
    const UniqueHandle events[] = {Event(), Event(), Event()};
    const HANDLE handles[] = {events[0].Get(), events[1].Get(), events[2].Get()};
    ::SetEvent(handles[2]);
    ::SetEvent(handles[1]);
    EXPECT_EQ(WaitAny(handles), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(WaitAny(handles), WAIT_OBJECT_0 + 2);
    EXPECT_EQ(WaitAny(handles, 1), static_cast<DWORD>(WAIT_TIMEOUT));
    std::thread setter([&] {
        SleepMilliseconds(kSoon);
        ::SetEvent(handles[2]);
    });
    EXPECT_EQ(WaitAny(handles, INFINITE), WAIT_OBJECT_0 + 2);
    setter.join();
}

TEST_F(WaitingTest, AWaitForAnyTakesOneTo64Handles) {
    std::vector<UniqueHandle> events;
    std::vector<HANDLE> handles;
    for (int i = 0; i < 65; ++i) {
        events.push_back(Event());
        handles.push_back(events.back().Get());
    }
    ::SetEvent(handles[63]);
    EXPECT_EQ(::WaitForMultipleObjects(64, handles.data(), FALSE, INFINITE), WAIT_OBJECT_0 + 63);
    EXPECT_EQ(::WaitForMultipleObjects(64, handles.data(), FALSE, 1), static_cast<DWORD>(WAIT_TIMEOUT));
    for (const DWORD count : {0u, 65u}) {
        EXPECT_EQ(::WaitForMultipleObjects(count, handles.data(), FALSE, 0), WAIT_FAILED);
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    }
}

TEST_F(WaitingTest, AHandleThatIsNotOpenIsRefused) {
    const UniqueHandle set = Event(TRUE, TRUE);
    HANDLE closed = nullptr; // the last of many: Windows gives a low value that is free to whoever asks next
    {
        std::vector<UniqueHandle> many;
        for (int i = 0; i < 100; ++i) {
            many.push_back(Event(TRUE, TRUE));
        }
        closed = many.back().Get();
    }
    const HANDLE forged =
        reinterpret_cast<HANDLE>(reinterpret_cast<std::uintptr_t>(closed) + (std::uintptr_t{1} << 32));
    for (const HANDLE handle : {HANDLE{nullptr}, closed, forged, reinterpret_cast<HANDLE>(0x7654320)}) {
        ::SetLastError(0);
        EXPECT_EQ(::WaitForSingleObject(handle, 0), WAIT_FAILED);
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
        const HANDLE both[] = {set.Get(), handle};
        EXPECT_EQ(WaitAny(both), WAIT_FAILED) << "even behind one that is signalled";
        for (BOOL (*call)(HANDLE) :
             {+[](HANDLE h) { return ::SetEvent(h); }, +[](HANDLE h) { return ::ResetEvent(h); },
              +[](HANDLE h) { return ::ReleaseMutex(h); }, +[](HANDLE h) { return ::ReleaseSemaphore(h, 1, nullptr); },
              +[](HANDLE h) { return ::CloseHandle(h); }}) {
            ::SetLastError(0);
            EXPECT_FALSE(call(handle));
            EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
        }
    }
    const UniqueHandle mutex = Mutex();
    EXPECT_FALSE(::SetEvent(mutex.Get())) << "an open handle of another kind";
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_F(WaitingTest, ClosingAHandleLeavesItsWaitersToTheirTimeOut) {
    int waited = 0; // a late waiter finds the handle closed already
    for (int round = 0; round < 20; ++round) {
        const HANDLE event = ::CreateEventA(nullptr, FALSE, FALSE, nullptr);
        std::thread waiter([&] {
            const DWORD result = ::WaitForSingleObject(event, 40);
            EXPECT_NE(result, WAIT_OBJECT_0);
            waited += result == WAIT_TIMEOUT;
        });
        SleepMilliseconds(10);
        ::CloseHandle(event);
        const UniqueHandle next = Event();
        EXPECT_TRUE(::SetEvent(next.Get())) << "must not be taken by who waits for the closed one";
        waiter.join();
        EXPECT_EQ(Wait(next), WAIT_OBJECT_0);
    }
    EXPECT_GT(waited, 0);
}

/// What a thread has just taken while another closed it must not come back as a later object's state.
TEST_F(WaitingTest, AMutexThatIsClosedWhileItIsTakenHarmsNobody) {
    std::atomic<HANDLE> shared{nullptr};
    std::atomic<bool> isOver{false};
    std::thread taker([&] {
        while (!isOver) {
            std::thread([&] { // which ends and abandons what it took
                for (HANDLE taken = nullptr; !isOver && !taken;) {
                    const HANDLE mutex = shared;
                    taken = mutex && ::WaitForSingleObject(mutex, 0) == WAIT_OBJECT_0 ? mutex : nullptr;
                }
            })
                .join();
        }
    });
    int harmed = 0;
    for (int round = 0; round < 3000; ++round) {
        shared = ::CreateMutexA(nullptr, FALSE, nullptr);
        std::this_thread::yield();
        ::CloseHandle(shared.exchange(nullptr));
        const UniqueHandle next = Event();
        std::this_thread::yield();
        harmed += Wait(next) != WAIT_TIMEOUT;
    }
    isOver = true;
    taker.join();
    EXPECT_EQ(harmed, 0);
}

DWORD EndWithMutex(void* mutex) {
    ::WaitForSingleObject(mutex, INFINITE);
    return 17;
}

TEST_F(WaitingTest, AThreadsHandleIsSignalledWhenItEnds) {
    const UniqueHandle mutex = Mutex();
    DWORD id = 0;
    const UniqueHandle thread(::CreateThread(nullptr, 100'000, &EndWithMutex, mutex.Get(), 0, &id));
    ASSERT_TRUE(thread);
    EXPECT_NE(id, 0u);
    EXPECT_NE(id, ::GetCurrentThreadId());
    EXPECT_EQ(Wait(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(Wait(thread), WAIT_OBJECT_0);
    DWORD exitCode = 0;
    EXPECT_TRUE(::GetExitCodeThread(thread.Get(), &exitCode));
    EXPECT_EQ(exitCode, 17u);
    EXPECT_EQ(Wait(mutex), static_cast<DWORD>(WAIT_ABANDONED)) << "before the thread counts as ended";
}

/// Two threads hand tokens to three others through a semaphore and an event each, and sleep until they are told that
/// the event was taken; none may be lost or taken twice.
TEST_F(WaitingTest, NothingIsLostOrTakenTwiceUnderLoad) {
    constexpr int kRounds = 3000;
    const UniqueHandle semaphore = Semaphore(0, 2 * kRounds);
    const UniqueHandle events[] = {Event(), Event()};
    const UniqueHandle answers[] = {Event(), Event()};
    const UniqueHandle isOver = Event(TRUE);
    const UniqueHandle mutex = Mutex();
    const HANDLE any[] = {events[0].Get(), events[1].Get(), semaphore.Get(), isOver.Get()};
    int taken[3] = {};
    const auto give = [&](int which) {
        for (int i = 0; i < kRounds; ++i) {
            EXPECT_TRUE(::ReleaseSemaphore(semaphore.Get(), 1, nullptr));
            EXPECT_TRUE(::SetEvent(events[which].Get()));
            EXPECT_EQ(Wait(answers[which], INFINITE), WAIT_OBJECT_0);
        }
    };
    const auto take = [&] {
        for (DWORD got; (got = WaitAny(any, INFINITE)) < 3;) {
            EXPECT_EQ(Wait(mutex, INFINITE), WAIT_OBJECT_0);
            ++taken[got];
            EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
            EXPECT_TRUE(got == 2 || ::SetEvent(answers[got].Get()));
        }
    };
    std::thread givers[] = {std::thread(give, 0), std::thread(give, 1)};
    std::thread takers[] = {std::thread(take), std::thread(take), std::thread(take)};
    for (std::thread& giver : givers) {
        giver.join();
    }
    ::SetEvent(isOver.Get());
    for (std::thread& taker : takers) {
        taker.join();
    }
    EXPECT_EQ(taken[0], kRounds);
    EXPECT_EQ(taken[1], kRounds);
    EXPECT_EQ(taken[2], 2 * kRounds);
}

/// Two threads that wake each other in turn: a lost wake would hang them.
TEST_F(WaitingTest, PingPong) {
    const UniqueHandle ping = Event();
    const UniqueHandle pong = Event();
    std::thread other([&] {
        for (int i = 0; i < 20'000; ++i) {
            Wait(ping, INFINITE);
            ::SetEvent(pong.Get());
        }
    });
    const HANDLE handles[] = {pong.Get()};
    for (int i = 0; i < 20'000; ++i) {
        ::SetEvent(ping.Get());
        ASSERT_EQ(i % 2 ? Wait(pong, INFINITE) : WaitAny(handles, INFINITE), WAIT_OBJECT_0);
    }
    other.join();
}

} // namespace
} // namespace gaizior
