#pragma once

#include "gaizior/platform/linux/system/unique_fd.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

/// The file that stands for a name, and how processes agree on who makes and who removes it: by locks on the open
/// file. All who use the name share one; who has it alone makes the file or removes it. See docs/platform.md.
namespace gaizior::platform {

std::string FolderOfNames();

/// The path of a name's file; empty, with the last error set, when the name can be no file's.
std::string PathOfName(std::string_view name);

/// The file of a name that this process uses, or one without a name, and its lock.
class NameFile {
public:
    /// Takes over the file, and the lock that is held on it. An empty path is no name.
    NameFile(UniqueFd file, std::string path) : m_file(std::move(file)), m_path(std::move(path)) {}
    NameFile(NameFile&&) = default;
    ~NameFile() {
        GiveUp();
    }
    int Descriptor() const {
        return m_file.Get();
    }
    /// Whether the name still leads to this file.
    bool IsCurrent() const;
    /// Gives the file so many bytes, 0 where there were none. @returns false with ERROR_DISK_FULL for more than the
    /// process may have in a file, or with another last error.
    bool Resize(std::size_t size);
    /// Resizes, and has the memory kept ready: a full folder is told here and not by a signal at the first access.
    bool Allocate(std::size_t size);
    /// Lets others use what has been made. @returns false with the last error set.
    bool Share();
    /// Says that this process does not use the name any more; the last that says so removes the file.
    void GiveUp();

    /// Opens the file once more while the process forks, with a lock of its own, and gives that to the child: what
    /// parent and child share would be given up by whoever closes first. Without it the child cannot give up the name.
    void PrepareFork();
    void ContinueInParent();
    void ContinueInChild();

private:
    UniqueFd m_file;
    UniqueFd m_fileForChild;
    std::string m_path;
    pid_t m_nProcess = ::getpid(); ///< who has the right to give the lock up
};

/// How a try to use a name ended.
enum class Standing {
    First,   ///< the file is empty, and nobody else can use it before it is shared
    Joining, ///< others use it
    Passing, ///< another process is about to make, to remove or to look at it
    Refused, ///< it cannot be used; the last error is set
};

struct Entry {
    Standing standing;
    std::optional<NameFile> file; ///< of those who are First or Joining
};

/// Tries once to use the name with that path. Where nobody does, its file is made to get `newSize` bytes; without a
/// size it is not made (ERROR_FILE_NOT_FOUND). Does not wait for those who pass. Any thread.
Entry EnterName(const std::string& path, std::optional<std::size_t> newSize);

/// Removes the file of a name that nobody uses, if `isLeftOver` takes it for one. Does not wait for those who pass.
void RemoveLeftOver(const std::string& path, bool (*isLeftOver)(int file));

} // namespace gaizior::platform
