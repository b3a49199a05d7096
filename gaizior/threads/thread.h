#pragma once

/// @file
/// Threads that can be asked to end.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"
#include "gaizior/threads/critical_section.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace gaizior {
class ThreadControl;
}

/// The base of every worker thread: run() is the body of a platform thread that can be asked to end, alone or with all
/// that descend from it. All threads of the process stand in one list, each with its parent.
///
///     operation    constructed     running                       finished               stopped
///     start        running         0, nothing is started         running                running
///     NotifyEnd    2011            ending: end event set         end event set          end event set
///     stop         0               waits for the end, stopped    stopped                0
///     destruction  -               stop, then as below           handles closed         handles closed
///
/// A body asks IsEndEventSignalled now and then, or uses the sleeps and waits of this class, which the end event ends,
/// and returns. stop() never kills: a body that does not return within the stop time-out runs on.
///
/// A class derived from this one calls stop() in its own destructor: when the base's does, the body has already lost
/// what the derived class had. Who destroys an object sees to it that nobody else calls it; an object that deletes
/// itself is safe from the stops of its parent and of stopAll, and nobody else touches it once it is started. Else
/// any thread may call anything. A name is borrowed: it outlives the object and every start and stop that is under way.
/// Parents form no circle. Failures are logged, never stacked.
class GAIZIOR_API ZRThreadC {
public:
    /// Puts the object at the head of the list; nothing runs before start().
    /// @param name for messages; null: "Unknown".
    /// @param parent the thread whose stop stops this one first; null for a top-level thread.
    /// @param stopTimeout milliseconds that stop() waits for the body's end; 0xFFFFFFFF and more: without limit.
    /// @param autoDelete not 0: the object, made with new, deletes itself when its body returns. What descends from it
    ///   is not stopped then, and becomes top-level.
    ZRThreadC(const char* const name, ZRThreadC* const parent, unsigned long stopTimeout, int autoDelete);
    /// A copy shares the handles, the last of those who do closes them; it stands in no list, and only the object that
    /// started a thread stops it.
    ZRThreadC(const ZRThreadC& other);
    /// The same; its place in the list stays. It is stopped first. Nobody else uses the object meanwhile, nor does a
    /// body that has not ended within the stop time-out.
    ZRThreadC& operator=(const ZRThreadC& other);
    /// Takes the object from the list, stops it unless it is deleting itself, and lets go of its handles; threads
    /// whose parent it was become top-level.
    virtual ~ZRThreadC();
    /// The body; what it returns becomes the thread's exit code. One that throws ends with e_Command_Aborted and the
    /// exception's text in the log. A body ends by returning, not by the platform's call.
    /// @returns e_Thread_NoBody, logged: a derived class has its own.
    virtual ZRErrors::ZRErrorT run();

    /// Starts the body on a new thread, with the end event reset; a thread that is alive goes on as it is. Returns when
    /// the thread is there.
    /// @returns 0; e_Resource_AllocationFailed when the end event or the thread cannot be made; e_Thread_StartFailed
    ///   when the thread was gone without an end of its body for 100 times 100 ms.
    ZRErrors::ZRErrorT start();
    /// Asks all children to end, stops one after the other with all that descends from it, then this thread; returns
    /// when it has ended or the stop time-out is over, which is logged and no failure. Looks every 200 ms. Called by
    /// the body itself it does nothing but say so at level 20.
    /// @returns 0; else the first failure of NotifyEnd, here or in a descendant: all others are stopped all the same.
    ZRErrors::ZRErrorT stop();
    /// Stops every thread of the process that has no parent. @returns as stop().
    static ZRErrors::ZRErrorT stopAll();
    /// Takes this thread from the list; the number is not looked at, callers give 0.
    /// @returns 0, also where it is not in the list.
    ZRErrors::ZRErrorT RemoveThread(int);

    /// The next thread of the list behind `after` (null: from the head) whose parent is this one; null when there is
    /// none, or `after` is not in the list.
    ZRThreadC* FindChild(ZRThreadC* const after);
    /// @returns the name; never null.
    const char* GetSafeThreadName();
    /// The platform's id of the thread that was started last; 0 before the first start.
    unsigned int GetThreadID();
    /// The thread's handle, this object's to close; null before start() and after stop().
    void* GetThread();
    /// Makes another thread the one whose stop stops this one first; null makes this one top-level.
    void SetParent(ZRThreadC* parent) {
        m_pParent = parent;
    }
    /// @returns the parent; null for a top-level thread.
    ZRThreadC* GetParent() {
        return m_pParent;
    }
    /// Whether it has a handle and that thread has not ended.
    bool IsAlive();
    /// Whether it has a handle and that thread has ended.
    bool IsDead();
    /// Whether it is asked to end; without an end event, before the first start, it is.
    int IsEndEventSignalled();

    /// Waits for `h` or the end event, up to `ms` milliseconds (0xFFFFFFFF and more: without limit).
    /// @returns 0 for `h`, 128 for an abandoned mutex, 1 for the end event, 258 after the time-out, 0xFFFFFFFF with the
    ///   last error set when the wait failed.
    unsigned long WaitForSingleObject(void* h, unsigned long ms);
    /// Waits for any (`waitAll` 0) of up to 63 objects or the end event; otherwise for all of them, one after the
    /// other, each of which is taken as it comes. What waits are for and what ended them shows at level 20.
    /// @returns for any: the index, `count` for the end event, 128 + the index of an abandoned mutex, 258 after the
    ///   time-out, or 0xFFFFFFFF with the last error set (87: too many objects); for all: 0, or the first other answer
    ///   of WaitForSingleObject above.
    unsigned long WaitForMultipleObjects(unsigned int count, void** const handles, int waitAll, unsigned long ms);

    /// The platform's calls on the thread's handle. @returns the suspend count before, 0xFFFFFFFF for a failure, which
    /// is logged with the system's error: no handle, 127 suspensions, a thread that has ended (suspend only).
    /// @{
    unsigned long SuspendThread();
    unsigned long ResumeThread();
    /// @}
    /// Gives the thread a priority.
    /// @param priority THREAD_PRIORITY_NORMAL (0) and its kin, relative to the process.
    /// @returns 1; 0 for a failure, which is logged with the system's error.
    int SetThreadPriority(int priority);
    /// The same for any thread's handle.
    int SetThreadPriority(void* hThread, int priority);

protected:
    /// Whether it is a top-level thread: one without a parent.
    bool bIsParent() {
        return GetParent() == nullptr;
    }
    /// The event that asks the body to end; null before the first start. The object's.
    void* GetEndEvent();
    /// Sleeps in slices of 10,000 ms, and looks at the end event behind each of them only, as a decision of this
    /// system.
    ///
    /// `ms` is in milliseconds: 0 gives way to others, 0xFFFFFFFF and more is until the end event.
    /// @returns 0; 0xFFFFFFFF when the end event was set; 192 when a completed input or output ended an alertable sleep
    ///   (never on Linux, where no such completion exists).
    /// @{
    unsigned long Sleep(unsigned long ms) {
        return SleepEx(ms, 0);
    }
    unsigned long SleepEx(unsigned long ms, int alertable);
    /// @}
    /// Asks the body to end: sets the end event and lets a suspended thread go on.
    /// @returns 0; e_Resource_AllocationFailed without an end event, before the first start; e_Event_SetFailed;
    ///   e_Thread_ResumeFailed.
    ZRErrors::ZRErrorT NotifyEnd();

private:
    class PoolUserC;
    using ControlPtrT = std::shared_ptr<gaizior::ThreadControl>;

    static std::uint32_t ThreadWrapper(void* control);
    ZRErrors::ZRErrorT CallRun();
    int IsStopping() {
        return IsEndEventSignalled() && IsAlive();
    }
    static ZRErrors::ZRErrorT Stop(const ControlPtrT& control);
    static bool Collect(const ZRThreadC* parent, std::vector<ControlPtrT>& threads) GAIZIOR_REQUIRES(PoolCS());
    void Disown();

    /// Guards the list.
    static ZRCriticalSectionC& PoolCS();
    static ZRThreadC* m_pThreads GAIZIOR_GUARDED_BY(PoolCS());

    ZRThreadC* m_pNextThread GAIZIOR_GUARDED_BY(PoolCS()) = nullptr;
    std::atomic<ZRThreadC*> m_pParent;
    /// What the thread itself and those who stop it may still need when the object is gone.
    ControlPtrT m_pControl;
};

extern "C" {

/// Stores 0x21122004 and 0, by which the library is known, into the two words of `out`; the first argument is not
/// looked at. @returns 0; e_Arguments_Bad for a null `out`. Any thread may call it.
GAIZIOR_API ZRErrors::ZRErrorT ZRGetMagic(unsigned int unused, unsigned int* out);
}
