#pragma once

#include "gaizior/platform/mutex.h"
#include "gaizior/platform/thread_local.h"
#include "gaizior/platform/windows_api.h"

#include <atomic>
#include <cstdint>
#include <type_traits>

#include <sys/types.h>

/// Threads that others suspend. A thread is stopped in the handler of a signal, wherever it is, except inside the
/// layer, where it may hold what everybody needs for a moment: the lock of an object, of the table of places, of the
/// open names. There the suspension takes effect when the thread leaves the layer. A call that takes no such lock
/// counts nothing.
namespace gaizior::platform {

class Suspension;

/// What the signal handler knows of the thread that it runs in. Nothing but the thread itself and its handler uses it;
/// atomic so that the handler finds it whole.
struct InsideState {
    std::atomic<std::uint32_t> depth{0};           ///< how many calls of the layer hold something
    std::atomic<Suspension*> suspension = nullptr; ///< null for a thread of which nobody has a handle
};
GAIZIOR_REACHED_WITHOUT_A_CALL extern constinit thread_local InsideState t_inside;

/// How often a thread has been suspended, and its stopping. Kept for the thread by whoever has a handle of it.
class Suspension {
public:
    static constexpr DWORD kMaximum = 127;

    /// Makes the calling thread the one that is suspended here.
    void Adopt();
    /// Suspends the thread once more, and returns when it has stopped, or is known to stop before it leaves the layer.
    /// @returns 0 with the count before it, ERROR_SIGNAL_REFUSED at the maximum, ERROR_ACCESS_DENIED for a thread that
    ///          has ended, or another error of the system's.
    DWORD Suspend(DWORD& previous);
    /// Takes one suspension back; the last lets the thread go on. @returns the count before it.
    DWORD Resume();
    bool IsSuspended() const {
        return (m_word.load(std::memory_order_relaxed) & kCount) != 0;
    }
    /// The id of the thread, its own and nobody else's until it has ended; 0 from then on.
    pid_t RunningThread() const {
        return m_word.load() & kEnded ? 0 : m_nThread;
    }
    /// Stops the calling thread, which this belongs to, for as long as it is suspended. Keeps errno.
    void Stop();
    /// Ends it all: nobody suspends the calling thread any more. Stops first if it is suspended.
    void End();
    /// Makes this that of the thread that a forked child has: nobody there suspends it yet.
    void ContinueInChild();
    /// The signal's handler: runs in the thread that is to stop, in the middle of anything.
    static void OnSignal(int signal);

private:
    // Parts of the word.
    static constexpr std::uint32_t kCount = 0xFF;
    static constexpr std::uint32_t kSeen = 0x100;  ///< the thread knows that the count is not 0
    static constexpr std::uint32_t kEnded = 0x200; ///< the thread cannot be suspended any more

    std::uint32_t Acknowledge();

    std::atomic<std::uint32_t> m_word{0};
    pid_t m_nThread = 0;
};

/// Keeps the calling thread from being stopped as long as it lives; may be nested.
class InsideLayer {
public:
    InsideLayer() {
        Enter();
    }
    InsideLayer(const InsideLayer&) = delete;
    InsideLayer& operator=(const InsideLayer&) = delete;
    ~InsideLayer() {
        Leave();
    }

    /// The two ends for whoever cannot have an object between them.
    static void Enter() {
        t_inside.depth.store(t_inside.depth.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }
    static void Leave() {
        std::atomic_signal_fence(std::memory_order_seq_cst);
        const std::uint32_t depth = t_inside.depth.load(std::memory_order_relaxed) - 1;
        t_inside.depth.store(depth, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);
        if (depth > 0) {
            return;
        }
        Suspension* const suspension = t_inside.suspension.load(std::memory_order_relaxed);
        if (suspension && suspension->IsSuspended()) {
            suspension->Stop();
        }
    }
};

/// Holds one of the layer's own mutexes. A thread that waits for one or holds it is inside the layer.
class GAIZIOR_SCOPED_CAPABILITY LayerLock {
public:
    explicit LayerLock(Mutex& mutex) GAIZIOR_ACQUIRE(mutex) : m_lock(mutex) {}
    ~LayerLock() GAIZIOR_RELEASE() = default;

private:
    InsideLayer m_inside;
    MutexLock m_lock;
};
static_assert(std::is_trivially_destructible_v<Mutex>, "the layer's static mutexes serve until the process has ended");

} // namespace gaizior::platform
