#pragma once

/// @file
/// The lock that tells who holds it.

#include "gaizior/errors/error_codes.h"
#include "gaizior/logging/log_stream.h"
#include "gaizior/logging/strstream.h"
#include "gaizior/platform/export.h"
#include "gaizior/platform/thread_safety.h"

#include <atomic>
#include <cstdint>
#include <ostream>

namespace gaizior {
struct SectionInCell;
}

extern "C" {

/// @name The lock in a cell
/// For callers that reach it through a cell: a word on the heap that holds the section. What enters and leaves answers
/// is ZRCriticalSectionC's. `showMessageBoxes`: 0 writes diagnostics to the log stream, any other value shows them in
/// message boxes. Any thread may call these; a cell is destroyed by one, when none uses it.
/// @{

/// @returns a new cell with a new section, the caller's to destroy with ZRDestroyCriticalSection; null when there is no
///   memory for the cell. A cell that holds null got no section.
GAIZIOR_API void** ZRCreateCriticalSection(int showMessageBoxes);
/// Puts a new section into the caller's cell; what the cell held is not looked at.
/// @returns 0; e_Arguments_Bad for a null cell; e_Memory_AllocationFailed.
GAIZIOR_API ZRErrors::ZRErrorT ZRInitializeCriticalSectionEx(void** cell, int showMessageBoxes);
/// Enters.
/// @param cell whose section is entered.
/// @param locker names who enters, and must live as long as the section, as messages go on naming it.
/// @param tag the caller's own number, kept with the name.
/// @param timeoutMs milliseconds that a wait may last, 0xFFFFFFFF and more: no limit.
/// @returns 0; e_Arguments_Bad (a number that this family reuses on purpose) for a null or empty cell;
///   e_CriticalSection_TimeOut; e_CriticalSection_TooManyLocks.
GAIZIOR_API ZRErrors::ZRErrorT ZREnterCriticalSectionEx(void** cell, const char* locker, unsigned int tag,
                                                        unsigned long timeoutMs);
/// Leaves; `tag` is not looked at.
/// @returns 0; e_Arguments_Bad for a null or empty cell; e_CriticalSection_NonOwnerLeave;
///   e_CriticalSection_TooManyUnlocks; e_CriticalSection_SectionLockReleaseFailed; e_CriticalSection_LockReleaseFailed.
GAIZIOR_API ZRErrors::ZRErrorT ZRLeaveCriticalSectionEx(void** cell, const char* locker, unsigned int tag);
/// Destroys the section and empties the cell, which stays the caller's. @returns 0, also for a null or empty cell.
GAIZIOR_API ZRErrors::ZRErrorT ZRDeleteCriticalSection(void** cell);
/// Destroys the section and frees the cell. @returns 0, also for a null cell.
GAIZIOR_API ZRErrors::ZRErrorT ZRDestroyCriticalSection(void** cell);
/// Writes the address of the cell's section, or "Invalid (NULL pointer)." for a null cell, and a zero character into
/// `buffer` (null: only counts): exactly `size` bytes, cut or filled up with 0xFF, so that a text that is cut has no
/// zero. @returns the length of the text, its zero counted.
GAIZIOR_API unsigned int ZRCriticalSectionToString(void** cell, char* buffer, unsigned int size);

/// @}

} // extern "C"

/// A recursive lock that knows which thread holds it and under what name, waits for a bounded time, and reports every
/// misuse. It is entered and left through its user, ZRCriticalSectionUserC, or in a cell by ZREnterCriticalSectionEx.
///
///     operation               free                     held by the caller      held by another thread
///     enter                   held, count 1            count + 1               waits; time-out, kill event
///     leave                   NonOwnerLeave, a warning  count - 1, free at 0    NonOwnerLeave
///     destruction             -                        logs the count          logs the count; waiters wait on
///     end of the holder       -                        stays held, under the name of a thread that is no more
///
/// Any thread may enter and leave. Who is woken competes with everybody else that enters, and its time-out begins
/// again when it loses. The lock is not inherited by a forked child in a usable state where another thread held it.
class GAIZIOR_CAPABILITY("critical section") GAIZIOR_API ZRCriticalSectionC {
public:
    class ZRCriticalSectionUserC;

    /// A free section that writes diagnostics to the log stream.
    ZRCriticalSectionC() : ZRCriticalSectionC(0) {}
    /// Copies every field as it is, the semaphore's handle included: both objects use it, and the first that is
    /// destroyed closes it. The last leave of the other then ends with e_CriticalSection_LockReleaseFailed, free all
    /// the same.
    ZRCriticalSectionC(const ZRCriticalSectionC& other);
    ZRCriticalSectionC& operator=(const ZRCriticalSectionC&) = delete;
    virtual ~ZRCriticalSectionC();

    /// How often the owner has entered; 0 when free.
    unsigned int GetLockCount() const {
        return m_nLockCount.load(std::memory_order_relaxed);
    }
    /// The id of the thread that holds it; 0 when free.
    unsigned long GetOwnerTID() const {
        return m_dwCurrentOwnerTID.load(std::memory_order_relaxed);
    }
    /// The name that the latest enter gave, "unknown" for null. It stays when the section is left: messages go on
    /// naming who held it last.
    const char* GetSafeOwnerName() const;

    friend GAIZIOR_API std::ostream& operator<<(std::ostream& stream, ZRCriticalSectionC& section);

protected:
    /// `messageBoxLogging`: 0 writes diagnostics to the log stream, any other value shows them in message boxes.
    explicit ZRCriticalSectionC(int messageBoxLogging);

private:
    friend struct gaizior::SectionInCell;

    ZRErrors::ZRErrorT EnterCriticalSection(const char* const locker, void* hKillEvent, unsigned long dwTimeout,
                                            int bLogTimeOut, unsigned int nTag);
    ZRErrors::ZRErrorT EnterCriticalSection(const char* const locker, unsigned long dwTimeout, int bLogTimeOut,
                                            unsigned int nTag) {
        return EnterCriticalSection(locker, nullptr, dwTimeout, bLogTimeOut, nTag);
    }
    ZRErrors::ZRErrorT LeaveCriticalSection(const char* const locker, unsigned int* const pnLockCount,
                                            unsigned int nTag);

    bool TryTake(std::uint32_t self);
    ZRErrors::ZRErrorT WaitUntilTaken(std::uint32_t self, const char* locker, void* hKillEvent, unsigned long dwTimeout,
                                      int bLogTimeOut);
    ZRErrors::ZRErrorT Hold(std::uint32_t self, const char* locker, unsigned int nTag);
    ZRErrors::ZRErrorT HoldBesides(const char* locker, unsigned int nTag);
    void Record(const char* locker, unsigned int nTag, std::uint32_t count);
    ZRErrors::ZRErrorT CheckLeave(std::uint32_t self, const char* locker, const unsigned int* pnLockCount);
    ZRErrors::ZRErrorT Release();
    ZRErrors::ZRErrorT Wake();

    void LogError(std::strstream& text);
    void LogInfo(std::strstream& text);
    void LogWarning(std::strstream& text);
    void Tell(std::strstream& text, unsigned level, std::ostream& (*mark)(std::ostream&), const char* caption);
    /// Makes the line of its pieces, a null text being none, and hands it to one of those above.
    template <class... Pieces>
    void Report(void (ZRCriticalSectionC::*log)(std::strstream&), Pieces&&... pieces);

    /// The lock itself: 0 free, 1 held.
    std::atomic<std::int32_t> m_lSectionLock{0};
    /// Wakes one waiter, which then tries again: 0 or 1, as several wakes may merge into one.
    void* m_hSemaphore = nullptr;
    std::atomic<std::uint32_t> m_dwCurrentOwnerTID{0};
    // Written by who holds the section only.
    std::atomic<std::uint32_t> m_nLockCount{0};
    std::atomic<const char*> m_pOwnerName{nullptr};
    std::atomic<std::uint32_t> m_nOwnerTag{0xFFFFFFFF};
    int m_bMessageBoxLogging = 0;

    /// How many threads wait or are about to: a leave that finds none wakes nobody.
    std::atomic<std::int32_t> m_nWaiters{0};
    /// A copy shares the semaphore, and its waiters are not counted here.
    mutable std::atomic<bool> m_bIsShared{false};
};

/// Uses a section within a scope: its destructor takes back what was entered through it, and leaves the section as deep
/// as it found it. One thread uses an object.
///
///     ZRCriticalSectionC::ZRCriticalSectionUserC user(&m_QueueCS);
///     if (const auto code = user.EnterCriticalSection("QueueC::Add(): ", 60000)) {
///         return code;
///     }
class GAIZIOR_SCOPED_CAPABILITY GAIZIOR_API ZRCriticalSectionC::ZRCriticalSectionUserC {
public:
    /// `section` stays the caller's and outlives this; null makes every call fail.
    explicit ZRCriticalSectionUserC(ZRCriticalSectionC* const section) GAIZIOR_EXCLUDES(section)
        : m_pSection(section) {}
    /// A copy too takes back what was entered before it was made: who comes second finds the section left.
    /// @{
    ZRCriticalSectionUserC(const ZRCriticalSectionUserC&) = default;
    ZRCriticalSectionUserC& operator=(const ZRCriticalSectionUserC&) = default;
    /// @}
    /// Where nothing was entered through it, and another thread holds the section, it logs that thread as a time-out.
    virtual ~ZRCriticalSectionUserC() GAIZIOR_RELEASE() {
        RollbackLockCount();
    }

    /// Enters once more.
    /// @param locker who enters, for messages; not copied, it must live as long as the section, as messages go on
    ///   naming it (a literal). Null counts as unnamed.
    /// @param dwTimeout milliseconds that each wait may last: it begins anew when another thread is quicker after a
    ///   wake. 0 tries, 0xFFFFFFFF and more wait without limit.
    /// @returns 0; e_CriticalSection_TimeOut, logged with the holder's id and name; e_CriticalSection_TooManyLocks, the
    ///   count being 0xFFFFFFFF; e_CriticalSectionUser_InvalidSection without a section.
    ZRErrors::ZRErrorT EnterCriticalSection(const char* const locker, unsigned long dwTimeout) GAIZIOR_TRY_ACQUIRE(0) {
        return EnterCriticalSection(locker, nullptr, dwTimeout);
    }
    /// The same with an event (null: none) that ends a wait: e_CriticalSection_KillSignalled. It is not looked at where
    /// the section is free.
    ZRErrors::ZRErrorT EnterCriticalSection(const char* const locker, void* hKillEvent, unsigned long dwTimeout)
        GAIZIOR_TRY_ACQUIRE(0);
    /// Leaves once; the last leave lets others in.
    /// @returns 0; e_CriticalSection_NonOwnerLeave for a thread that does not hold it, nothing changed;
    ///   e_CriticalSection_TooManyUnlocks for an owner without a count; e_CriticalSection_SectionLockReleaseFailed when
    ///   the lock was free already; e_CriticalSection_LockReleaseFailed when waiters could not be woken (it is left all
    ///   the same); e_CriticalSectionUser_InvalidSection without a section.
    ZRErrors::ZRErrorT LeaveCriticalSection(const char* const locker) GAIZIOR_RELEASE();

private:
    ZRErrors::ZRErrorT RollbackLockCount();

    ZRCriticalSectionC* m_pSection;
    /// The section's count right after the first enter through this; 0 until then.
    std::uint32_t m_nFirstLockCount = 0;
};

/// Writes the section's fields in one line. The stream's format stays as it was.
GAIZIOR_API std::ostream& operator<<(std::ostream& stream, ZRCriticalSectionC& section);
/// The same, when the log stream's level passes.
GAIZIOR_API ZRLogStreamC& operator<<(ZRLogStreamC& log, ZRCriticalSectionC& section);
