#include "apps/support/system_error.h"

#include "apps/support/failure.h"
#include "apps/support/text.h"
#include "gaizior/errors/folded_code.h"

#include <algorithm>
#include <string_view>

namespace apps {
namespace {

constexpr const char* kRestart = "end every process that uses the channel and start them again";

std::string Quoted(const std::string& name) {
    return "'" + name + "'";
}

/// A path as a shell reads it as one word, whatever is in it.
std::string ShellWord(const std::string& path) {
    const auto isPlain = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               std::string_view("/._-").find(c) != std::string_view::npos;
    };
    if (!path.empty() && std::ranges::all_of(path, isPlain)) {
        return path;
    }
    std::string word = "'";
    for (const char c : path) {
        word += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return word + "'";
}

std::string YouText(const ObjectPlace& place) {
    return place.user.empty() ? "" : ", you are " + Quoted(place.user);
}

/// An engineer who never set the variable would not look for it.
std::string FolderText(const ObjectPlace& place) {
    return "the folder " + place.folder + (place.isChosen ? ", which GAIZIOR_SHM_DIR names," : " of shared objects");
}

/// "imager (process 4711), bench (process 4712)".
std::string NamesOf(const std::vector<ObjectUser>& users) {
    std::string names;
    for (const ObjectUser& user : users) {
        names +=
            (names.empty() ? "" : ", ") + Printable(user.program) + " (process " + std::to_string(user.process) + ")";
    }
    return names.empty() ? "a process that the system does not name" : names;
}

/// "kill 4711 4712"; only where objects are files.
std::string EndCommand(const std::vector<ObjectUser>& users) {
    std::string command = "kill";
    for (const ObjectUser& user : users) {
        command += " " + std::to_string(user.process);
    }
    return command;
}

template <typename Property>
const ObjectFile* Find(const ObjectPlace& place, Property property) {
    const auto file = std::ranges::find_if(place.files, property);
    return file == place.files.end() ? nullptr : &*file;
}

Cause OthersCause(const std::string& what, const std::string& owner, const ObjectPlace& place) {
    return {what + " belongs to " + Quoted(owner) + YouText(place),
            "do it as that user: sudo -u " + owner + " COMMAND"};
}

Cause MissingCause(const ObjectPlace& place) {
    if (place.state == FolderState::kMissing || place.state == FolderState::kNoFolder) {
        const bool isMissing = place.state == FolderState::kMissing;
        return {FolderText(place) + (isMissing ? " does not exist" : " is no folder"),
                place.isChosen ? "set the variable to the folder that the imager uses, or make this one"
                               : "have it mounted: mount -t tmpfs tmpfs " + ShellWord(place.folder)};
    }
    if (const ObjectFile* const file = FindRemoved(place)) {
        return {file->path + " was removed while " + NamesOf(file->users) + " had it open, which nobody can reach now",
                "end that and start it again" + (file->users.empty() ? "" : ": " + EndCommand(file->users))};
    }
    return {"no process has the message channel open", "it exists while an imager or another program uses it"};
}

Cause StrangeCause(const ObjectPlace& place) {
    const ObjectFile* const strange = Find(place, [](const ObjectFile& file) { return file.isStrange; });
    return strange ? CauseOfForeign(*strange) : Cause{"another program uses the same names", kRestart};
}

Cause DeniedCause(const ObjectPlace& place) {
    if (place.folder.empty()) {
        return {"it belongs to another user, or to a process with an administrator's rights" + YouText(place),
                "do it as that user or as an administrator"};
    }
    if (const ObjectFile* const file = Find(place, [](const ObjectFile& each) { return !each.owner.empty(); })) {
        return OthersCause(file->path, file->owner, place);
    }
    return place.state == FolderState::kForbidden ? OthersCause(FolderText(place), place.folderOwner, place)
                                                  : StrangeCause(place);
}

Cause FullCause(const ObjectPlace& place) {
    if (place.isSizeLimited) {
        return {"this process may not write files as large as the channel's", "raise the limit: ulimit -f unlimited"};
    }
    return {FolderText(place) + " has no room left",
            "make room; this shows the largest files first: ls -lS " + ShellWord(place.folder)};
}

Cause BusyCause(const ObjectPlace& place) {
    const ObjectFile* const file = Find(place, [](const ObjectFile& each) { return !each.users.empty(); });
    if (!file) {
        return {"another process that makes or removes it does not go on", kRestart};
    }
    return {NamesOf(file->users) + " makes or removes " + file->path + " and does not go on",
            "let it go on: " + ContinueCommand(file->users.front().process)};
}

} // namespace

const ObjectFile* FindRemoved(const ObjectPlace& place) {
    return Find(place, [](const ObjectFile& file) { return file.isRemoved; });
}

Cause CauseOfForeign(const ObjectFile& file) {
    if (file.path.empty()) {
        return {"another program made it", kRestart};
    }
    const std::string remove = "rm -rf " + ShellWord(file.path);
    if (file.users.empty()) {
        return {file.path + " was made or changed by another program, and nobody has it open", "remove it: " + remove};
    }
    return {file.path + " was made or changed by another program, and " + NamesOf(file.users) + " has it open",
            "end that, then remove what is left of it: " + EndCommand(file.users) + "; " + remove};
}

Cause CauseOf(DWORD error, const ObjectPlace& place) {
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
        return MissingCause(place);
    case ERROR_TOO_MANY_OPEN_FILES:
        return {"too many files are open", "raise this process's limit: ulimit -n 4096"};
    case ERROR_ACCESS_DENIED:
        return DeniedCause(place);
    case ERROR_INVALID_HANDLE:
    case ERROR_FILE_INVALID:
    case ERROR_CANT_RESOLVE_FILENAME:
        return StrangeCause(place);
    case ERROR_NOT_ENOUGH_MEMORY:
        return {"the machine is short of memory", "end programs that use much of it"};
    case ERROR_WRITE_PROTECT:
        return {FolderText(place) + " can only be read",
                "have it mounted for writing: mount -o remount,rw " + ShellWord(place.folder)};
    case ERROR_DISK_FULL:
        return FullCause(place);
    case ERROR_BUSY:
        return BusyCause(place);
    default:
        return {ErrorText(gaizior::FoldSystemError(error)), kRestart};
    }
}

std::string CauseText(DWORD error, const ObjectPlace& place) {
    const Cause cause = CauseOf(error, place);
    return cause.why + " (operating-system error " + std::to_string(error) + "): " + cause.remedy;
}

} // namespace apps
