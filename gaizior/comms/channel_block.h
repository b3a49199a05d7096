#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

/// @file
/// The memory that all processes of a machine share through the message channel: every byte counts, all numbers are
/// little-endian. docs/channel-format.md tells what they mean and which states are consistent.

inline constexpr std::uint16_t kZcSlotCount = 200;    ///< messages that a block holds
inline constexpr std::size_t kZcMessageSize = 256;    ///< with its NUL: a message has at most 255 characters
inline constexpr std::uint32_t kZcMagic = 0x27111996; ///< by which a block is known

/// One place for a message.
struct ZcMessageSlot {
    char msg[kZcMessageSize]; ///< NUL-terminated; the last byte is always 0
    std::uint16_t dest_id;    ///< communications ID of the addressee
    std::uint16_t reserved1;  ///< 0
    std::uint32_t taken;      ///< 1 while the slot holds an unread message, 0 when it is free
    std::uint16_t next;       ///< slot of the next newer message; the newest names itself
    std::uint16_t prev;       ///< slot of the next older message; the oldest names itself
    std::uint16_t self;       ///< this slot's own index
    std::uint16_t reserved2;  ///< 0
};

/// The block: a pool of slots; those taken form one doubly linked list in the order of posting.
struct ZcChannel {
    std::uint16_t nMessages;           ///< number of slots taken
    std::uint16_t reserved;            ///< 0
    std::uint32_t magic;               ///< kZcMagic once initialised
    std::uint16_t start_of_list;       ///< slot of the oldest message; 0 when there is none
    std::uint16_t end_of_list;         ///< slot of the newest message; 0 when there is none
    ZcMessageSlot slots[kZcSlotCount]; ///< the pool
};

static_assert(std::is_standard_layout_v<ZcChannel> && std::is_trivially_copyable_v<ZcChannel>);
static_assert(offsetof(ZcMessageSlot, msg) == 0);
static_assert(offsetof(ZcMessageSlot, dest_id) == 256);
static_assert(offsetof(ZcMessageSlot, reserved1) == 258);
static_assert(offsetof(ZcMessageSlot, taken) == 260);
static_assert(offsetof(ZcMessageSlot, next) == 264);
static_assert(offsetof(ZcMessageSlot, prev) == 266);
static_assert(offsetof(ZcMessageSlot, self) == 268);
static_assert(offsetof(ZcMessageSlot, reserved2) == 270);
static_assert(sizeof(ZcMessageSlot) == 272);
static_assert(offsetof(ZcChannel, nMessages) == 0);
static_assert(offsetof(ZcChannel, reserved) == 2);
static_assert(offsetof(ZcChannel, magic) == 4);
static_assert(offsetof(ZcChannel, start_of_list) == 8);
static_assert(offsetof(ZcChannel, end_of_list) == 10);
static_assert(offsetof(ZcChannel, slots) == 12);
static_assert(sizeof(ZcChannel) == 54412);
