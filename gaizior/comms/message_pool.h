#pragma once

#include "gaizior/comms/channel_block.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace gaizior {

/// What a walk through a block found; the block itself is only read.
struct PoolFindings {
    std::array<std::uint16_t, kZcSlotCount> order; ///< slots reached from the start of the list, oldest first
    std::uint16_t nQueued = 0;                     ///< how many of them
    std::uint16_t nTaken = 0;                      ///< slots marked as taken
    std::string damage;                            ///< the first thing found wrong; empty for a consistent block
};

/// Reads the whole block, trusting no index in it.
PoolFindings Examine(const ZcChannel& block);

/// Posts to and takes from a block. The caller holds the channel's mutex. An index that leads out of the block or a
/// list that contradicts itself is never followed: the block is repaired first, from the slots that are taken.
///
/// Each operation stores what it does in an order that leaves, if the process dies between any two stores, a block from
/// which Repair makes one with every message that was posted and not yet taken, in order: a posted slot is marked
/// as taken after its text is whole and before it is linked, a taken one is marked as free after it is unlinked.
class MessagePool {
public:
    explicit MessagePool(ZcChannel& block) : m_block(block) {}

    /// Writes zeros and then the magic into a new block.
    static void Initialise(ZcChannel& block);

    /// Copies at most 255 characters of `message` into the first free slot. @returns false when none is free.
    bool Post(const char* message, std::uint16_t destination);

    /// Moves the oldest message for `destination` into `buffer`, cut to `size` - 1 characters; `size` is 1 or more.
    /// @returns false when there is none.
    bool Take(std::uint16_t destination, char* buffer, std::size_t size);

    bool IsEmpty() const {
        return m_block.nMessages == 0;
    }

    /// Puts a damaged block in order and leaves a consistent one byte for byte as it is: list and count are rebuilt
    /// from the taken slots, in the order that the links still tell, half-written slots are freed.
    /// @returns whether something had to be done.
    bool Repair();

    /// What the repairs of this object found and did, one sentence; empty when there was none.
    const std::string& Report() const {
        return m_report;
    }

private:
    using Index = std::uint16_t;

    Index FirstFree() const;
    bool CanAppend(Index slot) const;
    Index FindFor(std::uint16_t destination);
    Index FindInList(std::uint16_t destination);
    bool CanUnlink(Index slot) const;
    void Unlink(Index slot);
    void Rebuild(const std::array<Index, kZcSlotCount>& order, Index count);

    ZcChannel& m_block;
    std::string m_report;
};

} // namespace gaizior
