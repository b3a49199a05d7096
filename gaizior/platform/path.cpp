#include "gaizior/platform/path.h"

#include <algorithm>

namespace gaizior {
namespace {

#ifdef _WIN32
constexpr char kSeparator = '\\';
constexpr char kForeignSeparator = '/';
constexpr std::string_view kEndsOfFolders = "\\:";
#else
constexpr char kSeparator = '/';
constexpr char kForeignSeparator = '\\';
constexpr std::string_view kEndsOfFolders = "/";
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

} // namespace gaizior
