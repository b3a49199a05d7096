#pragma once

namespace gaizior {

/// Whether a message box is shown under the locks of its caller. On Windows it keeps others waiting until it is
/// answered, as applications there expect of a log; on Linux it is the host's handler, which may need those others.
#ifdef _WIN32
inline constexpr bool kBoxesHoldLocks = true;
#else
inline constexpr bool kBoxesHoldLocks = false;
#endif

} // namespace gaizior
