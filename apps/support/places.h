#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace apps {

// Where a running imager leaves what a service engineer looks for. GAIZIOR_STATE_DIR names another folder for all of
// it.
//
//     Windows            %ProgramData%\gaizior
//     Linux, root        /var/log/gaizior; histories in /var/lib/gaizior
//     Linux, others      $XDG_STATE_HOME/gaizior, which is ~/.local/state/gaizior unless it is set

/// The folder of this user's log files; empty where no such place is known (no HOME).
std::string LogFolder();
/// The folder of this user's histories; the same.
std::string HistoryFolder();

/// The folder that GAIZIOR_STATE_DIR names, absolute; empty where it names none.
std::string StateFolder();

/// The folders in which to look for the same, this user's first: on Linux those of the whole machine too.
/// @{
std::vector<std::string> LogFolders();
std::vector<std::string> HistoryFolders();
/// @}

/// The running program's own path.
std::filesystem::path ProgramPath();

} // namespace apps
