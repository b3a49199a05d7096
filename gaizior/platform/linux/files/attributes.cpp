#include "gaizior/platform/linux/files/attributes.h"

#include "gaizior/platform/file_system.h"
#include "gaizior/platform/linux/files/path_error.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include <sys/xattr.h>

namespace gaizior {
namespace {

/// Windows' attributes as a hexadecimal number, "0x2"; file servers may keep more behind its NUL.
constexpr const char* kAttributes = "user.DOSATTRIB";
constexpr std::size_t kLongest = 1024;

using Value = std::array<char, kLongest + 1>;

bool IsNone(int error) {
    return error == ENODATA || error == ENOTSUP;
}

} // namespace

bool platform::CopyAttributes(const FileHandle& to, const FileHandle& from) {
    Value value;
    const ssize_t size = ::fgetxattr(from.Get(), kAttributes, value.data(), kLongest);
    if (size < 0) {
        return IsNone(errno) || FailErrno();
    }
    return ::fsetxattr(to.Get(), kAttributes, value.data(), static_cast<std::size_t>(size), 0) == 0 || FailErrno();
}

bool file_system::ReadAttributes(const std::string& path, DWORD& attributes) {
    Value value{};
    if (::getxattr(path.c_str(), kAttributes, value.data(), kLongest) < 0 && !IsNone(errno)) {
        return platform::FailPath(path);
    }
    attributes = static_cast<DWORD>(std::strtoul(value.data(), nullptr, 16));
    return true;
}

bool file_system::WriteAttributes(const std::string& path, DWORD attributes) {
    DWORD before = 0;
    if (!ReadAttributes(path, before)) {
        return false;
    }
    if (attributes == before) {
        return true;
    }
    Value value;
    const int length = std::snprintf(value.data(), value.size(), "0x%x", attributes);
    return ::setxattr(path.c_str(), kAttributes, value.data(), static_cast<std::size_t>(length), 0) == 0 ||
           platform::FailPath(path);
}

} // namespace gaizior
