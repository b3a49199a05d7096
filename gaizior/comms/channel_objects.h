#pragma once

#include "gaizior/comms/channel_block.h"
#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/unique_handle.h"

#include <string>

/// What the channel and those who only look at it share: the machine-wide objects and the way to report on them.
namespace gaizior {

inline constexpr const char* kChannelMutexName = "Zircona_Comms_Mutex";
inline constexpr const char* kChannelEventName = "Zircona_Comms_Event";
inline constexpr const char* kChannelSectionName = "Zircona_Comms_Queue";

inline constexpr int kFailureLevel = 0;
inline constexpr int kStepLevel = 5;
inline constexpr int kChannelMode = 1;
inline constexpr const char* kLineEnd = "\r\n";

/// The operating-system error that ZcGetCommsOSError reports.
void RecordChannelError(DWORD error);
DWORD ChannelError();

void LogFailure(const char* function, const char* what);
/// Logs what had to be mended; an empty report is none.
void LogRepair(const char* function, const std::string& report);

/// Record the operating-system error, log the failure and return its code.
ZRErrors::ZRErrorT FailWithLastError(const char* function, const char* what, ZRErrors::ZRErrorT code);
ZRErrors::ZRErrorT FailTimedOut(const char* function, const char* what);
ZRErrors::ZRErrorT FailNotOpen(const char* function);

/// Holds the channel's mutex, or the reason why it could not be had.
class ChannelLock {
public:
    ChannelLock(HANDLE mutex, bool abandoned) : m_mutex(mutex), m_bAbandoned(abandoned) {}
    explicit ChannelLock(ZRErrors::ZRErrorT error) : m_error(error) {}
    ChannelLock(ChannelLock&& other) noexcept
        : m_mutex(std::exchange(other.m_mutex, nullptr)), m_bAbandoned(other.m_bAbandoned), m_error(other.m_error) {}
    ChannelLock& operator=(ChannelLock&&) = delete;
    ~ChannelLock();

    explicit operator bool() const {
        return m_mutex != nullptr;
    }
    bool IsAbandoned() const {
        return m_bAbandoned;
    }
    ZRErrors::ZRErrorT Error() const {
        return m_error;
    }

private:
    HANDLE m_mutex = nullptr;
    bool m_bAbandoned = false;
    ZRErrors::ZRErrorT m_error = ZRErrors::e_General_NoError;
};

/// The mutex that guards every access to the block.
class ChannelMutex {
public:
    /// @returns 0 or e_Resource_AllocationFailed.
    ZRErrors::ZRErrorT Create();
    /// Opens the mutex of a channel that others have open; fails as Create.
    ZRErrors::ZRErrorT Open(const char* function);
    /// The lock, or one that holds e_Command_TimedOut or e_Command_Aborted.
    [[nodiscard]] ChannelLock Lock(const char* function, DWORD timeout) const;

private:
    UniqueHandle m_mutex;
};

/// The shared memory and this process's view of it.
class ChannelSection {
public:
    ChannelSection() = default;
    ChannelSection(const ChannelSection&) = delete;
    ChannelSection& operator=(const ChannelSection&) = delete;
    ~ChannelSection();

    /// Creates or opens the block; 0 or e_File_MappingFailed.
    ZRErrors::ZRErrorT Create();
    /// Opens the block of a channel that others have open; fails as Create.
    ZRErrors::ZRErrorT Open(const char* function);

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
    ZRErrors::ZRErrorT Map(const char* function);

    UniqueHandle m_mapping;
    ZcChannel* m_pBlock = nullptr;
    bool m_bExisted = false;
};

/// All that makes a channel.
struct ChannelObjects {
    ChannelMutex mutex;
    UniqueHandle event;
    ChannelSection section;

    /// Opens the objects of a channel that others have open and takes the mutex. The block comes after the mutex, since
    /// one who holds it may be about to make the block. `takeover` tells what MendIfAbandoned did.
    [[nodiscard]] ChannelLock Open(const char* function, DWORD timeout, std::string& takeover);
    /// Takes the mutex; a block whose last owner died is put in order before it is used.
    [[nodiscard]] ChannelLock Lock(const char* function, DWORD timeout) const;
    /// Puts the block of an owner that died in order, or makes it where its maker had not come to it, announces its
    /// messages, since their sender may not have done so, and logs that.
    /// @returns what was found and done; empty when no owner had died.
    std::string MendIfAbandoned(const ChannelLock& lock, const char* function) const {
        return lock.IsAbandoned() ? Mend(function) : std::string();
    }
    /// Puts the block in order. The caller holds the mutex.
    /// @returns what was found and done; empty for a consistent block.
    std::string Repair() const;

private:
    std::string Mend(const char* function) const;
};

} // namespace gaizior
