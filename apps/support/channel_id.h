#pragma once

#include "apps/support/failure.h"
#include "gaizior/platform/unique_handle.h"

#include <cstdint>

namespace apps {

/// What a program has patience for when it opens the channel.
struct OpenLimits {
    DWORD forId = 0;             ///< milliseconds for another process to give the ID up
    DWORD forLock = 20000;       ///< milliseconds for the channel's lock
    HANDLE hInterrupt = nullptr; ///< an event that ends the wait for either; null for none
};

/// Holds the channel open under a communications ID and keeps every other of our programs from opening it under the
/// same one: two of a kind would take each other's messages.
class ChannelId {
public:
    ChannelId() = default;
    ~ChannelId();
    ChannelId(const ChannelId&) = delete;
    ChannelId& operator=(const ChannelId&) = delete;

    /// Opens the channel; messages left over for the ID are thrown away, as the channel does.
    Outcome Open(std::uint16_t id, const OpenLimits& limits = {});
    /// Waits up to 1.9 s for the pool to drain, as the channel does, and closes it. Where its lock is held for longer
    /// than kLockTimeout, for which the channel would wait for ever, it stays open until the process ends.
    void Close();
    std::uint16_t Id() const {
        return m_nId;
    }

private:
    /// Takes the ID's name, or says why not.
    Outcome Reserve(std::uint16_t id, const OpenLimits& limits);
    /// @returns 0; ERROR_ALREADY_EXISTS when another process has the name; the system's error when nobody can have it.
    DWORD TakeName(const std::string& name);

    gaizior::UniqueHandle m_hName; ///< exists as long as the ID is in use, in whatever process
    bool m_bOpen = false;
    std::uint16_t m_nId = 0;
};

/// Whether one of our programs has the channel open under that ID.
bool IsIdInUse(std::uint16_t id);
/// Whether anybody is known to have it, one of our programs or another process than this.
bool IsIdHeld(std::uint16_t id);

/// Why a message could not be sent: tells a full channel from one whose lock is not to be had.
Failure SendFailure(const char* function, ZRErrors::ZRErrorT code, std::uint16_t destination);

/// How many messages wait for `id`, and how many for anybody.
struct Waiting {
    unsigned forId;
    unsigned forAnybody;
};
/// Both are 0 when the channel cannot be looked at.
Waiting CountWaiting(std::uint16_t id);

} // namespace apps
