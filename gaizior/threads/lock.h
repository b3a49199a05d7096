#pragma once

/// @file
/// A lock with one time-out for all.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"

#include <cstdint>

/// A recursive lock between the threads of this process, with one time-out for all and its owner's name in each line
/// that it logs. Failures are logged and returned, not put on the error stack. Any thread.
///
/// | state | lock | unlock | its holder ends |
/// |---|---|---|---|
/// | free | held once | 0x839 | |
/// | held by the caller n times | held n + 1 times | held n - 1 times, free at 0 | abandoned |
/// | held by another thread | waits up to the time-out, then 0x7DD | 0x839 | abandoned |
/// | abandoned | 0x7DD, and is held once all the same | 0x839 | |
/// | without a mutex | 0x7DB | 0x7DB | |
///
/// What the lock guards may be half changed where it was abandoned; that the caller holds it although lock() reports a
/// failure is a decision of this system. Who destroys it must know that nobody uses it.
class GAIZIOR_API ZRLockC {
public:
    /// Named "unknown", with a time-out that waits for ever.
    ZRLockC();
    /// A free lock. When there is no mutex to be had this is logged, and fail() tells.
    /// @param owner who uses the lock, for the log; the caller's, which must outlive it. Null is "unknown".
    /// @param timeout milliseconds that lock() waits; 0 tries, 0xFFFFFFFF waits for ever.
    ZRLockC(const char* const owner, unsigned long timeout);
    ~ZRLockC();
    ZRLockC(const ZRLockC&) = delete;
    ZRLockC& operator=(const ZRLockC&) = delete;

    /// @returns 0; 0x7DB e_Resource_AllocationFailed, logged, when the lock has no mutex.
    ZRErrors::ZRErrorT fail() const;
    /// @returns 0; what fail() returns; 0x7DD e_Command_TimedOut, logged, when the wait did not end with a lock in good
    ///   order: at its time-out, and where the lock was abandoned.
    ZRErrors::ZRErrorT lock();
    /// Gives back one lock(). @returns 0; what fail() returns; 0x839 e_Mutex_ReleaseFailed, logged, when the calling
    ///   thread does not hold the lock.
    ZRErrors::ZRErrorT unlock();

private:
    void* m_hMutex;
    std::uint32_t m_dwTimeout;
    const char* m_pOwner;
};
