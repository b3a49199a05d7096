#include "gaizior/platform/linux/processes/program_path.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace gaizior::platform {
namespace {

namespace fs = std::filesystem;

bool IsProgram(const std::string& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored) && ::access(path.c_str(), X_OK) == 0;
}

/// The folders that a program's bare name is looked for in: the running program's, the current one, those of PATH.
std::vector<fs::path> SearchFolders() {
    std::error_code ignored;
    std::vector<fs::path> folders{fs::read_symlink("/proc/self/exe", ignored).parent_path(), "."};
    const char* path = std::getenv("PATH");
    std::string_view rest = path ? path : "";
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(':'), rest.size());
        folders.emplace_back(end ? rest.substr(0, end) : ".");
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return folders;
}

} // namespace

std::string AbsolutePath(const std::string& path) {
    std::error_code ignored;
    return fs::absolute(path, ignored);
}

std::string FindProgram(const std::string& name) {
    if (name.empty()) {
        return {};
    }
    if (name.find('/') != std::string::npos) {
        return AbsolutePath(name);
    }
    for (const fs::path& folder : SearchFolders()) {
        if (const std::string path = folder / name; IsProgram(path)) {
            return AbsolutePath(path);
        }
    }
    return {};
}

} // namespace gaizior::platform
