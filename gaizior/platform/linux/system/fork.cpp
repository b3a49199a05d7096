#include "gaizior/platform/linux/system/fork.h"

#include "gaizior/platform/fork.h"
#include "gaizior/platform/linux/system/suspension.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

#include <pthread.h>

namespace gaizior {
namespace {

using platform::ForkPart;

/// In the order in which a thread may hold their locks together.
constexpr const ForkPart* kParts[] = {&platform::kConsoleForkPart, &platform::kWatcherForkPart,
                                      &platform::kNamesForkPart, &platform::kViewsForkPart,
                                      &platform::kObjectsForkPart};

constinit KeepAcrossFork* g_lastKept = nullptr;
constinit std::atomic<unsigned> g_forks{0};

/// Those above the layer come first: who holds one calls the layer. A thread is not suspended while it forks. The locks
/// of a list are more than the analysis can tell apart.
void Prepare() GAIZIOR_NO_THREAD_SAFETY_ANALYSIS {
    platform::InsideLayer::Enter();
    for (const KeepAcrossFork* kept = g_lastKept; kept; kept = kept->Next()) {
        kept->Lock().Lock();
    }
    for (const ForkPart* part : kParts) {
        part->prepare();
    }
}

void Continue(void (*ForkPart::*continuation)()) GAIZIOR_NO_THREAD_SAFETY_ANALYSIS {
    std::for_each(std::rbegin(kParts), std::rend(kParts),
                  [continuation](const ForkPart* part) { (part->*continuation)(); });
    for (const KeepAcrossFork* kept = g_lastKept; kept; kept = kept->Next()) {
        kept->Lock().Unlock();
    }
    platform::InsideLayer::Leave();
}

/// fork() calls these; posix_spawn() does not.
[[maybe_unused]] const int g_registered = ::pthread_atfork(
    &Prepare, [] { Continue(&ForkPart::continueInParent); },
    [] {
        ++g_forks;
        Continue(&ForkPart::continueInChild);
    });

} // namespace

KeepAcrossFork::KeepAcrossFork(Mutex& lock) : m_lock(lock), m_pNext(std::exchange(g_lastKept, this)) {}

unsigned ForkCount() {
    return g_forks.load(std::memory_order_relaxed);
}

} // namespace gaizior
