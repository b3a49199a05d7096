#include "apps/support/places.h"

#include "gaizior/platform/windows_api.h"

#include <array>

namespace apps {

std::string LogFolder() {
    return LogFolders().front();
}

std::string HistoryFolder() {
    return HistoryFolders().front();
}

std::filesystem::path ProgramPath() {
    std::array<char, 4096> path{};
    ::GetModuleFileNameA(nullptr, path.data(), static_cast<DWORD>(path.size() - 1));
    return path.data();
}

} // namespace apps
