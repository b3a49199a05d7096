#include "apps/bench/message_watcher.h"

#include "apps/bench/output.h"
#include "gaizior/comms/channel_users.h"

#include <utility>

namespace apps {

std::string_view TextOf(const ZcMessageSlot& slot) {
    const std::string_view all(slot.msg, sizeof(slot.msg));
    return all.substr(0, all.find('\0'));
}

Outcome MessageWatcher::TakeLook(unsigned long timeoutMs) {
    m_seen.clear();
    m_bChanged = false;
    if (Outcome failure = apps::TakeLook(m_viewer, m_look, m_presence, timeoutMs)) {
        return failure;
    }
    if (IsThere()) {
        Compare();
    } else {
        m_before = {}; // the channel is gone, and its messages with it
    }
    m_bFirst = false;
    return std::nullopt;
}

/// What is received at once is gone in microseconds: so the next post wakes the watcher too. Where messages wait, or
/// what has woken it was nothing, the event stays set and tells no more: then looks are frequent for a while, since
/// answers are close behind.
bool MessageWatcher::Rest(HANDLE hInterrupt) {
    constexpr DWORD kPeriod = 20;
    constexpr DWORD kPeriodWhenBusy = 2;
    constexpr ULONGLONG kBusyFor = 200;
    const ULONGLONG now = ::GetTickCount64();
    m_nBusyUntil = m_bChanged && IsThere() ? now + kBusyFor : m_nBusyUntil;
    const DWORD period = now < m_nBusyUntil ? kPeriodWhenBusy : kPeriod;
    const bool isToldOfPosts = IsThere() && m_look.block.nMessages == 0 && (m_bChanged || !m_bWoken);
    const std::array<HANDLE, 2> handles = {hInterrupt, isToldOfPosts ? m_viewer.GetEvent() : nullptr};
    const DWORD woken = ::WaitForMultipleObjects(handles[1] ? 2 : 1, handles.data(), FALSE, period);
    m_bWoken = woken == WAIT_OBJECT_0 + 1;
    return woken == WAIT_OBJECT_0;
}

/// The list of those that wait tells in which order they came; of the others only the slots are known.
void MessageWatcher::Compare() {
    ZcGetPostTimes(&m_look.block, m_postTimes.data()); // all of them unknown where it fails
    std::array<bool, kZcSlotCount> isQueued{};
    for (unsigned i = 0; i < m_look.findings.nQueued; ++i) {
        isQueued.at(m_look.findings.anOrder[i]) = true;
    }
    for (unsigned slot = 0; slot < kZcSlotCount; ++slot) {
        if (!isQueued.at(slot)) {
            CompareSlot(slot);
        }
    }
    for (unsigned i = 0; i < m_look.findings.nQueued; ++i) {
        CompareSlot(m_look.findings.anOrder[i]);
    }
}

/// What lies in free slots at the first look is old.
void MessageWatcher::CompareSlot(unsigned slot) {
    const ZcMessageSlot& content = m_look.block.slots[slot];
    const Entry now{content.taken != 0, content.dest_id, std::string(TextOf(content))};
    const Entry before = std::exchange(m_before.at(slot), now);
    if (m_bFirst) {
        if (now.taken) {
            Note(MessageEvent::kWaiting, slot, now);
        }
        return;
    }
    const bool same = now.id == before.id && now.text == before.text;
    m_bChanged |= !same || now.taken != before.taken;
    if (before.taken && !(same && now.taken)) {
        Note(MessageEvent::kTaken, slot, before);
    }
    if (!same || (now.taken && !before.taken)) {
        Note(MessageEvent::kSent, slot, now);
        if (!now.taken) {
            Note(MessageEvent::kTaken, slot, now);
        }
    }
}

void MessageWatcher::Note(MessageEvent event, unsigned slot, const Entry& entry) {
    const long long posted = event == MessageEvent::kTaken ? 0 : m_postTimes.at(slot);
    const long long seen = event == MessageEvent::kWaiting ? 0 : Now();
    m_seen.push_back({event, slot, entry.id, entry.text, posted != 0 ? posted : seen});
}

} // namespace apps
