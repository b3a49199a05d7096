#include "gaizior/threads/thread_control.h"

#include "gaizior/errors/failure.h"
#include "gaizior/platform/fork.h"
#include "gaizior/platform/threads.h"
#include "gaizior/platform/timing.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

namespace gaizior {

using ZRErrors::ZRErrorT;

namespace {

constexpr SIZE_T kStackSize = 4096; // what is committed at first; the system's default is what it may grow to
constexpr DWORD kLongestSleep = 10000;
constexpr DWORD kStopStep = 200;
constexpr unsigned kStopStepsPerLine = 10;
constexpr unsigned kStartRounds = 100;
constexpr DWORD kStartStep = 100;
constexpr DWORD kEndAsked = 0xFFFFFFFF; // what a sleep answers that the end event ended
constexpr DWORD kRefused = 0xFFFFFFFF;  // what a call answers that failed
constexpr unsigned kTraceLevel = 20;
constexpr const char* kStart = "ZRThreadC::start(): ";

/// A thread's id in a line.
struct Hex {
    unsigned int value;

    friend ZRLogStreamC& operator<<(ZRLogStreamC& log, Hex hex) {
        return log << std::hex << hex.value << std::dec;
    }
};

/// The handles of a wait in a line.
struct Listed {
    std::span<void* const> handles;

    friend ZRLogStreamC& operator<<(ZRLogStreamC& log, const Listed& listed) {
        const char* before = "";
        for (const void* const handle : listed.handles) {
            log << before << handle;
            before = ", ";
        }
        return log;
    }
};

/// What ended a wait for any of `count` objects.
struct Outcome {
    DWORD result;
    std::size_t count;

    friend ZRLogStreamC& operator<<(ZRLogStreamC& log, const Outcome& outcome) {
        const DWORD index = outcome.result % WAIT_ABANDONED_0;
        if (outcome.result < outcome.count) {
            return log << " Object " << unsigned{index} << " was signalled ";
        }
        if (outcome.result - WAIT_ABANDONED_0 < outcome.count) {
            return log << " Object " << unsigned{index} << " was abandoned ";
        }
        return log << (outcome.result == WAIT_TIMEOUT ? " Timed out " : " Failed ");
    }
};

/// Why a wait for all ended.
const char* ReasonOf(DWORD result) {
    switch (result) {
    case WAIT_OBJECT_0:
        return "all were signalled";
    case WAIT_OBJECT_0 + 1:
        return "end event";
    case WAIT_ABANDONED_0:
        return "abandoned";
    case WAIT_TIMEOUT:
        return "timed out";
    default:
        return "failed";
    }
}

/// Waits for one object or the end event, where there is one.
DWORD WaitOrEnd(HANDLE handle, HANDLE endEvent, DWORD milliseconds) {
    const std::array<HANDLE, 2> handles = {handle, endEvent};
    return gaizior::WaitForAny(endEvent ? 2 : 1, handles.data(), milliseconds);
}

/// What is left of a time-out that began at `begin`.
DWORD TimeLeft(ULONGLONG begin, DWORD milliseconds) {
    const ULONGLONG spent = TickCount() - begin;
    if (milliseconds == INFINITE) {
        return INFINITE;
    }
    return spent < milliseconds ? milliseconds - static_cast<DWORD>(spent) : 0;
}

const KeepAcrossFork g_keepLock(ThreadControl::Lock());

} // namespace

Mutex& ThreadControl::Lock() {
    static Mutex& lock = *new Mutex;
    return lock;
}

ThreadControl::ThreadControl(const char* name, unsigned long stopTimeout, bool isAutoDelete)
    : m_dwStopTimeout(ToTimeout(stopTimeout)), m_pName(name), m_bAutoDelete(isAutoDelete) {}

ThreadControl::ThreadControl(const ThreadControl& other)
    : std::enable_shared_from_this<ThreadControl>(other), m_dwStopTimeout(other.m_dwStopTimeout),
      m_pName(other.m_pName), m_bAutoDelete(other.m_bAutoDelete), m_nThreadID(other.m_nThreadID.load()),
      m_bDeleting(other.m_bDeleting.load()), m_bFinished(other.m_bFinished.load()) {
    const MutexLock lock(Lock());
    m_pEndEvent = other.m_pEndEvent;
    m_hEndEvent = HandleOf(m_pEndEvent);
    m_hThread = other.m_hThread;
}

SharedHandle ThreadControl::Thread() const {
    const MutexLock lock(Lock());
    return m_hThread;
}

bool ThreadControl::IsEndEventSignalled() const {
    return ::WaitForSingleObject(EndEvent(), 0) != WAIT_TIMEOUT;
}

ZRErrorT ThreadControl::Start(LPTHREAD_START_ROUTINE body) {
    try {
        SharedHandle thread;
        ZRErrorT code = MakeEndEvent();
        if (code == ZRErrors::e_General_NoError) {
            code = Launch(body, thread);
        }
        return code == ZRErrors::e_General_NoError ? AwaitStart(thread) : code;
    } catch (const std::bad_alloc&) { // before anything was started
        return Fail(kStart, ZRErrors::e_Resource_AllocationFailed);
    }
}

ZRErrorT ThreadControl::MakeEndEvent() {
    if (EndEvent()) {
        return ZRErrors::e_General_NoError;
    }
    auto event = std::make_shared<UniqueHandle>(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
    if (!*event) {
        const ZRErrorT error = LastSystemError();
        return Fail(kStart, ZRErrors::e_Resource_AllocationFailed, "while creating m_hEndEvent: ", CodeText(error));
    }
    const MutexLock lock(Lock());
    if (!m_pEndEvent) { // else another start was first
        m_pEndEvent = std::move(event);
        m_hEndEvent = HandleOf(m_pEndEvent);
    }
    return ZRErrors::e_General_NoError;
}

/// `thread` receives the handle of the one that runs.
ZRErrorT ThreadControl::Launch(LPTHREAD_START_ROUTINE body, SharedHandle& thread) {
    auto created = std::make_shared<UniqueHandle>();
    auto self = std::make_unique<std::shared_ptr<ThreadControl>>(shared_from_this());
    ZRErrorT error = ZRErrors::e_General_NoError;
    {
        const MutexLock lock(Lock());
        if (!IsAlive(m_hThread)) {
            m_bFinished = 0;
            ::ResetEvent(EndEvent());
            DWORD id = 0;
            *created = UniqueHandle(::CreateThread(nullptr, kStackSize, body, self.get(), 0, &id));
            if (*created) {
                static_cast<void>(self.release());
                m_bIsStarter = true;
                m_nThreadID = id;
                m_hThread = std::move(created);
            } else {
                error = LastSystemError();
                m_bFinished = 1;
                m_hThread.reset();
            }
        }
        thread = m_hThread;
    }
    return error == ZRErrors::e_General_NoError
               ? error
               : Fail(kStart, ZRErrors::e_Resource_AllocationFailed, "_beginthreadex() failed: ", CodeText(error));
}

ZRErrorT ThreadControl::AwaitStart(const SharedHandle& thread) const {
    const unsigned int id = m_nThreadID;
    LogAt(1, kStart, "_beginthreadex() succeeded for Thread: ", Name(), ", id = 0x", Hex{id});
    LogAt(kTraceLevel, kStart, "waiting for thread: ", Name(), ", id = 0x", Hex{id}, " to begin.");
    for (unsigned round = 0; round < kStartRounds; ++round) {
        if (m_bFinished || IsAlive(thread)) {
            return ZRErrors::e_General_NoError;
        }
        SleepEx(kStartStep, false);
    }
    if (m_bFinished) {
        return ZRErrors::e_General_NoError;
    }
    return Fail(kStart, ZRErrors::e_Thread_StartFailed, "thread ", Name(), ", id = 0x", Hex{id}, " failed to start");
}

DWORD ThreadControl::SleepEx(DWORD milliseconds, bool alertable) const {
    while (milliseconds > kLongestSleep) {
        const DWORD result = SleepFor(kLongestSleep, alertable);
        if (IsEndEventSignalled()) {
            return kEndAsked;
        }
        if (result == WAIT_IO_COMPLETION) {
            return result;
        }
        if (milliseconds != INFINITE) {
            milliseconds -= kLongestSleep;
        }
    }
    const DWORD result = SleepFor(milliseconds, alertable);
    return IsEndEventSignalled() ? kEndAsked : result;
}

DWORD ThreadControl::WaitForSingleObject(HANDLE handle, DWORD milliseconds) const {
    return WaitOrEnd(handle, EndEvent(), milliseconds);
}

DWORD ThreadControl::WaitForAny(std::span<void* const> handles, DWORD milliseconds) const {
    constexpr const char* kFunction = "ZRThreadC::WaitForMultipleObjects( ANY ): ";
    std::array<HANDLE, MAXIMUM_WAIT_OBJECTS> all{};
    const HANDLE endEvent = EndEvent();
    const std::size_t count = handles.size() + (endEvent ? 1 : 0);
    if (count > all.size()) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    std::ranges::copy(handles, all.begin());
    if (endEvent) {
        all[handles.size()] = endEvent;
    }
    const Listed waited{std::span(all).first(count)};
    LogAt(kTraceLevel, kFunction, Name(), ", id=0x", Hex{m_nThreadID}, " waiting on ", count, " objects[", waited,
          "], timeout = ", milliseconds);
    const DWORD result = gaizior::WaitForAny(static_cast<DWORD>(count), all.data(), milliseconds);
    LogAt(kTraceLevel, kFunction, "returning: ", Outcome{result, count}, ", Objects[", waited, "]");
    return result;
}

DWORD ThreadControl::WaitForAll(std::span<void* const> handles, DWORD milliseconds) const {
    constexpr const char* kFunction = "ZRThreadC::WaitForMultipleObjects( ALL ): ";
    const HANDLE endEvent = EndEvent();
    LogAt(kTraceLevel, kFunction, "waiting on ", handles.size() + (endEvent ? 1 : 0), " objects: ", Listed{handles});
    const ULONGLONG begin = TickCount();
    DWORD result = WAIT_OBJECT_0;
    for (std::size_t i = 0; i < handles.size() && result == WAIT_OBJECT_0; ++i) {
        result = WaitOrEnd(handles[i], endEvent, TimeLeft(begin, milliseconds));
    }
    LogAt(kTraceLevel, kFunction, "returning: ", result, " Reason: ", ReasonOf(result));
    return result;
}

DWORD ThreadControl::SuspendThread() const {
    DWORD before = 0;
    ZRErrorT error = ZRErrors::e_General_NoError;
    const auto suspend = [&](const SharedHandle& thread) {
        before = SuspendUntilStopped(HandleOf(thread));
        error = LastSystemError();
    };
    if (IsSelf()) {
        suspend(Thread());
    } else {
        // Held until the thread has stopped, which therefore does not hold it.
        const MutexLock lock(Lock());
        suspend(m_hThread);
    }
    if (before == kRefused) {
        LogError("ZRThreadC::SuspendThread(): ", "suspend failed on thread: ", Name(), ": ", CodeText(error));
    }
    return before;
}

DWORD ThreadControl::ResumeThread(const SharedHandle& thread) const {
    const DWORD before = ::ResumeThread(HandleOf(thread));
    if (before == kRefused) {
        LogError("ZRThreadC::ResumeThread(): ", "resume failed on thread: ", Name(), ": ", CodeText(LastSystemError()));
    }
    return before;
}

ZRErrorT ThreadControl::NotifyEnd() const {
    constexpr const char* kFunction = "ZRThreadC::NotifyEnd(): ";
    const HANDLE event = EndEvent();
    if (!event) {
        return Fail(kFunction, ZRErrors::e_Resource_AllocationFailed, "m_hEndEvent = ", "invalid handle.");
    }
    if (!::SetEvent(event)) {
        const ZRErrorT error = LastSystemError();
        return Fail(kFunction, ZRErrors::e_Event_SetFailed, "m_hEndEvent = ", event, ": ", CodeText(error));
    }
    const SharedHandle thread = Thread();
    for (DWORD before = 2; thread && before > 1;) {
        before = ResumeThread(thread);
        if (before == kRefused) {
            return ZRErrors::e_Thread_ResumeFailed;
        }
        LogAt(kTraceLevel, kFunction, "suspendCount for :", Name(), " is: ", static_cast<unsigned int>(before));
    }
    return ZRErrors::e_General_NoError;
}

void ThreadControl::AwaitEnd(const SharedHandle& thread) const {
    constexpr const char* kFunction = "ZRThreadC::stop(): ";
    const ULONGLONG begin = TickCount();
    const auto isOver = [&] { return m_bDeleting || !IsAlive(thread); };
    for (unsigned round = 1; !isOver(); ++round) {
        SleepFor(kStopStep);
        if (round % kStopStepsPerLine == 0 && !isOver()) {
            LogAt(1, kFunction, "Waiting for thread ", Name(), " id 0x", Hex{m_nThreadID}, " to die...");
        }
        if (m_dwStopTimeout != INFINITE && TickCount() - begin > m_dwStopTimeout && !isOver()) {
            // Both lines are older than the decision to kill nothing, and stay as operators know them.
            LogError("", "ZRThreadC::stop(): ERROR: Could not stop thread. Thread being killed, this could "
                         "leave dangling resources.");
            LogError("", "ZRThreadC::stop(): DON'T KNOW HOW TO KILL THREADS!!!!!!!");
            return;
        }
    }
}

ZRErrorT ThreadControl::Stop() {
    const SharedHandle thread = m_bIsStarter ? Thread() : SharedHandle();
    if (IsAlive(thread)) {
        if (const ZRErrorT code = NotifyEnd()) {
            return code;
        }
        AwaitEnd(thread);
    }
    const MutexLock lock(Lock());
    // Not where a new thread was started meanwhile. Where it was stopped before, a parent's stop has set the event
    // since.
    if (m_bIsStarter && m_hThread == thread) {
        m_hThread.reset();
        ::ResetEvent(EndEvent());
    }
    return ZRErrors::e_General_NoError;
}

void ThreadControl::Close() {
    const MutexLock lock(Lock());
    if (m_bIsStarter && !m_bFinished) {
        ::SetEvent(EndEvent());
    }
    m_hThread.reset();
}

} // namespace gaizior
