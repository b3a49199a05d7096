#include "gaizior/platform/stream.h"

#include "gaizior/platform/linux/system/unique_fd.h"
#include "gaizior/platform/path.h"

#include <cerrno>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace gaizior {
namespace {

/// Moves a stream that has just been opened out of the places of the standard streams, should the host have closed
/// those: what it still writes to them would stand in the file. @returns null with errno set when there is no place.
std::FILE* Lift(std::FILE* file, const char* mode) {
    if (!file || !platform::IsStandardStream(::fileno(file))) {
        return file;
    }
    const int number = platform::DuplicateLifted(::fileno(file));
    std::FILE* const lifted = number < 0 ? nullptr : ::fdopen(number, mode);
    const int error = errno;
    if (number >= 0 && !lifted) {
        ::close(number);
    }
    std::fclose(file);
    errno = error;
    return lifted;
}

} // namespace

std::FILE* OpenFile(const char* path, const char* mode) {
    if (!path || !mode || !*mode) {
        errno = EINVAL;
        return nullptr;
    }
    const std::string flags = std::string(mode).insert(1, 1, 'e'); // children do not inherit it
    return Lift(std::fopen(ToSystemPath(path).c_str(), flags.c_str()), mode);
}

bool IsRegularFile(std::FILE* file) {
    struct stat status {};
    return ::fstat(::fileno(file), &status) == 0 && S_ISREG(status.st_mode);
}

void KeepLineEnds(std::FILE* /*file*/) {}

} // namespace gaizior
