#pragma once

#include "gaizior/platform/windows_api.h"

/// Names of events that come and go with those who use them.
namespace gaizior {

/// Opens the event of that name in order to set it, without waiting for a process that is about to make, remove or look
/// at the name. Any thread. @returns null with the last error set: ERROR_BUSY where there is such a process,
/// ERROR_FILE_NOT_FOUND, and what OpenEventA has besides.
HANDLE TryOpenEvent(const char* name);

/// Removes the events that nobody has open and whose names are `prefix` and a decimal number of up to five digits:
/// killed processes leave them where names are files. Nothing where a name goes with its last handle in any case. What
/// cannot be removed, or is just being opened, stays for the next time. Does not change the last error. Any thread.
void RemoveUnusedEvents(const char* prefix);

#ifdef _WIN32
inline HANDLE TryOpenEvent(const char* name) {
    return ::OpenEventA(EVENT_MODIFY_STATE, FALSE, name);
}
inline void RemoveUnusedEvents(const char* /*prefix*/) {}
#endif

} // namespace gaizior
