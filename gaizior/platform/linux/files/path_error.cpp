#include "gaizior/platform/linux/files/path_error.h"

#include "gaizior/platform/path.h"

#include <cerrno>

#include <unistd.h>

namespace gaizior::platform {

BOOL FailPath(const std::string& path) {
    const int error = errno;
    const std::string folder(FolderOf(path));
    const bool isFolderMissing = path.empty() || (!folder.empty() && ::access(folder.c_str(), F_OK) != 0);
    return Fail(error == ENOENT && isFolderMissing ? ERROR_PATH_NOT_FOUND : ErrorOfErrno(error));
}

} // namespace gaizior::platform
