#include "gaizior/platform/file_system.h"
#include "gaizior/platform/linux/files/lock.h"
#include "gaizior/platform/linux/files/path_error.h"
#include "gaizior/platform/linux/files/retry.h"
#include "gaizior/platform/linux/files/size_limit.h"
#include "gaizior/platform/linux/system/file_time.h"

#include <array>
#include <climits>
#include <cstdlib>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gaizior::file_system {
namespace {

using platform::Fail;
using platform::FailErrno;
using platform::FailPath;
using platform::Retry;

constexpr mode_t kReadAndWrite = 0666; // less the umask
constexpr mode_t kByUserAlone = 0600;
constexpr DWORD kLockTimeout = 1000; // ms

/// Without waiting for the other end of a pipe.
FileHandle Open(const std::string& path, int flags, mode_t mode = 0) {
    FileHandle file(Retry([&] { return ::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, mode); }));
    if (!file) {
        FailPath(path);
    }
    return file;
}

FileStatus ToStatus(const struct stat& status) {
    return {.isFolder = S_ISDIR(status.st_mode),
            .size = static_cast<ULONGLONG>(status.st_size),
            .lastWrite = platform::ToFileTime(platform::ToTicks(status.st_mtim)),
            .lastChange = platform::ToFileTime(platform::ToTicks(status.st_ctim)),
            .device = status.st_dev,
            .id = status.st_ino};
}

} // namespace

FileHandle OpenToRead(const std::string& path) {
    FileHandle file = Open(path, O_RDONLY);
    struct stat status {};
    if (file && ::fstat(file.Get(), &status) == 0 && S_ISDIR(status.st_mode)) {
        Fail(ERROR_ACCESS_DENIED);
        return {};
    }
    return file;
}

FileHandle OpenToAppend(const std::string& path) {
    return Open(path, O_WRONLY | O_APPEND | O_CREAT, kReadAndWrite);
}

FileHandle OpenExistingToAppend(const std::string& path) {
    return Open(path, O_WRONLY | O_APPEND);
}

FileHandle CreateNew(const std::string& path, FileAccess access) {
    FileHandle file =
        Open(path, O_RDWR | O_CREAT | O_EXCL, access == FileAccess::Private ? kByUserAlone : kReadAndWrite);
    if (!file && ::GetLastError() == ERROR_ALREADY_EXISTS) {
        Fail(ERROR_FILE_EXISTS);
    }
    return file;
}

bool Read(const FileHandle& file, char* buffer, std::size_t size, std::size_t& count) {
    const ssize_t result = Retry([&] { return ::read(file.Get(), buffer, size); });
    count = result > 0 ? static_cast<std::size_t>(result) : 0;
    return result >= 0 || FailErrno();
}

bool Write(const FileHandle& file, std::string_view bytes, std::size_t& written) {
    const platform::NoSizeSignal noSignal;
    for (written = 0; written < bytes.size();) {
        const std::string_view rest = bytes.substr(written);
        const ssize_t result = Retry([&] { return ::write(file.Get(), rest.data(), rest.size()); });
        if (result < 0) {
            return FailErrno();
        }
        written += static_cast<std::size_t>(result);
    }
    return true;
}

bool Append(const FileHandle& file, std::string_view bytes, std::size_t& written) {
    return Write(file, bytes, written); // O_APPEND
}

void CutOff(const FileHandle& file, std::size_t written) {
    const off_t end = ::lseek(file.Get(), 0, SEEK_CUR); // behind what was written last
    struct stat status {};
    if (written > 0 && end >= 0 && ::fstat(file.Get(), &status) == 0 && status.st_size == end) {
        Retry([&] { return ::ftruncate(file.Get(), end - static_cast<off_t>(written)); });
    }
}

bool Flush(const FileHandle& file) {
    return Retry([&] { return ::fsync(file.Get()); }) == 0 || FailErrno();
}

bool Query(const FileHandle& file, FileStatus& result) {
    struct stat status {};
    if (::fstat(file.Get(), &status) != 0) {
        return FailErrno();
    }
    result = ToStatus(status);
    return true;
}

bool IsRegular(const FileHandle& file) {
    struct stat status {};
    return ::fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode);
}

bool Query(const std::string& path, FileStatus& result) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 && ::lstat(path.c_str(), &status) != 0) {
        return FailPath(path);
    }
    result = ToStatus(status);
    return true;
}

bool Remove(const std::string& path) {
    return ::unlink(path.c_str()) == 0 || FailPath(path);
}

bool RemoveIf(const std::string& path, bool (*isUnwanted)(const FileStatus& status)) {
    std::array<char, PATH_MAX> resolved;
    if (!::realpath(path.c_str(), resolved.data())) {
        return FailPath(path);
    }
    const std::string target = resolved.data();
    const FileHandle file = OpenToRead(target);
    // Nothing else than this takes a file's own lock.
    if (!file || !platform::LockFile(file, kLockTimeout)) {
        return false;
    }
    FileStatus locked{}, named{};
    const bool isKnown = Query(file, locked);
    const bool isStillThere = Query(target, named) && named.device == locked.device && named.id == locked.id;
    const bool succeeded = isKnown && (!isStillThere || !isUnwanted(locked) || Remove(target));
    Unlock(file);
    return succeeded;
}

bool CreateFolder(const std::string& path, FileAccess access) {
    if (::mkdir(path.c_str(), access == FileAccess::Private ? 0700 : 0777) == 0) {
        return true;
    }
    if (errno == ENOTDIR) {
        errno = ENOENT; // Windows tells no difference
    }
    const int error = errno;
    FailPath(path);
    errno = error;
    return false;
}

bool ListFolder(const std::string& path, std::vector<std::string>& names) {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(path.c_str()), &::closedir); // out of a child's reach
    if (!folder) {
        return errno == ENOENT ? Fail(ERROR_PATH_NOT_FOUND) : FailErrno();
    }
    errno = 0;
    while (const dirent* const entry = ::readdir(folder.get())) {
        if (const std::string_view name = entry->d_name; name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    return errno == 0 || FailErrno();
}

bool GetCurrentFolder(std::string& path) {
    std::array<char, PATH_MAX> buffer;
    if (!::getcwd(buffer.data(), buffer.size())) {
        return FailErrno();
    }
    path = buffer.data();
    return true;
}

bool GetTemporaryFolder(std::string& path) {
    const char* const folder = ::secure_getenv("TMPDIR");
    path = folder && *folder ? folder : "/tmp";
    if (!path.ends_with('/')) {
        path += '/';
    }
    return true;
}

bool GetFullPath(const std::string& path, std::string& fullPath) {
    if (path.starts_with('/')) {
        fullPath = path;
        return true;
    }
    if (!GetCurrentFolder(fullPath)) {
        return false;
    }
    fullPath.append("/").append(path);
    return true;
}

} // namespace gaizior::file_system
