#include "gaizior/platform/linux/system/last_error.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <memory>
#include <string>

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

namespace {

using gaizior::platform::Fail;
using gaizior::platform::FailErrno;
using gaizior::platform::NoThrow;

/// Empty, with errno set, when it cannot be told.
std::string PathOfProgram() {
    char path[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path);
    return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : std::string();
}

/// The program's path where the library is linked into it.
std::string PathOfLibrary() {
    static const char anchor = 0;
    Dl_info info{};
    link_map* map = nullptr;
    if (!::dladdr1(&anchor, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) || !map || !*map->l_name) {
        return PathOfProgram();
    }
    const std::unique_ptr<char, decltype(&std::free)> path(::realpath(map->l_name, nullptr), &std::free);
    return path ? path.get() : "";
}

DWORD CopyPath(const std::string& path, char* buffer, DWORD size) {
    if (path.empty()) {
        FailErrno();
        return 0;
    }
    const std::size_t length = std::min<std::size_t>(path.size(), size - 1);
    *std::copy_n(path.begin(), length, buffer) = '\0';
    SetLastError(length < path.size() ? ERROR_INSUFFICIENT_BUFFER : ERROR_SUCCESS);
    return length < path.size() ? size : static_cast<DWORD>(length);
}

} // namespace

inline namespace gaizior_windows_api {

DWORD GetModuleFileNameA(HMODULE module, char* buffer, DWORD size) {
    if (size == 0) {
        Fail(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    return NoThrow([&] { return CopyPath(module ? PathOfLibrary() : PathOfProgram(), buffer, size); });
}

} // namespace gaizior_windows_api
