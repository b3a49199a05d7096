#include "gaizior/comms/channel_users.h"

#include "gaizior/comms/channel_ledger.h"
#include "gaizior/comms/channel_objects.h"
#include "gaizior/platform/coarse_clock.h"
#include "gaizior/platform/process_account.h"
#include "gaizior/platform/process_stamp.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <optional>
#include <string_view>
#include <tuple>

using namespace gaizior;

namespace {

using ZRErrors::ZRErrorT;

/// A moment that somebody wrote; 0 unless it has been.
long long Credible(long long moment) {
    return moment > 0 && moment <= CoarseNow() ? moment : 0;
}

/// Cut to fit, without control characters.
template <std::size_t Size>
void CopyText(std::string_view from, char (&to)[Size]) {
    const std::size_t length = from.substr(0, from.find('\0')).copy(to, Size - 1);
    std::replace_if(
        to, to + length, [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    to[length] = 0;
}

ZcUserStateT StateOf(DWORD process, DWORD stamp) {
    return HasProcessEnded(process, stamp) ? kZcUserGone : IsProcessStopped(process) ? kZcUserStopped : kZcUserRuns;
}

/// Nothing for a place that is free, or is taken or given up in this moment.
std::optional<ZcUserT> Read(const LedgerUser& place) {
    const std::uint64_t owner = place.owner;
    const std::int64_t since = place.since;
    const std::uint32_t id = place.id;
    const bool isWaiting = IsWaiting(place, CoarseNow());
    const std::int64_t waitingSince = place.waitingSince;
    std::array<std::uint64_t, std::tuple_size_v<decltype(place.program)>> program{};
    std::copy(place.program.begin(), place.program.end(), program.begin());
    const std::uint32_t process = ProcessOf(owner);
    if (process == 0 || since == 0 || place.owner != owner || place.since != since || id > 0xFFFF) {
        return std::nullopt;
    }
    ZcUserT user{};
    user.nID = static_cast<unsigned short>(id);
    user.nProcess = process;
    user.nSince = Credible(since);
    user.nState = StateOf(process, StampOf(owner));
    CopyText({reinterpret_cast<const char*>(program.data()), sizeof(program)}, user.szProgram);
    if (user.nState != kZcUserGone) {
        user.nWaitingSince = isWaiting ? Credible(waitingSince) : 0;
        CopyText(AccountOf(process), user.szUser);
    }
    return user;
}

/// @returns how many there are, in order.
std::size_t ReadAll(const LedgerBlock& ledger, std::array<ZcUserT, kLedgerUsers>& users) {
    std::size_t count = 0;
    for (const LedgerUser& place : ledger.users) {
        if (const std::optional<ZcUserT> user = Read(place)) {
            users[count++] = *user;
        }
    }
    std::sort(users.data(), users.data() + count, [](const ZcUserT& a, const ZcUserT& b) {
        return std::tie(a.nID, a.nSince, a.nProcess) < std::tie(b.nID, b.nSince, b.nProcess);
    });
    return count;
}

/// Opens the ledger for a look. That there is none is no failure to be told.
ZRErrorT Open(LedgerMemory& memory, const char* function) {
    if (memory.Open()) {
        return ZRErrors::e_General_NoError;
    }
    if (memory.IsOpen()) {
        return Tell(function, FailedWithLastError("mapping the ledger", ZRErrors::e_File_MappingFailed));
    }
    const ChannelFailure failure = FailedWithLastError("opening the ledger", ZRErrors::e_Resource_AllocationFailed);
    return Tell(function, failure, IsMissing(failure) ? kStepLevel : kFailureLevel);
}

} // namespace

ZRErrorT ZcListUsers(ZcUserT* users, unsigned int count, unsigned int* found) try {
    constexpr const char* kFunction = "ZcListUsers";
    if (!found || (!users && count != 0)) {
        return Refuse(kFunction, "there is no place for what is found");
    }
    *found = 0;
    LedgerMemory memory;
    if (const ZRErrorT code = Open(memory, kFunction); code != ZRErrors::e_General_NoError) {
        return code;
    }
    std::array<ZcUserT, kLedgerUsers> all;
    const std::size_t read = ReadAll(*memory.Block(), all);
    std::copy_n(all.begin(), std::min<std::size_t>(read, count), users);
    *found = static_cast<unsigned>(read);
    return ZRErrors::e_General_NoError;
} catch (const std::bad_alloc&) {
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return Tell("ZcListUsers", FailedWithLastError("finding memory", ZRErrors::e_Resource_AllocationFailed));
}

ZRErrorT ZcGetPostTimes(const ZcChannel* block, long long* times) {
    constexpr const char* kFunction = "ZcGetPostTimes";
    if (!block || !times) {
        return Refuse(kFunction, "there is no block or no place for its times");
    }
    std::fill_n(times, kZcSlotCount, 0);
    LedgerMemory memory;
    if (const ZRErrorT code = Open(memory, kFunction); code != ZRErrors::e_General_NoError) {
        return code;
    }
    for (std::size_t i = 0; i < kZcSlotCount; ++i) {
        const ZcMessageSlot& slot = block->slots[i];
        const LedgerPost& post = memory.Block()->posts[i];
        const long long postedAt = post.postedAt;
        if (slot.taken == 1 && post.mark == MarkOf(slot)) {
            times[i] = Credible(postedAt);
        }
    }
    return ZRErrors::e_General_NoError;
}
