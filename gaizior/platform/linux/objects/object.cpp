#include "gaizior/platform/linux/objects/object.h"

#include "gaizior/platform/linux/names/named_object.h"
#include "gaizior/platform/linux/system/futex.h"
#include "gaizior/platform/linux/system/last_error.h"

#include <array>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include <sched.h>
#include <time.h>
#include <unistd.h>

namespace gaizior::platform {
namespace {

constexpr std::uint64_t kGenerationMask = 0x3FFFFFFF;
constexpr int kSpins = 100;
constexpr int kYields = 100;

/// Gives out the places. Never destroyed, as they are not.
class Table {
public:
    Object* Allocate() {
        const std::lock_guard lock(m_lock);
        if (m_free.empty() && !Grow()) {
            return nullptr;
        }
        Object* const object = m_free.back();
        m_free.pop_back();
        return object;
    }

    std::mutex& Lock() {
        return m_lock;
    }

    void Free(Object& object) {
        const std::lock_guard lock(m_lock);
        m_free.push_back(&object); // cannot fail: Grow reserved room for every place
    }

private:
    bool Grow() {
        if (m_nChunks == kMaximumChunks) {
            return false;
        }
        try {
            m_free.reserve((m_nChunks + std::size_t{1}) * kPlacesPerChunk);
        } catch (const std::bad_alloc&) {
            return false;
        }
        Object* const chunk = new (std::nothrow) Object[kPlacesPerChunk];
        if (!chunk) {
            return false;
        }
        for (std::uint32_t i = kPlacesPerChunk; i-- > 0;) {
            chunk[i].place = m_nChunks * kPlacesPerChunk + i;
            m_free.push_back(&chunk[i]);
        }
        g_chunks[m_nChunks++].store(chunk, std::memory_order_release);
        return true;
    }

    std::mutex m_lock;
    std::vector<Object*> m_free;
    std::uint32_t m_nChunks = 0;
};

Table& TheTable() {
    static Table* const table = new Table;
    return *table;
}

constinit thread_local ThreadState t_state;

/// Abandons what a thread owns when it ends, whoever started it.
struct EndOfThread {
    ~EndOfThread() {
        AbandonOwned();
    }
    void Arm() const {}
};
thread_local const EndOfThread t_endOfThread;

std::uint64_t NextGeneration(std::uint64_t word) {
    const std::uint64_t next = ((word >> kGenerationShift) + 1) & kGenerationMask;
    return next ? next : 1;
}

} // namespace

constinit std::array<std::atomic<Object*>, kMaximumChunks> g_chunks{};

void Pause(int spins) {
    if (spins >= kSpins + kYields) {
        // Yielding alone would keep a thread of lower real-time priority from ever finishing.
        const timespec nap{0, 50'000};
        ::nanosleep(&nap, nullptr);
    } else if (spins >= kSpins) {
        ::sched_yield();
    }
}

std::mutex& TableLock() {
    return TheTable().Lock();
}

ThreadState& CurrentThread() {
    if (t_state.id == 0) {
        t_state.id = static_cast<DWORD>(::gettid());
    }
    return t_state;
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
                       kOpen | state);
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
    node.previous = m_pObject->last;
    (node.previous ? node.previous->next : m_pObject->first) = &node;
    m_pObject->last = &node;
    node.isLinked.store(true, std::memory_order_relaxed);
    Set(kWaiters);
}

void ObjectLock::Unlink(WaitNode& node) {
    (node.previous ? node.previous->next : m_pObject->first) = node.next;
    (node.next ? node.next->previous : m_pObject->last) = node.previous;
    if (!m_pObject->first) {
        Clear(kWaiters);
    }
    node.isLinked.store(false, std::memory_order_release);
}

ThreadState* ObjectLock::HandOver(std::uint32_t resultBase, bool ownership) {
    for (WaitNode* node = m_pObject->first; node; node = node->next) {
        ThreadState* const thread = node->thread;
        std::uint32_t expected = kWaiting;
        if (thread->result.compare_exchange_strong(expected, resultBase + node->index)) {
            // The thread goes on when its node is unlinked, and not before.
            if (ownership) {
                m_pObject->owner.store(thread->id, std::memory_order_relaxed);
                m_pObject->recursion = 1;
            }
            Unlink(*node);
            return thread;
        }
    }
    return nullptr;
}

void ObjectLock::UnlockClosed(Object& object) const {
    // Whoever has just taken a mutex writes its name down a moment later, so the word alone tells that it is free.
    const bool isFree = GetKind() != Kind::Mutex || (m_word & kSignalled);
    if (object.first || object.pins > 0 || !isFree) {
        object.word.store(m_word, std::memory_order_release);
        return;
    }
    void* const context = std::exchange(object.context, nullptr);
    const auto release = std::exchange(object.release, nullptr);
    const std::shared_ptr<NamedObject> named = std::move(object.named);
    object.word.store(m_word & ~std::uint64_t{0xFFFFFFFF});
    TheTable().Free(object);
    if (release) {
        release(context);
    }
}

void Wake(const ThreadState* thread) {
    if (thread) {
        FutexWake(thread->result, 1, false);
    }
}

void LinkOwned(Object& mutex) {
    t_endOfThread.Arm();
    ThreadState& thread = CurrentThread();
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
        ThreadState* next = nullptr;
        {
            ObjectLock lock(*mutex);
            mutex->owner.store(0, std::memory_order_relaxed);
            next = lock.HandOver(WAIT_ABANDONED_0, true);
            if (!next) {
                lock.Set(kSignalled | kAbandoned);
            }
        }
        Wake(next);
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
