#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace gaizior::platform {

inline constexpr std::size_t kLongestKeyName = 255;
inline constexpr std::size_t kLongestValueName = 16383;

/// Appends what a key or a value is called on the disk: the same for all spellings of a name, different for different
/// names, never longer than a file's name may be, and free of dots and separators. Letters are lower, digits, blanks,
/// '-' and '_' stand as they are, "%2E" for any other character; a long name ends with a hash of it behind a '~'.
void AppendDiskName(std::string& path, std::string_view name);

} // namespace gaizior::platform
