#include "apps/support/process_events.h"

namespace apps {
namespace {

// A console handler has no argument, so what it tells is kept here.
HANDLE g_hInterrupted = nullptr;
HANDLE g_hEnded = nullptr;

BOOL OnConsoleEvent(DWORD event) {
    if (IsSignalled(g_hInterrupted)) {
        return FALSE;
    }
    ::SetEvent(g_hInterrupted);
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        // After a close event the system ends the process when this returns: main gets time to end in order first.
        constexpr DWORD kTimeToEnd = 5000;
        ::WaitForSingleObject(g_hEnded, kTimeToEnd);
    }
    return TRUE;
}

} // namespace

Interrupt::Interrupt() {
    g_hInterrupted = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    g_hEnded = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    ::SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

/// The handler's thread may still wait for g_hEnded, so both events stay until the process ends.
Interrupt::~Interrupt() {
    ::SetEvent(g_hEnded); // first: the system may let nobody remove a handler while it runs
    ::SetConsoleCtrlHandler(OnConsoleEvent, FALSE);
}

HANDLE Interrupt::Event() const {
    return g_hInterrupted;
}

bool Interrupt::IsSet() const {
    return IsSignalled(g_hInterrupted);
}

bool Interrupt::SleepUnlessSet(DWORD milliseconds) const {
    return ::WaitForSingleObject(g_hInterrupted, milliseconds) == WAIT_OBJECT_0;
}

bool IsSignalled(HANDLE handle) {
    return handle && ::WaitForSingleObject(handle, 0) == WAIT_OBJECT_0;
}

} // namespace apps
