#include "gaizior/platform/linux/names/robust_mutex.h"

#include "gaizior/platform/coarse_clock.h"
#include "gaizior/platform/linux/objects/object.h"

#include <cerrno>

#include <linux/futex.h>

namespace gaizior::platform {
namespace {

constexpr auto kHasSleepers = static_cast<std::uint32_t>(FUTEX_WAITERS);

} // namespace

void RobustMutex::Begin() {
    pthread_mutexattr_t attributes;
    ::pthread_mutexattr_init(&attributes);
    ::pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    ::pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    ::pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    ::pthread_mutex_init(&m_mutex, &attributes);
    ::pthread_mutexattr_destroy(&attributes);
}

bool RobustMutex::IsMine() const {
    return (Word().load(std::memory_order_relaxed) & FUTEX_TID_MASK) == CurrentThread().id;
}

Take RobustMutex::TryTake() {
    const int result = ::pthread_mutex_trylock(&m_mutex);
    if (result != 0 && result != EOWNERDEAD) {
        return Take::No;
    }
    if (m_mutex.__data.__count == 1) {
        m_nTakenAt.store(CoarseNow(), std::memory_order_relaxed);
    }
    if (result == 0) {
        return Take::Taken;
    }
    ::pthread_mutex_consistent(&m_mutex);
    return Take::Abandoned;
}

void RobustMutex::Release() {
    ::pthread_mutex_unlock(&m_mutex);
}

RobustMutex::Owner RobustMutex::CurrentOwner() const {
    const std::uint32_t word = Word().load();
    const DWORD thread = word & FUTEX_TID_MASK;
    const std::int64_t since = m_nTakenAt.load(std::memory_order_relaxed); // others may write anything there
    return {thread, thread == 0 && (word & FUTEX_OWNER_DIED), since > 0 && since <= CoarseNow() ? since : 0};
}

FutexWord RobustMutex::PrepareSleep() {
    std::uint32_t word = Word().load();
    do {
        if ((word & FUTEX_TID_MASK) == 0) {
            return {nullptr, 0, true};
        }
    } while (!Word().compare_exchange_weak(word, word | kHasSleepers));
    return {&Word(), word | kHasSleepers, true};
}

void RobustMutex::RemindOfSleepers() {
    Word().fetch_or(kHasSleepers);
}

void RobustMutex::PassWakeOn() {
    FutexWake(Word(), 1, true);
}

/// The word that the C library keeps the owner in; threads that wait for several objects sleep on it.
std::atomic<std::uint32_t>& RobustMutex::Word() {
    static_assert(sizeof(m_mutex.__data.__lock) == sizeof(std::atomic<std::uint32_t>));
    return reinterpret_cast<std::atomic<std::uint32_t>&>(m_mutex.__data.__lock);
}

const std::atomic<std::uint32_t>& RobustMutex::Word() const {
    return const_cast<RobustMutex*>(this)->Word();
}

} // namespace gaizior::platform
