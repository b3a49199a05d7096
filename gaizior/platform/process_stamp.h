#pragma once

#include "gaizior/platform/windows_api.h"

/// What has become of a process that left its id somewhere. Ids are used again, so a process is told by its id and by a
/// number for when it began. Any thread.
namespace gaizior {

/// In the place of a number that the system does not tell.
inline constexpr DWORD kUnknownStamp = 0;

/// The number for when the calling process began.
DWORD OwnStamp();

/// @returns whether the process of that id and, if it is known, number is no longer there; false where the system does
///   not tell.
bool HasProcessEnded(DWORD processId, DWORD stamp);

/// @returns whether a signal or a debugger has stopped the process of that id; false where the system does not tell, as
///   on Windows.
bool IsProcessStopped(DWORD processId);

} // namespace gaizior
