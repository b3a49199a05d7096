#include "gaizior/platform/linux/objects/object.h"
#include "gaizior/platform/linux/system/last_error.h"

using namespace gaizior::platform;

HANDLE gaizior_windows_api::CreateSemaphoreA(SECURITY_ATTRIBUTES*, LONG initial, LONG maximum, const char* name) {
    if ((name && *name) || maximum < 1 || initial < 0 || initial > maximum) {
        return FailNull(ERROR_INVALID_PARAMETER);
    }
    Object* const semaphore = NewObject(Kind::Semaphore, initial > 0 ? kSignalled : 0);
    if (!semaphore) {
        return nullptr;
    }
    const ObjectLock lock(*semaphore);
    lock->count = initial;
    lock->maximum = maximum;
    ::SetLastError(ERROR_SUCCESS);
    return HandleOf(*semaphore);
}

BOOL gaizior_windows_api::ReleaseSemaphore(HANDLE handle, LONG count, LONG* previous) {
    Woken woken;
    ObjectLock lock{Reference(handle)};
    if (!lock || lock.GetKind() != Kind::Semaphore) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    if (count < 1) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    if (count > lock->maximum - lock->count) {
        return Fail(ERROR_TOO_MANY_POSTS);
    }
    if (previous) {
        *previous = lock->count;
    }
    while (count > 0 && lock.HandOver(woken, WAIT_OBJECT_0)) {
        --count;
    }
    lock->count += count;
    if (lock->count > 0) {
        lock.Set(kSignalled);
    }
    return TRUE;
}
