#pragma once

namespace gaizior::platform {

/// Starts a thread that serves the layer until the process ends. It takes no signals, so that those of the host reach
/// the host's threads. `run` must not return. @returns 0 or an errno value.
int StartServiceThread(const char* name, void* (*run)(void*), void* argument);

} // namespace gaizior::platform
