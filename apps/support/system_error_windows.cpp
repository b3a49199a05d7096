#include "apps/support/system_error.h"

#include <array>

namespace apps {

/// Objects are no files here, and the system does not tell who has them.
ObjectPlace LookAtObjects(const std::vector<ObjectName>&) {
    constexpr std::size_t kLongestName = 257; // with its NUL
    std::array<char, kLongestName> name{};
    DWORD size = static_cast<DWORD>(name.size());
    ObjectPlace place;
    place.user = ::GetUserNameA(name.data(), &size) ? name.data() : "";
    return place;
}

std::string ContinueCommand(unsigned) {
    return {};
}

std::string KillCommand(unsigned process) {
    return "taskkill /F /PID " + std::to_string(process);
}

} // namespace apps
