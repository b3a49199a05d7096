#pragma once

#include <string>

namespace gaizior::platform {

/// A child that begins in another folder must find the same file. Empty for an empty path and when the current folder
/// is gone.
std::string AbsolutePath(const std::string& path);

/// The absolute path of the program that a command line names: a name without a separator is looked for in the running
/// program's folder, the current one and those of PATH. Empty when there is none.
std::string FindProgram(const std::string& name);

} // namespace gaizior::platform
