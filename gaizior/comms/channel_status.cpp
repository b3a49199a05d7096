#include "gaizior/comms/channel_status.h"

#include "gaizior/comms/channel_objects.h"
#include "gaizior/comms/message_pool.h"
#include "gaizior/logging/debug_print.h"
#include "gaizior/platform/mutex_owner.h"
#include "gaizior/platform/timing.h"

#include <algorithm>
#include <cstring>

using namespace gaizior;

namespace {

/// Cut to fit; nowhere when there is no room.
void Tell(const std::string& text, char* report, unsigned long size) {
    if (report && size != 0) {
        report[text.copy(report, size - 1)] = 0;
    }
}

} // namespace

ZRErrors::ZRErrorT ZcSnapshot(ZcChannel* block, unsigned long timeoutMs, char* report, unsigned long size) {
    Tell({}, report, size);
    if (!block) {
        LogFailure("ZcSnapshot", "there is nowhere to copy the block to");
        return ZRErrors::e_Command_Aborted;
    }
    ChannelObjects objects;
    std::string takeover;
    const ChannelLock lock = objects.Open("ZcSnapshot", ToTimeout(timeoutMs), takeover);
    if (!lock) {
        return lock.Error();
    }
    Tell(takeover, report, size);
    std::memcpy(block, objects.section.Block(), sizeof(*block));
    return block->magic == kZcMagic ? ZRErrors::e_General_NoError : ZRErrors::e_Object_BadMagic;
}

ZRErrors::ZRErrorT ZcExamine(const ZcChannel* block, ZcFindingsT* findings) {
    if (!block || !findings) {
        LogFailure("ZcExamine", "there is no block or no place for what is found");
        return ZRErrors::e_Command_Aborted;
    }
    PoolFindings found = Examine(*block);
    if (block->magic != kZcMagic) {
        found.damage = "the magic number is wrong: this is no channel's block";
    }
    *findings = {};
    findings->nQueued = found.nQueued;
    findings->nTaken = found.nTaken;
    std::copy_n(found.order.begin(), found.nQueued, findings->anOrder);
    found.damage.copy(findings->szDamage, sizeof(findings->szDamage) - 1);
    return found.damage.empty() ? ZRErrors::e_General_NoError : ZRErrors::e_Object_InvalidData;
}

ZRErrors::ZRErrorT ZcQueryHolder(ZcHolderT* holder) {
    if (!holder) {
        LogFailure("ZcQueryHolder", "there is no place for what is found");
        return ZRErrors::e_Command_Aborted;
    }
    const UniqueHandle mutex(::OpenMutexA(MUTEX_ALL_ACCESS, FALSE, kChannelMutexName));
    if (!mutex) {
        return FailWithLastError("ZcQueryHolder", "opening the mutex", ZRErrors::e_Resource_AllocationFailed);
    }
    MutexOwner owner;
    if (!QueryMutexOwner(mutex.Get(), owner)) {
        return FailWithLastError("ZcQueryHolder", "looking at the mutex", ZRErrors::e_Command_Aborted);
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
        LogFailure("ZcRepair", "there is no place for what is done");
        return ZRErrors::e_Command_Aborted;
    }
    Tell({}, report, size);
    ChannelObjects objects;
    std::string done;
    const ChannelLock lock = objects.Open("ZcRepair", ToTimeout(timeoutMs), done);
    if (!lock) {
        return lock.Error();
    }
    if (objects.section.Block()->magic != kZcMagic) {
        LogFailure("ZcRepair", "the block carries a wrong magic number");
        return ZRErrors::e_Object_BadMagic;
    }
    if (done.empty()) {
        done = objects.Repair();
        LogRepair("ZcRepair", done);
    }
    Tell(done, report, size);
    return ZRErrors::e_General_NoError;
}
