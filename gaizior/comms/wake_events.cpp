#include "gaizior/comms/wake_events.h"

#include "gaizior/comms/channel_objects.h"
#include "gaizior/logging/debug_print.h"
#include "gaizior/platform/crash_point.h"
#include "gaizior/platform/names.h"
#include "gaizior/platform/timing.h"

#include <utility>

namespace gaizior {
namespace {

/// Opening a name costs several times what setting an event does. An addressee that opens or opens anew is noticed
/// after this time at the latest.
constexpr ULONGLONG kTrustedFor = 1000; // ms

/// The name of an ID's event.
class EventName {
public:
    explicit EventName(std::uint16_t id) {
        m_text.Format("%s%u", kWakeEventPrefix, unsigned{id});
    }
    const char* Get() const {
        return m_text.c_str();
    }

private:
    ShortText m_text;
};

void Warn(const char* function, const char* what, std::uint16_t id, DWORD error) {
    ZRDBprintf(kFailureLevel, kChannelMode, "%s: WARNING: %s the event of ID %d failed with system error %u%s",
               function, what, id, static_cast<unsigned>(error), kLineEnd);
}

} // namespace

/// The last to leave leaves nothing behind of those who were killed.
WakeEvents::~WakeEvents() {
    m_own = UniqueHandle();
    RemoveUnusedEvents(kWakeEventPrefix);
}

void WakeEvents::Open(const char* function) {
    RemoveUnusedEvents(kWakeEventPrefix);
    m_own = UniqueHandle(::CreateEventA(nullptr, FALSE, FALSE, EventName(m_nOwnId).Get()));
    if (!m_own) {
        Warn(function, "making", m_nOwnId, ::GetLastError());
    }
}

void WakeEvents::Wake(const char* function, std::uint16_t id) {
    DWORD error = ERROR_SUCCESS;
    if (!WakeKnown(id, error)) {
        error = LookFor(id);
    }
    if (error != ERROR_SUCCESS) {
        Warn(function, "setting", id, error);
    }
}

/// @returns whether it was looked for lately; then it is set, if there is one.
bool WakeEvents::WakeKnown(std::uint16_t id, DWORD& error) {
    const MutexLock lock(s_lock);
    const Addressee& addressee = PlaceOf(id);
    if (addressee.id != id || addressee.lookedAt == 0 || TickCount() - addressee.lookedAt >= kTrustedFor) {
        return false;
    }
    if (addressee.event && !::SetEvent(addressee.event.Get())) {
        error = ::GetLastError();
    }
    return true;
}

/// Looks for an addressee's event and sets it. One that others are just making or removing is looked for again the next
/// time. @returns the error with which that failed; that there is none is no failure.
DWORD WakeEvents::LookFor(std::uint16_t id) {
    UniqueHandle event(TryOpenEvent(EventName(id).Get()));
    const DWORD error = event && ::SetEvent(event.Get()) ? ERROR_SUCCESS : ::GetLastError();
    Addressee found{id, error == ERROR_BUSY ? 0 : TickCount(), std::move(event)};
    {
        const MutexLock lock(s_lock);
        std::swap(PlaceOf(id), found); // what was there closes without the lock: that may take a while
    }
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_BUSY ? ERROR_SUCCESS : error;
}

void WakeEvents::WakeOwn() const {
    if (m_own) {
        ::SetEvent(m_own.Get());
    }
}

void WakeEvents::ResetOwn() const {
    ::ResetEvent(m_own.Get());
}

bool WakeEvents::Wait(const char* function, DWORD milliseconds) {
    const DWORD woken = m_own ? WaitFor(m_own.Get(), milliseconds) : WAIT_FAILED;
    if (woken != WAIT_OBJECT_0 && woken != WAIT_TIMEOUT) {
        if (m_own && !m_bFailureTold.exchange(true)) {
            Warn(function, "waiting for", m_nOwnId, ::GetLastError());
        }
        SleepFor(milliseconds);
    }
    return woken == WAIT_OBJECT_0;
}

} // namespace gaizior
