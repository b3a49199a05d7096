#include "gaizior/platform/linux/names/named_object.h"
#include "gaizior/platform/linux/objects/object.h"
#include "gaizior/platform/linux/system/last_error.h"

namespace gaizior::platform {
namespace {

/// The handle stays open while its mutex is given back: whoever closes it meanwhile waits for that.
BOOL ReleaseNamedMutex(Reference reference) {
    const ObjectLock lock(reference);
    if (!lock || lock.GetKind() != Kind::NamedMutex) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    const DWORD error = lock->named->ReleaseMutex();
    return error == ERROR_SUCCESS || Fail(error);
}

} // namespace
} // namespace gaizior::platform

using namespace gaizior::platform;

HANDLE gaizior_windows_api::CreateMutexA(SECURITY_ATTRIBUTES*, BOOL initiallyOwned, const char* name) {
    if (name && *name) {
        return CreateSyncHandle(Kind::NamedMutex, name, initiallyOwned ? 0 : kSignalled);
    }
    const HANDLE handle = NewHandle(Kind::Mutex, kSignalled);
    if (handle && initiallyOwned) {
        ::WaitForSingleObject(handle, INFINITE);
    }
    return handle;
}

HANDLE gaizior_windows_api::OpenMutexA(DWORD, BOOL, const char* name) {
    return OpenNamedHandle(Kind::NamedMutex, name);
}

BOOL gaizior_windows_api::ReleaseMutex(HANDLE handle) {
    const Reference reference(handle);
    if (KindOf(reference.Load()) != Kind::Mutex) {
        return ReleaseNamedMutex(reference);
    }
    Object& mutex = *reference;
    if (mutex.owner.load(std::memory_order_relaxed) != CurrentThread().id) {
        return Fail(ERROR_NOT_OWNER);
    }
    if (--mutex.recursion > 0) {
        return TRUE;
    }
    UnlinkOwned(mutex);
    Woken woken;
    ObjectLock lock(mutex);
    mutex.owner.store(0, std::memory_order_relaxed);
    if (!lock.HandOver(woken, WAIT_OBJECT_0, true)) {
        lock.Set(kSignalled);
    }
    return TRUE;
}
