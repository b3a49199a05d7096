#pragma once

#include "gaizior/platform/windows_api.h"

#include <cstdint>
#include <ctime>

namespace gaizior::platform {

/// 100 ns since the beginning of 1601, from seconds and nanoseconds since that of 1970.
constexpr std::int64_t ToTicks(const timespec& time) {
    constexpr std::int64_t kTicksPerSecond = 10'000'000;
    constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;
    return (time.tv_sec + kSecondsTo1970) * kTicksPerSecond + time.tv_nsec / 100;
}

constexpr FILETIME ToFileTime(std::int64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(static_cast<std::uint64_t>(ticks) >> 32)};
}

} // namespace gaizior::platform
