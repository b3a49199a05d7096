#include "gaizior/threads/thread.h"

#include "gaizior/errors/exception.h"
#include "gaizior/errors/failure.h"
#include "gaizior/platform/timing.h"
#include "gaizior/threads/thread_control.h"

#include <exception>
#include <new>
#include <utility>
#include <vector>

#include <cxxabi.h>

using ZRErrors::ZRErrorT;

namespace {

constexpr unsigned long kPoolTimeout = 60000;
constexpr unsigned kTraceLevel = 20;

void KeepFirst(ZRErrorT& first, ZRErrorT next) {
    if (first == ZRErrors::e_General_NoError) {
        first = next;
    }
}

void GiveWay() {
    gaizior::SleepFor(0);
}

} // namespace

ZRThreadC* ZRThreadC::m_pThreads = nullptr;

/// Made when it is first needed and never destroyed, as threads may be static objects anywhere.
ZRCriticalSectionC& ZRThreadC::PoolCS() {
    static ZRCriticalSectionC& m_PoolCS = *new ZRCriticalSectionC;
    return m_PoolCS;
}

/// Holds the list's lock within a scope. Who does not get it in time goes on without, as a decision of this system: it
/// is logged who holds it, and a list that nobody can change any more would stop every application.
class GAIZIOR_SCOPED_CAPABILITY ZRThreadC::PoolUserC {
public:
    explicit PoolUserC(const char* locker) GAIZIOR_ACQUIRE(PoolCS()) : m_user(&PoolCS()) {
        m_user.EnterCriticalSection(locker, kPoolTimeout);
    }
    ~PoolUserC() GAIZIOR_RELEASE() {}

private:
    ZRCriticalSectionC::ZRCriticalSectionUserC m_user;
};

ZRThreadC::ZRThreadC(const char* const name, ZRThreadC* const parent, unsigned long stopTimeout, int autoDelete)
    : m_pParent(parent), m_pControl(std::make_shared<gaizior::ThreadControl>(name, stopTimeout, autoDelete != 0)) {
    m_pControl->SetObject(this);
    const PoolUserC user("ZRThreadC::ZRThreadC():");
    m_pNextThread = m_pThreads;
    m_pThreads = this;
}

ZRThreadC::ZRThreadC(const ZRThreadC& other)
    : m_pParent(other.m_pParent.load()), m_pControl(std::make_shared<gaizior::ThreadControl>(*other.m_pControl)) {
    m_pControl->SetObject(this);
}

ZRThreadC& ZRThreadC::operator=(const ZRThreadC& other) {
    if (this != &other) {
        stop();
        const auto control = std::make_shared<gaizior::ThreadControl>(*other.m_pControl);
        control->SetObject(this);
        const PoolUserC user("ZRThreadC::operator=(): ");
        m_pControl->SetObject(nullptr);
        m_pControl->Close();
        m_pParent = other.m_pParent.load();
        m_pControl = control;
    }
    return *this;
}

ZRThreadC::~ZRThreadC() {
    RemoveThread(0);
    if (!m_pControl->IsDeleting()) {
        stop();
    }
    Disown();
    m_pControl->Close();
}

/// Nobody reaches the object any more, neither by its control nor as a parent.
void ZRThreadC::Disown() {
    const PoolUserC user("ZRThreadC::~ZRThreadC(): ");
    m_pControl->SetObject(nullptr);
    for (ZRThreadC* thread = m_pThreads; thread; thread = thread->m_pNextThread) {
        ZRThreadC* parent = this;
        thread->m_pParent.compare_exchange_strong(parent, nullptr);
    }
}

ZRErrorT ZRThreadC::run() {
    return gaizior::Fail("ZRThreadC::run", ZRErrors::e_Thread_NoBody, "No thread body for: ", GetSafeThreadName());
}

/// The object is not looked at once the thread is started: it may delete itself at any time.
ZRErrorT ZRThreadC::start() {
    return ControlPtrT(m_pControl)->Start([](void* control) -> DWORD { return ThreadWrapper(control); });
}

std::uint32_t ZRThreadC::ThreadWrapper(void* given) {
    const std::unique_ptr<const ControlPtrT> mine(static_cast<ControlPtrT*>(given));
    gaizior::ThreadControl& control = **mine;
    control.Begin();
    struct Finish { // however the body is left
        explicit Finish(gaizior::ThreadControl& finished) : control(finished) {}
        Finish(const Finish&) = delete;
        Finish& operator=(const Finish&) = delete;
        ~Finish() {
            control.Finish();
        }
        gaizior::ThreadControl& control;
    } const finish(control);

    ZRThreadC* const thread = control.Object();
    if (!thread) { // its stop did not wait until this began
        return ZRErrors::e_Command_Aborted;
    }
    const ZRErrorT result = thread->CallRun();
    if (control.IsAutoDelete() && control.Object()) {
        gaizior::LogAt(kTraceLevel,
                       "ZRThreadC::ThreadWrapper(): ", "automatically deleting thread object: ", control.Name());
        control.BeginDeletion();
        delete thread;
    }
    return result;
}

ZRErrorT ZRThreadC::CallRun() {
    const ControlPtrT control = m_pControl;
    const auto logThrown = [&](const auto& text) {
        gaizior::LogError("ZRThreadC::CallRun(): ", "the body of ", control->Name(), " threw: ", text);
    };
    control->SleepEx(0, false);
    try {
        return run();
    } catch (const std::exception& exception) {
        logThrown(exception.what());
    } catch (const ZRExceptionC& exception) {
        logThrown(gaizior::CodeText(exception.GetError()));
    } catch (const abi::__forced_unwind&) {
        throw; // a thread that is ended in the middle of its body
    } catch (...) {
        logThrown("what is no exception of the language or the library");
    }
    return ZRErrors::e_Command_Aborted;
}

/// Whose parent is `parent`, in list order; the caller holds the list's lock.
/// @returns false when memory does not suffice, and the threads up to there.
bool ZRThreadC::Collect(const ZRThreadC* parent, std::vector<ControlPtrT>& threads) {
    try {
        for (const ZRThreadC* thread = m_pThreads; thread; thread = thread->m_pNextThread) {
            if (thread->m_pParent == parent) {
                threads.push_back(thread->m_pControl);
            }
        }
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

ZRErrorT ZRThreadC::stop() {
    return Stop(ControlPtrT(m_pControl));
}

/// The control stands for the object, which may delete itself meanwhile.
ZRErrorT ZRThreadC::Stop(const ControlPtrT& control) {
    constexpr const char* kFunction = "ZRThreadC::stop(): ";
    if (control->IsSelf() && !control->IsDeleting()) {
        ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
        log << ZRLevel(kTraceLevel) << ZRWarningMark << kFunction
            << "Cannot stop() thread from within itself ignoring request" << std::endl;
        return ZRErrors::e_General_NoError;
    }
    ZRErrorT first = ZRErrors::e_General_NoError;
    std::vector<ControlPtrT> children;
    {
        const PoolUserC user(kFunction);
        const ZRThreadC* const thread = control->Object();
        if (thread && !Collect(thread, children)) {
            first = gaizior::Fail(kFunction, ZRErrors::e_Memory_AllocationFailed);
        }
        for (const ControlPtrT& child : children) {
            KeepFirst(first, child->NotifyEnd());
            GiveWay();
        }
    }
    for (const ControlPtrT& child : children) {
        KeepFirst(first, Stop(child));
        GiveWay();
    }
    KeepFirst(first, control->Stop());
    return first;
}

ZRErrorT ZRThreadC::stopAll() {
    constexpr const char* kFunction = "ZRThreadC::stopAll(): ";
    ZRErrorT first = ZRErrors::e_General_NoError;
    std::vector<ControlPtrT> threads;
    {
        const PoolUserC user(kFunction);
        if (!Collect(nullptr, threads)) {
            first = gaizior::Fail(kFunction, ZRErrors::e_Memory_AllocationFailed);
        }
    }
    for (const ControlPtrT& thread : threads) {
        KeepFirst(first, Stop(thread));
        GiveWay();
    }
    return first;
}

ZRErrorT ZRThreadC::RemoveThread(int) {
    const PoolUserC user("ZRThreadC::RemoveThread(): ");
    ZRThreadC** link = &m_pThreads;
    while (*link && *link != this) {
        link = &(*link)->m_pNextThread;
    }
    if (*link) {
        *link = std::exchange(m_pNextThread, nullptr);
    }
    return ZRErrors::e_General_NoError;
}

ZRThreadC* ZRThreadC::FindChild(ZRThreadC* const after) {
    const PoolUserC user("ZRThreadC::FindChild(): ");
    ZRThreadC* thread = m_pThreads;
    if (after) {
        while (thread && thread != after) {
            thread = thread->m_pNextThread;
        }
        thread = thread ? thread->m_pNextThread : nullptr;
    }
    while (thread && thread->m_pParent != this) {
        thread = thread->m_pNextThread;
    }
    return thread;
}

const char* ZRThreadC::GetSafeThreadName() {
    return m_pControl->Name();
}

unsigned int ZRThreadC::GetThreadID() {
    return m_pControl->Id();
}

void* ZRThreadC::GetThread() {
    return gaizior::HandleOf(m_pControl->Thread());
}

void* ZRThreadC::GetEndEvent() {
    return m_pControl->EndEvent();
}

bool ZRThreadC::IsAlive() {
    return gaizior::ThreadControl::IsAlive(m_pControl->Thread());
}

bool ZRThreadC::IsDead() {
    const gaizior::SharedHandle thread = m_pControl->Thread();
    return thread && ::WaitForSingleObject(thread->Get(), 0) == WAIT_OBJECT_0;
}

int ZRThreadC::IsEndEventSignalled() {
    return m_pControl->IsEndEventSignalled();
}

ZRErrorT ZRThreadC::NotifyEnd() {
    return ControlPtrT(m_pControl)->NotifyEnd();
}

unsigned long ZRThreadC::SleepEx(unsigned long ms, int alertable) {
    return ControlPtrT(m_pControl)->SleepEx(gaizior::ToTimeout(ms), alertable != 0);
}

unsigned long ZRThreadC::WaitForSingleObject(void* h, unsigned long ms) {
    return ControlPtrT(m_pControl)->WaitForSingleObject(h, gaizior::ToTimeout(ms));
}

unsigned long ZRThreadC::WaitForMultipleObjects(unsigned int count, void** const handles, int waitAll,
                                                unsigned long ms) {
    const ControlPtrT control = m_pControl;
    const std::span<void* const> all(handles, count);
    const DWORD milliseconds = gaizior::ToTimeout(ms);
    return waitAll ? control->WaitForAll(all, milliseconds) : control->WaitForAny(all, milliseconds);
}

unsigned long ZRThreadC::SuspendThread() {
    return ControlPtrT(m_pControl)->SuspendThread();
}

unsigned long ZRThreadC::ResumeThread() {
    return ControlPtrT(m_pControl)->ResumeThread();
}

int ZRThreadC::SetThreadPriority(int priority) {
    return SetThreadPriority(gaizior::HandleOf(m_pControl->Thread()), priority);
}

int ZRThreadC::SetThreadPriority(void* hThread, int priority) {
    if (::SetThreadPriority(hThread, priority)) {
        return TRUE;
    }
    const ZRErrorT error = gaizior::LastSystemError();
    gaizior::LogError("ZRThreadC::SetThreadPriority(): ", "SetThreadPriority failed on thread: ", GetSafeThreadName(),
                      ": ", gaizior::CodeText(error));
    return FALSE;
}

ZRErrorT ZRGetMagic(unsigned int /*unused*/, unsigned int* out) {
    if (!out) {
        return ZRErrors::e_Arguments_Bad;
    }
    out[0] = 0x21122004;
    out[1] = 0;
    return ZRErrors::e_General_NoError;
}
