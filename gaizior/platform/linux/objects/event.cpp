#include "gaizior/platform/linux/names/named_object.h"
#include "gaizior/platform/linux/objects/object.h"
#include "gaizior/platform/linux/system/futex.h"
#include "gaizior/platform/linux/system/last_error.h"

#include <array>

namespace gaizior::platform {
namespace {

/// Sets an event for which somebody may be waiting. @returns false for a closed handle.
bool SetWithWaiters(Reference reference) {
    Woken woken;
    ObjectLock lock(reference);
    if (!lock) {
        return false;
    }
    if (lock.Word() & kManual) {
        lock.HandToAll(woken);
    } else if (!lock.HandOver(woken, WAIT_OBJECT_0)) {
        lock.Set(kSignalled);
    }
    return true;
}

/// Sets or resets an unnamed event. @returns false when the handle leads to no such event.
bool ChangeEvent(Reference reference, bool set) {
    for (;;) {
        const std::uint64_t word = reference.Load();
        if (KindOf(word) != Kind::Event) {
            return false;
        }
        if (set && (word & kWaiters)) {
            return SetWithWaiters(reference);
        }
        // The swap is made also where it changes nothing: it hands on what this thread did before.
        std::uint64_t expected = word;
        if (reference->word.compare_exchange_strong(expected, set ? word | kSignalled : word & ~kSignalled)) {
            return true;
        }
    }
}

/// The same for a named event; sets the last error when the handle leads to none.
[[gnu::noinline]] bool ChangeNamedEvent(Reference reference, bool set) {
    std::shared_ptr<NamedObject> slept;
    {
        const ObjectLock lock(reference);
        if (!lock || lock.GetKind() != Kind::NamedEvent) {
            return Fail(ERROR_INVALID_HANDLE);
        }
        if (!set) {
            lock->named->Event().Reset();
        } else if (lock->named->Event().Set()) {
            slept = lock->named;
        }
    }
    if (slept) {
        slept->Event().SetAndWakeSleepers();
    }
    return true;
}

BOOL ChangeAnyEvent(HANDLE event, bool set) {
    const Reference reference(event);
    return ChangeEvent(reference, set) || ChangeNamedEvent(reference, set);
}

} // namespace
} // namespace gaizior::platform

using namespace gaizior::platform;

HANDLE gaizior_windows_api::CreateEventA(SECURITY_ATTRIBUTES*, BOOL manualReset, BOOL initiallySet, const char* name) {
    const std::uint64_t bits = (manualReset ? kManual : 0) | (initiallySet ? kSignalled : 0);
    return name && *name ? CreateSyncHandle(Kind::NamedEvent, name, bits) : NewHandle(Kind::Event, bits);
}

HANDLE gaizior_windows_api::OpenEventA(DWORD, BOOL, const char* name) {
    return OpenNamedHandle(Kind::NamedEvent, name);
}

BOOL gaizior_windows_api::SetEvent(HANDLE event) {
    return ChangeAnyEvent(event, true);
}

BOOL gaizior_windows_api::ResetEvent(HANDLE event) {
    return ChangeAnyEvent(event, false);
}
