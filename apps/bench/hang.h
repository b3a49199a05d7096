#pragma once

#include "apps/job/thread_report.h"

#include <optional>
#include <string>

namespace apps {

/// From so many milliseconds on a lock that is held or waited for is a hang: ours are held for microseconds.
inline constexpr int kHangsAfter = 2000;

/// What keeps a process from going on.
struct Hang {
    int culprit = 0;  ///< the id of the thread on whose account the others wait
    std::string text; ///< who waits for what, and who holds it, up to the culprit
};

/// Follows the longest wait from lock to holder as far as it goes; else the longest hold. Nothing when nobody hangs.
std::optional<Hang> FindHang(const ThreadReport& report);

/// The thread with that id; null when the report has none.
const ThreadState* FindThread(const ThreadReport& report, int id);
/// The lock of that name; null when the report has none.
const LockState* FindLock(const ThreadReport& report, const std::string& name);
/// "'sender' (thread 4711)".
std::string ThreadName(const ThreadReport& report, int id);

} // namespace apps
