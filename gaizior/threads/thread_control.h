#pragma once

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/mutex.h"
#include "gaizior/platform/unique_handle.h"
#include "gaizior/platform/windows_api.h"

#include <atomic>
#include <memory>
#include <span>

class ZRThreadC;

namespace gaizior {

/// A handle that the last of its users closes.
using SharedHandle = std::shared_ptr<const UniqueHandle>;

inline HANDLE HandleOf(const SharedHandle& shared) {
    return shared ? shared->Get() : nullptr;
}

/// The state of a ZRThreadC: the platform's thread, the end event and the waits that it ends. The object, the thread
/// itself and whoever stops it refer to it, so that each of them may be gone first; whoever waits keeps the handles
/// that it waits for. Functions log under ZRThreadC's names and answer as its own do. Any thread.
class ThreadControl : public std::enable_shared_from_this<ThreadControl> {
public:
    ThreadControl(const char* name, unsigned long stopTimeout, bool isAutoDelete);
    /// That of an object that started nothing, with the other's state and sharing its handles.
    ThreadControl(const ThreadControl& other);
    ThreadControl& operator=(const ThreadControl&) = delete;

    /// Guards the handles of all threads, and is held while one is started or suspended: one that is suspended holds no
    /// lock that those need who let it go on. Never destroyed, as threads may be static objects anywhere.
    static Mutex& Lock();

    const char* Name() const {
        return m_pName ? m_pName : "Unknown";
    }
    /// The object; null when it is gone, which changes under the list's lock.
    ZRThreadC* Object() const {
        return m_pObject;
    }
    void SetObject(ZRThreadC* object) {
        m_pObject = object;
    }
    unsigned int Id() const {
        return m_nThreadID;
    }
    SharedHandle Thread() const;
    /// Null before the first start; it stays open as long as this lives.
    HANDLE EndEvent() const {
        return m_hEndEvent;
    }
    static bool IsAlive(const SharedHandle& thread) {
        return thread && ::WaitForSingleObject(thread->Get(), 0) == WAIT_TIMEOUT;
    }
    bool IsEndEventSignalled() const;
    bool IsAutoDelete() const {
        return m_bAutoDelete;
    }
    bool IsDeleting() const {
        return m_bDeleting;
    }
    /// Whether the caller is the body. An id that has been given to another thread since does not count.
    bool IsSelf() const {
        return m_nThreadID == ::GetCurrentThreadId() && !m_bFinished;
    }

    /// Has a new thread run `body`, with a new std::shared_ptr to this that is the thread's, unless one is alive.
    /// @returns as ZRThreadC::start.
    ZRErrors::ZRErrorT Start(LPTHREAD_START_ROUTINE body);
    /// The new thread says that it is there, and that its body has ended.
    void Begin() {
        m_nThreadID = ::GetCurrentThreadId();
    }
    void Finish() {
        if (m_nThreadID == ::GetCurrentThreadId()) { // else it outlived its stop, and another was started since
            m_bFinished = 1;
        }
    }
    /// The thread says that it is about to delete its object.
    void BeginDeletion() {
        m_bDeleting = 1;
        m_bFinished = 1;
    }

    DWORD SleepEx(DWORD milliseconds, bool alertable) const;
    DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) const;
    DWORD WaitForAny(std::span<void* const> handles, DWORD milliseconds) const;
    DWORD WaitForAll(std::span<void* const> handles, DWORD milliseconds) const;
    DWORD SuspendThread() const;
    DWORD ResumeThread() const {
        return ResumeThread(Thread());
    }
    ZRErrors::ZRErrorT NotifyEnd() const;

    /// Asks the thread to end, where the object started it and it is alive, waits for that and closes the handle.
    ZRErrors::ZRErrorT Stop();
    /// Lets go of the thread, as the object is gone. A body that did not end in time finds its waits ended.
    void Close();

private:
    ZRErrors::ZRErrorT MakeEndEvent();
    ZRErrors::ZRErrorT Launch(LPTHREAD_START_ROUTINE body, SharedHandle& thread);
    ZRErrors::ZRErrorT AwaitStart(const SharedHandle& thread) const;
    void AwaitEnd(const SharedHandle& thread) const;
    DWORD ResumeThread(const SharedHandle& thread) const;

    const DWORD m_dwStopTimeout;
    const char* const m_pName;
    const bool m_bAutoDelete;
    std::atomic<ZRThreadC*> m_pObject{nullptr};
    std::atomic<unsigned int> m_nThreadID{0};
    std::atomic<int> m_bDeleting{0};
    std::atomic<int> m_bFinished{1};
    std::atomic<bool> m_bIsStarter{false}; ///< the object started the thread that it has a handle of
    /// Set once and read without the lock: bodies look at it all the time.
    std::atomic<HANDLE> m_hEndEvent{nullptr};

    SharedHandle m_pEndEvent GAIZIOR_GUARDED_BY(Lock()); ///< who closes m_hEndEvent
    SharedHandle m_hThread GAIZIOR_GUARDED_BY(Lock());
};

} // namespace gaizior
