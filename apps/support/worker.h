#pragma once

#include "gaizior/platform/windows_api.h"
#include "gaizior/threads/thread.h"

#include <atomic>
#include <functional>

namespace apps {

class WatchedLock;

/// A thread whose body is a function of its owner's; what the function uses is destroyed after this. The lock that it
/// waits for shows from outside.
class Worker final : public ZRThreadC {
public:
    using Body = std::function<ZRErrors::ZRErrorT(Worker& self)>;

    /// `name` is borrowed; `parent` (null for none) ends after this one.
    Worker(const char* name, Worker* parent, Body body);
    /// Ends it. The process goes down with a body that runs on beyond its stop time-out: what that uses is about to go.
    ~Worker() override;
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    ZRErrors::ZRErrorT run() override {
        return m_body(*this);
    }

    /// Stops it as stop() does, its children first, but returns as soon as all have ended, where stop() looks every
    /// 200 ms.
    void End();
    /// Rests for so many milliseconds. @returns false as soon as it is asked to end.
    bool Rest(DWORD milliseconds) {
        return ::WaitForSingleObject(GetEndEvent(), milliseconds) == WAIT_TIMEOUT;
    }
    /// Set when the thread is asked to end; the thread's.
    HANDLE EndEvent() {
        return GetEndEvent();
    }

    /// The lock that the thread waits for, and for how long already.
    struct Wait {
        const WatchedLock* lock = nullptr; ///< null: none
        ULONGLONG milliseconds = 0;
    };
    /// Never waits itself. Any thread.
    Wait Awaited() const;
    /// The thread says what it waits for, since when as GetTickCount64 tells.
    void BeginWait(const WatchedLock& lock, ULONGLONG since) {
        m_nAwaitedSince = since;
        m_pAwaited = &lock;
    }
    void EndWait() {
        m_pAwaited = nullptr;
    }

private:
    Body m_body;
    bool m_bHasEnded = true; ///< false when the stop time-out was too short for it
    std::atomic<const WatchedLock*> m_pAwaited{nullptr};
    std::atomic<ULONGLONG> m_nAwaitedSince{0};
};

} // namespace apps
