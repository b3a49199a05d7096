#include "apps/support/places.h"

#include <cstdlib>

namespace apps {

std::vector<std::string> LogFolders() {
    if (std::string folder = StateFolder(); !folder.empty()) {
        return {folder};
    }
    const char* const folder = std::getenv("ProgramData");
    return {folder ? std::string(folder) + "\\gaizior" : std::string()};
}

std::vector<std::string> HistoryFolders() {
    return LogFolders();
}

} // namespace apps
