#include "tests/platform/objects.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <tuple>
#include <utility>
#include <vector>

#include <pthread.h>
#ifndef _WIN32
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace gaizior::test {
namespace {

constexpr int kSuspensions = 500;
constexpr DWORD kSoon = 20;

UniqueHandle Semaphore(LONG initial, LONG maximum) {
    return UniqueHandle(::CreateSemaphoreA(nullptr, initial, maximum, nullptr));
}

using WaitingTest = ObjectTest;

TEST_F(WaitingTest, AnAutoResetEventLetsOneGoAndAManualOneAllEvenIfItIsResetAtOnce) {
    for (const char* name : kUnnamedAndNamed) {
        for (const BOOL manual : {FALSE, TRUE}) {
            const UniqueHandle event = Event(manual, TRUE, name);
            EXPECT_TRUE(::SetEvent(event.Get()));
            EXPECT_EQ(Wait(event, INFINITE), WAIT_OBJECT_0);
            EXPECT_EQ(Wait(event, 1), manual ? WAIT_OBJECT_0 : kTimeout);
            EXPECT_TRUE(::SetEvent(event.Get()));
            EXPECT_TRUE(::ResetEvent(event.Get()));
            EXPECT_EQ(Wait(event), kTimeout);
            const auto wait = [&] { EXPECT_EQ(Wait(event, INFINITE), WAIT_OBJECT_0); };
            std::vector<std::jthread> waiters(manual ? 4 : 0);
            std::ranges::generate(waiters, [&] { return std::jthread(wait); });
            ::Sleep(5 * kSoon);
            ::SetEvent(event.Get());
            ::ResetEvent(event.Get());
        }
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

/// Releases a mutex at a thread's very end, when the thread's own storage may be gone already.
struct LastDestructor {
    static inline HANDLE s_mutex = nullptr;
    ~LastDestructor() {
        EXPECT_TRUE(::ReleaseMutex(s_mutex));
    }
};

TEST_F(WaitingTest, AThreadHasAbandonedItsMutexToWhoeverWaitsWhenItsHandleIsSignalled) {
    const UniqueHandle taken = Event();
    for (const char* name : kUnnamedAndNamed) {
        const UniqueHandle mutex = Mutex(FALSE, name);
        const UniqueHandle second = Mutex();
        const UniqueHandle released = Mutex();
        LastDestructor::s_mutex = released.Get();
        const HANDLE handles[] = {taken.Get(), mutex.Get()};
        for (int round = 0; round < 50; ++round) {
            std::function<DWORD()> takeAndEnd = [&]() -> DWORD {
                for (const UniqueHandle* each : {&mutex, &mutex, &second, &released}) {
                    Wait(*each, INFINITE);
                }
                thread_local const LastDestructor releases;
                ::SetEvent(taken.Get());
                ::Sleep(2);
                if (round % 8 < 4) {
                    ::pthread_exit(reinterpret_cast<void*>(17));
                }
                return 17;
            };
            const UniqueHandle thread = Start(takeAndEnd);
            EXPECT_EQ(Wait(taken, INFINITE), WAIT_OBJECT_0);
            const DWORD limit = round % 4 < 2 && Wait(thread, INFINITE) == WAIT_OBJECT_0 ? 0 : INFINITE;
            EXPECT_EQ(round % 2 ? Wait(mutex, limit) : WaitAny(handles, limit) - 1, kAbandoned) << round;
            EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
            EXPECT_EQ(Wait(mutex), WAIT_OBJECT_0) << "it is told once";
            EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
            EXPECT_EQ(Wait(second, INFINITE), kAbandoned);
            EXPECT_TRUE(::ReleaseMutex(second.Get()));
            EXPECT_EQ(ExitCode(thread), 17u);
            EXPECT_EQ(Wait(released), WAIT_OBJECT_0) << round;
            EXPECT_TRUE(::ReleaseMutex(released.Get()));
        }
    }
}

TEST_F(WaitingTest, ASuspendedThreadGoesOnWhenItIsResumedAsOften) {
    const UniqueHandle event = Event();
    HANDLE self = nullptr;
    std::function<DWORD()> waitAndSuspendItself = [&] {
        Wait(event, INFINITE);
        return ::SuspendThread(self);
    };
    const UniqueHandle thread = Start(waitAndSuspendItself);
    self = thread.Get();
    EXPECT_EQ(::ResumeThread(thread.Get()), 0u);
    for (DWORD count = 0; count < 127; ++count) {
        EXPECT_EQ(::SuspendThread(thread.Get()), count);
    }
    EXPECT_EQ(ErrorOf(::SuspendThread(thread.Get()) + 1), DWORD{ERROR_SIGNAL_REFUSED});
    ::SetEvent(event.Get());
    for (DWORD count = 127; count > 0; --count) {
        EXPECT_EQ(Wait(thread, count % 64 ? 0 : kSoon), kTimeout);
        EXPECT_EQ(::ResumeThread(thread.Get()), count);
    }
    while (::ResumeThread(thread.Get()) == 0) {
        ::Sleep(1); // until it has suspended itself
    }
    EXPECT_EQ(Wait(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(Wait(event), kTimeout) << "what came while it was suspended it has taken";
    EXPECT_EQ(ErrorOf(::SuspendThread(thread.Get()) + 1), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(::ResumeThread(thread.Get()), 0u);
}

/// Whether a thread has so much more niceness than its process.
bool HasNiceness([[maybe_unused]] DWORD thread, [[maybe_unused]] int more) {
#ifndef _WIN32
    const int ofProcess = ::getpriority(PRIO_PROCESS, static_cast<id_t>(::getpid()));
    return ::getpriority(PRIO_PROCESS, thread) == std::clamp(ofProcess + more, -20, 19);
#endif
    return true;
}

TEST_F(WaitingTest, AThreadHasThePriorityThatWasSetLastAndBeginsWithTheOrdinaryOne) {
    constexpr int kUnknown = 99;
    const UniqueHandle event = Event();
    std::function<DWORD()> isOrdinary = [] { return HasNiceness(::GetCurrentThreadId(), 0); };
    std::function<DWORD()> startsAnother = [&] {
        Wait(event, INFINITE);
        return ExitCode(Start(isOrdinary));
    };
    DWORD id = 0;
    const UniqueHandle thread = Start(startsAnother, &id);
    std::pair last{THREAD_PRIORITY_NORMAL, 0};
    const std::pair<int, int> cases[] = {{15, -39},     {2, -10},       {1, -5}, {0, 0},   {-3, kUnknown},
                                         {3, kUnknown}, {16, kUnknown}, {-1, 5}, {-2, 10}, {-15, 39}};
    for (const auto& next : cases) {
        if (::SetThreadPriority(thread.Get(), next.first)) {
            last = next;
        } else {
            EXPECT_EQ(::GetLastError(), next.second == kUnknown ? 87u : 5u) << next.first;
        }
        EXPECT_EQ(::GetThreadPriority(thread.Get()), last.first);
        EXPECT_TRUE(HasNiceness(id, last.second)) << next.first;
    }
    EXPECT_EQ(last.first, THREAD_PRIORITY_IDLE) << "everybody may go down";
    const BOOL mayReturn = ::SetThreadPriority(thread.Get(), 0) && ::SetThreadPriority(thread.Get(), -2);
    ::SetEvent(event.Get());
    EXPECT_EQ(ExitCode(thread), static_cast<DWORD>(mayReturn));
    EXPECT_TRUE(::SetThreadPriority(thread.Get(), 2) && ::GetThreadPriority(thread.Get()) == 2) << "it has ended";
}

DWORD UseStack(SIZE_T pages) {
    volatile DWORD page[1024];
    page[0] = 1;
    return pages == 0 ? 0 : UseStack(pages - 1) + page[0];
}

TEST_F(WaitingTest, AThreadsStackGrowsAsFarAsTheDefaultAndAsItsSize) {
    for (const auto& [size, flags, used] : {std::tuple{4096, DWORD{0}, 100},
                                            {40'000'000, DWORD{0}, 5000},
                                            {3'000'000, DWORD{STACK_SIZE_PARAM_IS_A_RESERVATION}, 100}}) {
        std::function<DWORD()> use = [pages = static_cast<SIZE_T>(used)] { return UseStack(pages); };
        const UniqueHandle thread(::CreateThread(nullptr, static_cast<SIZE_T>(size), &Call, &use, flags, nullptr));
        EXPECT_EQ(ExitCode(thread), static_cast<DWORD>(used));
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
    EXPECT_TRUE(UniqueHandle(::CreateSemaphoreA(nullptr, 0, 1, ""))) << "an empty name is none";
    for (const auto& [initial, maximum] : {std::pair{0, 0}, {-1, 1}, {2, 1}}) {
        EXPECT_EQ(ErrorOf(Semaphore(initial, maximum)), DWORD{ERROR_INVALID_PARAMETER});
    }
}

TEST_F(WaitingTest, AWaitForAnyTakesTheLowestSignalledOfOneTo64Handles) {
    std::vector<UniqueHandle> events(65);
    std::ranges::generate(events, [] { return Event(); });
    std::vector<HANDLE> handles(65);
    std::ranges::transform(events, handles.begin(), &UniqueHandle::Get);
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

TEST_F(WaitingTest, AHandleThatIsNotOpenIsRefused) {
    const UniqueHandle set = Event(TRUE, TRUE);
    std::vector<UniqueHandle> many(100);
    std::ranges::generate(many, [] { return Event(TRUE, TRUE); });
    const HANDLE closed = many.back().Get(); // Windows gives a low value that is free to whoever asks next
    many.clear();
    const auto plus = [](HANDLE handle, std::uintptr_t bits) {
        return reinterpret_cast<HANDLE>(reinterpret_cast<std::uintptr_t>(handle) + bits);
    };
    for (const HANDLE handle : {HANDLE{nullptr}, plus(nullptr, 3), plus(nullptr, 0x7654320), closed, plus(closed, 3),
                                plus(closed, std::uintptr_t{1} << 32)}) {
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
            [&] { return ::SetThreadPriority(handle, 99); },
            [&] { return ::GetThreadPriority(handle) != THREAD_PRIORITY_ERROR_RETURN; },
        };
        for (const auto& call : calls) {
            ::SetLastError(0);
            EXPECT_EQ(ErrorOf(call()), DWORD{ERROR_INVALID_HANDLE}) << &call - calls;
        }
    }
#ifndef _WIN32
    const auto placeOf = [](HANDLE handle) { return reinterpret_cast<std::uintptr_t>(handle) % (1u << 27); };
    for (int i = 0; i < 150; ++i) {
        EXPECT_NE(placeOf(Event().Get()), placeOf(closed)) << "a place is used again as late as can be";
    }
#endif
    EXPECT_EQ(ErrorOf(::SetEvent(Mutex().Get())), DWORD{ERROR_INVALID_HANDLE}) << "an open handle of another kind";
    EXPECT_TRUE(::SetEvent(plus(set.Get(), 3))) << "these do not count";

    const UniqueHandle section = Section(nullptr);
    EXPECT_EQ(ErrorOf(Wait(section) + 1), DWORD{ERROR_ACCESS_DENIED}) << "a section cannot be waited for";
    const auto errorOfBoth = [](HANDLE first, HANDLE second) {
        const HANDLE both[] = {first, second};
        return ErrorOf(WaitAny(both) + 1);
    };
    EXPECT_EQ(errorOfBoth(section.Get(), closed), DWORD{ERROR_ACCESS_DENIED}) << "the first one decides";
    EXPECT_EQ(errorOfBoth(closed, section.Get()), DWORD{ERROR_INVALID_HANDLE});
}

TEST_F(WaitingTest, ClosingAHandleLeavesItsWaitersToTheirTimeOut) {
    int waited = 0; // a late waiter finds the handle closed already
    for (int round = 0; round < 20; ++round) {
        const HANDLE event = ::CreateEventA(nullptr, FALSE, FALSE, nullptr);
        std::atomic<bool> isAwake{false};
        std::jthread waiter([&] {
            isAwake = true;
            const DWORD result = ::WaitForSingleObject(event, 40);
            EXPECT_NE(result, WAIT_OBJECT_0);
            waited += result == WAIT_TIMEOUT;
        });
        while (!isAwake) {
            ::Sleep(1);
        }
        ::Sleep(10);
        ::CloseHandle(event);
        const UniqueHandle next = Event();
        EXPECT_TRUE(::SetEvent(next.Get())) << "must not be taken by who waits for the closed one";
        waiter.join();
        EXPECT_EQ(Wait(next), WAIT_OBJECT_0);
    }
    EXPECT_GT(waited, 0);
}

/// What a thread owns while another closes it must not come back as a later object's state.
TEST_F(WaitingTest, AMutexThatIsClosedWhileItIsTakenHarmsNobody) {
    const UniqueHandle taken = Event();
    const UniqueHandle end = Event();
    UniqueHandle mutex = Mutex();
    std::jthread owner([&] { // which abandons it
        EXPECT_EQ(Wait(mutex), WAIT_OBJECT_0);
        ::SetEvent(taken.Get());
        Wait(end, INFINITE);
    });
    EXPECT_EQ(Wait(taken, INFINITE), WAIT_OBJECT_0);
    mutex = UniqueHandle();
    std::vector<UniqueHandle> later(1000);
    std::ranges::generate(later, [] { return Event(); });
    ::SetEvent(end.Get());
    owner.join();
    EXPECT_TRUE(std::ranges::all_of(later, [](const UniqueHandle& each) { return Wait(each) == kTimeout; }));
}

/// Two threads hand tokens to others through a semaphore and an event each, and sleep until they are told that the
/// event was taken; none may be lost or taken twice. Those who take are suspended all the while, wherever they are:
/// they hold nothing then that the calls of others need.
TEST_F(WaitingTest, NothingIsLostOrTakenTwiceUnderLoad) {
    constexpr int kRounds = 3000;
    for (const char* name : kUnnamedAndNamed) {
        const UniqueHandle semaphore = Semaphore(0, 2 * kRounds);
        const UniqueHandle events[] = {Event(FALSE, FALSE, name), Event()};
        const UniqueHandle answers[] = {Event(), Event()};
        const UniqueHandle isOver = Event(TRUE);
        const UniqueHandle mutex = Mutex();
        const HANDLE any[] = {events[0].Get(), events[1].Get(), semaphore.Get(), isOver.Get()};
        std::array<int, 3> taken{};
        const auto give = [&](int which) {
            for (int i = 0; i < kRounds; ++i) {
                EXPECT_TRUE(::ReleaseSemaphore(semaphore.Get(), 1, nullptr));
                EXPECT_TRUE(::SetEvent(events[which].Get()));
                EXPECT_EQ(Wait(answers[which], INFINITE), WAIT_OBJECT_0);
            }
        };
        const auto count = [&](DWORD got) {
            EXPECT_EQ(Wait(mutex, INFINITE), WAIT_OBJECT_0);
            ++taken[got];
            EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
            EXPECT_TRUE(got == 2 || ::SetEvent(answers[got].Get()));
        };
        std::function<DWORD()> take = [&]() -> DWORD {
            for (DWORD got; (got = WaitAny(any, INFINITE)) < 3;) {
                count(got);
            }
            return 0;
        };
        const UniqueHandle takers[] = {Start(take), Start(take), Start(take)};
        {
            const std::jthread givers[] = {std::jthread(give, 0), std::jthread(give, 1)};
            for (int i = 0; i < kSuspensions; ++i) {
                const UniqueHandle& suspended = takers[i % 3];
                EXPECT_EQ(::SuspendThread(suspended.Get()), 0u);
                EXPECT_TRUE(Wait(mutex) == kTimeout || ::ReleaseMutex(mutex.Get()));
                const DWORD got = Event() ? WaitAny(any) : kTimeout;
                EXPECT_EQ(::ResumeThread(suspended.Get()), 1u);
                if (got != kTimeout) {
                    count(got);
                }
            }
        }
        ::SetEvent(isOver.Get());
        for (const UniqueHandle& taker : takers) {
            EXPECT_EQ(Wait(taker, INFINITE), WAIT_OBJECT_0);
        }
        EXPECT_EQ(taken, (std::array{kRounds, kRounds, 2 * kRounds}));
    }
}

} // namespace
} // namespace gaizior::test
