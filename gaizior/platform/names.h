#pragma once

namespace gaizior {

/// Removes the names that begin with `prefix` and that nobody has open: killed processes leave them where names are
/// files. Nothing where a name goes with its last handle in any case. What cannot be removed, or is just being opened,
/// stays for the next time. Does not change the last error. Any thread.
#ifdef _WIN32
inline void RemoveUnusedNames(const char* /*prefix*/) {}
#else
void RemoveUnusedNames(const char* prefix);
#endif

} // namespace gaizior
