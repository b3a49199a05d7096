#pragma once

#include <string>
#include <string_view>

namespace gaizior {

/// The path as the system wants it: on both systems paths may separate with backslashes or slashes. Any thread.
std::string ToSystemPath(std::string_view path);

/// The folder that a system path names its file in, with the separator at its end; empty for a bare name. Any thread.
std::string_view FolderOf(std::string_view path);

} // namespace gaizior
