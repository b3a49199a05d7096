#pragma once

#include "apps/support/failure.h"
#include "gaizior/comms/channel_status.h"
#include "gaizior/platform/windows_api.h"

#include <string>

namespace apps {

/// How long a program waits for the channel's lock unless it is told otherwise, in milliseconds.
inline constexpr DWORD kLockTimeout = 2000;

/// Whether a call on the channel failed because no process has it open.
bool IsAbsent(ZRErrors::ZRErrorT code);

/// The failure of whoever cannot get at the channel, with its cause and what to do next.
/// @param function "Class::Method(): "
/// @param code what the channel's function returned; ZcGetCommsOSError is asked for the system's error.
/// @param what "the message channel cannot be read"
Failure ChannelFailure(const char* function, ZRErrors::ZRErrorT code, const std::string& what);

/// Why those who have the channel open cannot be listed, and what to do; asks ZcGetCommsOSError.
std::string LedgerCause();

/// The failure of whoever cannot have the object of that name, to which the system said `error`.
Failure ObjectFailure(const char* function, DWORD error, const std::string& name, const std::string& what);

/// "imager (process 4711, thread 4712)", as far as the system tells.
std::string HolderText(const ZcHolderT& holder);

/// For whoever is about to open the channel, which waits for its lock for long and deaf to Ctrl-C: waits until nobody
/// has that for longer than a moment, without taking it. There need not be a channel yet.
/// @param patience in milliseconds
/// @param hInterrupt an event that ends the wait; null for none
/// @returns 0; e_Command_TimedOut; kUserAborted; e_Resource_AllocationFailed (ZcGetCommsOSError tells 2) where
///   the mutex was removed from a channel that processes have open
ZRErrors::ZRErrorT AwaitLock(DWORD patience, HANDLE hInterrupt);

} // namespace apps
