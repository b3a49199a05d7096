#pragma once

/// Places at which the build for tests (GAIZIOR_SEAMS) can let the process die at once, as if it had been killed there;
/// in what ships they are nothing.
namespace gaizior {

#ifdef GAIZIOR_SEAMS

namespace seams {

/// Lets the process die at the `passes`-th crash point that it reaches from now on; 0 disarms. Any thread.
void CrashAfter(unsigned passes);

} // namespace seams

void CrashPoint();

#else

inline void CrashPoint() {}

#endif

} // namespace gaizior
