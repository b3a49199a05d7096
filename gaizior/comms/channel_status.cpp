#include "gaizior/comms/channel_status.h"

#include "gaizior/comms/channel_objects.h"
#include "gaizior/comms/message_pool.h"
#include "gaizior/platform/mutex_owner.h"
#include "gaizior/platform/timing.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <optional>
#include <string_view>

using namespace gaizior;

namespace {

/// Cut to fit; nowhere when there is no room.
void Copy(std::string_view text, char* report, unsigned long size) {
    if (report && size != 0) {
        report[text.copy(report, size - 1)] = 0;
    }
}

/// Copies the block under the lock that `take` gets of the objects.
template <typename Take>
ZRErrors::ZRErrorT CopyBlock(ChannelObjects& objects, Take take, ZcChannel* block, unsigned long timeoutMs,
                             char* report, unsigned long size) {
    Copy({}, report, size);
    if (!block) {
        return Refuse("ZcSnapshot", "there is nowhere to copy the block to");
    }
    const ChannelLock lock = std::invoke(take, objects, "ZcSnapshot", ToTimeout(timeoutMs));
    if (!lock) {
        return Tell("ZcSnapshot", lock.Failure());
    }
    Copy(lock.Report().View(), report, size);
    std::memcpy(block, objects.section.Block(), sizeof(*block));
    return block->magic == kZcMagic ? ZRErrors::e_General_NoError : ZRErrors::e_Object_BadMagic;
}

/// The lock under which a channel's block may be changed, or why it is not to be had.
ChannelLock LockForChange(ChannelObjects& objects, const char* function, DWORD timeout) {
    ChannelLock lock = objects.Open(function, timeout);
    if (lock && objects.section.Block()->magic != kZcMagic) {
        return ChannelLock(ChannelFailure{ZRErrors::e_Object_BadMagic, "the block carries a wrong magic number"});
    }
    return lock;
}

/// The lock has gone when this returns.
ChannelFailure RepairBlock(ChannelObjects& objects, DWORD timeout, char* report, unsigned long size) {
    ChannelLock lock = LockForChange(objects, "ZcRepair", timeout);
    if (!lock) {
        return lock.Failure();
    }
    if (lock.Report().empty()) {
        lock.NoteRepair(objects.Repair());
    }
    Copy(lock.Report().View(), report, size);
    return {};
}

/// The lock has gone when this returns.
ChannelFailure TakeAll(ChannelObjects& objects, std::uint16_t id, DWORD timeout, char (*messages)[kZcMessageSize],
                       unsigned count, unsigned& taken) {
    ChannelLock lock = LockForChange(objects, "ZcPurge", timeout);
    while (lock && taken < count && objects.Take(lock, id, messages[taken], sizeof(messages[taken]))) {
        ++taken;
    }
    return lock.Failure();
}

} // namespace

ZRErrors::ZRErrorT ZcSnapshot(ZcChannel* block, unsigned long timeoutMs, char* report, unsigned long size) {
    ChannelObjects objects;
    return CopyBlock(objects, &ChannelObjects::Open, block, timeoutMs, report, size);
}

ZRErrors::ZRErrorT ZcExamine(const ZcChannel* block, ZcFindingsT* findings) {
    if (!block || !findings) {
        return Refuse("ZcExamine", "there is no block or no place for what is found");
    }
    PoolFindings found = Examine(*block);
    if (block->magic != kZcMagic) {
        found.damage.Format("the magic number is wrong: this is no channel's block");
    }
    *findings = {};
    findings->nQueued = found.nQueued;
    findings->nTaken = found.nTaken;
    std::copy_n(found.order.begin(), found.nQueued, findings->anOrder);
    Copy(found.damage.View(), findings->szDamage, sizeof(findings->szDamage));
    return found.damage.empty() ? ZRErrors::e_General_NoError : ZRErrors::e_Object_InvalidData;
}

ZRErrors::ZRErrorT ZcQueryHolder(ZcHolderT* holder) {
    if (!holder) {
        return Refuse("ZcQueryHolder", "there is no place for what is found");
    }
    const UniqueHandle mutex(::OpenMutexA(MUTEX_ALL_ACCESS, FALSE, kChannelMutexName));
    if (!mutex) {
        return Tell("ZcQueryHolder", FailedWithLastError("opening the mutex", ZRErrors::e_Resource_AllocationFailed));
    }
    MutexOwner owner;
    if (!QueryMutexOwner(mutex.Get(), owner)) {
        return Tell("ZcQueryHolder", FailedWithLastError("looking at the mutex", ZRErrors::e_Command_Aborted));
    }
    *holder = {owner.isHeld,
               owner.isAbandoned,
               static_cast<unsigned>(owner.process),
               static_cast<unsigned>(owner.thread),
               owner.since,
               {}};
    owner.program.copy(holder->szProgram, sizeof(holder->szProgram) - 1);
    return ZRErrors::e_General_NoError;
}

ZRErrors::ZRErrorT ZcRepair(char* report, unsigned long size, unsigned long timeoutMs) {
    if (!report || size == 0) {
        return Refuse("ZcRepair", "there is no place for what is done");
    }
    Copy({}, report, size);
    ChannelObjects objects;
    const ChannelFailure failure = RepairBlock(objects, ToTimeout(timeoutMs), report, size);
    return failure ? Tell("ZcRepair", failure) : ZRErrors::e_General_NoError;
}

ZRErrors::ZRErrorT ZcPurge(unsigned short id, unsigned long timeoutMs, char (*messages)[kZcMessageSize],
                           unsigned int count, unsigned int* taken) {
    if (!taken || (!messages && count != 0)) {
        return Refuse("ZcPurge", "there is no place for what is taken");
    }
    *taken = 0;
    ChannelObjects objects;
    const ChannelFailure failure = TakeAll(objects, id, ToTimeout(timeoutMs), messages, count, *taken);
    return failure ? Tell("ZcPurge", failure) : ZRErrors::e_General_NoError;
}

struct ZcViewerC::KeptT {
    std::optional<ChannelObjects> objects;
};

ZcViewerC::ZcViewerC() : m_pKept(std::make_unique<KeptT>()) {}

ZcViewerC::~ZcViewerC() = default;

/// The clock is the machine's: while none of them keeps anything the last of them sees that nobody else does.
ZRErrors::ZRErrorT ZcViewerC::Snapshot(ZcChannel* block, unsigned long timeoutMs, char* report, unsigned long size) {
    constexpr ULONGLONG kPeriod = 1000; // ms
    constexpr ULONGLONG kWithout = 50;
    std::optional<ChannelObjects>& objects = m_pKept->objects;
    const bool keeps = TickCount() % kPeriod >= kWithout;
    if (!keeps) {
        objects.reset();
    }
    const bool isKept = objects.has_value();
    const ZRErrors::ZRErrorT code =
        isKept ? CopyBlock(*objects, &ChannelObjects::Lock, block, timeoutMs, report, size)
               : CopyBlock(objects.emplace(), &ChannelObjects::Open, block, timeoutMs, report, size);
    if (!keeps || code != ZRErrors::e_General_NoError) {
        objects.reset();
    }
    return code;
}

void* ZcViewerC::GetEvent() const {
    return m_pKept->objects ? m_pKept->objects->event.Get() : nullptr;
}
