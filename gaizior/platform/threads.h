#pragma once

#include "gaizior/platform/windows_api.h"
#ifndef _WIN32
#include "gaizior/platform/linux/objects/object.h"
#endif

namespace gaizior {

/// GetCurrentThreadId without a call, for what asks at every turn.
inline DWORD CurrentThreadId() {
#ifdef _WIN32
    return ::GetCurrentThreadId();
#else
    return platform::CurrentThread().id;
#endif
}

/// GetThreadPriority of the calling thread; one that CreateThread has not started is at THREAD_PRIORITY_NORMAL on
/// Linux.
#ifdef _WIN32
inline int CurrentThreadPriority() {
    return ::GetThreadPriority(::GetCurrentThread());
}
#else
int CurrentThreadPriority();
#endif

/// SuspendThread, but returns when the thread has stopped: Windows' own may return before.
inline DWORD SuspendUntilStopped(HANDLE thread) {
    const DWORD before = ::SuspendThread(thread);
#ifdef _WIN32
    if (before != 0xFFFFFFFF) {
        CONTEXT context{};
        context.ContextFlags = CONTEXT_CONTROL;
        ::GetThreadContext(thread, &context); // has to wait for that
    }
#endif
    return before;
}

} // namespace gaizior
