#include "gaizior/platform/linux/objects/object.h"

// Never built: clang must find each line wrong that says so here, and no other.
namespace gaizior {

struct Counter {
    Mutex lock;
    int count GAIZIOR_GUARDED_BY(lock) = 0;
    int Next() GAIZIOR_REQUIRES(lock) {
        return ++count;
    }
};

int Locked(Counter& counter) {
    const MutexLock lock(counter.lock);
    counter.count = 0;
    return counter.Next();
}

int LockedByAnother(Counter& counter, Counter& another) {
    const MutexLock lock(another.lock);
    return counter.count; // expected-warning {{reading variable 'count' requires holding mutex 'counter.lock'}}
}

int NotLockedAnyMore(Counter& counter) {
    {
        const platform::LayerLock lock(counter.lock);
        counter.count = 0;
    }
    return counter.Next(); // expected-warning {{calling function 'Next' requires holding mutex 'counter.lock'}}
}

void PerhapsLocked(Counter& counter) {
    if (counter.lock.TryLock()) {
        counter.count = 0;
        counter.lock.Unlock();
    } else {
        counter.count = 1; // expected-warning {{writing variable 'count' requires holding mutex 'counter.lock'}}
    }
}

void LockedTwice(Counter& counter) {
    const MutexLock lock(counter.lock);
    const MutexLock again(counter.lock); // expected-warning {{acquiring mutex 'counter.lock' that is already held}}
}

int PastItsLock(platform::Object& object) {
    platform::ObjectLock lock(object);
    lock->pins = 0;
    return object.pins; // expected-warning {{reading variable 'pins' requires holding mutex 'object'}}
}

} // namespace gaizior
