#pragma once

/// @file
/// Who takes part in the machine's channel, for service tools. What is told here comes from a ledger that the
/// processes keep beside the channel as well as they can: one of an older make does not appear in it, and the channel
/// works without it. Other processes write it, so it is read with suspicion: a text is always one of at most 63
/// printable characters, and only the state says what the system itself told of a process.

#include "gaizior/comms/channel_block.h"
#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"

/// What becomes of one who has the channel open.
enum ZcUserStateT : int {
    kZcUserRuns = 0,    ///< the process runs
    kZcUserStopped = 1, ///< a signal or a debugger has stopped it; where the system does not tell that it runs
    kZcUserGone = 2,    ///< the process has ended without closing the channel; another may have its number by now
};

/// One who has the channel open.
struct ZcUserT {
    unsigned short nID;      ///< its communications ID
    unsigned int nProcess;   ///< its process
    long long nSince;        ///< when it opened the channel, in ms since 1970 UTC
    long long nWaitingSince; ///< since when its threads have waited in vain for the channel's mutex, in ms since 1970
                             ///< UTC; 0 where none waits, or another of its threads got it meanwhile
    int nState;              ///< a ZcUserStateT
    char szProgram[64];      ///< its program, without the path
    char szUser[64];         ///< the account under which the process runs; empty where the system does not tell
};

extern "C" {

/// Lists who has the machine's channel open, in the order of the IDs and, for one ID, of the opening. Neither waits for
/// the channel's mutex nor takes it: it answers also while the channel is held up. Any thread.
/// @param users room for `count` entries, which are filled as far as there are any; the caller's. Null with a count
///   of 0.
/// @param count entries that there is room for, 0 to 4294967295; 64 are always enough.
/// @param found receives how many there are, also where that is more than `count`; 0 after a failure.
/// @returns 0
///   - e_Resource_AllocationFailed when there is no ledger, for no process that keeps one has the channel open
///     (ZcGetCommsOSError tells 2; logged at level 5), or when it cannot be opened (5: another user's), or memory is
///     short (8)
///   - e_File_MappingFailed when it cannot be mapped, or what is there is no ledger (1006)
///   - e_Command_Aborted when `found` is null, or `users` is and `count` is not 0
GAIZIOR_API ZRErrors::ZRErrorT ZcListUsers(ZcUserT* users, unsigned int count, unsigned int* found);

/// Tells when each message of a copy of the block (ZcSnapshot) was posted. Neither waits for the channel's mutex nor
/// takes it. Any thread.
/// @param block the copy; a slot whose message has another text or addressee than the one that the ledger knows for it
///   counts as unknown. One posted without a word to the ledger is unknown, too, unless it is the same text for the
///   same ID as the one before it in that slot, whose time is then told.
/// @param times receives kZcSlotCount values, one a slot, in ms since 1970 UTC; 0 for a free slot and where it is not
///   known, as for what a process of an older make posted, and everywhere after a failure.
/// @returns as ZcListUsers; e_Command_Aborted when an argument is null.
GAIZIOR_API ZRErrors::ZRErrorT ZcGetPostTimes(const ZcChannel* block, long long* times);

/// How many messages the last successful ZcOpenComms of this process threw away, since they waited for its ID. Any
/// thread.
/// @returns 0 to kZcSlotCount; 0 where the channel was never opened.
GAIZIOR_API unsigned int ZcGetPurgedCount();
}
