#include "gaizior/platform/linux/objects/completion.h"
#include "gaizior/platform/linux/system/futex.h"
#include "gaizior/platform/linux/system/last_error.h"
#include "gaizior/platform/linux/system/niceness.h"
#include "gaizior/platform/linux/system/service_thread.h"
#include "gaizior/platform/linux/system/suspension.h"
#include "gaizior/platform/threads.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <utility>

#include <pthread.h>
#include <unistd.h>

namespace gaizior::platform {

/// What stands behind a thread's handle. Its completion keeps it until the thread has ended, a handle as long as it is
/// open.
struct StartedThread {
    StartedThread(LPTHREAD_START_ROUTINE toRun, void* given) : run(toRun), argument(given) {}

    const LPTHREAD_START_ROUTINE run;
    void* const argument;
    CompletionRef completion;
    std::atomic<DWORD> id{0}; ///< set when all the rest is
    pthread_t thread{};
    Suspension suspension;
    std::atomic<int> priority{THREAD_PRIORITY_NORMAL}; ///< set under the lock of the thread's object
    std::optional<DWORD> exitCode; ///< nothing as long as it runs, and when it leaves by pthread_exit
};

namespace {

/// The round of destructors in which a thread's end is dealt with. C++ ones have run by then, and those of other
/// libraries' keys may have used mutexes up to now; the very last round belongs to the tools that watch memory and
/// threads, behind which no code may run.
constexpr int kEndRound = PTHREAD_DESTRUCTOR_ITERATIONS - 1;

void OnThreadEnd(void* state);

/// Its destructor is called at the end of every thread that has set a value.
const pthread_key_t g_endOfThread = [] {
    pthread_key_t key{};
    if (::pthread_key_create(&key, &OnThreadEnd) != 0) {
        std::abort(); // of 1,024 keys that a process has none is left: mutexes would stay with threads that have ended
    }
    return key;
}();

void Complete(StartedThread& thread, DWORD exitCode) {
    const CompletionRef completion = std::move(thread.completion); // with it the thread's record may go
    completion.Complete(exitCode);
}

void* CompleteAfterEnd(void* given) {
    auto& thread = *static_cast<StartedThread*>(given);
    void* value = nullptr;
    ::pthread_join(thread.thread, &value);
    Complete(thread, static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(value)));
    return nullptr;
}

/// Signals the handle of the calling thread, which is about to end. Where the thread still owns named mutexes, which
/// the kernel abandons when it has ended, or has not told its exit code, another thread waits for that.
void EndThread(StartedThread& thread) {
    thread.suspension.End();
    {
        // Who sets the priority of a thread that has not ended does so before its id is another's.
        const ObjectLock lock(thread.completion.Pinned());
    }
    const bool isDone = CurrentThread().namedOwned == 0 && thread.exitCode;
    if (isDone || StartServiceThread("thread end", &CompleteAfterEnd, &thread) != 0) {
        ::pthread_detach(thread.thread);
        Complete(thread, thread.exitCode.value_or(0));
    }
}

void OnThreadEnd(void*) {
    ThreadState& self = CurrentThread();
    if (++self.endRounds < kEndRound) {
        ArmEndOfThread();
        return;
    }
    self.isEndArmed = false; // a mutex that is taken after this is abandoned in the next round
    AbandonOwned();
    if (StartedThread* const thread = std::exchange(self.started, nullptr)) {
        EndThread(*thread);
    }
}

void* RunThread(void* given) {
    auto& thread = *static_cast<StartedThread*>(given);
    CurrentThread().started = &thread;
    ArmEndOfThread();
    thread.thread = ::pthread_self();
    thread.suspension.Adopt();
    BeginAtNormalPriority();
    thread.id = ::GetCurrentThreadId();
    FutexWake(thread.id, 1, false);
    const DWORD exitCode = thread.run(thread.argument);
    thread.exitCode = exitCode;
    return reinterpret_cast<void*>(std::uintptr_t{exitCode});
}

/// Whole pages, and not less than a thread can live on.
std::size_t UsableStack(std::size_t size) {
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    return (std::max(size, static_cast<std::size_t>(PTHREAD_STACK_MIN) * 4) + page - 1) / page * page;
}

/// Asks for a stack that may grow to so many bytes, or, where these are only what it begins with, is not smaller.
/// @returns 0 or an errno value.
int SetStack(pthread_attr_t& attributes, std::size_t size, bool isLimit) {
    std::size_t usual = 0;
    ::pthread_attr_getstacksize(&attributes, &usual);
    const bool fits = size == 0 || (!isLimit && size <= usual);
    return fits ? 0 : ::pthread_attr_setstacksize(&attributes, UsableStack(size));
}

/// The thread detaches itself, or has itself joined, when it ends. @returns 0 or an errno value.
int StartRunning(std::size_t stackSize, bool isLimit, StartedThread& started) {
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    int error = SetStack(attributes, stackSize, isLimit);
    if (error == 0) {
        pthread_t thread;
        error = ::pthread_create(&thread, &attributes, &RunThread, &started);
    }
    ::pthread_attr_destroy(&attributes);
    return error;
}

/// The thread of this process behind an open handle; an empty reference, with the last error set, for any other.
CompletionRef ReferToThread(HANDLE handle) {
    CompletionRef thread = ReferToCompletion(handle);
    if (thread.Is(CompletionKind::Thread)) {
        return thread;
    }
    Fail(thread.Is(CompletionKind::ProcessThread) ? ERROR_NOT_SUPPORTED : ERROR_INVALID_HANDLE);
    return {};
}

StartedThread& StartedOf(const CompletionRef& thread) {
    return *static_cast<StartedThread*>(thread.Context());
}

Suspension& SuspensionOf(const CompletionRef& thread) {
    return StartedOf(thread).suspension;
}

/// @returns 0 or an error. A thread that has ended, or was lost in a fork, has no niceness to change.
DWORD SetPriority(const CompletionRef& thread, int priority) {
    if (!IsThreadPriority(priority)) {
        return ERROR_INVALID_PARAMETER;
    }
    StartedThread& started = StartedOf(thread);
    const ObjectLock lock(thread.Pinned());
    const pid_t id = lock.Word() & kSignalled ? 0 : started.suspension.RunningThread();
    const DWORD error = id ? SetNiceness(id, priority) : ERROR_SUCCESS;
    if (error == ERROR_SUCCESS) {
        started.priority = priority;
    }
    return error;
}

constexpr DWORD kRefused = 0xFFFFFFFF; // what calls give that else give a count

} // namespace

void ArmEndOfThread() {
    CurrentThread().isEndArmed = true;
    ::pthread_setspecific(g_endOfThread, &CurrentThread());
}

} // namespace gaizior::platform

using namespace gaizior::platform;

HANDLE gaizior_windows_api::CreateThread(SECURITY_ATTRIBUTES*, SIZE_T stackSize, LPTHREAD_START_ROUTINE run,
                                         void* argument, DWORD flags, DWORD* threadId) {
    if (!run || (flags & ~STACK_SIZE_PARAM_IS_A_RESERVATION) != 0) {
        return FailNull(ERROR_INVALID_PARAMETER);
    }
    std::unique_ptr<StartedThread> owned(new (std::nothrow) StartedThread(run, argument));
    if (!owned) {
        return FailNull(ERROR_NOT_ENOUGH_MEMORY);
    }
    const HANDLE handle = NewCompletion(CompletionKind::Thread, owned.get(),
                                        [](void* thread) { delete static_cast<StartedThread*>(thread); });
    if (!handle) {
        return nullptr;
    }
    StartedThread& thread = *owned.release();
    thread.completion = ReferToCompletion(handle);
    if (const int error = StartRunning(stackSize, flags != 0, thread)) {
        thread.completion = CompletionRef();
        ::CloseHandle(handle);
        return FailNull(ErrorOfErrno(error));
    }
    while (thread.id == 0) {
        const FutexWord word{&thread.id, 0, false};
        FutexWait(std::span(&word, 1), Deadline(INFINITE));
    }
    if (threadId) {
        *threadId = thread.id;
    }
    return handle;
}

BOOL gaizior_windows_api::GetExitCodeThread(HANDLE handle, DWORD* exitCode) {
    const CompletionRef thread = ReferToCompletion(handle);
    if (!thread || thread.Is(CompletionKind::Process)) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    *exitCode = thread.ExitCode();
    return TRUE;
}

DWORD gaizior_windows_api::SuspendThread(HANDLE handle) {
    const CompletionRef thread = ReferToThread(handle);
    if (!thread) {
        return kRefused;
    }
    DWORD previous = 0;
    if (const DWORD error = SuspensionOf(thread).Suspend(previous)) {
        Fail(error);
        return kRefused;
    }
    return previous;
}

DWORD gaizior_windows_api::ResumeThread(HANDLE handle) {
    const CompletionRef thread = ReferToThread(handle);
    return thread ? SuspensionOf(thread).Resume() : kRefused;
}

BOOL gaizior_windows_api::SetThreadPriority(HANDLE handle, int priority) {
    const CompletionRef thread = ReferToThread(handle);
    const DWORD error = thread ? SetPriority(thread, priority) : ::GetLastError();
    return error == ERROR_SUCCESS || Fail(error);
}

int gaizior_windows_api::GetThreadPriority(HANDLE handle) {
    const CompletionRef thread = ReferToThread(handle);
    return thread ? StartedOf(thread).priority.load() : THREAD_PRIORITY_ERROR_RETURN;
}

int gaizior::CurrentThreadPriority() {
    const StartedThread* const thread = CurrentThread().started;
    return thread ? thread->priority.load() : THREAD_PRIORITY_NORMAL;
}
