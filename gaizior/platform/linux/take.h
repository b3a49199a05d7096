#pragma once

#include "gaizior/platform/linux/named_object.h"

namespace gaizior::platform {

/// Takes what the handle leads to if it is free, without ever sleeping. @returns nothing for a handle that is closed
/// or cannot be waited for; the last error is not touched.
std::optional<Take> TryTake(HANDLE handle);

/// The same for an object that is pinned or has the caller among its waiters.
Take TryTake(Object& object);

/// Whether an in-process object could be taken by somebody; waits for a change that is under way.
bool LooksSignalled(Object& object);

} // namespace gaizior::platform
