#include "apps/support/clock.h"

#include "gaizior/platform/windows_api.h"

#include <array>
#include <cstdio>

namespace apps {

std::string ClockTime() {
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%02u:%02u:%02u", unsigned{now.wHour}, unsigned{now.wMinute},
                  unsigned{now.wSecond});
    return text.data();
}

} // namespace apps
