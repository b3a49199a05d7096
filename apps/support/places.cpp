#include "apps/support/places.h"

#include "gaizior/platform/windows_api.h"

#include <array>
#include <cstdlib>
#include <system_error>

namespace apps {

std::string LogFolder() {
    return LogFolders().front();
}

std::string HistoryFolder() {
    return HistoryFolders().front();
}

std::string StateFolder() {
    const char* const folder = std::getenv("GAIZIOR_STATE_DIR");
    std::error_code error;
    return folder && *folder ? std::filesystem::absolute(folder, error).string() : std::string();
}

std::filesystem::path ProgramPath() {
    std::array<char, 4096> path{};
    ::GetModuleFileNameA(nullptr, path.data(), static_cast<DWORD>(path.size() - 1));
    return path.data();
}

} // namespace apps
