#pragma once

/// @file
/// Objects that threads share, and counted references to them.

#include "gaizior/errors/error_codes.h"
#include "gaizior/logging/log_stream.h"
#include "gaizior/platform/export.h"

#include <atomic>
#include <cstdint>

/// The base of what several threads of a process share, connections and queues for instance: a name for the log, a
/// recursive lock that tells who holds it, and a count of the ZRCommObjectPtrC that refer to it.
///
/// The lock is made by the first Lock, until which it is free:
///
/// | state | Lock | Unlock | its holder ends |
/// |---|---|---|---|
/// | free | held once | 0x20000000 + 288 (6 before the first Lock) | |
/// | held by the caller n times | held n + 1 times | held n - 1 times, free at 0 | abandoned |
/// | held by another thread | waits: 2013 at its time-out, 2049 at its abort event | 0x20000000 + 288 | abandoned |
/// | abandoned | 0x20000000 + the last error as it stands, and is held once all the same | 0x20000000 + 288 | |
///
/// Each Unlock, also one that fails and an inner one, forgets the holder's name. Failures are logged and returned, not
/// put on the error stack; the steps of an object's life are logged from debug level 16 on. Any thread may call what is
/// public here; who destroys an object must know that nobody uses it.
class GAIZIOR_API ZRCommObjectC {
public:
    /// An object that nobody refers to yet.
    /// @param name the object's, for the log; the caller's, which must outlive it. Null prints as "<unknown>".
    /// @param bAutoDelete whether the object, which then stands on the heap, is deleted with its last reference.
    explicit ZRCommObjectC(const char* name = nullptr, bool bAutoDelete = false);
    virtual ~ZRCommObjectC();
    ZRCommObjectC(const ZRCommObjectC&) = delete;
    ZRCommObjectC& operator=(const ZRCommObjectC&) = delete;

    /// Takes the lock.
    /// @param timeoutMs milliseconds to wait at most; 0 tries, 0xFFFFFFFF waits for ever.
    /// @param hAbortEvent an event that ends the wait, or null. Where the lock can be had, it is had.
    /// @returns 0; 2011 e_Resource_AllocationFailed without a mutex, 2013 e_Command_TimedOut, 2049 e_Wait_ForcedToExit
    ///   at the abort event; a system error with bit 29 set when the wait fails (the abort event is no open handle) or
    ///   the lock was abandoned, which the caller then holds, a decision of this system.
    ZRErrors::ZRErrorT Lock(unsigned long timeoutMs, void* hAbortEvent);
    /// The same with a name for the holder, which others who wait in vain find in their log line. The text is the
    /// caller's and must live as long as the object, as others may still be about to tell it. Where this returns
    /// another code than 0 the name is not stored.
    ZRErrors::ZRErrorT Lock(const char* ownerName, unsigned long timeoutMs, void* hAbortEvent);
    /// Gives back one Lock. @returns 0; a system error with bit 29 set when the calling thread does not hold the lock.
    ZRErrors::ZRErrorT Unlock();

    /// Writes the object's text form, unless the level of the stream's line is suppressed.
    friend GAIZIOR_API ZRLogStreamC& operator<<(ZRLogStreamC& log, const ZRCommObjectC& object);

private:
    friend class ZRCommObjectPtrC;

    ZRErrors::ZRErrorT IncrementReference();
    ZRErrors::ZRErrorT DecrementReference();
    ZRErrors::ZRErrorT WaitForMutex(void* mutex, unsigned long timeoutMs, void* hAbortEvent);
    const char* GetSafeName() const;
    const char* GetSafeOwnerName(const char* name) const;

    const char* m_pName;
    std::atomic<const char*> m_pCurrentOwnerName{nullptr};
    std::atomic<std::uint32_t> m_nRefCount{0};
    std::atomic<void*> m_hMutex{nullptr};
    bool m_bAutoDelete;
};

// <windows.h> makes GetObjectA or GetObjectW of GetObject, wherever it is included before its use.
#pragma push_macro("GetObject")
#undef GetObject

/// A handle that holds one reference to a shared object. A handle belongs to one thread at a time.
///
/// It has no copy constructor, and assignment copies the pointer without counting a reference, a decision of this
/// system: it hands a reference on. Whichever handle then gives the reference up, the other has to forget it by being
/// assigned a detached one, not by Detach.
class GAIZIOR_API ZRCommObjectPtrC {
public:
    /// A handle that refers to nothing.
    ZRCommObjectPtrC() = default;
    /// Detaches.
    ~ZRCommObjectPtrC();
    ZRCommObjectPtrC(const ZRCommObjectPtrC&) = delete;
    /// Hands the reference on; what this one referred to is not released.
    ZRCommObjectPtrC& operator=(const ZRCommObjectPtrC&) = default;

    /// Refers to an object. One that was attached before is not released, a decision of this system: detach first.
    /// Null attaches nothing, and logs nothing.
    /// @returns 0; 2104 e_Object_AlreadyAttached, logged, for the object that is attached already; else the handle
    ///   refers to the object although it failed: 2102 e_Object_TooManyReferences, logged, from 0x7FFFFFFF references
    ///   on, which counts as one more; what Lock returns, without a reference: assign a detached handle then.
    ZRErrors::ZRErrorT Attach(ZRCommObjectC* object);
    /// Gives the reference up, and with the last one deletes the object where it asked for that. A count that is 0
    /// already wraps and is not reported, a decision of this system.
    /// @returns 0, also when nothing is attached; what Unlock returns.
    ZRErrors::ZRErrorT Detach();

    /// @returns the object; one must be attached.
    ZRCommObjectC& GetObject() const {
        return *m_pObject;
    }
    /// GetObject, under the names that `<windows.h>` makes of it.
    /// @{
    ZRCommObjectC& GetObjectA() const {
        return GetObject();
    }
    ZRCommObjectC& GetObjectW() const {
        return GetObject();
    }
    /// @}

private:
    ZRCommObjectC* m_pObject = nullptr;
};

#pragma pop_macro("GetObject")
