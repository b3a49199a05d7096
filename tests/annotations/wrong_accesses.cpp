#include "gaizior/platform/linux/objects/object.h"

// Never built: clang must find each line wrong that says so here, and no other.
struct Counter {
    gaizior::Mutex lock;
    int count GAIZIOR_GUARDED_BY(lock) = 0;
};

void Access(Counter& counter, Counter& another, gaizior::platform::Object& object) {
    const gaizior::platform::LayerLock lock(another.lock);
    another.count = 0;
    counter.count = 0; // expected-warning {{writing variable 'count' requires holding mutex 'counter.lock'}}
    if (counter.lock.TryLock()) {
        counter.count = 0;
        counter.lock.Unlock();
    }
    counter.count = 0; // expected-warning {{writing variable 'count' requires holding mutex 'counter.lock'}}
    const gaizior::platform::ObjectLock objectLock(object);
    objectLock->pins = object.pins; // expected-warning {{reading variable 'pins' requires holding mutex 'object'}}
}
