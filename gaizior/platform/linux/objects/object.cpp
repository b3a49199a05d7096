#include "gaizior/platform/linux/objects/object.h"

#include "gaizior/platform/linux/names/named_object.h"
#include "gaizior/platform/linux/system/futex.h"
#include "gaizior/platform/linux/system/last_error.h"

#include <new>
#include <utility>

#include <sched.h>
#include <time.h>
#include <unistd.h>

namespace gaizior::platform {
namespace {

constexpr int kSpins = 100;
constexpr int kYields = 100;

/// Gives out the places, the one that has been free for longest first, so that a generation comes back as late as can
/// be. Never destroyed, as they are not.
class Table {
public:
    Object* Allocate() {
        const LayerLock lock(m_lock);
        if (m_nFree < kLeastFree && !Grow() && m_nFree == 0) {
            return nullptr;
        }
        --m_nFree;
        return std::exchange(m_pFirst, m_pFirst->nextFree);
    }

    Mutex& Lock() GAIZIOR_RETURN_CAPABILITY(m_lock) {
        return m_lock;
    }

    void Free(Object& object) {
        const LayerLock lock(m_lock);
        Append(object);
    }

private:
    static constexpr std::size_t kLeastFree = kPlacesPerChunk;

    bool Grow() GAIZIOR_REQUIRES(m_lock) {
        Object* const chunk = m_nChunks < kMaximumChunks ? new (std::nothrow) Object[kPlacesPerChunk] : nullptr;
        if (!chunk) {
            return false;
        }
        for (std::uint32_t i = 0; i < kPlacesPerChunk; ++i) {
            chunk[i].place = m_nChunks * kPlacesPerChunk + i;
            Append(chunk[i]);
        }
        g_chunks[m_nChunks++].store(chunk, std::memory_order_release);
        return true;
    }

    void Append(Object& object) GAIZIOR_REQUIRES(m_lock) {
        object.nextFree = nullptr;
        (m_nFree++ ? m_pLast->nextFree : m_pFirst) = &object;
        m_pLast = &object;
    }

    Mutex m_lock;
    Object* m_pFirst GAIZIOR_GUARDED_BY(m_lock) = nullptr;
    Object* m_pLast GAIZIOR_GUARDED_BY(m_lock) = nullptr;
    std::size_t m_nFree GAIZIOR_GUARDED_BY(m_lock) = 0;
    std::uint32_t m_nChunks GAIZIOR_GUARDED_BY(m_lock) = 0;
};

Table& TheTable() {
    static Table* const table = new Table;
    return *table;
}

std::uint64_t NextGeneration(std::uint64_t word) {
    const std::uint64_t next = ((word >> kGenerationShift) + 1) % kGenerations;
    return next ? next : 1;
}

} // namespace

constinit std::array<std::atomic<Object*>, kMaximumChunks> g_chunks{};
constinit thread_local ThreadState t_thread;

void Pause(int spins) {
    if (spins >= kSpins + kYields) {
        // Yielding alone would keep a thread of lower real-time priority from ever finishing.
        const timespec nap{0, 50'000};
        ::nanosleep(&nap, nullptr);
    } else if (spins >= kSpins) {
        ::sched_yield();
    }
}

DWORD AskThreadId() {
    return static_cast<DWORD>(::gettid());
}

Mutex& TableLock() {
    return TheTable().Lock();
}

Object* NewObject(Kind kind, std::uint64_t state) {
    Object* const object = TheTable().Allocate();
    if (!object) {
        Fail(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    const std::uint64_t generation = NextGeneration(object->word.load(std::memory_order_relaxed));
    object->owner.store(0, std::memory_order_relaxed);
    object->exitCode.store(STILL_ACTIVE, std::memory_order_relaxed);
    object->word.store(generation << kGenerationShift | std::uint64_t{static_cast<std::uint8_t>(kind)} << kKindShift |
                           kOpen | state,
                       std::memory_order_release);
    return object;
}

HANDLE HandleOf(const Object& object) {
    const std::uint64_t generation = object.word.load() >> kGenerationShift;
    const std::uint64_t place = (std::uint64_t{object.place} + 1) << kPlaceShift;
    return reinterpret_cast<HANDLE>(generation << kGenerationShift | place);
}

HANDLE NewHandle(Kind kind, std::uint64_t state) {
    const Object* const object = NewObject(kind, state);
    if (!object) {
        return nullptr;
    }
    ::SetLastError(ERROR_SUCCESS);
    return HandleOf(*object);
}

std::uint64_t AwaitUnlocked(const Object& object) {
    for (int spins = 0;; ++spins) {
        const std::uint64_t word = object.word.load();
        if (!(word & kLocked)) {
            return word;
        }
        Pause(spins);
    }
}

void ObjectLock::Link(WaitNode& node) {
    node.next = nullptr;
    node.previous = (*this)->last;
    (node.previous ? node.previous->next : (*this)->first) = &node;
    (*this)->last = &node;
    node.isLinked.store(true, std::memory_order_relaxed);
    Set(kWaiters);
}

void ObjectLock::Remove(WaitNode& node) {
    (node.previous ? node.previous->next : (*this)->first) = node.next;
    (node.next ? node.next->previous : (*this)->last) = node.previous;
    if (!(*this)->first) {
        Clear(kWaiters);
    }
}

void ObjectLock::Unlink(WaitNode& node) {
    Remove(node);
    node.isLinked.store(false, std::memory_order_relaxed);
}

bool ObjectLock::HandOver(Woken& woken, std::uint32_t resultBase, bool ownership) {
    for (WaitNode* node = (*this)->first; node; node = node->next) {
        std::uint32_t expected = kWaiting;
        if (node->thread->result.compare_exchange_strong(expected, resultBase + node->index)) {
            if (ownership) {
                (*this)->owner.store(node->thread->id, std::memory_order_relaxed);
                (*this)->recursion = 1;
            }
            Remove(*node);
            woken.Add(*node);
            return true;
        }
    }
    return false;
}

void ObjectLock::HandToAll(Woken& woken) {
    Set(kSignalled);
    while (HandOver(woken, WAIT_OBJECT_0)) {
    }
}

void ObjectLock::UnlockClosed() const {
    Object& object = **this;
    // Whoever has just taken a mutex writes its name down a moment later, so the word alone tells that it is free.
    const bool isFree = GetKind() != Kind::Mutex || (m_word & kSignalled);
    if ((*this)->first || (*this)->pins > 0 || !isFree) {
        object.word.store(m_word, std::memory_order_release);
        return;
    }
    void* const context = std::exchange(object.context, nullptr);
    const auto release = std::exchange(object.release, nullptr);
    const std::shared_ptr<NamedObject> named = std::move((*this)->named);
    object.word.store(m_word >> kGenerationShift << kGenerationShift, std::memory_order_release);
    TheTable().Free(object);
    if (release) {
        release(context);
    }
}

Woken::~Woken() {
    while (m_pFirst) {
        // Unlinked, the node may vanish with its thread; a wake needs no more of that than the address.
        const std::atomic<std::uint32_t>& sleptOn = m_pFirst->thread->result;
        WaitNode& node = *std::exchange(m_pFirst, m_pFirst->next);
        node.isLinked.store(false, std::memory_order_release);
        FutexWake(sleptOn, 1, false);
    }
}

void LinkOwned(Object& mutex) {
    ThreadState& thread = CurrentThread();
    if (!thread.isEndArmed) {
        ArmEndOfThread();
    }
    mutex.previousOwned = nullptr;
    mutex.nextOwned = thread.owned;
    if (thread.owned) {
        thread.owned->previousOwned = &mutex;
    }
    thread.owned = &mutex;
}

void UnlinkOwned(Object& mutex) {
    (mutex.previousOwned ? mutex.previousOwned->nextOwned : CurrentThread().owned) = mutex.nextOwned;
    if (mutex.nextOwned) {
        mutex.nextOwned->previousOwned = mutex.previousOwned;
    }
}

void AbandonOwned() {
    while (Object* const mutex = CurrentThread().owned) {
        UnlinkOwned(*mutex);
        Woken woken;
        ObjectLock lock(*mutex);
        mutex->owner.store(0, std::memory_order_relaxed);
        if (!lock.HandOver(woken, WAIT_ABANDONED_0, true)) {
            lock.Set(kSignalled | kAbandoned);
        }
    }
}

} // namespace gaizior::platform

BOOL gaizior_windows_api::CloseHandle(HANDLE handle) {
    using namespace gaizior::platform;
    ObjectLock lock{Reference(handle)};
    if (!lock) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    lock.Clear(kOpen);
    // A mutex that nobody waits for goes with its handle; otherwise its owner's end still releases the waiters.
    if (lock->owner.load(std::memory_order_relaxed) == CurrentThread().id && !lock->first) {
        UnlinkOwned(*lock);
        lock->owner.store(0, std::memory_order_relaxed);
        lock.Set(kSignalled);
    }
    return TRUE;
}

DWORD gaizior_windows_api::GetCurrentThreadId() {
    return gaizior::platform::CurrentThread().id;
}
