#pragma once

#include "gaizior/platform/files.h"

#include <string>
#include <string_view>
#include <vector>

/// What each system makes of the calls of files.h and file_replacement.h. Paths are the system's own; a failure is told
/// by false, or an empty handle, and the last error.
namespace gaizior::file_system {

FileHandle OpenToRead(const std::string& path);
FileHandle OpenToAppend(const std::string& path);
FileHandle OpenExistingToAppend(const std::string& path);
/// Fails with ERROR_FILE_EXISTS for a name that is taken.
FileHandle CreateNew(const std::string& path, FileAccess access);

bool Read(const FileHandle& file, char* buffer, std::size_t size, std::size_t& count);
/// @param written how many bytes came to the file, also on a failure.
bool Write(const FileHandle& file, std::string_view bytes, std::size_t& written);
/// The same at the file's end, wherever others have moved it.
bool Append(const FileHandle& file, std::string_view bytes, std::size_t& written);
/// Takes back what Append has written, provided that it is still the end of the file.
void CutOff(const FileHandle& file, std::size_t written);
bool Flush(const FileHandle& file);

bool Query(const FileHandle& file, FileStatus& status);
/// Whether it is neither a pipe nor a device.
bool IsRegular(const FileHandle& file);
bool Query(const std::string& path, FileStatus& status);
bool Remove(const std::string& path);
bool RemoveIf(const std::string& path, bool (*isUnwanted)(const FileStatus& status));
bool ReadAttributes(const std::string& path, DWORD& attributes);
bool WriteAttributes(const std::string& path, DWORD attributes);
bool CreateFolder(const std::string& path, FileAccess access);
/// Adds the names to `names`.
bool ListFolder(const std::string& path, std::vector<std::string>& names);
bool GetCurrentFolder(std::string& path);
bool GetTemporaryFolder(std::string& path);
bool GetFullPath(const std::string& path, std::string& fullPath);

/// A file that is to be replaced.
struct Target {
    std::string path;  ///< where links lead to
    FileHandle file;   ///< empty when there is none yet
    FileHandle folder; ///< Linux: what is flushed after the rename
};

/// Finds out where `path` leads and whether it may be written: a folder, a read-only file, a device is refused (5).
bool FindTarget(const std::string& path, Target& target);
/// Gives a new file the owner, the permissions and the hidden attribute of `old`.
bool KeepIdentity(const FileHandle& file, const FileHandle& old);
/// Gives a copy its source's last-write time, and its permissions when it is not to keep those of an older file.
bool TakeAfter(const FileHandle& copy, const FileHandle& source, bool withPermissions);
/// Renames in one step. @param mayReplace otherwise a file that is there stays (80).
bool Rename(const std::string& from, const std::string& to, bool mayReplace);
/// Makes a rename in the target's folder survive a loss of power.
bool FlushFolder(const Target& target);

/// Takes the lock that all files of the folder share in which `path` leads to one; ERROR_TIMEOUT when others keep it.
FileHandle Lock(const std::string& path, DWORD milliseconds);
void Unlock(const FileHandle& lock);

} // namespace gaizior::file_system
