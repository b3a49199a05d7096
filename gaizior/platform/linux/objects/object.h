#pragma once

#include "gaizior/platform/linux/system/suspension.h"
#include "gaizior/platform/thread_local.h"
#include "gaizior/platform/windows_api.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

/// What stands behind a handle. A handle is an index into one process-wide table and the generation of what was put
/// there. The place in the table is the object itself: one atomic word holds its generation, kind and state, so that
/// setting an event or taking a free mutex is one compare-and-swap, which fails for a closed handle. Places are never
/// given back to the system, so a stale handle may look at one at any time.
namespace gaizior::platform {

class NamedObject;
struct Object;
struct StartedThread;

enum class Kind : std::uint8_t {
    None,
    Event,
    Mutex,
    Semaphore,
    Thread,        ///< one of this process, started by CreateThread
    ProcessThread, ///< the first thread of another process
    Process,
    NamedEvent,
    NamedMutex,
    Section,
    Key ///< of the registry
};

// The lower bits of an object's word; above them is its generation.
inline constexpr std::uint64_t kSignalled = 1u << 0; ///< event set, mutex free, semaphore above 0, thread ended
inline constexpr std::uint64_t kLocked = 1u << 1;    ///< somebody changes the object, for a few instructions
inline constexpr std::uint64_t kWaiters = 1u << 2;   ///< its list of waiters is not empty
inline constexpr std::uint64_t kAbandoned = 1u << 3; ///< the mutex's last owner ended without releasing it
inline constexpr std::uint64_t kManual = 1u << 4;    ///< stays signalled when it is taken
inline constexpr std::uint64_t kOpen = 1u << 5;      ///< a handle leads here
inline constexpr int kKindShift = 8;
inline constexpr int kGenerationShift = 27;
inline constexpr std::uint64_t kGenerations = std::uint64_t{1} << 36; ///< a handle is not negative

constexpr Kind KindOf(std::uint64_t word) {
    return static_cast<Kind>(word >> kKindShift & 0xFF);
}

/// A thread as a waiter and as an owner of mutexes.
struct ThreadState {
    /// What the thread sleeps on: kWaiting, kClaimed, or the result that whoever signalled an object handed to it.
    std::atomic<std::uint32_t> result{0};
    DWORD id = 0;
    Object* owned = nullptr;          ///< the unnamed mutexes that it owns; only the thread itself changes the list
    int namedOwned = 0;               ///< how often it holds named mutexes, which the kernel abandons for it
    StartedThread* started = nullptr; ///< what CreateThread keeps of it; null for any other thread
    bool isEndArmed = false;          ///< OnThreadEnd will be called
    int endRounds = 0;                ///< how often it was
};

inline constexpr std::uint32_t kWaiting = 0xFFFFFFFF; ///< asleep or about to: may be handed an object
inline constexpr std::uint32_t kClaimed = 0xFFFFFFFE; ///< looks after itself: must not be handed one

/// The calling thread.
GAIZIOR_REACHED_WITHOUT_A_CALL extern constinit thread_local ThreadState t_thread;

DWORD AskThreadId();

inline ThreadState& CurrentThread() {
    if (t_thread.id == 0) {
        t_thread.id = AskThreadId();
    }
    return t_thread;
}

/// One thread's place in one object's list of waiters; lives on the waiting thread's stack.
struct WaitNode {
    ThreadState* thread = nullptr;
    std::uint32_t index = 0; ///< of the object among those waited for
    WaitNode* next = nullptr;
    WaitNode* previous = nullptr;
    /// Cleared as the last that others do to the node; until then its thread stays in the wait.
    std::atomic<bool> isLinked{false};
};

/// Those who were handed an object. They go on when this ends, which must be after the object's lock is released, so
/// this stands before it. Whoever hands over is not suspended until they have been woken.
class Woken {
public:
    Woken() = default;
    Woken(const Woken&) = delete;
    Woken& operator=(const Woken&) = delete;
    ~Woken();
    void Add(WaitNode& node) {
        node.next = nullptr;
        *m_pEnd = &node;
        m_pEnd = &node.next;
    }

private:
    InsideLayer m_inside;
    WaitNode* m_pFirst = nullptr;
    WaitNode** m_pEnd = &m_pFirst;
};

struct GAIZIOR_CAPABILITY("object") alignas(64) Object {
    std::atomic<std::uint64_t> word{0};
    std::uint32_t place = 0; ///< in the table
    bool isLockedForFork = false;
    Object* nextFree = nullptr; ///< the place to be used after this one, where both are free

    // Reached through an ObjectLock alone:
    WaitNode* first GAIZIOR_GUARDED_BY(this) = nullptr;
    WaitNode* last GAIZIOR_GUARDED_BY(this) = nullptr;
    int pins GAIZIOR_GUARDED_BY(this) = 0; ///< references of those who will signal it

    // A mutex's: `owner` is read by anybody, the rest is the owner's.
    std::atomic<DWORD> owner{0};
    std::uint32_t recursion = 0;
    Object* nextOwned = nullptr;
    Object* previousOwned = nullptr;

    // A semaphore's, likewise:
    LONG count GAIZIOR_GUARDED_BY(this) = 0;
    LONG maximum GAIZIOR_GUARDED_BY(this) = 0;

    // A thread's or a process's:
    std::atomic<DWORD> exitCode{STILL_ACTIVE};
    void* context = nullptr;
    void (*release)(void*) = nullptr;

    // A named object's or a section's, likewise:
    std::shared_ptr<NamedObject> named GAIZIOR_GUARDED_BY(this);
};

/// Makes an object, unlocked, without a waiter, and its handle. Null when memory runs out.
Object* NewObject(Kind kind, std::uint64_t state);
HANDLE HandleOf(const Object& object);
/// Makes an object that is all in its word; the last error is 0 then. @returns its handle or null.
HANDLE NewHandle(Kind kind, std::uint64_t state);

inline constexpr int kPlaceShift = 2; // handles are multiples of 4 and the two bits are ignored, as on Windows
inline constexpr std::uint32_t kPlacesPerChunk = 256;
inline constexpr std::uint32_t kMaximumChunks = 65536;
static_assert(kMaximumChunks * kPlacesPerChunk < 1u << (kGenerationShift - kPlaceShift));

/// The places for objects, so many at a time. Never given back: handles are closed until the very end of the process.
extern std::array<std::atomic<Object*>, kMaximumChunks> g_chunks;
/// Guards which places are free. Who holds it takes no other lock but an object's.
Mutex& TableLock();

/// Waits until nobody changes the object. @returns its word.
std::uint64_t AwaitUnlocked(const Object& object);

/// The place that a handle leads to and what its word must hold for the handle to be open. Every call on a handle
/// begins with one, so it is inline and travels in two registers.
class Reference {
public:
    /// Leads nowhere for what cannot be a handle.
    explicit Reference(HANDLE handle) {
        const auto value = reinterpret_cast<std::uint64_t>(handle);
        const std::uint32_t place = (static_cast<std::uint32_t>(value & ~kGenerationMask) >> kPlaceShift) - 1;
        if (place >= kMaximumChunks * kPlacesPerChunk) {
            return;
        }
        Object* const chunk = g_chunks[place / kPlacesPerChunk].load(std::memory_order_acquire);
        m_pObject = chunk ? chunk + place % kPlacesPerChunk : nullptr;
        m_wanted = (value & kGenerationMask) | kOpen;
    }
    /// To an object that cannot vanish (it is pinned, owned, or waited for by the caller), be its handle open or not.
    explicit Reference(Object& present) : m_pObject(&present) {}

    Object& operator*() const {
        return *m_pObject;
    }
    Object* operator->() const {
        return m_pObject;
    }
    /// The object's word when nobody is changing it; 0 when the handle is closed or leads nowhere.
    std::uint64_t Load() const {
        if (!m_pObject) {
            return 0;
        }
        std::uint64_t word = m_pObject->word.load();
        if (word & kLocked) {
            word = AwaitUnlocked(*m_pObject);
        }
        return (word & kMask) == m_wanted || m_wanted == 0 ? word : 0;
    }

private:
    static constexpr std::uint64_t kGenerationMask = ~std::uint64_t{0} << kGenerationShift;
    static constexpr std::uint64_t kMask = kGenerationMask | kOpen;

    Object* m_pObject = nullptr;
    std::uint64_t m_wanted = 0; ///< generation and kOpen; 0 wants whatever is there
};

/// Holds an object's lock bit. Everything that is not a single change of the word happens under it. To the analysis it
/// is the lock itself: what it guards is reached by its arrow.
class GAIZIOR_CAPABILITY("object's lock") ObjectLock {
public:
    /// Locks what the handle leads to, or nothing when it is closed.
    explicit ObjectLock(Reference reference) GAIZIOR_ACQUIRE() {
        do {
            m_word = reference.Load();
            if (m_word == 0) {
                return;
            }
        } while (!reference->word.compare_exchange_weak(m_word, m_word | kLocked));
        m_pObject = &*reference;
    }
    explicit ObjectLock(Object& present) GAIZIOR_ACQUIRE() : ObjectLock(Reference(present)) {}
    ObjectLock(const ObjectLock&) = delete;
    ObjectLock& operator=(const ObjectLock&) = delete;
    /// Releases the lock; the place is free again when nothing leads to the object any more.
    ~ObjectLock() GAIZIOR_RELEASE() {
        if (m_pObject) {
            (m_word & kOpen) ? m_pObject->word.store(m_word, std::memory_order_release) : UnlockClosed();
        }
    }
    explicit operator bool() const {
        return m_pObject != nullptr;
    }
    Object& operator*() const {
        return *m_pObject;
    }
    Object* operator->() const {
        return m_pObject;
    }
    std::uint64_t Word() const {
        return m_word;
    }
    Kind GetKind() const {
        return KindOf(m_word);
    }
    void Set(std::uint64_t bits) {
        m_word |= bits;
    }
    void Clear(std::uint64_t bits) {
        m_word &= ~bits;
    }
    void Link(WaitNode& node) GAIZIOR_REQUIRES(this);
    void Unlink(WaitNode& node) GAIZIOR_REQUIRES(this);
    /// Gives the object to the first waiter that can take it, which goes on when `woken` ends. For a mutex `ownership`
    /// makes it the owner. @returns false when there is none.
    bool HandOver(Woken& woken, std::uint32_t resultBase, bool ownership = false) GAIZIOR_REQUIRES(this);
    /// Signals the object for good, and lets all go on who wait for it: also those who would find it reset already.
    void HandToAll(Woken& woken) GAIZIOR_REQUIRES(this);

private:
    void Remove(WaitNode& node) GAIZIOR_REQUIRES(this);
    void UnlockClosed() const GAIZIOR_REQUIRES(this);

    InsideLayer m_inside;
    Object* m_pObject = nullptr;
    std::uint64_t m_word = 0;
};

/// Passes the time while another thread finishes a few instructions; `spins` counts the calls of one such wait.
void Pause(int spins);

/// Keeps the mutexes of a thread so that they can be abandoned when it ends.
void LinkOwned(Object& mutex);
void UnlinkOwned(Object& mutex);
/// Abandons all mutexes of the calling thread, which is about to end.
void AbandonOwned();

/// Has the calling thread, whoever started it, abandon its mutexes when it ends, and signal its handle if it has one.
void ArmEndOfThread();

} // namespace gaizior::platform
