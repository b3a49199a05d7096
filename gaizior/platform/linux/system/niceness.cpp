#include "gaizior/platform/linux/system/niceness.h"

#include "gaizior/platform/linux/system/last_error.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

#include <sys/resource.h>
#include <unistd.h>

namespace gaizior::platform {
namespace {

struct Step {
    int priority;
    int niceness; ///< added to the process's; the system cuts it to -20 to 19
};

constexpr Step kSteps[] = {{THREAD_PRIORITY_IDLE, 39},          {THREAD_PRIORITY_LOWEST, 10},
                           {THREAD_PRIORITY_BELOW_NORMAL, 5},   {THREAD_PRIORITY_NORMAL, 0},
                           {THREAD_PRIORITY_ABOVE_NORMAL, -5},  {THREAD_PRIORITY_HIGHEST, -10},
                           {THREAD_PRIORITY_TIME_CRITICAL, -39}};

const Step* FindStep(int priority) {
    return std::ranges::find(kSteps, priority, &Step::priority);
}

int NicenessOf(pid_t thread) {
    return ::getpriority(PRIO_PROCESS, static_cast<id_t>(thread));
}

} // namespace

bool IsThreadPriority(int priority) {
    return FindStep(priority) != std::end(kSteps);
}

DWORD SetNiceness(pid_t thread, int priority) {
    const int niceness = NicenessOf(::getpid()) + FindStep(priority)->niceness;
    return ::setpriority(PRIO_PROCESS, static_cast<id_t>(thread), niceness) == 0 ? ERROR_SUCCESS : ErrorOfErrno(errno);
}

void BeginAtNormalPriority() {
    if (NicenessOf(0) != NicenessOf(::getpid())) {
        SetNiceness(0, THREAD_PRIORITY_NORMAL);
    }
}

} // namespace gaizior::platform
