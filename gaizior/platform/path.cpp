#include "gaizior/platform/path.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace gaizior {
namespace {

#ifdef _WIN32
constexpr char kSeparator = '\\';
constexpr char kForeignSeparator = '/';
constexpr std::string_view kEndsOfFolders = "\\:";
constexpr char kNotInherited = 'N';
using FileStatus = struct _stat64;

bool GetStatus(std::FILE* file, FileStatus& status) {
    return ::_fstat64(::_fileno(file), &status) == 0;
}

std::FILE* Lift(std::FILE* file, const char*) {
    return file;
}
#else
constexpr char kSeparator = '/';
constexpr char kForeignSeparator = '\\';
constexpr std::string_view kEndsOfFolders = "/";
constexpr char kNotInherited = 'e';
using FileStatus = struct stat;

bool GetStatus(std::FILE* file, FileStatus& status) {
    return ::fstat(::fileno(file), &status) == 0;
}

/// Moves a stream that has just been opened out of the places of the standard streams, should the host have closed
/// those: what it still writes to them would stand in the file. @returns null with errno set when there is no place.
std::FILE* Lift(std::FILE* file, const char* mode) {
    if (!file || ::fileno(file) > STDERR_FILENO) {
        return file;
    }
    const int number = ::fcntl(::fileno(file), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    std::FILE* const lifted = number < 0 ? nullptr : ::fdopen(number, mode);
    const int error = errno;
    if (number >= 0 && !lifted) {
        ::close(number);
    }
    std::fclose(file);
    errno = error;
    return lifted;
}
#endif

} // namespace

std::string ToSystemPath(std::string_view path) {
    std::string result(path);
    std::ranges::replace(result, kForeignSeparator, kSeparator);
    return result;
}

std::string_view FolderOf(std::string_view path) {
    return path.substr(0, path.find_last_of(kEndsOfFolders) + 1);
}

std::string WithSeparator(std::string_view folder) {
    std::string result(folder);
    if (FolderOf(folder).size() < folder.size()) {
        result += kSeparator;
    }
    return result;
}

std::FILE* OpenFile(const char* path, const char* mode) {
    if (!path || !mode || !*mode) {
        errno = EINVAL;
        return nullptr;
    }
    std::string flags = mode;
    flags.insert(1, 1, kNotInherited);
    return Lift(std::fopen(ToSystemPath(path).c_str(), flags.c_str()), mode);
}

bool IsRegularFile(std::FILE* file) {
    FileStatus status{};
    return GetStatus(file, status) && (status.st_mode & S_IFMT) == S_IFREG;
}

void KeepLineEnds([[maybe_unused]] std::FILE* file) {
#ifdef _WIN32
    std::fflush(file);
    ::_setmode(::_fileno(file), _O_BINARY);
#endif
}

} // namespace gaizior
