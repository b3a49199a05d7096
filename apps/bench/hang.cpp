#include "apps/bench/hang.h"

#include "apps/bench/output.h"

#include <algorithm>
#include <set>

namespace apps {
namespace {

const LockState* FindHeldLock(const ThreadReport& report, const std::string& name) {
    const LockState* const lock = FindLock(report, name);
    return lock && lock->owner != 0 ? lock : nullptr;
}

/// Who has waited longest for a lock that somebody holds, where the wait or the hold is a hang.
const ThreadState* FindVictim(const ThreadReport& report) {
    const ThreadState* victim = nullptr;
    for (const ThreadState& thread : report.threads) {
        const LockState* const lock = FindHeldLock(report, thread.awaits);
        if (lock && std::max(thread.milliseconds, lock->milliseconds) >= kHangsAfter &&
            (!victim || thread.milliseconds > victim->milliseconds)) {
            victim = &thread;
        }
    }
    return victim;
}

Hang Follow(const ThreadReport& report, const ThreadState& victim) {
    Hang hang{victim.id, ThreadName(report, victim.id) + " has waited " + Span(victim.milliseconds) + " for '" +
                             victim.awaits + "'"};
    std::set<int> seen = {victim.id};
    const ThreadState* waiting = &victim;
    while (const LockState* const lock = waiting ? FindHeldLock(report, waiting->awaits) : nullptr) {
        hang.culprit = lock->owner;
        hang.text += "; " + ThreadName(report, lock->owner) + " has held it for " + Span(lock->milliseconds) + " as " +
                     lock->locker;
        if (!seen.insert(lock->owner).second) {
            hang.text += ": a deadlock";
            break;
        }
        waiting = FindThread(report, lock->owner);
        if (waiting && !waiting->awaits.empty()) {
            hang.text += ", and waits for '" + waiting->awaits + "'";
        }
    }
    return hang;
}

} // namespace

std::optional<Hang> FindHang(const ThreadReport& report) {
    if (const ThreadState* const victim = FindVictim(report)) {
        return Follow(report, *victim);
    }
    const auto lock = std::ranges::max_element(
        report.locks, {}, [](const LockState& held) { return held.owner == 0 ? 0 : held.milliseconds; });
    if (lock == report.locks.end() || lock->owner == 0 || lock->milliseconds < kHangsAfter) {
        return std::nullopt;
    }
    return Hang{lock->owner, ThreadName(report, lock->owner) + " has held '" + lock->name + "' for " +
                                 Span(lock->milliseconds) + " as " + lock->locker + "; nobody waits for it yet"};
}

const ThreadState* FindThread(const ThreadReport& report, int id) {
    const auto thread = std::ranges::find(report.threads, id, &ThreadState::id);
    return thread == report.threads.end() ? nullptr : &*thread;
}

const LockState* FindLock(const ThreadReport& report, const std::string& name) {
    const auto lock = std::ranges::find(report.locks, name, &LockState::name);
    return lock == report.locks.end() ? nullptr : &*lock;
}

std::string ThreadName(const ThreadReport& report, int id) {
    const ThreadState* const thread = FindThread(report, id);
    return (thread ? "'" + thread->name + "'" : std::string("a thread of no name")) + " (thread " + std::to_string(id) +
           ")";
}

} // namespace apps
