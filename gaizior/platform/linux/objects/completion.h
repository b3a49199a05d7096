#pragma once

#include "gaizior/platform/linux/objects/object.h"

#include <utility>

/// Objects that are signalled once and for ever, with an exit code: threads and processes.
namespace gaizior::platform {

enum class CompletionKind : std::uint8_t {
    Thread = static_cast<std::uint8_t>(Kind::Thread),
    ProcessThread = static_cast<std::uint8_t>(Kind::ProcessThread),
    Process = static_cast<std::uint8_t>(Kind::Process)
};

/// Makes such an object, not signalled. `release(context)` is called once, when neither a handle nor a reference nor a
/// waiter is left. @returns null with ERROR_NOT_ENOUGH_MEMORY; `context` is the caller's then.
HANDLE NewCompletion(CompletionKind kind, void* context, void (*release)(void*));

/// Keeps the object, and its context, whatever becomes of the handle.
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
    bool Is(CompletionKind kind) const;
    /// What an ObjectLock takes.
    Object& Pinned() const {
        return *m_pObject;
    }
    void* Context() const {
        return m_pObject->context;
    }
    /// STILL_ACTIVE before the end.
    DWORD ExitCode() const {
        return m_pObject->exitCode.load(std::memory_order_relaxed);
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

} // namespace gaizior::platform
