#include "gaizior/platform/linux/objects/completion.h"

namespace gaizior::platform {

HANDLE NewCompletion(CompletionKind kind, void* context, void (*release)(void*)) {
    Object* const object = NewObject(static_cast<Kind>(kind), kManual);
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
    if (!lock || lock.GetKind() < Kind::Thread || lock.GetKind() > Kind::Process) {
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

bool CompletionRef::Is(CompletionKind kind) const {
    return m_pObject && KindOf(m_pObject->word.load(std::memory_order_relaxed)) == static_cast<Kind>(kind);
}

bool CompletionRef::IsUnobserved() const {
    const ObjectLock lock(*m_pObject);
    return !(lock.Word() & kOpen) && !lock->first && lock->pins == 1;
}

void CompletionRef::Complete(DWORD exitCode) const {
    Woken woken;
    ObjectLock lock(*m_pObject);
    lock->exitCode.store(exitCode, std::memory_order_relaxed);
    lock.HandToAll(woken);
}

} // namespace gaizior::platform
