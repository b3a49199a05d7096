#include "gaizior/platform/linux/take.h"

namespace gaizior::platform {
namespace {

Take TakeMutex(Object& mutex, std::uint64_t word) {
    mutex.owner.store(CurrentThread().id, std::memory_order_relaxed);
    mutex.recursion = 1;
    LinkOwned(mutex);
    return word & kAbandoned ? Take::Abandoned : Take::Taken;
}

Take TakeSemaphore(const Reference& reference) {
    ObjectLock lock(reference);
    if (!lock || lock->count == 0) {
        return Take::No;
    }
    if (--lock->count == 0) {
        lock.Clear(kSignalled);
    }
    return Take::Taken;
}

/// Takes the object if its word is still the one that was loaded; nothing when it was changed meanwhile.
std::optional<Take> TryTakeOnce(const Reference& reference, std::uint64_t word) {
    Object& object = *reference.object;
    const Kind kind = KindOf(word);
    if (kind == Kind::Mutex && object.owner.load(std::memory_order_relaxed) == CurrentThread().id) {
        ++object.recursion;
        return Take::Taken;
    }
    if (!(word & kSignalled)) {
        return Take::No;
    }
    if (kind == Kind::Semaphore) {
        return TakeSemaphore(reference);
    }
    const std::uint64_t taken = word & kManual ? word : word & ~(kSignalled | kAbandoned);
    if (!object.word.compare_exchange_strong(word, taken)) {
        return std::nullopt;
    }
    return kind == Kind::Mutex ? TakeMutex(object, word) : Take::Taken;
}

bool CanBeWaitedFor(Kind kind) {
    return kind >= Kind::Event && kind <= Kind::Process;
}

std::optional<Take> TryTake(const Reference& reference) {
    for (;;) {
        const std::uint64_t word = reference.Load();
        if (!CanBeWaitedFor(KindOf(word))) {
            return std::nullopt;
        }
        if (const std::optional<Take> take = TryTakeOnce(reference, word)) {
            return take;
        }
    }
}

} // namespace

std::optional<Take> TryTake(HANDLE handle) {
    return TryTake(Reference(handle));
}

Take TryTake(Object& object) {
    return TryTake(Reference(object)).value_or(Take::No);
}

bool LooksSignalled(Object& object) {
    return (Reference(object).Load() & kSignalled) != 0;
}

} // namespace gaizior::platform
