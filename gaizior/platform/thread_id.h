#pragma once

#ifdef _WIN32
#include "gaizior/platform/windows_api.h"
#else
#include "gaizior/platform/linux/objects/object.h"
#endif

namespace gaizior {

/// GetCurrentThreadId without a call, for what asks at every turn.
inline DWORD CurrentThreadId() {
#ifdef _WIN32
    return ::GetCurrentThreadId();
#else
    return platform::CurrentThread().id;
#endif
}

} // namespace gaizior
