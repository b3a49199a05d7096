#include "gaizior/platform/path.h"

#include <algorithm>
#include <cerrno>

#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>
#endif

namespace gaizior {
namespace {

#ifdef _WIN32
constexpr char kSeparator = '\\';
constexpr char kForeignSeparator = '/';
constexpr char kNotInherited = 'N';

std::FILE* Lift(std::FILE* file, const char*) {
    return file;
}
#else
constexpr char kSeparator = '/';
constexpr char kForeignSeparator = '\\';
constexpr char kNotInherited = 'e';

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

std::FILE* OpenFile(const char* path, const char* mode) {
    if (!path || !mode || !*mode) {
        errno = EINVAL;
        return nullptr;
    }
    std::string flags = mode;
    flags.insert(1, 1, kNotInherited);
    return Lift(std::fopen(ToSystemPath(path).c_str(), flags.c_str()), mode);
}

} // namespace gaizior
