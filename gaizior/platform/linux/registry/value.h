#pragma once

#include "gaizior/platform/linux/registry/names.h"
#include "gaizior/platform/windows_api.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace gaizior::platform {

inline constexpr std::size_t kLargestData = 1 << 20;

/// A value as its file holds it: "gaizior value 1 TYPE NAME-LENGTH DATA-LENGTH", a line feed, the name, a line feed,
/// the data.
struct Value {
    DWORD type = REG_NONE;
    std::string_view name;
    std::string_view data;
};

inline constexpr std::size_t kLargestValueFile = kLargestData + kLongestValueName + 100;

std::string ToFileText(const Value& value);

/// The value in a file's text, which it refers to; nothing for one that is not exactly as ToFileText makes it.
std::optional<Value> ReadFileText(std::string_view text);

} // namespace gaizior::platform
