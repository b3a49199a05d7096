#include "apps/support/places.h"

#include <cstdlib>

#include <unistd.h>

namespace apps {
namespace {

constexpr const char* kMachinesLogs = "/var/log/gaizior";
constexpr const char* kMachinesHistories = "/var/lib/gaizior";

/// An absolute path of the environment's; empty for any other: such variables do not count.
std::string PathVariable(const char* name) {
    const char* const value = std::getenv(name);
    return value && *value == '/' ? value : "";
}

std::string UsersFolder() {
    if (std::string folder = PathVariable("XDG_STATE_HOME"); !folder.empty()) {
        return folder + "/gaizior";
    }
    const std::string home = PathVariable("HOME");
    return home.empty() ? home : home + "/.local/state/gaizior";
}

/// This user's folder, and the machine's; both are the same one for root.
std::vector<std::string> Folders(const char* machines) {
    if (std::string folder = StateFolder(); !folder.empty()) {
        return {folder};
    }
    if (::geteuid() == 0) {
        return {machines};
    }
    return {UsersFolder(), machines};
}

} // namespace

std::vector<std::string> LogFolders() {
    return Folders(kMachinesLogs);
}

std::vector<std::string> HistoryFolders() {
    return Folders(kMachinesHistories);
}

} // namespace apps
