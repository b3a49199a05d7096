#include "gaizior/platform/linux/names/name_file.h"

#include "gaizior/platform/crash_point.h"
#include "gaizior/platform/linux/system/last_error.h"
#include "gaizior/platform/linux/system/suspension.h"
#include "gaizior/platform/windows_api.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include <sys/resource.h>
#include <sys/stat.h>

namespace gaizior::platform {
namespace {

constexpr mode_t kMode = 0600; // a name belongs to one user
constexpr int kOpenFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW;
constexpr std::size_t kLongestName = 255;
/// What leads to the session's and to the machine's names on Windows; here both are the machine's.
constexpr std::string_view kNamespaces[] = {"Local\\", "Global\\"};

/// What is locked of a name's file, by its byte. A lock belongs to the open file and so ends with its last descriptor,
/// however the process ends.
enum class Part : off_t {
    Door, ///< whoever finds out whether others use the name has it alone: a mere look is never taken for a use
    Use,  ///< shared by those who use the name; who makes the file has it alone until it is made
};

/// Tries to change a lock. @returns false with errno set.
bool SetFileLock(int file, Part part, short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(part);
    lock.l_len = 1;
    return ::fcntl(file, F_OFD_SETLK, &lock) == 0;
}

bool IsOthersLock(int error) {
    return error == EAGAIN || error == EACCES;
}

/// Takes the door from those who are through it in microseconds. One that was stopped there must not keep this process
/// from ending. @returns whether it has it.
bool TakeDoor(int file, int tries) {
    for (;; ::Sleep(1)) {
        if (SetFileLock(file, Part::Door, F_WRLCK)) {
            return true;
        }
        if (!IsOthersLock(errno) || --tries <= 0) {
            return false;
        }
    }
}

bool LeadsTo(const std::string& path, int file) {
    struct stat byName {};
    struct stat byFile {};
    return ::lstat(path.c_str(), &byName) == 0 && ::fstat(file, &byFile) == 0 && byName.st_ino == byFile.st_ino &&
           byName.st_dev == byFile.st_dev;
}

constexpr int kMostTries = 100;

void RemoveIfUnused(const std::string& path, int file, int tries = kMostTries) {
    if (!TakeDoor(file, tries)) {
        return; // the next one that wants the name begins it anew
    }
    if (SetFileLock(file, Part::Use, F_WRLCK) && LeadsTo(path, file)) {
        CrashPoint();
        ::unlink(path.c_str());
    }
    SetFileLock(file, Part::Door, F_UNLCK);
}

/// A maker that dies before it has undone a restrictive umask leaves a file that its own user may not open.
bool MakeAccessible(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid() &&
           (status.st_mode & kMode) != kMode && ::chmod(path.c_str(), kMode) == 0;
}

/// Removes a file that was made, but whose descriptor could not be lifted.
void RemoveUnlifted(const std::string& path) {
    const int file = ::open(path.c_str(), kOpenFlags);
    if (file >= 0) {
        RemoveIfUnused(path, file);
        ::close(file);
    }
}

/// @returns nothing, with errno set, when that fails.
UniqueFd MakeFile(const std::string& path) {
    UniqueFd file(::open(path.c_str(), kOpenFlags | O_CREAT | O_EXCL, kMode));
    if (file) {
        CrashPoint();
        ::fchmod(file.Get(), kMode); // whatever the umask took away
    } else if (errno == EMFILE) {
        RemoveUnlifted(path);
        errno = EMFILE;
    }
    return file;
}

/// Opens the name's file, or makes it: opening comes first, since even root may be refused another's file in a sticky
/// folder when it asks to create it. @returns nothing, with errno set, when that fails.
UniqueFd OpenOrMake(const std::string& path, bool make) {
    for (;;) {
        UniqueFd file(::open(path.c_str(), kOpenFlags));
        if (file) {
            return file;
        }
        if (errno == EACCES && MakeAccessible(path)) {
            continue;
        }
        if (errno != ENOENT || !make) {
            return file;
        }
        file = MakeFile(path);
        if (file || errno != EEXIST) {
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

Standing Refuse(DWORD error) {
    Fail(error);
    return Standing::Refused;
}

/// What becomes of a file that nobody uses.
Standing BeginAnew(const std::string& path, int file, std::optional<std::size_t> newSize) {
    struct stat status {};
    if (::fstat(file, &status) != 0) {
        return Refuse(ErrorOfErrno(errno));
    }
    if (!newSize) {
        return Refuse(ERROR_FILE_NOT_FOUND); // left over by holders that all died
    }
    if (status.st_size == 0) {
        return Standing::First;
    }
    if (status.st_size != static_cast<off_t>(*newSize)) {
        return Refuse(ERROR_INVALID_HANDLE); // those who died do not leave such a thing
    }
    // Not used again: a view may have outlived its handle.
    return ::unlink(path.c_str()) == 0 || errno == ENOENT ? Standing::Passing : Refuse(ErrorOfErrno(errno));
}

Standing PassOrRefuse(int error) {
    return IsOthersLock(error) ? Standing::Passing : Refuse(ErrorOfErrno(error));
}

/// Joins those who use the file, or finds that nobody does. Only with the door: others can then but leave. Shared
/// comes first, since it shuts out a maker, who may die between the two tries.
Standing Join(const std::string& path, int file, std::optional<std::size_t> newSize) {
    if (!SetFileLock(file, Part::Use, F_RDLCK)) {
        return PassOrRefuse(errno);
    }
    const bool isAlone = SetFileLock(file, Part::Use, F_WRLCK);
    if (!LeadsTo(path, file)) {
        return Standing::Passing;
    }
    CrashPoint();
    return isAlone ? BeginAnew(path, file, newSize) : Standing::Joining;
}

/// Tries to use the file that was opened under the path.
Standing Enter(const std::string& path, int file, std::optional<std::size_t> newSize) {
    if (!SetFileLock(file, Part::Door, F_WRLCK)) {
        return PassOrRefuse(errno);
    }
    const Standing standing = Join(path, file, newSize);
    if (standing != Standing::First && standing != Standing::Joining) {
        SetFileLock(file, Part::Use, F_UNLCK); // before the door: the last user must find itself alone
    }
    SetFileLock(file, Part::Door, F_UNLCK);
    return standing;
}

} // namespace

std::string FolderOfNames() {
    const char* const folder = std::getenv("GAIZIOR_SHM_DIR");
    return folder && *folder ? folder : "/dev/shm";
}

std::string PathOfName(std::string_view name) {
    for (const std::string_view prefix : kNamespaces) {
        if (name.starts_with(prefix)) {
            name.remove_prefix(prefix.size());
            break;
        }
    }
    if (name.empty() || name == "." || name == "..") {
        Fail(ERROR_INVALID_NAME);
    } else if (name.find_first_of("/\\") != name.npos) {
        Fail(ERROR_PATH_NOT_FOUND);
    } else if (name.size() > kLongestName) {
        Fail(ERROR_FILENAME_EXCED_RANGE);
    } else {
        return FolderOfNames() + "/" + std::string(name);
    }
    return {};
}

Entry EnterName(const std::string& path, std::optional<std::size_t> newSize) {
    UniqueFd file = OpenOrMake(path, newSize.has_value());
    if (!file) {
        return {Refuse(ErrorOfErrno(errno)), {}};
    }
    const Standing standing = IsOurs(file.Get()) ? Enter(path, file.Get(), newSize) : Standing::Refused;
    Entry entry{standing, {}};
    if (standing == Standing::First || standing == Standing::Joining) {
        entry.file.emplace(std::move(file), path);
    }
    return entry;
}

void RemoveLeftOver(const std::string& path, bool (*isLeftOver)(int file)) {
    const UniqueFd file(::open(path.c_str(), kOpenFlags));
    if (file && IsOurs(file.Get()) && isLeftOver(file.Get())) {
        RemoveIfUnused(path, file.Get(), 1);
    }
}

bool NameFile::IsCurrent() const {
    return LeadsTo(m_path, Descriptor());
}

bool NameFile::Resize(std::size_t size) {
    // Beyond this limit the kernel does not refuse but end the process by a signal.
    rlimit limit{};
    if (::getrlimit(RLIMIT_FSIZE, &limit) == 0 && size > limit.rlim_cur) {
        return Fail(ERROR_DISK_FULL);
    }
    return ::ftruncate(Descriptor(), static_cast<off_t>(size)) == 0 || FailErrno();
}

bool NameFile::Allocate(std::size_t size) {
    if (!Resize(size)) {
        return false;
    }
    CrashPoint();
    int error = 0;
    do {
        error = ::posix_fallocate(Descriptor(), 0, static_cast<off_t>(size));
    } while (error == EINTR);
    return error == 0 || Fail(ErrorOfErrno(error));
}

bool NameFile::Share() {
    return SetFileLock(Descriptor(), Part::Use, F_RDLCK) || FailErrno();
}

void NameFile::GiveUp() {
    const InsideLayer inside; // a thread that is suspended at the door would keep others out
    if (!m_file || m_path.empty() || m_nProcess != ::getpid()) {
        return;
    }
    SetFileLock(Descriptor(), Part::Use, F_UNLCK);
    RemoveIfUnused(m_path, Descriptor());
}

void NameFile::PrepareFork() {
    char path[32];
    std::snprintf(path, sizeof(path), "/proc/self/fd/%d", Descriptor());
    m_fileForChild = UniqueFd(::open(path, O_RDWR | O_CLOEXEC));
    if (m_fileForChild && !SetFileLock(m_fileForChild.Get(), Part::Use, F_RDLCK)) {
        m_fileForChild = UniqueFd();
    }
}

void NameFile::ContinueInParent() {
    m_fileForChild = UniqueFd();
}

void NameFile::ContinueInChild() {
    if (m_fileForChild) {
        m_file = std::exchange(m_fileForChild, UniqueFd());
        m_nProcess = ::getpid();
    }
}

} // namespace gaizior::platform
