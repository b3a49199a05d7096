#include "gaizior/platform/file_system.h"
#include "gaizior/platform/linux/files/attributes.h"
#include "gaizior/platform/linux/files/lock.h"
#include "gaizior/platform/linux/files/path_error.h"
#include "gaizior/platform/linux/files/retry.h"
#include "gaizior/platform/path.h"
#include "gaizior/platform/timing.h"

#include <array>
#include <climits>
#include <utility>

#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gaizior::file_system {
namespace {

using platform::CopyAttributes;
using platform::Fail;
using platform::FailErrno;
using platform::FailPath;
using platform::Retry;

constexpr DWORD kPause = 2;           // ms between two looks at a lock
constexpr int kMostLinks = 40;        // as many as the kernel follows
constexpr mode_t kPermissions = 0777; // as after a write, which drops the special rights

/// Where the links lead, also when the last one leads to nothing. @returns false, with errno set, for too many of them.
bool FollowLinks(std::string& path) {
    std::array<char, PATH_MAX> link;
    for (int i = 0; i < kMostLinks; ++i) {
        const ssize_t length = ::readlink(path.c_str(), link.data(), link.size());
        if (length < 0) {
            return true; // no link, or nothing
        }
        const std::string_view to(link.data(), static_cast<std::size_t>(length));
        path = to.starts_with('/') ? std::string(to) : std::string(FolderOf(path)).append(to);
    }
    errno = ELOOP;
    return false;
}

/// Finds out which file `path` leads to, and opens its folder.
bool Resolve(const std::string& path, Target& target) {
    target.path = path;
    if (!FollowLinks(target.path)) {
        return FailErrno();
    }
    const std::string folder = FolderOf(target.path).empty() ? "./" : std::string(FolderOf(target.path));
    target.folder = FileHandle(Retry([&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    return target.folder || Fail(errno == ENOENT ? ERROR_PATH_NOT_FOUND : platform::ErrorOfErrno(errno));
}

} // namespace

bool FindTarget(const std::string& path, Target& target) {
    if (!Resolve(path, target)) {
        return false;
    }
    target.file = FileHandle(
        Retry([&] { return ::open(target.path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW); }));
    if (!target.file) {
        if (errno == ENXIO) {
            return Fail(ERROR_ACCESS_DENIED); // a FIFO that nobody reads
        }
        return errno == ENOENT || FailErrno();
    }
    return IsRegular(target.file) || Fail(ERROR_ACCESS_DENIED);
}

bool KeepIdentity(const FileHandle& file, const FileHandle& old) {
    struct stat now {
    }, before{};
    if (::fstat(file.Get(), &now) != 0 || ::fstat(old.Get(), &before) != 0) {
        return FailErrno();
    }
    const bool isOwned = now.st_uid == before.st_uid && now.st_gid == before.st_gid;
    // The owner first: changing it drops permissions.
    if ((!isOwned && ::fchown(file.Get(), before.st_uid, before.st_gid) != 0) ||
        ::fchmod(file.Get(), before.st_mode & kPermissions) != 0) {
        return FailErrno();
    }
    return CopyAttributes(file, old);
}

bool TakeAfter(const FileHandle& copy, const FileHandle& source, bool withPermissions) {
    struct stat from {};
    if (::fstat(source.Get(), &from) != 0) {
        return FailErrno();
    }
    const timespec times[] = {{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, from.st_mtim};
    if ((withPermissions && ::fchmod(copy.Get(), from.st_mode & kPermissions) != 0) ||
        ::futimens(copy.Get(), times) != 0) {
        return FailErrno();
    }
    return !withPermissions || CopyAttributes(copy, source);
}

bool Rename(const std::string& from, const std::string& to, bool mayReplace) {
    const unsigned flags = mayReplace ? 0 : RENAME_NOREPLACE;
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), flags) == 0) {
        return true;
    }
    // Some file systems, shared ones above all, cannot rename so: a second name is refused as well where one is there.
    if (!mayReplace && errno == EINVAL && ::link(from.c_str(), to.c_str()) == 0) {
        return ::unlink(from.c_str()) == 0 || FailPath(from);
    }
    return errno == EEXIST ? Fail(ERROR_FILE_EXISTS) : FailPath(to);
}

bool FlushFolder(const Target& target) {
    // Some file systems know no such thing (EINVAL).
    return Retry([&] { return ::fsync(target.folder.Get()); }) == 0 || errno == EINVAL || FailErrno();
}

FileHandle Lock(const std::string& path, DWORD milliseconds) {
    Target target;
    if (!Resolve(path, target)) {
        return {};
    }
    return platform::LockFile(target.folder, milliseconds) ? std::move(target.folder) : FileHandle();
}

void Unlock(const FileHandle& lock) {
    ::flock(lock.Get(), LOCK_UN); // also for a forked child that still has it
}

} // namespace gaizior::file_system

bool gaizior::platform::LockFile(const FileHandle& file, DWORD milliseconds) {
    const ULONGLONG start = TickCount();
    while (::flock(file.Get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK) {
            return FailErrno();
        }
        if (milliseconds != INFINITE && TickCount() - start >= milliseconds) {
            return Fail(ERROR_TIMEOUT);
        }
        SleepFor(file_system::kPause);
    }
    return true;
}
