#include "gaizior/comms/message_pool.h"

#include "gaizior/platform/crash_point.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <utility>

namespace gaizior {
namespace {

using Index = std::uint16_t;

constexpr std::uint32_t kFree = 0;
constexpr std::uint32_t kTaken = 1;
constexpr Index kNone = 0xFFFF;

/// Stores a field that other processes read after this one has died: not before and not after what surrounds it.
template <typename Field>
void Commit(Field& field, Field value) {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    std::atomic_ref<Field>(field).store(value, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    CrashPoint();
}

/// A whole text, or a damaged slot's first 255 characters.
std::size_t TextLength(const ZcMessageSlot& slot) {
    return ::strnlen(slot.msg, kZcMessageSize - 1);
}

std::string SlotName(Index index) {
    return "slot " + std::to_string(index);
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
        if (m_block.nMessages != m_findings.nTaken) {
            Damage("the count says " + std::to_string(m_block.nMessages) + ", " + std::to_string(m_findings.nTaken) +
                   " slots are taken");
        }
        return std::move(m_findings);
    }

private:
    void Damage(const std::string& what) {
        if (m_findings.damage.empty()) {
            m_findings.damage = what;
        }
    }

    void CountTaken() {
        for (Index i = 0; i < kZcSlotCount; ++i) {
            const ZcMessageSlot& slot = m_block.slots[i];
            if (slot.taken == kTaken) {
                ++m_findings.nTaken;
                CheckSlot(i, slot);
            } else if (slot.taken != kFree) {
                Damage(SlotName(i) + " is marked with " + std::to_string(slot.taken));
            }
        }
    }

    void CheckSlot(Index i, const ZcMessageSlot& slot) {
        if (slot.self != i) {
            Damage(SlotName(i) + " takes itself for slot " + std::to_string(slot.self));
        }
        if (slot.msg[kZcMessageSize - 1] != 0) {
            Damage(SlotName(i) + " holds a text without an end");
        }
    }

    void ExpectEmptyHeader() {
        if (m_block.start_of_list != 0 || m_block.end_of_list != 0) {
            Damage("an empty list starts at " + std::to_string(m_block.start_of_list) + " and ends at " +
                   std::to_string(m_block.end_of_list));
        }
    }

    void Walk() {
        Index previous = m_block.start_of_list;
        Index current = m_block.start_of_list;
        while (Visit(current, previous)) {
            if (current == m_block.end_of_list) {
                ExpectEnd(current);
                return;
            }
            previous = current;
            current = m_block.slots[current].next;
        }
    }

    /// Adds a slot to the order if it may be followed.
    bool Visit(Index current, Index previous) {
        if (current >= kZcSlotCount) {
            Damage("the list leads to slot " + std::to_string(current));
            return false;
        }
        if (m_visited[current]) {
            Damage("the list does not end: it comes back to " + SlotName(current));
            return false;
        }
        const ZcMessageSlot& slot = m_block.slots[current];
        if (slot.taken != kTaken) {
            Damage("the list leads to " + SlotName(current) + ", which is free");
            return false;
        }
        if (slot.prev != previous) {
            Damage(SlotName(current) + " follows slot " + std::to_string(previous) + " but names slot " +
                   std::to_string(slot.prev));
        }
        m_visited[current] = true;
        m_findings.order[m_findings.nQueued++] = current;
        return true;
    }

    void ExpectEnd(Index last) {
        if (m_block.slots[last].next != last) {
            Damage(SlotName(last) + " is the newest but leads to slot " + std::to_string(m_block.slots[last].next));
        }
        if (m_findings.nQueued != m_findings.nTaken) {
            Damage(std::to_string(m_findings.nTaken) + " slots are taken, " + std::to_string(m_findings.nQueued) +
                   " are in the list");
        }
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
        return i < kZcSlotCount && m_block.slots[i].taken == kTaken && !m_placed[i];
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
            if (const Index newer = PositionOf(slot.next); newer != kNone) {
                Insert(newer, i);
                placed = true;
            } else if (const Index older = PositionOf(slot.prev); older != kNone) {
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
        for (Index i = start; IsLoose(i); i = m_block.slots[i].next) {
            Insert(m_count, i);
        }
        return start != kNone;
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
        const Index older = m_block.slots[i].prev;
        return older != i && IsLoose(older);
    }

    const ZcChannel& m_block;
    std::array<Index, kZcSlotCount> m_order{};
    std::array<bool, kZcSlotCount> m_placed{};
    Index m_count = 0;
};

} // namespace

PoolFindings Examine(const ZcChannel& block) {
    return Examiner(block).Run();
}

void MessagePool::Initialise(ZcChannel& block) {
    std::memset(&block, 0, sizeof(block));
    CrashPoint();
    Commit(block.magic, kZcMagic);
}

bool MessagePool::Post(const char* message, std::uint16_t destination) {
    Index i = FirstFree();
    if (i != kNone ? !CanAppend(i) : m_block.nMessages != kZcSlotCount) {
        Repair();
        i = FirstFree();
    }
    if (i == kNone) {
        return false;
    }
    ZcMessageSlot& slot = m_block.slots[i];
    const std::size_t length = ::strnlen(message, kZcMessageSize - 1);
    std::memcpy(slot.msg, message, length);
    CrashPoint();
    std::memset(slot.msg + length, 0, kZcMessageSize - length);
    CrashPoint();
    Commit(slot.dest_id, destination);
    Commit(slot.prev, Index{m_block.end_of_list});
    Commit(slot.self, i);
    Commit(slot.next, i);
    Commit(slot.taken, kTaken);
    Commit(m_block.end_of_list, i);
    Commit(m_block.slots[slot.prev].next, i);
    Commit(m_block.nMessages, static_cast<Index>(m_block.nMessages + 1));
    return true;
}

bool MessagePool::Take(std::uint16_t destination, char* buffer, std::size_t size) {
    Index found = FindFor(destination);
    if (found != kNone && !CanUnlink(found)) {
        Repair();
        found = FindFor(destination);
    }
    if (found == kNone) {
        return false;
    }
    const ZcMessageSlot& slot = m_block.slots[found];
    const std::size_t length = std::min(TextLength(slot), size - 1);
    std::memcpy(buffer, slot.msg, length);
    buffer[length] = 0;
    buffer[size - 1] = 0;
    Unlink(found);
    return true;
}

MessagePool::Index MessagePool::FirstFree() const {
#pragma GCC unroll 8
    for (Index i = 0; i < kZcSlotCount; ++i) {
        if (m_block.slots[i].taken == kFree) {
            return i;
        }
    }
    return kNone;
}

/// Whether the end of the list is fit to take `slot` on. An empty list's first slot is 0, which its header names.
bool MessagePool::CanAppend(Index slot) const {
    if (m_block.nMessages == 0) {
        return slot == 0 && m_block.start_of_list == 0 && m_block.end_of_list == 0;
    }
    if (m_block.nMessages >= kZcSlotCount || m_block.end_of_list >= kZcSlotCount) {
        return false;
    }
    const ZcMessageSlot& last = m_block.slots[m_block.end_of_list];
    return last.taken == kTaken && last.next == m_block.end_of_list;
}

/// Mostly one message at most waits for an addressee, and its slot alone tells: side by side the slots are read several
/// times faster than along the list. Where there are more, and where there is none, the list is asked.
MessagePool::Index MessagePool::FindFor(std::uint16_t destination) {
    Index found = kNone;
    std::uint32_t left = m_block.nMessages;
#pragma GCC unroll 8 // the slots lie apart, their loads may overlap
    for (Index i = 0; i < kZcSlotCount; ++i) {
        if (left == 0) {
            break;
        }
        const ZcMessageSlot& slot = m_block.slots[i];
        left -= slot.taken;
        if (slot.dest_id == destination && slot.taken == kTaken) {
            if (found != kNone) {
                return FindInList(destination);
            }
            found = i;
        }
    }
    return found != kNone ? found : FindInList(destination);
}

MessagePool::Index MessagePool::FindInList(std::uint16_t destination) {
    for (bool repaired = false;; repaired = true) {
        Index steps = 0;
        Index i = m_block.start_of_list;
        while (i < kZcSlotCount && steps < kZcSlotCount && m_block.slots[i].taken == kTaken) {
            ++steps;
            const ZcMessageSlot& slot = m_block.slots[i];
            if (slot.dest_id == destination) {
                return i;
            }
            if (slot.self == m_block.end_of_list) {
                break;
            }
            i = slot.next;
        }
        if (steps == m_block.nMessages || repaired) {
            return kNone;
        }
        Repair();
    }
}

bool MessagePool::CanUnlink(Index slot) const {
    const ZcMessageSlot& found = m_block.slots[slot];
    const bool isHead = slot == m_block.start_of_list;
    const bool isTail = slot == m_block.end_of_list;
    if (found.next >= kZcSlotCount || found.prev >= kZcSlotCount || m_block.nMessages == 0 ||
        m_block.nMessages > kZcSlotCount) {
        return false;
    }
    return (isTail ? found.next == slot : m_block.slots[found.next].prev == slot) &&
           (isHead ? found.prev == slot : m_block.slots[found.prev].next == slot) &&
           (m_block.nMessages != 1 || (isHead && isTail));
}

void MessagePool::Unlink(Index slot) {
    ZcMessageSlot& taken = m_block.slots[slot];
    const Index newer = taken.next;
    const Index older = taken.prev;
    if (m_block.nMessages == 1) {
        Commit(m_block.end_of_list, Index{0});
        Commit(m_block.start_of_list, Index{0});
    } else if (slot == m_block.start_of_list) {
        Commit(m_block.start_of_list, newer);
        Commit(m_block.slots[newer].prev, newer);
    } else if (slot == m_block.end_of_list) {
        Commit(m_block.end_of_list, older);
        Commit(m_block.slots[older].next, older);
    } else {
        Commit(m_block.slots[newer].prev, older);
        Commit(m_block.slots[older].next, newer);
    }
    Commit(m_block.nMessages, static_cast<Index>(m_block.nMessages - 1));
    Commit(taken.taken, kFree);
}

bool MessagePool::Repair() {
    const PoolFindings findings = Examine(m_block);
    if (findings.damage.empty()) {
        return false;
    }
    unsigned freed = 0;
    for (ZcMessageSlot& slot : m_block.slots) {
        if (slot.taken != kFree && slot.taken != kTaken) {
            Commit(slot.taken, kFree);
            ++freed;
        }
    }
    OrderFinder finder(m_block, findings);
    finder.Run();
    Rebuild(finder.Order(), finder.Count());
    m_report = findings.damage + "; list rebuilt from " + std::to_string(finder.Count()) + " messages, " +
               std::to_string(freed) + " slots freed";
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
