#pragma once

#include "gaizior/platform/windows_api.h"

#include <cstddef>
#include <string>
#include <vector>

namespace apps {

/// A shared object that is asked about.
struct ObjectName {
    std::string name;
    std::size_t size; ///< bytes that its file has, where it has one
};

/// Another process that has an object's file open.
struct ObjectUser {
    unsigned process;
    std::string program;
};

/// The file that stands for a shared object, where the system has such files.
struct ObjectFile {
    std::string path;
    std::string owner;             ///< whose it is where that is another user than this process's; else empty
    std::vector<ObjectUser> users; ///< as far as the system tells
    bool isRemoved = false;        ///< whether those have one open to which the path does not lead any more
    bool isStrange = false;        ///< whether a file of another kind or size is there
};

/// How the folder of the objects' files can be used.
enum class FolderState { kUsable, kMissing, kNoFolder, kForbidden };

/// Where shared objects live, as far as the system tells.
struct ObjectPlace {
    std::string user;      ///< under which this process runs; empty where the system does not tell
    std::string folder;    ///< of the objects' files; empty where objects are no files
    bool isChosen = false; ///< whether the environment names the folder
    FolderState state = FolderState::kUsable;
    std::string folderOwner;
    bool isSizeLimited = false; ///< whether this process may not write a file as large as the largest of them
    std::vector<ObjectFile> files;
};

/// What is wrong and what to do about it.
struct Cause {
    std::string why;
    std::string remedy;
};

/// Looks where these objects are, and who has them open.
ObjectPlace LookAtObjects(const std::vector<ObjectName>& names);

/// Why the system refused the objects at that place with an error number, and what to do.
Cause CauseOf(DWORD error, const ObjectPlace& place);

/// The same in one text: "why (operating-system error 5): remedy".
std::string CauseText(DWORD error, const ObjectPlace& place);

/// Whose the file is that has a channel's name, and what to do; its remedy alone where objects are no files.
Cause CauseOfForeign(const ObjectFile& file);

/// The first of the files that was removed while processes have it open; null where none was.
const ObjectFile* FindRemoved(const ObjectPlace& place);

// The commands to type for a process, on this system.
/// Lets one go on that a signal has stopped; empty where there is no such command.
std::string ContinueCommand(unsigned process);
/// Ends one, whatever it does.
std::string KillCommand(unsigned process);

} // namespace apps
