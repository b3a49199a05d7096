#include "gaizior/platform/linux/objects/object.h"
#include "gaizior/platform/linux/system/fork.h"

#include <utility>

#include <unistd.h>

namespace gaizior::platform {
namespace {

constexpr DWORD kLostInFork = 0xFFFFFFFF; // the exit code of a thread that the child does not have

template <class Visit>
void ForEachPlace(Visit visit) {
    for (const std::atomic<Object*>& chunk : g_chunks) {
        Object* const first = chunk.load(std::memory_order_acquire);
        if (!first) {
            return;
        }
        for (std::uint32_t i = 0; i < kPlacesPerChunk; ++i) {
            visit(first[i]);
        }
    }
}

void LockPlace(Object& object) {
    for (std::uint64_t word = AwaitUnlocked(object); KindOf(word) != Kind::None; word = AwaitUnlocked(object)) {
        if (object.word.compare_exchange_strong(word, word | kLocked)) {
            object.isLockedForFork = true;
            return;
        }
    }
}

void Prepare() GAIZIOR_ACQUIRE(TableLock()) {
    TableLock().Lock();
    ForEachPlace(LockPlace);
}

/// What has been made since by a thread that already had its place was not locked here.
void ContinueInParent() GAIZIOR_RELEASE(TableLock()) {
    ForEachPlace([](Object& object) {
        if (std::exchange(object.isLockedForFork, false)) {
            object.word.fetch_and(~kLocked);
        }
    });
    TableLock().Unlock();
}

/// A mutex of the forking thread stays that thread's. The other owners do not exist in the child.
void InheritMutex(ObjectLock& mutex, DWORD parentThread) {
    if (mutex.Word() & kSignalled) {
        return;
    }
    if (parentThread != 0 && mutex->owner == parentThread) {
        mutex->owner = CurrentThread().id;
    } else {
        mutex->owner = 0;
        mutex.Set(kSignalled | kAbandoned);
    }
}

/// Of the threads only the forking one goes on in the child.
void InheritThread(ObjectLock& thread) {
    if (thread->context != CurrentThread().started && !(thread.Word() & kSignalled)) {
        thread->exitCode = kLostInFork;
        thread.Set(kSignalled);
    }
}

/// The places are as they were; those who waited for them, with their nodes, are not in the child.
void ContinueInChild() GAIZIOR_RELEASE(TableLock()) {
    TableLock().Unlock();
    ThreadState& thread = CurrentThread();
    const DWORD parentThread = std::exchange(thread.id, static_cast<DWORD>(::gettid()));
    thread.namedOwned = 0;
    if (Suspension* const suspension = t_inside.suspension) {
        suspension->ContinueInChild();
    }
    ForEachPlace([&](Object& object) {
        object.isLockedForFork = false;
        if (KindOf(object.word.fetch_and(~(kLocked | kWaiters))) == Kind::None) {
            return;
        }
        ObjectLock lock(object); // gives back the place of what was closed and kept for them
        lock->first = lock->last = nullptr;
        if (lock.GetKind() == Kind::Mutex) {
            InheritMutex(lock, parentThread);
        } else if (lock.GetKind() == Kind::Thread) {
            InheritThread(lock);
        }
    });
}

} // namespace

const ForkPart kObjectsForkPart = {&Prepare, &ContinueInParent, &ContinueInChild};

} // namespace gaizior::platform
