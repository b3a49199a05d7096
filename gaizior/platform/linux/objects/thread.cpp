#include "gaizior/platform/linux/objects/completion.h"
#include "gaizior/platform/linux/processes/service_thread.h"
#include "gaizior/platform/linux/system/futex.h"
#include "gaizior/platform/linux/system/last_error.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <memory>
#include <new>
#include <span>
#include <utility>

#include <pthread.h>
#include <unistd.h>

namespace gaizior::platform {
namespace {

/// What a new thread is given; it lives on the starting thread's stack until the new one has read it.
struct Start {
    LPTHREAD_START_ROUTINE run;
    void* argument;
    CompletionRef completion;
    std::atomic<DWORD> threadId{0}; ///< set when the new thread has read all the rest
};

/// What is left to do for a thread once the kernel has ended it.
struct Ending {
    pthread_t thread;
    DWORD exitCode;
    CompletionRef completion;
};

void* Finish(void* given) {
    const std::unique_ptr<Ending> ending(static_cast<Ending*>(given));
    ::pthread_join(ending->thread, nullptr);
    ending->completion.Complete(ending->exitCode);
    return nullptr;
}

/// The kernel abandons the named mutexes that the calling thread still owns when it has ended, and only then may its
/// handle be signalled. @returns false, with `completion` untouched, when no thread can be had for that.
bool CompleteAfterEnd(DWORD exitCode, CompletionRef& completion) {
    std::unique_ptr<Ending> ending(new (std::nothrow) Ending{::pthread_self(), exitCode, {}});
    if (!ending) {
        return false;
    }
    std::swap(ending->completion, completion);
    if (StartServiceThread("thread end", &Finish, ending.get()) != 0) {
        std::swap(ending->completion, completion);
        return false;
    }
    static_cast<void>(ending.release());
    return true;
}

void* RunThread(void* given) {
    Start& start = *static_cast<Start*>(given);
    const LPTHREAD_START_ROUTINE run = start.run;
    void* const argument = start.argument;
    CompletionRef completion = std::move(start.completion);
    start.threadId = ::GetCurrentThreadId();
    FutexWake(start.threadId, 1, false);
    const DWORD exitCode = run(argument);
    AbandonOwned();
    if (CurrentThread().namedOwned == 0 || !CompleteAfterEnd(exitCode, completion)) {
        ::pthread_detach(::pthread_self());
        completion.Complete(exitCode);
    }
    return nullptr;
}

/// Whole pages, and not less than a thread can live on.
std::size_t UsableStack(std::size_t size) {
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    return (std::max(size, static_cast<std::size_t>(PTHREAD_STACK_MIN) * 4) + page - 1) / page * page;
}

/// The thread detaches itself, or has itself joined, when it ends.
int StartRunning(std::size_t stackSize, Start& start) {
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    int error = stackSize ? ::pthread_attr_setstacksize(&attributes, UsableStack(stackSize)) : 0;
    if (error == 0) {
        pthread_t thread;
        error = ::pthread_create(&thread, &attributes, &RunThread, &start);
    }
    ::pthread_attr_destroy(&attributes);
    return error;
}

} // namespace
} // namespace gaizior::platform

using namespace gaizior::platform;

HANDLE gaizior_windows_api::CreateThread(SECURITY_ATTRIBUTES*, SIZE_T stackSize, LPTHREAD_START_ROUTINE run,
                                         void* argument, DWORD flags, DWORD* threadId) {
    if (!run || (flags & ~STACK_SIZE_PARAM_IS_A_RESERVATION) != 0) {
        return FailNull(ERROR_INVALID_PARAMETER);
    }
    const HANDLE handle = NewCompletion(CompletionKind::Thread, nullptr, nullptr);
    if (!handle) {
        return nullptr;
    }
    Start start{run, argument, ReferToCompletion(handle)};
    if (const int error = StartRunning(stackSize, start)) {
        ::CloseHandle(handle);
        return FailNull(ErrorOfErrno(error));
    }
    while (start.threadId == 0) {
        const FutexWord word{&start.threadId, 0, false};
        FutexWait(std::span(&word, 1), Deadline(INFINITE));
    }
    if (threadId) {
        *threadId = start.threadId;
    }
    return handle;
}

BOOL gaizior_windows_api::GetExitCodeThread(HANDLE thread, DWORD* exitCode) {
    return QueryCompletion(thread, CompletionKind::Thread, exitCode, nullptr);
}
