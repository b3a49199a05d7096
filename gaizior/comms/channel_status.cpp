#include "gaizior/comms/channel_status.h"

#include "gaizior/comms/channel_objects.h"
#include "gaizior/comms/message_pool.h"
#include "gaizior/platform/timing.h"

#include <algorithm>
#include <cstring>

using namespace gaizior;

ZRErrors::ZRErrorT ZcSnapshot(ZcChannel* block, unsigned long timeoutMs) {
    if (!block) {
        LogFailure("ZcSnapshot", "there is nowhere to copy the block to");
        return ZRErrors::e_Command_Aborted;
    }
    ChannelObjects objects;
    const ChannelLock lock = objects.Open("ZcSnapshot", ToTimeout(timeoutMs));
    if (!lock) {
        return lock.Error();
    }
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
