#include "gaizior/comms/wake_events.h"

#include "gaizior/comms/channel_objects.h"
#include "gaizior/logging/debug_print.h"
#include "gaizior/platform/crash_point.h"
#include "gaizior/platform/names.h"
#include "gaizior/platform/timing.h"

#include <string>

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

WakeEvents::~WakeEvents() {
    m_own = UniqueHandle();
    RemoveUnusedNames(kWakeEventPrefix);
}

void WakeEvents::Open(const char* function) {
    RemoveUnusedNames(kWakeEventPrefix);
    m_own = UniqueHandle(::CreateEventA(nullptr, FALSE, FALSE, EventName(m_nOwnId).Get()));
    if (!m_own) {
        Warn(function, "making", m_nOwnId, ::GetLastError());
    }
}

void WakeEvents::Wake(const char* function, std::uint16_t id) {
    DWORD error = ERROR_SUCCESS;
    {
        const MutexLock lock(s_lock);
        Addressee& addressee = m_addressees[id % m_addressees.size()];
        error = Find(addressee, id);
        if (addressee.event && !::SetEvent(addressee.event.Get())) {
            error = ::GetLastError();
        }
    }
    if (error != ERROR_SUCCESS) {
        Warn(function, "setting", id, error);
    }
}

DWORD WakeEvents::Find(Addressee& addressee, std::uint16_t id) {
    const ULONGLONG now = TickCount();
    const bool isKnown = addressee.id == id && addressee.lookedAt != 0;
    if (isKnown && now - addressee.lookedAt < kTrustedFor) {
        return ERROR_SUCCESS;
    }
    addressee = {id, now, UniqueHandle(::OpenEventA(EVENT_MODIFY_STATE, FALSE, EventName(id).Get()))};
    const DWORD error = addressee.event ? ERROR_SUCCESS : ::GetLastError();
    return error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error;
}

void WakeEvents::WakeOwn() const {
    if (m_own) {
        ::SetEvent(m_own.Get());
    }
}

DWORD WakeEvents::Wait(DWORD milliseconds) const {
    if (m_own) {
        return WaitFor(m_own.Get(), milliseconds);
    }
    SleepFor(milliseconds);
    return WAIT_TIMEOUT;
}

} // namespace gaizior
