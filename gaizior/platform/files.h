#pragma once

#include "gaizior/platform/file_handle.h"
#include "gaizior/platform/windows_api.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// The calls through which the library reaches files, the same on both systems. Paths may separate with backslashes or
/// slashes; null and empty ones are not found (3). What fails returns false, or an empty File, with the reason in the
/// last error: Windows' numbers on both systems, 8 where memory is short; nothing is thrown. No call waits for another
/// process, and children inherit nothing. Any thread may call any of it; a File belongs to one at a time.
/// In the build for tests each call can be made to fail: see file_call.h.
namespace gaizior {

/// What a path or an open file leads to.
struct FileStatus {
    bool isFolder;
    ULONGLONG size; ///< bytes
    FILETIME lastWrite;
    FILETIME lastChange; ///< of contents, name or rights, which on Linux nobody can set; on Windows the last write
    ULONGLONG device;    ///< with `id`: which file it is; another one under the same name has other numbers
    ULONGLONG id;
};

/// Who may use a file that is made. On Windows the folder decides.
enum class FileAccess {
    Default, ///< as any program's new files (umask)
    Private  ///< its user alone
};

class File {
public:
    File() = default;
    /// Opens a file that exists. Folders are refused (5), and others may write, replace and delete it meanwhile.
    static File OpenToRead(const char* path);
    /// Opens a file, or makes an empty one; each Write goes to its end. Folders are refused (5).
    static File OpenToAppend(const char* path);
    /// The same for a file that exists (2 and 3 where it does not).
    static File OpenExistingToAppend(const char* path);
    /// Makes a file to write under a name that nothing else in `folder` has, which is empty or ends with a separator;
    /// `path` receives it. The caller removes it; what a killed process leaves, RemoveLeftFiles does.
    static File CreateUnique(const std::string& folder, FileAccess access, std::string& path);

    explicit operator bool() const {
        return static_cast<bool>(m_handle);
    }
    const FileHandle& Handle() const {
        return m_handle;
    }

    /// Reads up to `size` bytes from where the last Read ended; `count` is 0 at the end of the file and on a failure.
    bool Read(char* buffer, std::size_t size, std::size_t& count);
    /// Reads what is left into `contents`. A file with more than `limit` bytes fails (223); what was read then stays.
    bool ReadToEnd(std::string& contents, std::size_t limit);
    /// Writes all of `bytes`. To a file that is open to append they go in one piece, between the pieces of other
    /// processes; when that fails half-way (112: the disk is full), what was written is cut off again, unless another
    /// process has appended behind it; what one appends in that very moment may go with it.
    bool Write(std::string_view bytes);
    /// Returns when what was written survives a loss of power. After a failure it is lost, whatever a second call says.
    bool Flush();
    bool Query(FileStatus& status) const;

private:
    File(FileHandle handle, bool appends) : m_handle(std::move(handle)), m_bAppends(appends) {}

    FileHandle m_handle;
    bool m_bAppends = false;
};

/// Tells what is there, without opening it for its contents; of a link that leads nowhere it tells the link. Fails with
/// 2 where there is nothing, with 3 where not even its folder is.
bool QueryFile(const char* path, FileStatus& status);

/// Reads a whole file; `contents` is replaced. @param limit bytes that it may have at most (223 for more).
bool ReadWholeFile(const char* path, std::string& contents, std::size_t limit);

/// Removes a file, or a link and not what it leads to; a folder is refused (5). A read-only file is refused on Windows
/// (5); on Linux its folder decides.
bool RemoveFile(const char* path);

/// Removes a file, the one that a link leads to, if `isUnwanted` says so of it. It is the file that was looked at that
/// goes: none that another caller has made under its name meanwhile. Of those that call this for a file at a time one
/// goes on, the others wait for it, a second at most (1460).
bool RemoveFileIf(const char* path, bool (*isUnwanted)(const FileStatus& status));

/// Copies contents, permissions and last-write time by a FileReplacement: the destination is the old file or a whole
/// copy. One that exists keeps its own permissions. A file is not copied onto itself (32), and no pipe or device (5).
/// @param failIfExists leaves a destination that exists alone (80).
bool CopyWholeFile(const char* source, const char* destination, bool failIfExists);

/// The attribute of what is not to be listed, among those that Windows keeps of files and folders.
inline constexpr DWORD kHiddenAttribute = 0x2;

/// Reads a file's or folder's attributes; on Linux those of the extended attribute user.DOSATTRIB, as file servers
/// understand it, and none where there is no such attribute.
bool ReadAttributes(const char* path, DWORD& attributes);

/// Writes attributes that were read. On Linux fails with 50 where the file system has no extended attributes, unless
/// there is nothing to change.
bool WriteAttributes(const char* path, DWORD attributes);

/// Makes one folder; its parent must exist (3), it must not (183). errno tells the same: ENOENT, also for a parent that
/// is a file, and EEXIST. A private one is its user's alone on Linux.
bool CreateFolder(const char* path, FileAccess access = FileAccess::Default);

/// The names of what is in a folder, in no order; `names` is replaced. Fails with 3 where there is none.
bool ListFolder(const char* path, std::vector<std::string>& names);

/// The current folder's path, in the system's own form.
bool GetCurrentFolder(std::string& path);

/// The folder for files that nobody keeps, with a separator at its end: TMPDIR or the system's; on Windows the user's.
bool GetTemporaryFolder(std::string& path);

/// The path that names the same file wherever the current folder is, in the system's own form.
bool GetFullPath(const char* path, std::string& fullPath);

/// Removes what processes that have ended left in a folder under the names of CreateUnique, as far as this user may.
void RemoveLeftFiles(const std::string& folder);

} // namespace gaizior
