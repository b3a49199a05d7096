#pragma once

#include "apps/support/failure.h"
#include "gaizior/platform/unique_handle.h"

#include <string>
#include <vector>

namespace apps {

/// A process that outlives the one which started it.
struct BackgroundProcess {
    gaizior::UniqueHandle handle; ///< signalled when it has ended
    DWORD id = 0;
};

/// Starts a program that stays when this one, its terminal and its session end: it has no terminal and no input, its
/// standard output leads nowhere. One thread at a time.
/// @param path the program
/// @param words what stands behind it on its command line; without quotation marks
/// @param errors the file that its standard error goes to, emptied before; empty for nowhere
/// @param process receives it
/// @returns nothing, or why it could not be started.
Outcome StartInBackground(const std::string& path, const std::vector<std::string>& words, const std::string& errors,
                          BackgroundProcess& process);

} // namespace apps
