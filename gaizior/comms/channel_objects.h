#pragma once

#include "gaizior/comms/channel_block.h"
#include "gaizior/comms/channel_ledger.h"
#include "gaizior/comms/message_pool.h"
#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/unique_handle.h"

/// What the channel and those who only look at it share: the machine-wide objects and the way to report on them. The
/// host's code, which gets the lines, never runs under the machine's mutex: what is to be told waits until it is free.
namespace gaizior {

inline constexpr const char* kChannelMutexName = "Zircona_Comms_Mutex";
inline constexpr const char* kChannelEventName = "Zircona_Comms_Event";
inline constexpr const char* kChannelSectionName = "Zircona_Comms_Queue";
/// An ID's own event has this name with the ID in decimal behind it.
inline constexpr const char* kWakeEventPrefix = "Zircona_Comms_Event_";

inline constexpr int kFailureLevel = 0;
inline constexpr int kStepLevel = 5;
inline constexpr int kChannelMode = 1;
inline constexpr const char* kLineEnd = "\r\n";

/// The operating-system error that ZcGetCommsOSError reports.
void RecordChannelError(DWORD error);
DWORD ChannelError();

/// Why something failed, or nothing.
struct ChannelFailure {
    ZRErrors::ZRErrorT code = ZRErrors::e_General_NoError;
    const char* what = "";
    DWORD systemError = ERROR_SUCCESS; ///< 0: the system had no part in it

    explicit operator bool() const {
        return code != ZRErrors::e_General_NoError;
    }
};

/// Whether it failed because there is no such object.
inline bool IsMissing(const ChannelFailure& failure) {
    return failure.systemError == ERROR_FILE_NOT_FOUND;
}

/// Record the operating-system error with which something failed.
ChannelFailure FailedWithLastError(const char* what, ZRErrors::ZRErrorT code);
ChannelFailure TimedOut(const char* what);
ChannelFailure NotOpen();

/// Logs a failure and returns its code. The caller must not hold the channel's mutex.
ZRErrors::ZRErrorT Tell(const char* function, const ChannelFailure& failure, int level = kFailureLevel);

inline ZRErrors::ZRErrorT Refuse(const char* function, const char* what) {
    return Tell(function, {ZRErrors::e_Command_Aborted, what});
}

/// Holds the channel's mutex, or the reason why it could not be had. When it goes it frees the mutex first, and then
/// logs what was found and done under it.
class ChannelLock {
public:
    ChannelLock(const char* function, HANDLE mutex, bool abandoned)
        : m_pFunction(function), m_mutex(mutex), m_bAbandoned(abandoned) {}
    explicit ChannelLock(const ChannelFailure& failure) : m_failure(failure) {}
    ChannelLock(ChannelLock&& other) noexcept
        : m_pFunction(other.m_pFunction), m_mutex(std::exchange(other.m_mutex, nullptr)),
          m_bAbandoned(other.m_bAbandoned), m_failure(other.m_failure), m_pOccasion(other.m_pOccasion),
          m_report(other.m_report) {}
    ChannelLock& operator=(ChannelLock&&) = delete;
    ~ChannelLock();

    explicit operator bool() const {
        return m_mutex != nullptr;
    }
    bool IsAbandoned() const {
        return m_bAbandoned;
    }
    const ChannelFailure& Failure() const {
        return m_failure;
    }
    /// Keeps what a repair found and did; an empty report is none.
    void NoteRepair(const ShortText& report) {
        if (!report.empty()) {
            Note("the block was damaged: ", report);
        }
    }
    /// The occasion goes before the report in the log.
    void Note(const char* occasion, const ShortText& report) {
        m_pOccasion = occasion;
        m_report = report;
    }
    const ShortText& Report() const {
        return m_report;
    }

private:
    const char* m_pFunction = "";
    HANDLE m_mutex = nullptr;
    bool m_bAbandoned = false;
    ChannelFailure m_failure;
    const char* m_pOccasion = "";
    ShortText m_report;
};

/// The mutex that guards every access to the block.
class ChannelMutex {
public:
    /// Fails with e_Resource_AllocationFailed.
    ChannelFailure Create();
    /// Opens the mutex of a channel that others have open; fails as Create.
    ChannelFailure Open();
    /// The lock, or one that holds e_Command_TimedOut or e_Command_Aborted. A wait for it is noted in the
    /// ledger, if there is one.
    [[nodiscard]] ChannelLock Lock(const char* function, DWORD timeout, const ChannelLedger* ledger = nullptr) const;

private:
    DWORD Wait(DWORD timeout, const ChannelLedger* ledger) const;

    UniqueHandle m_mutex;
};

/// The shared memory and this process's view of it.
class ChannelSection {
public:
    ChannelSection() = default;
    ChannelSection(const ChannelSection&) = delete;
    ChannelSection& operator=(const ChannelSection&) = delete;
    ~ChannelSection();

    /// Creates or opens the block; fails with e_File_MappingFailed.
    ChannelFailure Create();
    /// Opens the block of a channel that others have open; fails as Create.
    ChannelFailure Open();

    bool Existed() const {
        return m_bExisted;
    }
    ZcChannel* Block() const {
        return m_pBlock;
    }
    explicit operator bool() const {
        return m_pBlock != nullptr;
    }

private:
    ChannelFailure Map();

    UniqueHandle m_mapping;
    ZcChannel* m_pBlock = nullptr;
    bool m_bExisted = false;
};

/// All that makes a channel.
struct ChannelObjects {
    ChannelMutex mutex;
    UniqueHandle event;
    ChannelSection section;
    ChannelLedger ledger; ///< for those who take part, which Join it

    /// Opens the objects of a channel that others have open and takes the mutex.
    [[nodiscard]] ChannelLock Open(const char* function, DWORD timeout);
    /// Opens block and event, as far as they are not open yet, and takes the mutex. Who takes it from a dead owner owes
    /// it to the others to mend the block: so whoever cannot come to what is there does not wait for the mutex, and
    /// where something is missing, which may be made after that, looks for it again every now and then.
    [[nodiscard]] ChannelLock OpenAndLock(const char* function, DWORD timeout);
    /// Makes what is missing; the caller holds the mutex. Fails with e_Resource_AllocationFailed (the event) or
    /// e_File_MappingFailed.
    ChannelFailure CreateMissing();
    /// Takes the mutex; a block whose last owner died is put in order before it is used.
    [[nodiscard]] ChannelLock Lock(const char* function, DWORD timeout);
    /// Puts the block, if it is open, of an owner that died in order, or makes it where its maker had not come to it,
    /// announces its messages, since their sender may not have done so, and notes that in the lock.
    void MendIfAbandoned(ChannelLock& lock) const {
        if (lock.IsAbandoned() && section && lock.Report().empty()) {
            Mend(lock);
        }
    }
    /// Moves the oldest message for an ID into `buffer` of `size` bytes, 1 or more, cut to fit; notes a repair in the
    /// lock. @returns false when there is none.
    bool Take(ChannelLock& lock, std::uint16_t id, char* buffer, std::size_t size) const;
    /// Puts the block in order. The caller holds the mutex.
    /// @returns what was found and done; empty for a consistent block.
    ShortText Repair() const;

private:
    ChannelFailure OpenExisting();
    void Mend(ChannelLock& lock) const;
};

} // namespace gaizior
