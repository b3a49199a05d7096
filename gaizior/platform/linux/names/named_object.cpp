#include "gaizior/platform/linux/names/named_object.h"

#include "gaizior/platform/crash_point.h"
#include "gaizior/platform/linux/system/fork.h"
#include "gaizior/platform/linux/system/last_error.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <new>

#include <fcntl.h>
#include <linux/futex.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace gaizior::platform {

/// The file of a named event or mutex. Processes of different makes meet here: a change of it is a new version.
struct NamedObject::SyncFile {
    static constexpr char kMagic[16] = "gaizior object\0";
    static constexpr std::uint32_t kVersion = 1;

    char magic[16];
    std::uint32_t version;
    std::uint32_t size;
    std::uint32_t kind;
    std::uint32_t isManual;
    std::atomic<std::uint32_t> event; ///< kSet, kSleepers, turns
    std::uint32_t reserved[7];
    pthread_mutex_t mutex;
    std::atomic<std::int64_t> takenAt; ///< when the mutex's owner took it, in milliseconds since 1970
    unsigned char unused[64 - sizeof(pthread_mutex_t) - sizeof(takenAt)];
};

namespace {

using SyncFile = NamedObject::SyncFile;
static_assert(sizeof(SyncFile) == 128 && offsetof(SyncFile, event) == 32 && offsetof(SyncFile, mutex) == 64);
static_assert(std::atomic<std::uint32_t>::is_always_lock_free && sizeof(pthread_mutex_t) <= 64);

constexpr std::uint32_t kSet = 1;
constexpr std::uint32_t kSleepers = 2;
constexpr int kTurnShift = 2;  // the rest counts how often it was set
constexpr mode_t kMode = 0600; // a name belongs to one user
constexpr int kOpenAttempts = 5000;
constexpr std::size_t kLongestName = 255;

/// What this process has open, so that all its handles of a name share one object.
std::mutex g_openLock;
std::map<std::string, std::weak_ptr<NamedObject>>& OpenObjects() {
    static auto* const objects = new std::map<std::string, std::weak_ptr<NamedObject>>;
    return *objects;
}

/// A process that ends without closing its handles leaves no files behind.
const struct EndOfProcess {
    ~EndOfProcess() {
        const std::unique_lock lock(g_openLock, std::try_to_lock);
        if (!lock) {
            return; // a thread that is still opening a name must not keep the process from ending
        }
        for (const auto& [path, known] : OpenObjects()) {
            if (const std::shared_ptr<NamedObject> object = known.lock()) {
                object->GiveUpName();
            }
        }
    }
} g_endOfProcess;

std::string Folder() {
    const char* const folder = std::getenv("GAIZIOR_SHM_DIR");
    return folder && *folder ? folder : "/dev/shm";
}

/// Whether the name can be a file's; sets the last error if not.
bool IsNameValid(const char* name) {
    const std::size_t length = std::strlen(name);
    if (length == 0 || std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) {
        return Fail(ERROR_INVALID_NAME);
    }
    if (std::strpbrk(name, "/\\")) {
        return Fail(ERROR_PATH_NOT_FOUND);
    }
    return length <= kLongestName || Fail(ERROR_FILENAME_EXCED_RANGE);
}

/// The lock on an open file says that a name is in use: readers hold it, a writer makes or removes the file. It belongs
/// to the open file, so it ends with its last descriptor, however the process ends.
bool SetFileLock(int file, short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_len = 1;
    return ::fcntl(file, F_OFD_SETLK, &lock) == 0;
}

bool LeadsTo(const std::string& path, int file) {
    struct stat byName {};
    struct stat byFile {};
    return ::lstat(path.c_str(), &byName) == 0 && ::fstat(file, &byFile) == 0 && byName.st_ino == byFile.st_ino &&
           byName.st_dev == byFile.st_dev;
}

/// A maker that dies before it has undone a restrictive umask leaves a file that its own user may not open.
bool MakeAccessible(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid() &&
           (status.st_mode & kMode) != kMode && ::chmod(path.c_str(), kMode) == 0;
}

/// Opens the name's file, or makes it: opening comes first, since even root may be refused another's file in a sticky
/// folder when it asks to create it. An empty result has set the last error.
UniqueFd OpenFile(const std::string& path, bool create) {
    for (;;) {
        UniqueFd file(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
        if (!file && errno == EACCES && MakeAccessible(path)) {
            continue;
        }
        if (file || errno != ENOENT || !create) {
            if (!file) {
                FailErrno();
            }
            return file;
        }
        file = UniqueFd(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_CREAT | O_EXCL, kMode));
        if (file) {
            CrashPoint();
            ::fchmod(file.Get(), kMode); // whatever the umask took away
            return file;
        }
        if (errno != EEXIST) {
            FailErrno();
            return file;
        }
    }
}

/// Only a plain file of the same user is ours to use.
bool IsOurs(int file) {
    struct stat status {};
    if (::fstat(file, &status) != 0) {
        return FailErrno();
    }
    if (!S_ISREG(status.st_mode)) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    return status.st_uid == ::geteuid() || Fail(ERROR_ACCESS_DENIED);
}

bool ReadHeader(int file, SyncFile& header) {
    struct stat status {};
    return ::fstat(file, &status) == 0 && status.st_size == sizeof(SyncFile) &&
           ::pread(file, static_cast<void*>(&header), sizeof(header), 0) == sizeof(header) &&
           std::memcmp(header.magic, SyncFile::kMagic, sizeof(header.magic)) == 0;
}

/// How a file that was opened under a name can be used.
enum class Standing {
    First,   ///< it is empty, and nobody else can open it before the lock is made a shared one
    Joining, ///< others hold it
    Passing, ///< another process is about to make or to remove it
    Refused, ///< not at all; the last error is set
};

/// Takes the lock of a file that was opened under the path.
Standing Enter(const std::string& path, int file, NamedObject::Mode mode, std::size_t size) {
    const bool isAlone = SetFileLock(file, F_WRLCK);
    struct stat status {};
    if ((!isAlone && !SetFileLock(file, F_RDLCK)) || !LeadsTo(path, file) || ::fstat(file, &status) != 0) {
        return Standing::Passing;
    }
    CrashPoint();
    if (!isAlone) {
        return Standing::Joining;
    }
    if (mode == NamedObject::Mode::Open) {
        Fail(ERROR_FILE_NOT_FOUND); // left over by holders that all died
        return Standing::Refused;
    }
    if (status.st_size == 0) {
        return Standing::First;
    }
    if (status.st_size != static_cast<off_t>(size)) {
        Fail(ERROR_INVALID_HANDLE); // those who died do not leave such a thing
        return Standing::Refused;
    }
    ::unlink(path.c_str()); // and not used again: a view may have outlived its handle
    return Standing::Passing;
}

std::shared_ptr<NamedObject> UnnamedSection(std::size_t size) {
    UniqueFd file(::memfd_create("gaizior section", MFD_CLOEXEC));
    if (!file || ::ftruncate(file.Get(), static_cast<off_t>(size)) != 0) {
        return FailErrnoNull();
    }
    return std::make_shared<NamedObject>(std::move(file), std::string());
}

/// Milliseconds since 1970 as of the last clock tick: precise enough for people, and hardly more than a load.
std::int64_t CoarseNow() {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

template <class Step>
void ForEachOpen(Step step) {
    for (const auto& [path, known] : OpenObjects()) {
        if (const std::shared_ptr<NamedObject> object = known.lock()) {
            step(object);
        }
    }
}

void NapOneMillisecond() {
    const timespec nap{0, 1'000'000};
    ::nanosleep(&nap, nullptr);
}

void InitialiseMutex(pthread_mutex_t& mutex) {
    pthread_mutexattr_t attributes;
    ::pthread_mutexattr_init(&attributes);
    ::pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    ::pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    ::pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    ::pthread_mutex_init(&mutex, &attributes);
    ::pthread_mutexattr_destroy(&attributes);
}

} // namespace

std::shared_ptr<NamedObject> NamedObject::OpenSync(Kind kind, const char* name, Mode mode, std::uint64_t bits,
                                                   bool& existed) {
    return NoThrow([&] { return Open(kind, name, mode, sizeof(SyncFile), bits, existed); });
}

std::shared_ptr<NamedObject> NamedObject::OpenSection(const char* name, Mode mode, std::size_t size, bool& existed) {
    return NoThrow([&] { return name ? Open(Kind::Section, name, mode, size, 0, existed) : UnnamedSection(size); });
}

std::shared_ptr<NamedObject> NamedObject::Open(Kind kind, const char* name, Mode mode, std::size_t size,
                                               std::uint64_t bits, bool& existed) {
    if (!IsNameValid(name)) {
        return nullptr;
    }
    const std::string path = Folder() + "/" + name;
    const std::lock_guard lock(g_openLock);
    std::erase_if(OpenObjects(), [](const auto& entry) { return entry.second.expired(); });
    std::weak_ptr<NamedObject>& known = OpenObjects()[path];
    if (std::shared_ptr<NamedObject> object = known.lock(); object && object->LeadsHere()) {
        existed = true;
        return object->Adopt(kind) ? object : nullptr;
    }
    for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
        UniqueFd file = OpenFile(path, mode == Mode::CreateOrOpen);
        const Standing standing = file && IsOurs(file.Get()) ? Enter(path, file.Get(), mode, size) : Standing::Refused;
        if (standing == Standing::Refused) {
            return nullptr;
        }
        if (standing == Standing::Passing) {
            NapOneMillisecond();
            continue;
        }
        // From here on the destructor gives the name up, and with it a file that could not be begun.
        auto object = std::make_shared<NamedObject>(std::move(file), path);
        existed = standing == Standing::Joining;
        if (existed ? !object->Adopt(kind) : !object->Begin(kind, size, bits)) {
            return nullptr;
        }
        known = object;
        return object;
    }
    return FailNull(ERROR_ACCESS_DENIED);
}

/// Fills an empty file. The header comes last and the lock lets others in only then: who dies before leaves a file that
/// the next one begins again.
bool NamedObject::Begin(Kind kind, std::size_t size, std::uint64_t bits) {
    if (::ftruncate(File(), static_cast<off_t>(size)) != 0) {
        return FailErrno();
    }
    CrashPoint();
    // Allocated at once: a full folder is told here and not by a signal at the first access.
    int error = 0;
    do {
        error = ::posix_fallocate(File(), 0, static_cast<off_t>(size));
    } while (error == EINTR);
    if (error != 0) {
        return Fail(ErrorOfErrno(error));
    }
    CrashPoint();
    if (kind != Kind::Section) {
        if (!Map()) {
            return false;
        }
        InitialiseMutex(m_pSync->mutex);
        CrashPoint();
        if (kind == Kind::NamedMutex && !(bits & kSignalled)) {
            Taken(::pthread_mutex_trylock(&m_pSync->mutex)); // before anybody else can
        }
        m_pSync->event = bits & kSignalled ? kSet : 0;
        m_pSync->isManual = bits & kManual ? 1 : 0;
        m_pSync->kind = static_cast<std::uint32_t>(kind);
        m_pSync->size = sizeof(SyncFile);
        m_pSync->version = SyncFile::kVersion;
        std::memcpy(m_pSync->magic, SyncFile::kMagic, sizeof(m_pSync->magic));
        CrashPoint();
    }
    return SetFileLock(File(), F_RDLCK) || FailErrno();
}

/// Names share one space: what exists must be of the kind that is wanted, and of this make.
bool NamedObject::Adopt(Kind kind) {
    SyncFile header{};
    const bool isSync = ReadHeader(File(), header);
    if (kind == Kind::Section) {
        return !isSync || Fail(ERROR_INVALID_HANDLE);
    }
    if (!isSync || header.version != SyncFile::kVersion || header.size != sizeof(SyncFile) ||
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

bool NamedObject::LeadsHere() const {
    return LeadsTo(m_path, File());
}

NamedObject::~NamedObject() {
    const DWORD error = ::GetLastError();
    // The kernel walks through a mutex that a thread still owns when that thread ends: its page stays.
    if (m_pSync && m_nAcquired == 0) {
        ::munmap(m_pSync, sizeof(SyncFile));
    }
    GiveUpName();
    ::SetLastError(error);
}

void NamedObject::GiveUpName() {
    if (m_path.empty() || m_nProcess != ::getpid()) {
        return;
    }
    SetFileLock(File(), F_UNLCK);
    if (SetFileLock(File(), F_WRLCK) && LeadsHere()) {
        CrashPoint();
        ::unlink(m_path.c_str());
    }
}

void NamedObject::PrepareFork(std::shared_ptr<NamedObject> self) {
    m_pForking = std::move(self);
    char path[32];
    std::snprintf(path, sizeof(path), "/proc/self/fd/%d", File());
    m_fileForChild = UniqueFd(::open(path, O_RDWR | O_CLOEXEC));
    if (m_fileForChild && !SetFileLock(m_fileForChild.Get(), F_RDLCK)) {
        m_fileForChild = UniqueFd();
    }
}

void NamedObject::ContinueInParent() {
    m_fileForChild = UniqueFd();
    m_pForking.reset();
}

/// The mutexes that the forking thread holds stay its parent's.
void NamedObject::ContinueInChild() {
    m_nAcquired = 0;
    if (m_fileForChild) {
        m_file = std::exchange(m_fileForChild, UniqueFd());
        m_nProcess = ::getpid();
    }
    m_pForking.reset();
}

const ForkPart kNamesForkPart = {
    [] {
        g_openLock.lock();
        ForEachOpen([](const auto& object) { object->PrepareFork(object); });
    },
    [] {
        ForEachOpen([](const auto& object) { object->ContinueInParent(); });
        g_openLock.unlock();
    },
    [] {
        ForEachOpen([](const auto& object) { object->ContinueInChild(); });
        g_openLock.unlock();
    },
};

std::uint32_t NamedObject::Turn() const {
    return m_pSync->event.load() >> kTurnShift;
}

bool NamedObject::IsSet(std::uint32_t word, std::uint32_t turn) const {
    return (word & kSet) || (m_pSync->isManual && word >> kTurnShift != turn);
}

/// Where somebody sleeps the event is set as they are woken, so that a setter who dies has not set it yet.
bool NamedObject::SetEvent() {
    std::uint32_t before = m_pSync->event.load();
    std::uint32_t after = 0;
    do {
        after = before & kSleepers ? before : before | kSet;
        after += before & kSet ? 0 : 1u << kTurnShift;
    } while (!m_pSync->event.compare_exchange_weak(before, after));
    return (before & kSleepers) != 0;
}

/// A dead sleeper must not swallow the wake, so all are woken, also where only one can take the event.
void NamedObject::SetAndWakeSleepers() const {
    FutexSetAndWake(m_pSync->event, kSet);
    // Nobody begins to sleep while it is set, and once it is not this word never comes back.
    std::uint32_t word = m_pSync->event.load();
    if (word & kSet) {
        m_pSync->event.compare_exchange_strong(word, word & ~kSleepers);
    }
}

void NamedObject::ResetEvent() {
    m_pSync->event.fetch_and(~kSet);
}

DWORD NamedObject::ReleaseMutex() {
    if ((MutexWord().load(std::memory_order_relaxed) & FUTEX_TID_MASK) != ::GetCurrentThreadId()) {
        return ERROR_NOT_OWNER;
    }
    m_nAcquired.store(m_nAcquired.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
    --CurrentThread().namedOwned;
    ::pthread_mutex_unlock(&m_pSync->mutex);
    return ERROR_SUCCESS;
}

Take NamedObject::TryTake(Kind kind, std::uint32_t turn) {
    if (kind == Kind::NamedMutex) {
        return Taken(::pthread_mutex_trylock(&m_pSync->mutex));
    }
    if (m_pSync->isManual) {
        return IsSet(m_pSync->event.load(), turn) ? Take::Taken : Take::No;
    }
    std::uint32_t value = m_pSync->event.load();
    while (value & kSet) {
        if (m_pSync->event.compare_exchange_weak(value, value & ~kSet)) {
            return Take::Taken;
        }
    }
    return Take::No;
}

Take NamedObject::Taken(int result) {
    if (result != 0 && result != EOWNERDEAD) {
        return Take::No;
    }
    m_nAcquired.store(m_nAcquired.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    ++CurrentThread().namedOwned;
    if (m_pSync->mutex.__data.__count == 1) {
        m_pSync->takenAt.store(CoarseNow(), std::memory_order_relaxed);
    }
    if (result == 0) {
        return Take::Taken;
    }
    ::pthread_mutex_consistent(&m_pSync->mutex);
    return Take::Abandoned;
}

NamedObject::Owner NamedObject::MutexOwner() const {
    const std::uint32_t word = MutexWord().load();
    const DWORD thread = word & FUTEX_TID_MASK;
    const std::int64_t since = m_pSync->takenAt.load(std::memory_order_relaxed); // others may write anything there
    return {thread, thread == 0 && (word & FUTEX_OWNER_DIED), since > 0 && since <= CoarseNow() ? since : 0};
}

/// The word that the C library keeps the mutex's owner in; threads that wait for several objects sleep on it.
std::atomic<std::uint32_t>& NamedObject::MutexWord() const {
    static_assert(sizeof(m_pSync->mutex.__data.__lock) == sizeof(std::atomic<std::uint32_t>));
    return reinterpret_cast<std::atomic<std::uint32_t>&>(m_pSync->mutex.__data.__lock);
}

FutexWord NamedObject::PrepareSleep(Kind kind, std::uint32_t turn) {
    const bool isMutex = kind == Kind::NamedMutex;
    std::atomic<std::uint32_t>& word = isMutex ? MutexWord() : m_pSync->event;
    const std::uint32_t mark = isMutex ? static_cast<std::uint32_t>(FUTEX_WAITERS) : kSleepers;
    std::uint32_t value = word.load();
    do {
        const bool isFree = isMutex ? (value & FUTEX_TID_MASK) == 0 : IsSet(value, turn);
        if (isFree) {
            return {nullptr, 0, true};
        }
    } while (!word.compare_exchange_weak(value, value | mark));
    return {&word, value | mark, true};
}

void NamedObject::RemindOfSleepers(Kind kind) const {
    if (kind == Kind::NamedMutex) {
        MutexWord().fetch_or(static_cast<std::uint32_t>(FUTEX_WAITERS));
    }
}

void NamedObject::PassWakeOn(Kind kind) const {
    if (kind == Kind::NamedMutex) {
        FutexWake(MutexWord(), 1, true);
    }
}

std::shared_ptr<NamedObject> NamedOf(HANDLE handle, Kind kind) {
    const ObjectLock lock{Reference(handle)};
    if (!lock || lock.GetKind() != kind) {
        return FailNull(ERROR_INVALID_HANDLE);
    }
    return lock->named;
}

HANDLE NewNamedHandle(Kind kind, std::shared_ptr<NamedObject> named, bool existed) {
    if (!named) {
        return nullptr;
    }
    Object* const object = NewObject(kind, 0);
    if (!object) {
        return nullptr;
    }
    ObjectLock lock(*object);
    lock->named = std::move(named);
    ::SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return HandleOf(*object);
}

HANDLE OpenNamedHandle(Kind kind, const char* name) {
    if (!name) {
        return FailNull(ERROR_INVALID_PARAMETER);
    }
    bool existed = false;
    auto named = kind == Kind::Section ? NamedObject::OpenSection(name, NamedObject::Mode::Open, 0, existed)
                                       : NamedObject::OpenSync(kind, name, NamedObject::Mode::Open, 0, existed);
    return NewNamedHandle(kind, std::move(named), false);
}

} // namespace gaizior::platform
