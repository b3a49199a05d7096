#pragma once

#include "gaizior/comms/channel_block.h"
#include "gaizior/platform/fork.h"
#include "gaizior/platform/unique_handle.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

/// Who has the channel open and when each message was posted: a second shared memory beside the block, written as well
/// as its processes can. It only tells; nothing that the channel does depends on it. Whatever is read from it may have
/// been written by anybody.
namespace gaizior {

inline constexpr const char* kLedgerName = "Zircona_Comms_Ledger";
inline constexpr std::uint32_t kLedgerMagic = 0x4C454431;
inline constexpr std::size_t kLedgerUsers = 64;
inline constexpr std::size_t kLedgerTextSize = 64; ///< with its NUL

/// One process that has the channel open under an ID; docs/channel-format.md has the bytes.
struct LedgerUser {
    std::atomic<std::uint64_t> owner; ///< OwnerOf its process; 0: the place is free
    std::atomic<std::uint32_t> id;
    std::uint32_t reserved;
    std::atomic<std::int64_t> since; ///< when it opened the channel, in ms since 1970; 0 while it writes the rest
    std::atomic<std::int64_t> waitingSince; ///< since when it has tried in vain to get the channel's mutex; 0: got it
    std::atomic<std::int64_t> waitsUntil;   ///< when its present try, or the last one, ends at the latest
    std::array<std::atomic<std::uint64_t>, kLedgerTextSize / 8> program;
};

/// What is known of a slot's message.
struct LedgerPost {
    std::atomic<std::int64_t> postedAt; ///< in ms since 1970
    std::atomic<std::uint64_t> mark;    ///< MarkOf the slot then; 0 for none
};

/// Zeros are an empty ledger, so that whoever makes it has nothing to write before others come.
struct LedgerBlock {
    std::atomic<std::uint32_t> magic;
    std::uint32_t reserved;
    std::array<LedgerUser, kLedgerUsers> users;
    std::array<LedgerPost, kZcSlotCount> posts;
};

static_assert(std::atomic<std::int64_t>::is_always_lock_free && std::atomic<std::uint64_t>::is_always_lock_free);
static_assert(sizeof(LedgerUser) == 104 && offsetof(LedgerUser, owner) == 0 && offsetof(LedgerUser, id) == 8);
static_assert(offsetof(LedgerUser, since) == 16 && offsetof(LedgerUser, program) == 40);
static_assert(sizeof(LedgerPost) == 16);
static_assert(offsetof(LedgerBlock, users) == 8 && offsetof(LedgerBlock, posts) == 6664);
static_assert(sizeof(LedgerBlock) == 9864);

/// A process and when it began, as process_stamp.h counts, in one: both change in one step.
constexpr std::uint64_t OwnerOf(std::uint32_t process, std::uint32_t stamp) {
    return process | std::uint64_t{stamp} << 32;
}
constexpr std::uint32_t ProcessOf(std::uint64_t owner) {
    return static_cast<std::uint32_t>(owner);
}
constexpr std::uint32_t StampOf(std::uint64_t owner) {
    return static_cast<std::uint32_t>(owner >> 32);
}

/// Whether a process waits for the channel's mutex, or is just between two tries. Any thread.
/// @param user its place
/// @param now in ms since 1970
/// @returns that
bool IsWaiting(const LedgerUser& user, std::int64_t now);

/// Tells a slot's addressee and text from others, never 0; another process may have posted into it meanwhile.
std::uint64_t MarkOf(const ZcMessageSlot& slot);

/// The ledger's shared memory and this process's view of it.
class LedgerMemory {
public:
    LedgerMemory() = default;
    LedgerMemory(const LedgerMemory&) = delete;
    LedgerMemory& operator=(const LedgerMemory&) = delete;
    ~LedgerMemory();

    /// Makes the ledger or opens the one that is there. @returns false with the last error set: ERROR_FILE_INVALID for
    /// what is none, and what CreateFileMappingA and MapWhole have besides.
    bool Create();
    /// Opens the one that is there; as Create.
    bool Open();
    /// Whether there is one that could not be mapped, after an Open that failed.
    bool IsOpen() const {
        return static_cast<bool>(m_mapping);
    }
    LedgerBlock* Block() const {
        return m_pBlock;
    }

private:
    bool Map();

    UniqueHandle m_mapping;
    LedgerBlock* m_pBlock = nullptr;
};

/// What a process that has the channel open writes into the ledger. Where there is none, all of it does nothing. Any
/// thread, after Join.
class ChannelLedger {
public:
    ChannelLedger() = default;
    ChannelLedger(const ChannelLedger&) = delete;
    ChannelLedger& operator=(const ChannelLedger&) = delete;
    /// Gives the place up.
    ~ChannelLedger();

    /// Enters this process under an ID, in place of those of that ID that have ended. Logs in one line why that is
    /// impossible; the caller must not hold the channel's mutex.
    void Join(const char* function, std::uint16_t id);
    /// Enters a forked child besides its parent, when it comes here first; as Join.
    void JoinAfterFork(const char* function) {
        if (m_memory.Block() && m_nForks.load(std::memory_order_relaxed) != ForkCount()) {
            JoinInChild(function);
        }
    }
    /// The caller has posted into that slot and still holds the channel's mutex.
    void NotePost(std::uint16_t index, const ZcMessageSlot& slot) const;

    /// A thread begins to wait for the channel's mutex, so many milliseconds at most. One that tries again at once has
    /// waited since its first try.
    void NoteWait(DWORD timeout) const;
    /// A thread has got the mutex, or cannot get it at all.
    void NoteNoWait() const;

private:
    void Enter(const char* function);
    void JoinInChild(const char* function);
    /// This process's place; null for none, and in a child that has not joined yet.
    LedgerUser* Own() const;

    LedgerMemory m_memory;
    std::uint16_t m_nId = 0;
    std::atomic<LedgerUser*> m_pOwn{nullptr};
    std::atomic<unsigned> m_nForks{0}; ///< ForkCount when the place was taken
};

} // namespace gaizior
