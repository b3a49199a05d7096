#pragma once

#include "gaizior/platform/linux/names/named_object.h"

namespace gaizior::platform {

/// What remains to be done when a mutex's word has been changed from `word` to taken.
Take OwnMutex(Object& mutex, std::uint64_t word);
Take TakeSemaphore(Reference reference);

constexpr bool CanBeTakenHere(Kind kind) {
    return kind >= Kind::Event && kind <= Kind::Process;
}

/// Takes what a handle leads to if it is free, without ever sleeping. @returns Take::Refused for a handle that is
/// closed or leads to no in-process object that can be waited for; the last error is not touched. Inline, as a wait
/// that need not sleep is hardly more than this.
inline Take TryTake(Reference reference) {
    for (;;) {
        std::uint64_t word = reference.Load();
        if (!CanBeTakenHere(KindOf(word))) {
            return Take::Refused;
        }
        const bool isMutex = KindOf(word) == Kind::Mutex;
        if (isMutex && reference->owner.load(std::memory_order_relaxed) == CurrentThread().id) {
            ++reference->recursion;
            return Take::Taken;
        }
        if (!(word & kSignalled)) {
            return Take::No;
        }
        if (KindOf(word) == Kind::Semaphore) {
            return TakeSemaphore(reference);
        }
        const std::uint64_t taken = word & kManual ? word : word & ~(kSignalled | kAbandoned);
        if (reference->word.compare_exchange_strong(word, taken)) {
            return isMutex ? OwnMutex(*reference, word) : Take::Taken;
        }
    }
}

/// The same for an object that is pinned or has the caller among its waiters.
inline Take TryTake(Object& object) {
    return TryTake(Reference(object));
}

/// Whether an in-process object could be taken by somebody; waits for a change that is under way.
inline bool LooksSignalled(Object& object) {
    return (Reference(object).Load() & kSignalled) != 0;
}

} // namespace gaizior::platform
