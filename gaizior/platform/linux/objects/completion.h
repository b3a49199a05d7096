#pragma once

#include "gaizior/platform/linux/objects/object.h"

#include <utility>

/// Objects that are signalled once and for ever, with an exit code: threads and processes.
namespace gaizior::platform {

enum class CompletionKind { Thread, Process };

/// Makes such an object, not signalled. `release(context)` is called once, when neither a handle nor a reference nor a
/// waiter is left. @returns null with ERROR_NOT_ENOUGH_MEMORY; `context` is the caller's then.
HANDLE NewCompletion(CompletionKind kind, void* context, void (*release)(void*));

/// Keeps the object for the one who will complete it, whatever becomes of the handle.
class CompletionRef {
public:
    CompletionRef() = default;
    explicit CompletionRef(Object* pinned) : m_pObject(pinned) {}
    CompletionRef(CompletionRef&& other) noexcept : m_pObject(std::exchange(other.m_pObject, nullptr)) {}
    CompletionRef& operator=(CompletionRef&& other) noexcept {
        std::swap(m_pObject, other.m_pObject);
        return *this;
    }
    ~CompletionRef();
    explicit operator bool() const {
        return m_pObject != nullptr;
    }
    /// Whether no handle, no waiter and no other reference is left: nobody would notice the completion.
    bool IsUnobserved() const;
    /// Signals the object with its exit code.
    void Complete(DWORD exitCode) const;

private:
    Object* m_pObject = nullptr;
};

/// An empty reference for a handle that leads to no such object.
CompletionRef ReferToCompletion(HANDLE handle);

/// Exit code (STILL_ACTIVE before the end) and context of an open handle of that kind; each may be null.
/// @returns false with ERROR_INVALID_HANDLE for any other handle.
bool QueryCompletion(HANDLE handle, CompletionKind kind, DWORD* exitCode, void** context);

} // namespace gaizior::platform
