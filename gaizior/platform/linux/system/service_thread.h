#pragma once

namespace gaizior::platform {

/// Starts a detached thread that serves the layer. It takes no signals, so that those of the host reach
/// the host's threads. @returns 0 or an errno value.
int StartServiceThread(const char* name, void* (*run)(void*), void* argument);

} // namespace gaizior::platform
