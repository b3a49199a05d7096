#include "gaizior/platform/stream.h"

#include "gaizior/platform/path.h"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

namespace gaizior {

std::FILE* OpenFile(const char* path, const char* mode) {
    if (!path || !mode || !*mode) {
        errno = EINVAL;
        return nullptr;
    }
    const std::string flags = std::string(mode).insert(1, 1, 'N'); // children do not inherit it
    return std::fopen(ToSystemPath(path).c_str(), flags.c_str());
}

bool IsRegularFile(std::FILE* file) {
    struct _stat64 status {};
    return ::_fstat64(::_fileno(file), &status) == 0 && (status.st_mode & S_IFMT) == S_IFREG;
}

void KeepLineEnds(std::FILE* file) {
    std::fflush(file);
    ::_setmode(::_fileno(file), _O_BINARY);
}

} // namespace gaizior
