#include "gaizior/comms/message_pool.h"

#include "gaizior/platform/crash_point.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace gaizior {
namespace {

using Index = std::uint16_t;

constexpr std::uint32_t kFree = 0;
constexpr std::uint32_t kTaken = 1;
constexpr Index kNone = 0xFFFF;
constexpr Index kDamaged = 0xFFFE; ///< no answer before the block is repaired

/// Reads a field that others may be writing: once, so that what was checked is what is used.
template <typename Field>
Field Load(const Field& field) {
    return std::atomic_ref<Field>(const_cast<Field&>(field)).load(std::memory_order_relaxed);
}

/// Stores a field that other processes read after this one has died: not before and not after what surrounds it.
template <typename Field>
void Commit(Field& field, Field value) {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    std::atomic_ref<Field>(field).store(value, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    CrashPoint();
}

bool IsFor(const ZcMessageSlot& slot, std::uint16_t destination) {
    return Load(slot.dest_id) == destination && Load(slot.taken) == kTaken;
}

/// A whole text, or a damaged slot's first 255 characters.
std::size_t TextLength(const ZcMessageSlot& slot) {
    return ::strnlen(slot.msg, kZcMessageSize - 1);
}

/// Walks the list of a block from its start and remembers the first contradiction.
class Examiner {
public:
    explicit Examiner(const ZcChannel& block) : m_block(block) {}

    PoolFindings Run() {
        CountTaken();
        if (m_findings.nTaken == 0) {
            ExpectEmptyHeader();
        } else {
            Walk();
        }
        const Index count = Load(m_block.nMessages);
        Expect(count == m_findings.nTaken, "the count says %u, %u slots are taken", count, m_findings.nTaken);
        return m_findings;
    }

private:
    template <typename... Values>
    bool Expect(bool condition, const char* damage, Values... values) {
        if (!condition && m_findings.damage.empty()) {
            m_findings.damage.Format(damage, values...);
        }
        return condition;
    }

    void CountTaken() {
        for (Index i = 0; i < kZcSlotCount; ++i) {
            const ZcMessageSlot& slot = m_block.slots[i];
            const std::uint32_t taken = Load(slot.taken);
            if (taken == kTaken) {
                ++m_findings.nTaken;
                CheckSlot(i, slot);
            } else {
                Expect(taken == kFree, "slot %u is marked with %u", i, taken);
            }
        }
    }

    void CheckSlot(Index i, const ZcMessageSlot& slot) {
        const Index self = Load(slot.self);
        Expect(self == i, "slot %u takes itself for slot %u", i, self);
        Expect(slot.msg[kZcMessageSize - 1] == 0, "slot %u holds a text without an end", i);
    }

    void ExpectEmptyHeader() {
        const Index start = Load(m_block.start_of_list);
        const Index end = Load(m_block.end_of_list);
        Expect(start == 0 && end == 0, "an empty list starts at %u and ends at %u", start, end);
    }

    void Walk() {
        const Index end = Load(m_block.end_of_list);
        Index current = Load(m_block.start_of_list);
        Index previous = current;
        while (Visit(current, previous)) {
            const Index next = Load(m_block.slots[current].next);
            if (current == end) {
                ExpectEnd(current, next);
                return;
            }
            previous = current;
            current = next;
        }
    }

    /// Adds a slot to the order if it may be followed.
    bool Visit(Index current, Index previous) {
        if (!Expect(current < kZcSlotCount, "the list leads to slot %u", current) ||
            !Expect(!m_visited[current], "the list does not end: it comes back to slot %u", current)) {
            return false;
        }
        const ZcMessageSlot& slot = m_block.slots[current];
        if (!Expect(Load(slot.taken) == kTaken, "the list leads to slot %u, which is free", current)) {
            return false;
        }
        const Index older = Load(slot.prev);
        Expect(older == previous, "slot %u follows slot %u but names slot %u", current, previous, older);
        m_visited[current] = true;
        m_findings.order[m_findings.nQueued++] = current;
        return true;
    }

    void ExpectEnd(Index last, Index next) {
        Expect(next == last, "slot %u is the newest but leads to slot %u", last, next);
        Expect(m_findings.nQueued == m_findings.nTaken, "%u slots are taken, %u are in the list", m_findings.nTaken,
               m_findings.nQueued);
    }

    const ZcChannel& m_block;
    PoolFindings m_findings;
    std::array<bool, kZcSlotCount> m_visited{};
};

/// Finds the order of the taken slots of a damaged block: first those that the list still reaches, then each other one
/// beside the neighbour that its own links name, then chains that nothing connects.
class OrderFinder {
public:
    OrderFinder(const ZcChannel& block, const PoolFindings& findings) : m_block(block) {
        for (Index i = 0; i < findings.nQueued; ++i) {
            Insert(m_count, findings.order[i]);
        }
    }

    void Run() {
        while (PlaceNeighbours() || AppendChain()) {
        }
    }

    const std::array<Index, kZcSlotCount>& Order() const {
        return m_order;
    }
    Index Count() const {
        return m_count;
    }

private:
    bool IsLoose(Index i) const {
        return i < kZcSlotCount && !m_placed[i] && Load(m_block.slots[i].taken) == kTaken;
    }

    Index PositionOf(Index slot) const {
        const auto end = m_order.begin() + m_count;
        const auto found = std::find(m_order.begin(), end, slot);
        return found == end ? kNone : static_cast<Index>(found - m_order.begin());
    }

    void Insert(Index position, Index slot) {
        std::copy_backward(m_order.begin() + position, m_order.begin() + m_count, m_order.begin() + m_count + 1);
        m_order[position] = slot;
        m_placed[slot] = true;
        ++m_count;
    }

    /// A slot that is being unlinked still names both neighbours, one that is being posted its older neighbour.
    bool PlaceNeighbours() {
        bool placed = false;
        for (Index i = 0; i < kZcSlotCount; ++i) {
            if (!IsLoose(i)) {
                continue;
            }
            const ZcMessageSlot& slot = m_block.slots[i];
            if (const Index newer = PositionOf(Load(slot.next)); newer != kNone) {
                Insert(newer, i);
                placed = true;
            } else if (const Index older = PositionOf(Load(slot.prev)); older != kNone) {
                Insert(static_cast<Index>(older + 1), i);
                placed = true;
            }
        }
        return placed;
    }

    /// Appends a chain that nothing connects to the list: its oldest slot and what that leads to.
    bool AppendChain() {
        Index start = FindLoose([this](Index i) { return !HasLooseOlder(i); });
        if (start == kNone) {
            start = FindLoose([](Index) { return true; });
        }
        const Index before = m_count;
        for (Index i = start; IsLoose(i); i = Load(m_block.slots[i].next)) {
            Insert(m_count, i);
        }
        return m_count != before;
    }

    template <typename Condition>
    Index FindLoose(Condition fits) const {
        for (Index i = 0; i < kZcSlotCount; ++i) {
            if (IsLoose(i) && fits(i)) {
                return i;
            }
        }
        return kNone;
    }

    bool HasLooseOlder(Index i) const {
        const Index older = Load(m_block.slots[i].prev);
        return older != i && IsLoose(older);
    }

    const ZcChannel& m_block;
    std::array<Index, kZcSlotCount> m_order{};
    std::array<bool, kZcSlotCount> m_placed{};
    Index m_count = 0;
};

} // namespace

void ShortText::Format(const char* format, ...) {
    std::va_list values;
    va_start(values, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it has just been begun
    std::vsnprintf(m_text, sizeof(m_text), format, values);
    va_end(values);
}

PoolFindings Examine(const ZcChannel& block) {
    return Examiner(block).Run();
}

void MessagePool::Initialise(ZcChannel& block) {
    std::memset(&block, 0, sizeof(block));
    CrashPoint();
    Commit(block.magic, kZcMagic);
}

bool MessagePool::IsEmpty() const {
    return Load(m_block.nMessages) == 0;
}

bool MessagePool::HasFor(std::uint16_t destination) const {
    return !IsEmpty() && FindFor(destination).slot != kNone;
}

std::optional<std::uint16_t> MessagePool::Post(const char* message, std::uint16_t destination) {
    Index older = 0;
    Index count = 0;
    Index i = FindRoom(older, count);
    if (i == kDamaged) {
        Repair();
        i = FindRoom(older, count);
    }
    if (i >= kZcSlotCount) {
        return std::nullopt;
    }
    ZcMessageSlot& slot = m_block.slots[i];
    const std::size_t length = ::strnlen(message, kZcMessageSize - 1);
    std::memcpy(slot.msg, message, length);
    CrashPoint();
    std::memset(slot.msg + length, 0, kZcMessageSize - length);
    CrashPoint();
    Commit(slot.dest_id, destination);
    Commit(slot.prev, older);
    Commit(slot.self, i);
    Commit(slot.next, i);
    Commit(slot.taken, kTaken);
    Commit(m_block.end_of_list, i);
    Commit(m_block.slots[older].next, i);
    Commit(m_block.nMessages, static_cast<Index>(count + 1));
    return i;
}

bool MessagePool::Take(std::uint16_t destination, char* buffer, std::size_t size) {
    Place place = FindFor(destination);
    if (place.slot == kDamaged) {
        Repair();
        place = FindFor(destination);
    }
    if (place.slot >= kZcSlotCount) {
        return false;
    }
    const ZcMessageSlot& slot = m_block.slots[place.slot];
    const std::size_t length = std::min(TextLength(slot), size - 1);
    std::memcpy(buffer, slot.msg, length);
    buffer[length] = 0;
    buffer[size - 1] = 0;
    Unlink(place);
    return true;
}

MessagePool::Index MessagePool::FirstFree() const {
#pragma GCC unroll 8
    for (Index i = 0; i < kZcSlotCount; ++i) {
        if (Load(m_block.slots[i].taken) == kFree) {
            return i;
        }
    }
    return kNone;
}

/// The slot for the next message, if the end of the list is fit to take it on, with its older neighbour and the count
/// of messages. An empty list's first slot is 0, which its header names and which is its own neighbour.
MessagePool::Index MessagePool::FindRoom(Index& older, Index& count) const {
    const Index slot = FirstFree();
    older = Load(m_block.end_of_list);
    count = Load(m_block.nMessages);
    if (slot == kNone) {
        return count == kZcSlotCount ? kNone : kDamaged;
    }
    if (count == 0) {
        return slot == 0 && older == 0 && Load(m_block.start_of_list) == 0 ? slot : kDamaged;
    }
    if (count >= kZcSlotCount || older >= kZcSlotCount) {
        return kDamaged;
    }
    const ZcMessageSlot& last = m_block.slots[older];
    return Load(last.taken) == kTaken && Load(last.next) == older ? slot : kDamaged;
}

/// Mostly one of the oldest messages is the addressee's. If not, all slots are looked at side by side, which is several
/// times faster than along the list and sees also those that a dead owner left beside it; the whole list is asked only
/// where several messages wait for the addressee.
MessagePool::Place MessagePool::FindFor(std::uint16_t destination) const {
    constexpr int kNear = 8;
    Index found = FindInList(destination, kNear);
    if (found < kZcSlotCount) {
        return PlaceOf(found);
    }
    found = kNone;
    unsigned matches = 0;
    std::uint32_t taken = 0;
#pragma GCC unroll 8 // the slots lie apart, their loads may overlap
    for (Index i = 0; i < kZcSlotCount; ++i) {
        const ZcMessageSlot& slot = m_block.slots[i];
        taken += Load(slot.taken);
        if (IsFor(slot, destination)) {
            found = i;
            ++matches;
        }
    }
    if (taken != Load(m_block.nMessages)) {
        return {kDamaged};
    }
    if (matches > 1) {
        found = FindInList(destination, kZcSlotCount);
    }
    return found < kZcSlotCount ? PlaceOf(found) : Place{found};
}

/// The oldest message for an addressee, if it is among the `most` first ones.
MessagePool::Index MessagePool::FindInList(std::uint16_t destination, int most) const {
    Index i = Load(m_block.start_of_list);
    for (int steps = 0; steps < most && i < kZcSlotCount; ++steps) {
        const ZcMessageSlot& slot = m_block.slots[i];
        if (IsFor(slot, destination)) {
            return i;
        }
        i = Load(slot.next);
    }
    return kDamaged;
}

MessagePool::Place MessagePool::PlaceOf(Index slot) const {
    const ZcMessageSlot& found = m_block.slots[slot];
    const Place place{.slot = slot,
                      .newer = Load(found.next),
                      .older = Load(found.prev),
                      .count = Load(m_block.nMessages),
                      .isHead = slot == Load(m_block.start_of_list),
                      .isTail = slot == Load(m_block.end_of_list)};
    const bool isLinked = place.newer < kZcSlotCount && place.older < kZcSlotCount && place.count != 0 &&
                          place.count <= kZcSlotCount &&
                          (place.isTail ? place.newer == slot : Load(m_block.slots[place.newer].prev) == slot) &&
                          (place.isHead ? place.older == slot : Load(m_block.slots[place.older].next) == slot) &&
                          (place.count == 1) == (place.isHead && place.isTail);
    return isLinked ? place : Place{kDamaged};
}

void MessagePool::Unlink(const Place& place) {
    ZcMessageSlot* const slots = m_block.slots;
    if (place.count == 1) {
        Commit(m_block.end_of_list, Index{0});
        Commit(m_block.start_of_list, Index{0});
    } else if (place.isHead) {
        Commit(m_block.start_of_list, place.newer);
        Commit(slots[place.newer].prev, place.newer);
    } else if (place.isTail) {
        Commit(m_block.end_of_list, place.older);
        Commit(slots[place.older].next, place.older);
    } else {
        Commit(slots[place.newer].prev, place.older);
        Commit(slots[place.older].next, place.newer);
    }
    Commit(m_block.nMessages, static_cast<Index>(place.count - 1));
    Commit(slots[place.slot].taken, kFree);
}

bool MessagePool::Repair() {
    const PoolFindings findings = Examine(m_block);
    if (findings.damage.empty()) {
        return false;
    }
    unsigned freed = 0;
    for (ZcMessageSlot& slot : m_block.slots) {
        if (const std::uint32_t mark = Load(slot.taken); mark != kFree && mark != kTaken) {
            Commit(slot.taken, kFree);
            ++freed;
        }
    }
    OrderFinder finder(m_block, findings);
    finder.Run();
    Rebuild(finder.Order(), finder.Count());
    m_report.Format("%s; list rebuilt from %u messages, %u slots freed", findings.damage.c_str(), finder.Count(),
                    freed);
    return true;
}

void MessagePool::Rebuild(const std::array<Index, kZcSlotCount>& order, Index count) {
    Commit(m_block.start_of_list, count ? order[0] : Index{0});
    for (Index i = 0; i < count; ++i) {
        ZcMessageSlot& slot = m_block.slots[order[i]];
        slot.msg[kZcMessageSize - 1] = 0;
        Commit(slot.self, order[i]);
        Commit(slot.prev, i == 0 ? order[i] : order[i - 1u]);
        Commit(slot.next, i + 1u == count ? order[i] : order[i + 1u]);
    }
    Commit(m_block.end_of_list, count ? order[count - 1u] : Index{0});
    Commit(m_block.nMessages, count);
}

} // namespace gaizior
