#include "gaizior/platform/path.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

namespace gaizior {
namespace {

#ifdef _WIN32
constexpr char kSeparator = '\\';
constexpr char kForeignSeparator = '/';
constexpr char kNotInherited = 'N';
using FileStatus = struct _stat64;

bool GetStatus(std::FILE* file, FileStatus& status) {
    return ::_fstat64(::_fileno(file), &status) == 0;
}
#else
constexpr char kSeparator = '/';
constexpr char kForeignSeparator = '\\';
constexpr char kNotInherited = 'e';
using FileStatus = struct stat;

bool GetStatus(std::FILE* file, FileStatus& status) {
    return ::fstat(::fileno(file), &status) == 0;
}
#endif

} // namespace

std::string ToSystemPath(std::string_view path) {
    std::string result(path);
    std::ranges::replace(result, kForeignSeparator, kSeparator);
    return result;
}

std::FILE* OpenFile(const char* path, const char* mode) {
    if (!path || !mode || !*mode) {
        errno = EINVAL;
        return nullptr;
    }
    std::string flags = mode;
    flags.insert(1, 1, kNotInherited);
    return std::fopen(ToSystemPath(path).c_str(), flags.c_str());
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
