#pragma once

#include "gaizior/comms/channel_block.h"
#include "gaizior/platform/printf_format.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace gaizior {

/// A sentence of at most 255 characters that needs no memory of its own: where there is none the block is still mended
/// and that is still told.
class ShortText {
public:
    ShortText() {
        m_text[0] = 0;
    }
    void Format(const char* format, ...) GAIZIOR_PRINTF(2, 3);

    const char* c_str() const {
        return m_text;
    }
    bool empty() const {
        return m_text[0] == 0;
    }
    std::string_view View() const {
        return m_text;
    }

private:
    char m_text[256];
};

/// What a walk through a block found; the block itself is only read.
struct PoolFindings {
    std::array<std::uint16_t, kZcSlotCount> order; ///< slots reached from the start of the list, oldest first
    std::uint16_t nQueued = 0;                     ///< how many of them
    std::uint16_t nTaken = 0;                      ///< slots marked as taken
    ShortText damage;                              ///< the first thing found wrong; empty for a consistent block
};

/// Reads the whole block, trusting no index in it.
PoolFindings Examine(const ZcChannel& block);

/// Posts to and takes from a block. The caller holds the channel's mutex. An index that leads out of the block or a
/// list that contradicts itself is never followed: the block is repaired first, from the slots that are taken. Other
/// processes may write there without the mutex: an index is loaded once, and the one that was checked is the one that
/// is used, so whatever they do nothing is stored outside the block.
///
/// Each operation stores what it does in an order that leaves, if the process dies between any two stores, a block from
/// which Repair makes one with every message that was posted and not yet taken, in order: a posted slot is marked
/// as taken after its text is whole and before it is linked, a taken one is marked as free after it is unlinked.
class MessagePool {
public:
    explicit MessagePool(ZcChannel& block) : m_block(block) {}

    /// Writes zeros and then the magic into a new block.
    static void Initialise(ZcChannel& block);

    /// Copies at most 255 characters of `message` into the first free slot. @returns that slot; nothing when none is
    /// free.
    std::optional<std::uint16_t> Post(const char* message, std::uint16_t destination);

    /// Moves the oldest message for `destination` into `buffer`, cut to `size` - 1 characters; `size` is 1 or more.
    /// @returns false when there is none.
    bool Take(std::uint16_t destination, char* buffer, std::size_t size);

    bool IsEmpty() const;
    /// Whether there is a message for `destination`, or may be, as the block is damaged.
    bool HasFor(std::uint16_t destination) const;

    /// Puts a damaged block in order and leaves a consistent one byte for byte as it is: list and count are rebuilt
    /// from the taken slots, in the order that the links still tell, half-written slots are freed.
    /// @returns whether something had to be done.
    bool Repair();

    /// What the last repair of this object found and did, one sentence; empty when there was none.
    const ShortText& Report() const {
        return m_report;
    }

private:
    using Index = std::uint16_t;

    /// A taken slot and what its list says of it, checked.
    struct Place {
        Index slot; ///< or kNone, or kDamaged: then the rest says nothing
        Index newer = 0;
        Index older = 0;
        Index count = 0; ///< of all messages
        bool isHead = false;
        bool isTail = false;
    };

    Index FirstFree() const;
    Index FindRoom(Index& older, Index& count) const;
    Place FindFor(std::uint16_t destination) const;
    Index FindInList(std::uint16_t destination, int most) const;
    Place PlaceOf(Index slot) const;
    void Unlink(const Place& place);
    void Rebuild(const std::array<Index, kZcSlotCount>& order, Index count);

    ZcChannel& m_block;
    ShortText m_report;
};

} // namespace gaizior
