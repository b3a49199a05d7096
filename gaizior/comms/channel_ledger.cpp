#include "gaizior/comms/channel_ledger.h"

#include "gaizior/comms/channel_objects.h"
#include "gaizior/logging/debug_print.h"
#include "gaizior/platform/coarse_clock.h"
#include "gaizior/platform/crash_point.h"
#include "gaizior/platform/process_stamp.h"
#include "gaizior/platform/section.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace gaizior {
namespace {

using ProgramName = std::array<char, kLedgerTextSize>;

void Warn(const char* function, const char* why, DWORD error) {
    ZRDBprintf(kFailureLevel, kChannelMode,
               "%s: WARNING: who uses the channel cannot be written down: %s, system error %u; the channel works "
               "without%s",
               function, why, static_cast<unsigned>(error), kLineEnd);
}

/// Without its path, cut to fit; empty where the system does not tell.
ProgramName OwnProgram() {
    std::array<char, 4096> path{};
    ::GetModuleFileNameA(nullptr, path.data(), static_cast<DWORD>(path.size() - 1));
    std::string_view name(path.data());
    name.remove_prefix(name.find_last_of("/\\") + 1);
    ProgramName program{};
    name.copy(program.data(), program.size() - 1);
    return program;
}

bool HasEnded(std::uint64_t owner) {
    return ProcessOf(owner) != 0 && HasProcessEnded(ProcessOf(owner), StampOf(owner));
}

/// What a dead process left under this ID tells nothing any more, for somebody has the ID again.
void RemoveDead(LedgerBlock& ledger, std::uint16_t id) {
    for (LedgerUser& user : ledger.users) {
        std::uint64_t owner = user.owner;
        if (user.id == id && HasEnded(owner)) {
            user.owner.compare_exchange_strong(owner, 0);
        }
    }
}

/// Takes a free place, or else that of a process that has ended. @returns null where all of them are others'.
LedgerUser* TakePlace(LedgerBlock& ledger) {
    const std::uint64_t self = OwnerOf(::GetCurrentProcessId(), OwnStamp());
    for (const bool areDeadReplaced : {false, true}) {
        for (LedgerUser& user : ledger.users) {
            std::uint64_t owner = user.owner;
            const bool isUsable = ProcessOf(owner) == 0 || (areDeadReplaced && HasEnded(owner));
            if (isUsable && user.owner.compare_exchange_strong(owner, self)) {
                return &user;
            }
        }
    }
    return nullptr;
}

void Fill(LedgerUser& user, std::uint16_t id) {
    user.since = 0; // nobody reads the rest of it now
    CrashPoint();
    user.id = id;
    user.waitingSince = 0;
    user.waitsUntil = 0;
    const ProgramName program = OwnProgram();
    for (std::size_t i = 0; i < user.program.size(); ++i) {
        std::uint64_t word = 0;
        std::memcpy(&word, program.data() + i * sizeof(word), sizeof(word));
        user.program[i] = word;
    }
    CrashPoint();
    user.since = CoarseNow();
}

} // namespace

bool IsWaiting(const LedgerUser& user, std::int64_t now) {
    constexpr std::int64_t kBetweenTries = 1000; // milliseconds
    return user.waitingSince != 0 && user.waitsUntil >= now - kBetweenTries;
}

std::uint64_t MarkOf(const ZcMessageSlot& slot) {
    constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15; // odd, and its bits are spread evenly
    constexpr int kUpperHalf = 32;
    std::uint64_t mark = slot.dest_id + std::uint64_t{1};
    std::uint64_t word = 0;
    const std::size_t length = ::strnlen(slot.msg, kZcMessageSize - 1);
    for (std::size_t at = 0; at <= length; at += sizeof(word)) {
        std::memcpy(&word, slot.msg + at, sizeof(word));
        mark = (mark ^ word) * kFactor;
        mark ^= mark >> kUpperHalf;
    }
    return mark | 1;
}

LedgerMemory::~LedgerMemory() {
    if (m_pBlock) {
        ::UnmapViewOfFile(m_pBlock);
    }
}

bool LedgerMemory::Create() {
    m_mapping = UniqueHandle(
        ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(LedgerBlock), kLedgerName));
    return m_mapping && Map();
}

bool LedgerMemory::Open() {
    m_mapping = UniqueHandle(::OpenFileMappingA(FILE_MAP_READ | FILE_MAP_WRITE, FALSE, kLedgerName));
    return m_mapping && Map();
}

bool LedgerMemory::Map() {
    auto* const block = static_cast<LedgerBlock*>(MapWhole(m_mapping.Get(), sizeof(LedgerBlock)));
    std::uint32_t magic = 0;
    if (block && !block->magic.compare_exchange_strong(magic, kLedgerMagic) && magic != kLedgerMagic) {
        ::UnmapViewOfFile(block);
        ::SetLastError(ERROR_FILE_INVALID);
        return false;
    }
    m_pBlock = block;
    return block != nullptr;
}

ChannelLedger::~ChannelLedger() {
    if (LedgerUser* const own = Own()) {
        std::uint64_t owner = own->owner;
        own->since = 0;
        own->owner.compare_exchange_strong(owner, 0);
    }
}

void ChannelLedger::Join(const char* function, std::uint16_t id) {
    m_nId = id;
    m_nForks = ForkCount();
    if (!m_memory.Create()) {
        Warn(function, "there is no place for it", ::GetLastError());
        return;
    }
    CrashPoint();
    Enter(function);
}

void ChannelLedger::Enter(const char* function) {
    LedgerBlock& ledger = *m_memory.Block();
    RemoveDead(ledger, m_nId);
    LedgerUser* const place = TakePlace(ledger);
    m_pOwn = place;
    if (place) {
        CrashPoint();
        Fill(*place, m_nId);
        CrashPoint();
    } else {
        Warn(function, "all places are taken", ERROR_SUCCESS);
    }
}

/// One of the child's threads enters it.
void ChannelLedger::JoinInChild(const char* function) {
    unsigned known = m_nForks;
    const unsigned now = ForkCount();
    if (known != now && m_nForks.compare_exchange_strong(known, now)) {
        Enter(function);
    }
}

LedgerUser* ChannelLedger::Own() const {
    if (m_nForks.load(std::memory_order_relaxed) != ForkCount()) {
        return nullptr;
    }
    LedgerUser* const own = m_pOwn.load(std::memory_order_relaxed); // the parent's until this child has taken one
    return own && ProcessOf(own->owner) == ::GetCurrentProcessId() ? own : nullptr;
}

void ChannelLedger::NotePost(std::uint16_t index, const ZcMessageSlot& slot) const {
    if (LedgerBlock* const ledger = m_memory.Block()) {
        LedgerPost& post = ledger->posts[index];
        post.postedAt.store(CoarseNow(), std::memory_order_relaxed);
        post.mark.store(MarkOf(slot), std::memory_order_release);
    }
}

void ChannelLedger::NoteWait(DWORD timeout) const {
    LedgerUser* const user = Own();
    if (!user) {
        return;
    }
    const std::int64_t now = CoarseNow();
    if (user->waitingSince == 0 || !IsWaiting(*user, now)) {
        user->waitingSince = now;
    }
    user->waitsUntil = now + timeout;
}

void ChannelLedger::NoteNoWait() const {
    LedgerUser* const user = Own();
    if (user && user->waitingSince.load(std::memory_order_relaxed) != 0) {
        user->waitingSince = 0;
    }
}

} // namespace gaizior
