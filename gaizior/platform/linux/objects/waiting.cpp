#include "gaizior/platform/linux/names/named_object.h"
#include "gaizior/platform/linux/objects/take.h"
#include "gaizior/platform/linux/system/futex.h"
#include "gaizior/platform/linux/system/last_error.h"

#include <array>
#include <optional>
#include <span>

// How a thread waits, and how it is given what it waits for.
//
// The thread's word (ThreadState::result) is kClaimed while it looks after its objects itself, kWaiting while it
// sleeps or is about to, else the result that it was handed.
//
//   claimed   The thread links a node into each object's list, tries to take each object, lowest index first, and
//             looks at the clock. Whoever signals an object meanwhile passes it by and leaves the object signalled.
//   waiting   It looks at each object's word once more, then sleeps until its own word changes. Whoever signals an
//             object swaps kWaiting for the result (ObjectLock::HandOver), under the object's lock: with several
//             objects only one such swap succeeds, so exactly one of them is taken.
//   handed    The object is the thread's: a mutex has it as its owner already. The thread goes on when `isLinked` of
//             that node is cleared, after the object's lock was released (Woken), and removes its other nodes. Awake
//             for any other reason, it swaps kWaiting for kClaimed and begins again; when that fails it was handed
//             something.
//
// No wake is lost because two pairs of steps are sequentially consistent. The thread stores kWaiting, then loads the
// object's word (LooksSignalled); the one who signals changes the object's word (the lock's compare-and-swap), then
// tries the swap on the thread's. Had both missed the other, each load would precede the other's store in the one
// order of all these, which is impossible. Everything else is acquire and release: the lock's release publishes the
// object, clearing `isLinked` publishes what the thread was handed. The fast paths need no more: they change the word
// by a compare-and-swap that fails when kWaiters or kLocked has appeared in it.

namespace gaizior::platform {
namespace {

DWORD ResultOf(Take take, DWORD index) {
    if (take == Take::Refused) {
        return WAIT_FAILED;
    }
    return (take == Take::Abandoned ? WAIT_ABANDONED_0 : WAIT_OBJECT_0) + index;
}

/// The error of a wait for what cannot be waited for; 0 for all else.
DWORD ErrorOfWaitFor(Kind kind) {
    if (kind == Kind::None) {
        return ERROR_INVALID_HANDLE;
    }
    return kind >= Kind::Section ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

/// One of the objects that a thread waits for: an in-process one through a node in its list of waiters, a named one by
/// sleeping on its word.
struct Waited {
    WaitNode node;
    Object* object = nullptr;
    std::shared_ptr<NamedObject> named;
    Kind kind = Kind::None;
    std::uint32_t turn = 0; ///< of the named event when the wait began
    bool hasSlept = false;

    Take TryTake() const {
        return named ? named->TryTake(kind, turn) : platform::TryTake(*object);
    }
};

/// A wait that cannot be satisfied at once. Enqueues the thread with every in-process object; from then on whoever
/// signals one hands it over, unless the thread has claimed itself to look after the objects on its own.
class Wait {
public:
    /// `places` are as many as the handles.
    Wait(std::span<const HANDLE> handles, std::span<Waited> places, DWORD milliseconds)
        : m_handles(handles), m_places(places), m_deadline(milliseconds), m_thread(CurrentThread()) {}
    ~Wait() {
        for (Waited& waited : Enqueued()) {
            Dequeue(waited);
        }
    }
    Wait(const Wait&) = delete;
    Wait& operator=(const Wait&) = delete;

    DWORD Run() {
        m_thread.result.store(kClaimed);
        if (!Enqueue()) {
            return WAIT_FAILED;
        }
        for (;;) {
            if (const std::optional<DWORD> taken = TakeLowest()) {
                return *taken;
            }
            if (m_deadline.HasPassed()) {
                return WAIT_TIMEOUT;
            }
            if (const std::optional<DWORD> handed = Sleep()) {
                return *handed;
            }
        }
    }

private:
    std::span<Waited> Enqueued() {
        return m_places.first(m_count);
    }

    bool Enqueue() {
        for (const HANDLE handle : m_handles) {
            Waited& waited = m_places[m_count];
            ObjectLock lock{Reference(handle)};
            waited.kind = lock ? lock.GetKind() : Kind::None;
            if (const DWORD error = ErrorOfWaitFor(waited.kind)) {
                return Fail(error);
            }
            waited.named = lock->named;
            if (waited.named) {
                waited.turn = waited.named->Turn();
            } else {
                waited.object = &*lock;
                waited.node.thread = &m_thread;
                waited.node.index = m_count;
                lock.Link(waited.node);
                m_hasNodes = true;
            }
            ++m_count;
        }
        return true;
    }

    std::optional<DWORD> TakeLowest() {
        for (DWORD i = 0; i < m_count; ++i) {
            Waited& waited = m_places[i];
            const Take take = waited.TryTake();
            if (take == Take::No) {
                continue;
            }
            if (waited.hasSlept) {
                waited.named->RemindOfSleepers(waited.kind);
                waited.hasSlept = false;
            }
            return ResultOf(take, i);
        }
        return std::nullopt;
    }

    /// @returns what was handed over meanwhile, if anything was.
    std::optional<DWORD> Sleep() {
        m_thread.result.store(kWaiting);
        std::array<FutexWord, MAXIMUM_WAIT_OBJECTS + 1> words;
        std::size_t count = 0;
        if (m_hasNodes) {
            words[count++] = {&m_thread.result, kWaiting, false};
        }
        bool hasMutex = false;
        bool canSleep = true;
        for (Waited& waited : Enqueued()) {
            if (!waited.named) {
                canSleep = canSleep && !LooksSignalled(*waited.object);
                continue;
            }
            const FutexWord word = waited.named->PrepareSleep(waited.kind, waited.turn);
            canSleep = canSleep && word.word;
            words[count++] = word;
            waited.hasSlept = true;
            hasMutex = hasMutex || waited.kind == Kind::NamedMutex;
        }
        if (canSleep) {
            FutexWait(std::span(words).first(count), hasMutex ? m_deadline.AtMost(kLongestMutexSleep) : m_deadline);
        }
        std::uint32_t result = kWaiting;
        if (m_thread.result.compare_exchange_strong(result, kClaimed)) {
            return std::nullopt;
        }
        return Receive(result);
    }

    /// Whoever handed the object over still works on its list until the node is unlinked.
    DWORD Receive(DWORD result) {
        Waited& waited = m_places[result % WAIT_ABANDONED_0];
        for (int spins = 0; waited.node.isLinked.load(std::memory_order_acquire); ++spins) {
            Pause(spins);
        }
        if (waited.kind == Kind::Mutex) {
            LinkOwned(*waited.object);
        }
        return result;
    }

    static void Dequeue(Waited& waited) {
        if (waited.node.isLinked.load(std::memory_order_acquire)) {
            ObjectLock lock(*waited.object);
            lock.Unlink(waited.node);
        }
        if (waited.named && waited.hasSlept) {
            waited.named->PassWakeOn(waited.kind);
        }
    }

    std::span<const HANDLE> m_handles;
    std::span<Waited> m_places;
    Deadline m_deadline;
    ThreadState& m_thread;
    DWORD m_count = 0;
    bool m_hasNodes = false;
};

/// Takes a named object if it is free. @returns Take::Refused, with the last error set, for any other handle.
[[gnu::noinline]] Take TryTakeNamed(Reference reference) {
    const ObjectLock lock(reference);
    if (const DWORD error = ErrorOfWaitFor(lock && lock->named ? lock.GetKind() : Kind::None)) {
        Fail(error);
        return Take::Refused;
    }
    return lock->named->TryTake(lock.GetKind(), lock->named->Turn());
}

/// Takes what an open handle leads to if it is free. @returns Take::Refused, with the last error set, for any other.
Take TryTakeAny(HANDLE handle) {
    const Reference reference(handle);
    const Take take = TryTake(reference);
    return take != Take::Refused ? take : TryTakeNamed(reference);
}

/// Whether somebody can take an object with that word; what is not in the word has to be asked.
bool MayBeFree(std::uint64_t word) {
    const Kind kind = KindOf(word);
    return (word & kSignalled) || kind == Kind::Mutex || kind == Kind::NamedEvent || kind == Kind::NamedMutex;
}

/// The index of the first object that may be free, their number when none is. @returns nothing, with the last error
/// of the first such handle set, when one of them is not open or cannot be waited for.
std::optional<DWORD> FirstToTry(std::span<const HANDLE> handles) {
    auto first = static_cast<DWORD>(handles.size());
    DWORD error = ERROR_SUCCESS;
    for (DWORD i = first; i-- > 0;) {
        const std::uint64_t word = Reference(handles[i]).Load();
        if (const DWORD itsError = ErrorOfWaitFor(KindOf(word))) {
            error = itsError;
        }
        if (MayBeFree(word)) {
            first = i;
        }
    }
    if (error != ERROR_SUCCESS) {
        Fail(error);
        return std::nullopt;
    }
    return first;
}

/// Kept out of the calls that wait, where it would cost those that need not: it takes much of the stack.
[[gnu::noinline]] DWORD WaitForAny(std::span<const HANDLE> handles, DWORD milliseconds) {
    std::array<Waited, MAXIMUM_WAIT_OBJECTS> places;
    return Wait(handles, places, milliseconds).Run();
}

[[gnu::noinline]] DWORD WaitForOne(HANDLE handle, DWORD milliseconds) {
    Waited place;
    return Wait(std::span(&handle, 1), std::span(&place, 1), milliseconds).Run();
}

} // namespace
} // namespace gaizior::platform

DWORD gaizior_windows_api::WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    using namespace gaizior::platform;
    const Take take = TryTakeAny(handle);
    if (take != Take::No) {
        return ResultOf(take, 0);
    }
    return milliseconds == 0 ? WAIT_TIMEOUT : WaitForOne(handle, milliseconds);
}

DWORD gaizior_windows_api::WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll,
                                                  DWORD milliseconds) {
    using namespace gaizior::platform;
    if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || !handles || (waitAll && count > 1)) {
        Fail(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    const std::span<const HANDLE> all(handles, count);
    const std::optional<DWORD> first = FirstToTry(all);
    if (!first) {
        return WAIT_FAILED;
    }
    for (DWORD i = *first; i < count; ++i) {
        const Take take = TryTakeAny(handles[i]);
        if (take != Take::No) {
            return ResultOf(take, i);
        }
    }
    return milliseconds == 0 ? WAIT_TIMEOUT : WaitForAny(all, milliseconds);
}
