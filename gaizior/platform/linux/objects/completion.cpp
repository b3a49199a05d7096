#include "gaizior/platform/linux/objects/completion.h"

#include "gaizior/platform/linux/system/last_error.h"

namespace gaizior::platform {
namespace {

Kind KindFor(CompletionKind kind) {
    return kind == CompletionKind::Thread ? Kind::Thread : Kind::Process;
}

bool IsCompletion(const ObjectLock& lock) {
    return lock && (lock.GetKind() == Kind::Thread || lock.GetKind() == Kind::Process);
}

} // namespace

HANDLE NewCompletion(CompletionKind kind, void* context, void (*release)(void*)) {
    Object* const object = NewObject(KindFor(kind), kManual);
    if (!object) {
        return nullptr;
    }
    const ObjectLock lock(*object);
    lock->context = context;
    lock->release = release;
    return HandleOf(*object);
}

CompletionRef ReferToCompletion(HANDLE handle) {
    const ObjectLock lock{Reference(handle)};
    if (!IsCompletion(lock)) {
        return {};
    }
    ++lock->pins;
    return CompletionRef(&*lock);
}

CompletionRef::~CompletionRef() {
    if (m_pObject) {
        const ObjectLock lock(*m_pObject);
        --lock->pins;
    }
}

bool CompletionRef::IsUnobserved() const {
    const ObjectLock lock(*m_pObject);
    return !(lock.Word() & kOpen) && !lock->first && lock->pins == 1;
}

void CompletionRef::Complete(DWORD exitCode) const {
    ObjectLock lock(*m_pObject);
    lock->exitCode.store(exitCode, std::memory_order_relaxed);
    lock.Set(kSignalled);
    while (const ThreadState* const thread = lock.HandOver(WAIT_OBJECT_0, false)) {
        Wake(thread);
    }
}

bool QueryCompletion(HANDLE handle, CompletionKind kind, DWORD* exitCode, void** context) {
    const ObjectLock lock{Reference(handle)};
    if (!lock || lock.GetKind() != KindFor(kind)) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    if (exitCode) {
        *exitCode = lock->exitCode.load(std::memory_order_relaxed);
    }
    if (context) {
        *context = lock->context;
    }
    return true;
}

} // namespace gaizior::platform
