#include "tests/platform/objects.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include <pthread.h>

namespace gaizior::test {
namespace {

constexpr DWORD kSoon = 20;

UniqueHandle Semaphore(LONG initial, LONG maximum) {
    return UniqueHandle(::CreateSemaphoreA(nullptr, initial, maximum, nullptr));
}

using WaitingTest = ObjectTest;

TEST_F(WaitingTest, AnAutoResetEventLetsOneGoAndAManualOneAll) {
    for (const char* name : kUnnamedAndNamed) {
        for (const BOOL manual : {FALSE, TRUE}) {
            const UniqueHandle event = Event(manual, TRUE, name);
            EXPECT_TRUE(::SetEvent(event.Get()));
            EXPECT_EQ(Wait(event, INFINITE), WAIT_OBJECT_0);
            EXPECT_EQ(Wait(event, 1), manual ? WAIT_OBJECT_0 : kTimeout);
            EXPECT_TRUE(::SetEvent(event.Get()));
            EXPECT_TRUE(::ResetEvent(event.Get()));
            EXPECT_EQ(Wait(event), kTimeout);
        }
    }
}

TEST_F(WaitingTest, SettingAndResettingAtOnceReleasesWhoeverWaited) {
    for (const char* name : kUnnamedAndNamed) {
        const UniqueHandle event = Event(TRUE, FALSE, name);
        std::vector<std::jthread> waiters;
        for (int i = 0; i < 4; ++i) {
            waiters.emplace_back([&] { EXPECT_EQ(Wait(event, INFINITE), WAIT_OBJECT_0); });
        }
        ::Sleep(5 * kSoon);
        ::SetEvent(event.Get());
        ::ResetEvent(event.Get());
    }
}

TEST_F(WaitingTest, OnlyItsOwnerReleasesAMutexAndAsOftenAsItTookIt) {
    for (const char* name : kUnnamedAndNamed) {
        const UniqueHandle mutex = Mutex(TRUE, name);
        EXPECT_EQ(Wait(mutex), WAIT_OBJECT_0);
        for (const DWORD expected : {kTimeout, kTimeout, WAIT_OBJECT_0}) {
            std::jthread([&] {
                EXPECT_EQ(Wait(mutex, 5), expected);
                EXPECT_EQ(ErrorOf(::ReleaseMutex(mutex.Get())), expected ? DWORD{ERROR_NOT_OWNER} : ~0u);
            }).join();
            EXPECT_EQ(::ReleaseMutex(mutex.Get()), expected == kTimeout);
        }
        EXPECT_EQ(Wait(mutex), WAIT_OBJECT_0) << "free again; its owner closes it without a release";
    }
}

/// What C++ leaves to a thread's very end still belongs to the thread.
struct ReleaseAtEnd {
    HANDLE mutex = nullptr;
    ~ReleaseAtEnd() {
        EXPECT_TRUE(!mutex || ::ReleaseMutex(mutex));
    }
};
thread_local ReleaseAtEnd t_releaseAtEnd;

[[noreturn]] void LeaveThread(DWORD exitCode) {
#ifdef _WIN32
    ::ExitThread(exitCode);
#else
    ::pthread_exit(reinterpret_cast<void*>(std::uintptr_t{exitCode}));
#endif
}

/// Takes the second of five handles twice and the next two once, sets the first and soon ends; the fourth is released
/// at the very end, and where there is a fifth the thread does not return.
DWORD TakeAndEnd(void* handles) {
    const HANDLE* const all = static_cast<HANDLE*>(handles);
    ::WaitForSingleObject(all[1], INFINITE);
    ::WaitForSingleObject(all[1], INFINITE);
    ::WaitForSingleObject(all[2], INFINITE);
    ::WaitForSingleObject(all[3], INFINITE);
    t_releaseAtEnd.mutex = all[3];
    ::SetEvent(all[0]);
    ::Sleep(2);
    if (all[4]) {
        LeaveThread(17);
    }
    return 17;
}

TEST_F(WaitingTest, AThreadHasAbandonedItsMutexToWhoeverWaitsWhenItsHandleIsSignalled) {
    const UniqueHandle taken = Event();
    for (const char* name : kUnnamedAndNamed) {
        const UniqueHandle mutex = Mutex(FALSE, name);
        const UniqueHandle second = Mutex();
        const UniqueHandle released = Mutex();
        for (int round = 0; round < 50; ++round) {
            HANDLE handles[] = {taken.Get(), mutex.Get(), second.Get(), released.Get(),
                                round % 8 < 4 ? nullptr : taken.Get()};
            DWORD id = 0;
            DWORD exitCode = 0;
            const UniqueHandle thread(::CreateThread(nullptr, 100'000, &TakeAndEnd, handles, 0, &id));
            EXPECT_TRUE(id != 0 && id != ::GetCurrentThreadId());
            EXPECT_EQ(Wait(taken, INFINITE), WAIT_OBJECT_0);
            const DWORD limit = round % 4 < 2 && Wait(thread, INFINITE) == WAIT_OBJECT_0 ? 0 : INFINITE;
            EXPECT_EQ(round % 2 ? Wait(mutex, limit) : ::WaitForMultipleObjects(2, handles, FALSE, limit) - 1,
                      kAbandoned)
                << round;
            EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
            EXPECT_EQ(Wait(mutex), WAIT_OBJECT_0) << "it is told once";
            EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
            EXPECT_EQ(Wait(second, INFINITE), kAbandoned);
            EXPECT_TRUE(::ReleaseMutex(second.Get()));
            EXPECT_EQ(Wait(thread, INFINITE), WAIT_OBJECT_0);
            EXPECT_EQ(Wait(released), WAIT_OBJECT_0) << round;
            EXPECT_TRUE(::ReleaseMutex(released.Get()));
            EXPECT_TRUE(::GetExitCodeThread(thread.Get(), &exitCode) && exitCode == 17);
        }
    }
}

/// Waits for the first of two handles, then suspends itself through the second.
DWORD WaitAndSuspendItself(void* handles) {
    const HANDLE* const both = static_cast<HANDLE*>(handles);
    ::WaitForSingleObject(both[0], INFINITE);
    return ::SuspendThread(both[1]);
}

TEST_F(WaitingTest, ASuspendedThreadGoesOnWhenItIsResumedAsOften) {
    constexpr DWORD kMost = 127;
    constexpr DWORD kRefused = 0xFFFFFFFF;
    const UniqueHandle event = Event();
    HANDLE handles[] = {event.Get(), nullptr};
    const UniqueHandle thread(::CreateThread(nullptr, 0, &WaitAndSuspendItself, handles, 0, nullptr));
    handles[1] = thread.Get();
    EXPECT_EQ(::ResumeThread(thread.Get()), 0u);
    for (DWORD count = 0; count < kMost; ++count) {
        EXPECT_EQ(::SuspendThread(thread.Get()), count);
    }
    EXPECT_EQ(::SuspendThread(thread.Get()), kRefused);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_SIGNAL_REFUSED});
    ::SetEvent(event.Get());
    for (DWORD count = kMost; count > 0; --count) {
        EXPECT_EQ(Wait(thread, count % 64 ? 0 : kSoon), kTimeout);
        EXPECT_EQ(::ResumeThread(thread.Get()), count);
    }
    while (::ResumeThread(thread.Get()) == 0) {
        ::Sleep(1); // until it has suspended itself
    }
    EXPECT_EQ(Wait(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(Wait(event), kTimeout) << "what came while it was suspended it has taken";
    DWORD exitCode = 1;
    EXPECT_TRUE(::GetExitCodeThread(thread.Get(), &exitCode) && exitCode == 0);
    EXPECT_EQ(::SuspendThread(thread.Get()), kRefused);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(::ResumeThread(thread.Get()), 0u);
}

/// Objects that several threads use without a pause.
struct Shared {
    UniqueHandle event, mutex, semaphore;
    std::atomic<bool> isOver{false};

    void UseOnce(DWORD milliseconds) const {
        ::SetEvent(event.Get());
        ::ReleaseSemaphore(semaphore.Get(), 1, nullptr);
        if (Wait(mutex, milliseconds) == WAIT_OBJECT_0) {
            ::ReleaseMutex(mutex.Get());
        }
        Wait(event, milliseconds);
        Wait(semaphore);
        const UniqueHandle another = Event();
    }
};

struct Hammer {
    const Shared* objects;
    std::atomic<unsigned> rounds{0};

    static DWORD Run(void* hammer) {
        for (auto& self = *static_cast<Hammer*>(hammer); !self.objects->isOver; ++self.rounds) {
            self.objects->UseOnce(1);
        }
        return 0;
    }
};

/// Wherever the thread is stopped, it holds nothing then that calls of others need.
TEST_F(WaitingTest, OthersGoOnWhileAThreadIsSuspended) {
    for (const char* name : kUnnamedAndNamed) {
        Shared objects{Event(FALSE, FALSE, name), Mutex(FALSE, name ? "m" : nullptr), Semaphore(0, 1)};
        Hammer hammers[] = {{&objects}, {&objects}};
        const UniqueHandle threads[] = {
            UniqueHandle(::CreateThread(nullptr, 0, &Hammer::Run, &hammers[0], 0, nullptr)),
            UniqueHandle(::CreateThread(nullptr, 0, &Hammer::Run, &hammers[1], 0, nullptr))};
        for (int i = 0; i < 1000; ++i) {
            const int which = i % 2;
            EXPECT_EQ(::SuspendThread(threads[which].Get()), 0u);
            const unsigned rounds = hammers[which].rounds;
            objects.UseOnce(0);
            EXPECT_EQ(hammers[which].rounds, rounds);
            EXPECT_EQ(::ResumeThread(threads[which].Get()), 1u);
        }
        objects.isOver = true;
        for (const UniqueHandle& thread : threads) {
            EXPECT_EQ(Wait(thread, INFINITE), WAIT_OBJECT_0);
        }
        EXPECT_GT(std::min(hammers[0].rounds.load(), hammers[1].rounds.load()), 0u);
    }
}

TEST_F(WaitingTest, ASemaphoreCountsUpToItsMaximum) {
    const UniqueHandle semaphore = Semaphore(1, 3);
    LONG previous = -1;
    EXPECT_TRUE(::ReleaseSemaphore(semaphore.Get(), 2, &previous));
    EXPECT_EQ(previous, 1);
    EXPECT_EQ(ErrorOf(::ReleaseSemaphore(semaphore.Get(), 1, &previous)), DWORD{ERROR_TOO_MANY_POSTS});
    for (int left = 3; left >= 0; --left) {
        EXPECT_EQ(Wait(semaphore), left ? WAIT_OBJECT_0 : kTimeout);
    }
    for (const auto& [initial, maximum] : {std::pair{0, 0}, {-1, 1}, {2, 1}}) {
        EXPECT_EQ(ErrorOf(Semaphore(initial, maximum)), DWORD{ERROR_INVALID_PARAMETER});
    }
}

TEST_F(WaitingTest, AWaitForAnyTakesTheLowestSignalledOfOneTo64Handles) {
    std::vector<UniqueHandle> events;
    std::vector<HANDLE> handles;
    for (int i = 0; i < 65; ++i) {
        events.push_back(Event());
        handles.push_back(events.back().Get());
    }
    const auto wait = [&](DWORD count, DWORD milliseconds) {
        return ::WaitForMultipleObjects(count, handles.data(), FALSE, milliseconds);
    };
    ::SetEvent(handles[63]);
    ::SetEvent(handles[1]);
    for (const DWORD expected : {WAIT_OBJECT_0 + 1, WAIT_OBJECT_0 + 63, kTimeout}) {
        EXPECT_EQ(wait(64, 1), expected);
    }
    const std::jthread setter([&] {
        ::Sleep(kSoon);
        ::SetEvent(handles[2]);
    });
    EXPECT_EQ(wait(64, INFINITE), WAIT_OBJECT_0 + 2);
    for (const DWORD count : {0u, 65u}) {
        EXPECT_EQ(ErrorOf(wait(count, 0) != WAIT_FAILED), DWORD{ERROR_INVALID_PARAMETER});
    }
}

HANDLE WithLowBits(HANDLE handle) {
    return reinterpret_cast<HANDLE>(reinterpret_cast<std::uintptr_t>(handle) | 3);
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
    for (const HANDLE handle : {HANDLE{nullptr}, closed, forged, reinterpret_cast<HANDLE>(3), WithLowBits(closed),
                                reinterpret_cast<HANDLE>(0x7654320)}) {
        const HANDLE both[] = {set.Get(), handle};
        const std::function<bool()> calls[] = {
            [&] { return ::WaitForSingleObject(handle, 0) != WAIT_FAILED; },
            [&] { return WaitAny(both) != WAIT_FAILED; }, // even behind one that is signalled
            [&] { return ::SetEvent(handle); },
            [&] { return ::ResetEvent(handle); },
            [&] { return ::ReleaseMutex(handle); },
            [&] { return ::ReleaseSemaphore(handle, 1, nullptr); },
            [&] { return ::CloseHandle(handle); },
            [&] { return ::SuspendThread(handle) + 1; },
            [&] { return ::ResumeThread(handle) + 1; },
        };
        for (const auto& call : calls) {
            ::SetLastError(0);
            EXPECT_EQ(ErrorOf(call()), DWORD{ERROR_INVALID_HANDLE}) << &call - calls;
        }
    }
    EXPECT_EQ(ErrorOf(::SetEvent(Mutex().Get())), DWORD{ERROR_INVALID_HANDLE}) << "an open handle of another kind";
    EXPECT_TRUE(::SetEvent(WithLowBits(set.Get()))) << "these do not count";

    const UniqueHandle section = Section(nullptr);
    EXPECT_EQ(ErrorOf(Wait(section) + 1), DWORD{ERROR_ACCESS_DENIED}) << "a section cannot be waited for";
    const struct {
        HANDLE handles[2];
        DWORD error; // of the first that cannot be waited for
    } pairs[] = {{{set.Get(), section.Get()}, ERROR_ACCESS_DENIED},
                 {{section.Get(), closed}, ERROR_ACCESS_DENIED},
                 {{closed, section.Get()}, ERROR_INVALID_HANDLE}};
    for (const auto& pair : pairs) {
        EXPECT_EQ(ErrorOf(WaitAny(pair.handles) + 1), pair.error) << &pair - pairs;
    }
}

#ifndef _WIN32
/// So that it takes as long as can be until a closed handle is another object's.
TEST_F(WaitingTest, APlaceIsUsedAgainAfterAllOthers) {
    std::set<std::uintptr_t> places;
    for (int i = 0; i < 200; ++i) {
        places.insert(reinterpret_cast<std::uintptr_t>(Event().Get()) % (1u << 27));
    }
    EXPECT_EQ(places.size(), 200u);
}
#endif

TEST_F(WaitingTest, ClosingAHandleLeavesItsWaitersToTheirTimeOut) {
    int waited = 0; // a late waiter finds the handle closed already
    for (int round = 0; round < 20; ++round) {
        const HANDLE event = ::CreateEventA(nullptr, FALSE, FALSE, nullptr);
        std::jthread waiter([&] {
            const DWORD result = ::WaitForSingleObject(event, 40);
            EXPECT_NE(result, WAIT_OBJECT_0);
            waited += result == WAIT_TIMEOUT;
        });
        ::Sleep(10);
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

/// Two threads hand tokens to three others through a semaphore and an event each, and sleep until they are told that
/// the event was taken; none may be lost or taken twice.
TEST_F(WaitingTest, NothingIsLostOrTakenTwiceUnderLoad) {
    constexpr int kRounds = 3000;
    for (const char* name : kUnnamedAndNamed) {
        const UniqueHandle semaphore = Semaphore(0, 2 * kRounds);
        const UniqueHandle events[] = {Event(FALSE, FALSE, name), Event()};
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
        {
            const std::jthread takers[] = {std::jthread(take), std::jthread(take), std::jthread(take)};
            { const std::jthread givers[] = {std::jthread(give, 0), std::jthread(give, 1)}; }
            ::SetEvent(isOver.Get());
        }
        EXPECT_TRUE(taken[0] == kRounds && taken[1] == kRounds && taken[2] == 2 * kRounds)
            << testing::PrintToString(taken);
    }
}

} // namespace
} // namespace gaizior::test
