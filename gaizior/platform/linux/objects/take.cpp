#include "gaizior/platform/linux/objects/take.h"

namespace gaizior::platform {

Take OwnMutex(Object& mutex, std::uint64_t word) {
    mutex.owner.store(CurrentThread().id, std::memory_order_relaxed);
    mutex.recursion = 1;
    LinkOwned(mutex);
    return word & kAbandoned ? Take::Abandoned : Take::Taken;
}

Take TakeSemaphore(Reference reference) {
    ObjectLock lock(reference);
    if (!lock || lock->count == 0) {
        return Take::No;
    }
    if (--lock->count == 0) {
        lock.Clear(kSignalled);
    }
    return Take::Taken;
}

} // namespace gaizior::platform
