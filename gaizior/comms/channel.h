#pragma once

/// @file
/// The message channel between the processes of one machine: one mailbox of 200 slots in shared memory.
///
/// A process opens it once under a communications ID of its own, posts texts of at most 255 characters to other IDs and
/// takes those addressed to its own, oldest first. All functions may be called from any thread. Time-outs are
/// milliseconds; 0xFFFFFFFF and more wait for ever.
///
/// What happens is told through ZRDBprintf: failures at level 0, every step at level 5. Its callback never runs while
/// the channel is locked: it may take its time, and it may call these functions.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"

extern "C" {

/// Opens or creates the channel and registers `ownID`; messages left over for that ID from an earlier run are thrown
/// away. A channel that is open already is closed first.
/// @returns 0; after a failure the channel is closed
///   - e_Resource_AllocationFailed when the mutex or the event cannot be made, or memory is short
///   - e_Command_TimedOut when the mutex was not free within 20 s; e_Command_Aborted when waiting for it failed
///   - e_File_MappingFailed when the shared memory cannot be made or has another size
///   - e_Object_BadMagic when the block is not a channel's; it is left as it is
GAIZIOR_API ZRErrors::ZRErrorT ZcOpenComms(unsigned short ownID);

/// Posts a copy of `message`, cut to 255 characters, for `destID`. `timeoutMs` limits each wait for the mutex. When all
/// slots are taken a time-out of 0 gives up at once, any other after about 2.1 s.
/// @returns 0; e_Command_TimedOut; e_Command_Aborted when a wait failed, `message` is null or the channel is not open.
GAIZIOR_API ZRErrors::ZRErrorT ZcSendMessage(const char* message, unsigned long timeoutMs, unsigned short destID);

/// Takes the oldest message for the own ID into `buffer` of `bufferSize` bytes, cut to fit and NUL-terminated; the slot
/// is freed all the same. The buffer is emptied first, whatever comes then.
///
/// A cycle waits up to 100 ms for messages, sleeps 100 ms, and counts as 100 ms against `timeoutMs`: where nothing
/// comes 1,000 takes 2.2 s (11 cycles) and 0 takes 0.2 s. Where messages wait for others it is polled every 100 ms
/// instead, and 1,000 takes 1.2 s. A take is followed by a sleep of 100 ms.
/// @returns 0; e_Command_TimedOut, also when the mutex was not free for 100 ms, logged at level 5; e_Command_Aborted
///   when a wait failed, `buffer` is null, `bufferSize` is 0 or the channel is not open (any more).
GAIZIOR_API ZRErrors::ZRErrorT ZcReceiveMessage(char* buffer, unsigned long bufferSize, unsigned long timeoutMs);

/// As ZcReceiveMessage, but for those who want a message as soon as it comes: returns at once when there is one, and
/// else, without any sleep, no later than `timeoutMs`, or 100 ms after that where the mutex is not free. 0 looks once:
/// a loop around that spins. What a sender of an older make posted, or one that died as it posted, takes up to 100 ms.
/// Both calls may be mixed, also on several threads and in several processes under one ID.
/// @returns as ZcReceiveMessage.
GAIZIOR_API ZRErrors::ZRErrorT ZcReceiveMessageAtOnce(char* buffer, unsigned long bufferSize, unsigned long timeoutMs);

/// Waits up to 1.9 s until nothing is in the pool, for whomever, writes what is left to the log and closes the channel.
/// Until then other threads send and receive as before; a receive that is still under way ends with e_Command_Aborted.
/// The messages stay for their addressees as long as another process has the channel open.
GAIZIOR_API void ZcCloseComms();

/// The operating-system error that a channel function recorded last: 258 after a time-out, 183 after an open that found
/// the block, 6 after a call without an open channel.
GAIZIOR_API unsigned int ZcGetCommsOSError();
}
