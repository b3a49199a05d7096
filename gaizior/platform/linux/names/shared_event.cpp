#include "gaizior/platform/linux/names/shared_event.h"

namespace gaizior::platform {

void SharedEvent::Begin(bool isManual, bool isSet) {
    m_nIsManual = isManual ? 1 : 0;
    m_nState = isSet ? kSet : 0;
}

/// Where somebody sleeps the event is set as they are woken, so that a setter who dies has not set it yet.
bool SharedEvent::Set() {
    std::uint32_t before = m_nState.load();
    std::uint32_t after = 0;
    do {
        after = before & kSleepers ? before : before | kSet;
        after += before & kSet ? 0 : 1u << kTurnShift;
    } while (!m_nState.compare_exchange_weak(before, after));
    return (before & kSleepers) != 0;
}

/// A dead sleeper must not swallow the wake, so all are woken, also where only one can take the event.
void SharedEvent::SetAndWakeSleepers() {
    FutexSetAndWake(m_nState, kSet);
    // Nobody begins to sleep while it is set, and once it is not this state never comes back.
    std::uint32_t state = m_nState.load();
    if (state & kSet) {
        m_nState.compare_exchange_strong(state, state & ~kSleepers);
    }
}

void SharedEvent::Reset() {
    m_nState.fetch_and(~kSet);
}

Take SharedEvent::TryTake(std::uint32_t turn) {
    std::uint32_t state = m_nState.load();
    if (m_nIsManual) {
        return LetsGo(state, turn) ? Take::Taken : Take::No;
    }
    while (state & kSet) {
        if (m_nState.compare_exchange_weak(state, state & ~kSet)) {
            return Take::Taken;
        }
    }
    return Take::No;
}

FutexWord SharedEvent::PrepareSleep(std::uint32_t turn) {
    std::uint32_t state = m_nState.load();
    do {
        if (LetsGo(state, turn)) {
            return {nullptr, 0, true};
        }
    } while (!m_nState.compare_exchange_weak(state, state | kSleepers));
    return {&m_nState, state | kSleepers, true};
}

} // namespace gaizior::platform
