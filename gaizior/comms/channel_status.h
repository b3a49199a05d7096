#pragma once

#include "gaizior/comms/channel_block.h"
#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"

/// What an examination of a channel's block found.
struct ZcFindingsT {
    unsigned short nQueued;               ///< messages reached by following the list from its start
    unsigned short anOrder[kZcSlotCount]; ///< their slots, oldest first
    unsigned short nTaken;                ///< slots that are marked as taken
    char szDamage[256];                   ///< what is wrong, in words; empty when the block is consistent
};

extern "C" {

/// Copies the machine's block into `block` under its mutex without taking part in the channel: no ID is registered and
/// nothing is purged. Waits up to `timeoutMs` for the mutex. Any thread.
/// @returns 0; e_Resource_AllocationFailed when no process has the channel open (ZcGetCommsOSError tells 2) or its
/// mutex
///   or event cannot be opened; e_File_MappingFailed when the block is just going or cannot be mapped;
///   e_Object_BadMagic when the block, which is copied all the same, is not a channel's; e_Command_TimedOut;
///   e_Command_Aborted when a wait failed or `block` is null.
GAIZIOR_API ZRErrors::ZRErrorT ZcSnapshot(ZcChannel* block, unsigned long timeoutMs);

/// Checks a copy of a block and lists what is queued in it. No index in the block is trusted. Any thread.
/// @returns 0 when it is consistent; e_Object_InvalidData when it is damaged, `findings` then holds what could be
/// found;
///   e_Command_Aborted when an argument is null.
GAIZIOR_API ZRErrors::ZRErrorT ZcExamine(const ZcChannel* block, ZcFindingsT* findings);
}
