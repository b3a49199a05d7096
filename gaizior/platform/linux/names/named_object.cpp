#include "gaizior/platform/linux/names/named_object.h"

#include "gaizior/platform/crash_point.h"
#include "gaizior/platform/linux/system/fork.h"
#include "gaizior/platform/linux/system/last_error.h"
#include "gaizior/platform/linux/system/suspension.h"

#include <cstring>
#include <map>

#include <sys/mman.h>
#include <sys/stat.h>

namespace gaizior::platform {
namespace {

/// What this process has open, by path, so that all its handles of a name share one object. Nobody sleeps with it.
struct OpenNames {
    /// Never destroyed: handles are closed until the very end of the process.
    static OpenNames& Instance() {
        const InsideLayer inside;
        static auto* const names = new OpenNames;
        return *names;
    }

    template <class Step>
    void ForEach(Step step) const GAIZIOR_REQUIRES(s_lock) {
        for (const auto& [path, known] : objects) {
            if (const std::shared_ptr<NamedObject> object = known.lock()) {
                step(object);
            }
        }
    }

    static inline constinit Mutex s_lock;
    std::map<std::string, std::weak_ptr<NamedObject>> objects GAIZIOR_GUARDED_BY(s_lock);
};

/// A process that ends without closing its handles leaves no files behind.
const struct EndOfProcess {
    ~EndOfProcess() {
        // A thread that is still opening a name must not keep the process from ending.
        if (OpenNames::s_lock.TryLock()) {
            OpenNames::Instance().ForEach([](const auto& object) { object->GiveUpName(); });
            OpenNames::s_lock.Unlock();
        }
    }
} g_endOfProcess;

} // namespace

bool ReadHeader(int file, SyncHeader& header) {
    struct stat status {};
    return ::fstat(file, &status) == 0 && status.st_size == sizeof(SyncFile) &&
           ::pread(file, &header, sizeof(header), 0) == sizeof(header) &&
           std::memcmp(header.magic, SyncHeader::kMagic, sizeof(header.magic)) == 0;
}

std::shared_ptr<NamedObject> NamedObject::Open(Kind kind, const char* name, const Beginning* beginning, bool& existed,
                                               DWORD longestPassing) {
    const std::string path = PathOfName(name);
    if (path.empty()) {
        return nullptr;
    }
    for (const Deadline deadline(longestPassing);;) {
        Standing standing = Standing::Refused;
        auto object = TryOpen(kind, path, beginning, standing);
        if (standing != Standing::Passing) {
            existed = standing == Standing::Joining;
            return object;
        }
        if (deadline.HasPassed()) {
            return FailNull(ERROR_BUSY);
        }
        ::Sleep(1);
    }
}

std::shared_ptr<NamedObject> NamedObject::TryOpen(Kind kind, const std::string& path, const Beginning* beginning,
                                                  Standing& standing) {
    OpenNames& open = OpenNames::Instance();
    std::shared_ptr<NamedObject> known; // both end without the lock: giving a name up may take a while
    std::shared_ptr<NamedObject> object;
    const LayerLock lock(OpenNames::s_lock);
    std::erase_if(open.objects, [](const auto& entry) { return entry.second.expired(); });
    std::weak_ptr<NamedObject>& place = open.objects[path];
    known = place.lock();
    if (known && known->m_file.IsCurrent()) {
        standing = Standing::Joining;
        return known->Adopt(kind) ? known : nullptr;
    }
    Entry entry = EnterName(path, beginning ? std::optional(beginning->size) : std::nullopt);
    standing = entry.standing;
    if (!entry.file) {
        return nullptr;
    }
    // Should it not be used, its end gives the name up, and with it a file that could not be begun.
    object = std::make_shared<NamedObject>(std::move(*entry.file));
    if (standing == Standing::First ? !object->Begin(kind, *beginning) : !object->Adopt(kind)) {
        return nullptr;
    }
    place = object;
    return object;
}

/// Fills an empty file. The header comes last and the lock lets others in only then: who dies before leaves a file that
/// the next one begins again.
bool NamedObject::Begin(Kind kind, const Beginning& beginning) {
    if (!m_file.Allocate(beginning.size)) {
        return false;
    }
    CrashPoint();
    if (kind != Kind::Section) {
        if (!Map()) {
            return false;
        }
        m_pSync->mutex.Begin();
        CrashPoint();
        const bool isSignalled = (beginning.bits & kSignalled) != 0;
        if (kind == Kind::NamedMutex && !isSignalled) {
            TakeMutex(); // before anybody else can
        }
        m_pSync->event.Begin((beginning.bits & kManual) != 0, isSignalled);
        m_pSync->header.kind = static_cast<std::uint32_t>(kind);
        m_pSync->header.size = sizeof(SyncFile);
        m_pSync->header.version = SyncHeader::kVersion;
        std::memcpy(m_pSync->header.magic, SyncHeader::kMagic, sizeof(SyncHeader::kMagic));
        CrashPoint();
    }
    return m_file.Share();
}

/// Names share one space: what exists must be of the kind that is wanted, and of this make.
bool NamedObject::Adopt(Kind kind) {
    SyncHeader header{};
    const bool isSync = ReadHeader(File(), header);
    if (kind == Kind::Section) {
        return !isSync || Fail(ERROR_INVALID_HANDLE);
    }
    if (!isSync || header.version != SyncHeader::kVersion || header.size != sizeof(SyncFile) ||
        header.kind != static_cast<std::uint32_t>(kind)) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    return m_pSync || Map();
}

bool NamedObject::Map() {
    void* const memory = ::mmap(nullptr, sizeof(SyncFile), PROT_READ | PROT_WRITE, MAP_SHARED, File(), 0);
    if (memory == MAP_FAILED) {
        return FailErrno();
    }
    m_pSync = static_cast<SyncFile*>(memory);
    return true;
}

NamedObject::~NamedObject() {
    // The kernel walks through a mutex that a thread still owns when that thread ends: its page stays.
    if (m_pSync && m_nAcquired == 0) {
        ::munmap(m_pSync, sizeof(SyncFile));
    }
}

Take NamedObject::TryTake(Kind kind, std::uint32_t turn) {
    return kind == Kind::NamedMutex ? TakeMutex() : Event().TryTake(turn);
}

/// Only the mutex's owner changes the count.
Take NamedObject::TakeMutex() {
    const Take take = Mutex().TryTake();
    if (take != Take::No) {
        m_nAcquired.store(m_nAcquired.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        ++CurrentThread().namedOwned;
    }
    return take;
}

DWORD NamedObject::ReleaseMutex() {
    if (!Mutex().IsMine()) {
        return ERROR_NOT_OWNER;
    }
    m_nAcquired.store(m_nAcquired.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
    --CurrentThread().namedOwned;
    Mutex().Release();
    return ERROR_SUCCESS;
}

FutexWord NamedObject::PrepareSleep(Kind kind, std::uint32_t turn) const {
    return kind == Kind::NamedMutex ? Mutex().PrepareSleep() : Event().PrepareSleep(turn);
}

void NamedObject::RemindOfSleepers(Kind kind) const {
    if (kind == Kind::NamedMutex) {
        Mutex().RemindOfSleepers();
    }
}

void NamedObject::PassWakeOn(Kind kind) const {
    if (kind == Kind::NamedMutex) {
        Mutex().PassWakeOn();
    }
}

void NamedObject::PrepareFork(std::shared_ptr<NamedObject> self) {
    m_pForking = std::move(self);
    m_file.PrepareFork();
}

void NamedObject::ContinueInParent() {
    m_file.ContinueInParent();
    m_pForking.reset();
}

/// The mutexes that the forking thread holds stay its parent's.
void NamedObject::ContinueInChild() {
    m_nAcquired = 0;
    m_file.ContinueInChild();
    m_pForking.reset();
}

const ForkPart kNamesForkPart = {
    []() GAIZIOR_ACQUIRE(OpenNames::s_lock) {
        OpenNames::s_lock.Lock();
        OpenNames::Instance().ForEach([](const auto& object) { object->PrepareFork(object); });
    },
    []() GAIZIOR_RELEASE(OpenNames::s_lock) {
        OpenNames::Instance().ForEach([](const auto& object) { object->ContinueInParent(); });
        OpenNames::s_lock.Unlock();
    },
    []() GAIZIOR_RELEASE(OpenNames::s_lock) {
        OpenNames::Instance().ForEach([](const auto& object) { object->ContinueInChild(); });
        OpenNames::s_lock.Unlock();
    },
};

std::shared_ptr<NamedObject> NamedOf(HANDLE handle, Kind kind, std::uint64_t wanted) {
    const ObjectLock lock{Reference(handle)};
    if (!lock || lock.GetKind() != kind) {
        return FailNull(ERROR_INVALID_HANDLE);
    }
    if ((lock.Word() & wanted) != wanted) {
        return FailNull(ERROR_ACCESS_DENIED);
    }
    return lock->named;
}

HANDLE NewNamedHandle(Kind kind, std::shared_ptr<NamedObject> named, std::uint64_t allowed) {
    Object* const object = named ? NewObject(kind, allowed) : nullptr;
    if (!object) {
        return nullptr;
    }
    ObjectLock lock(*object);
    lock->named = std::move(named);
    return HandleOf(*object);
}

HANDLE CreateNamedHandle(Kind kind, const char* name, const NamedObject::Beginning& beginning, std::uint64_t allowed) {
    return NoThrow([&] {
        bool existed = false;
        const HANDLE handle = NewNamedHandle(kind, NamedObject::Open(kind, name, &beginning, existed), allowed);
        if (handle) {
            ::SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
        }
        return handle;
    });
}

HANDLE CreateSyncHandle(Kind kind, const char* name, std::uint64_t bits) {
    return CreateNamedHandle(kind, name, {sizeof(SyncFile), bits});
}

HANDLE OpenNamedHandle(Kind kind, const char* name, std::uint64_t allowed, DWORD longestPassing) {
    if (!name || !*name) {
        return FailNull(name ? ERROR_INVALID_HANDLE : ERROR_INVALID_PARAMETER);
    }
    return NoThrow([&] {
        bool existed = false;
        return NewNamedHandle(kind, NamedObject::Open(kind, name, nullptr, existed, longestPassing), allowed);
    });
}

} // namespace gaizior::platform
