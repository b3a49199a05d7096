#pragma once

#include "gaizior/platform/file_system.h"
#include "gaizior/platform/files.h"

#include <string>
#include <string_view>

namespace gaizior {

/// What a loss of power just after a commit leaves.
enum class AfterPowerLoss {
    NewFile,  ///< the new file
    EitherOne ///< the old file or the new one, whole; spares the flush of the folder
};

/// Saves a file or not at all: what is written goes to a temporary file beside the old one, and Commit puts it in its
/// place. At every moment, and after any failure or a kill, the old file or the new one is there, whole. The new file
/// keeps the old one's permissions, owner, hidden attribute and symbolic link, else it is not saved (5); other names of
/// the old file (hard links) and its access lists do not follow. On Windows a file that anybody keeps open for longer
/// than a tenth of a second cannot be replaced (5). A killed process leaves its temporary file,
/// ".gaizior-(process)-(number).tmp". The first failure is remembered: it removes the temporary file, and all that
/// follows fails with the same error.
class FileReplacement {
public:
    FileReplacement() = default;
    ~FileReplacement() {
        Discard();
    }
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    /// Looks at the file and makes the temporary one, private to the user while an old file is there. A folder, a
    /// device or a file that may not be written is refused (5), and so is a missing folder (3). What was open before is
    /// dropped.
    /// @param access for a file that does not exist yet.
    bool Open(const char* path, FileAccess access = FileAccess::Default);
    /// The temporary file; empty when nothing is open.
    const std::string& TemporaryPath() const {
        return m_temporary;
    }
    /// Takes as much as memory and disk hold; fails with 6 when nothing is open.
    bool Write(std::string_view bytes);
    /// Writes a copy of a whole file, which keeps its last-write time, and its permissions where there is no old file.
    /// A file is not copied onto itself (32).
    bool Copy(File& source);
    /// Flushes the new file, puts it in the old one's place and, for NewFile, flushes the folder. Fails after that only
    /// when the folder cannot be flushed: then the new file is there, but might not survive a loss of power.
    /// @param mayReplace false: fails with 80 when there is a file by now.
    bool Commit(bool mayReplace = true, AfterPowerLoss afterPowerLoss = AfterPowerLoss::NewFile);

private:
    template <class Body>
    bool Try(Body&& body);
    bool IsOther(const File& source) const;
    bool KeepIdentity() const;
    bool Rename(bool mayReplace);
    bool FlushFolder();
    bool Close();
    void Discard();

    file_system::Target m_target;
    File m_file;
    std::string m_temporary;
    DWORD m_nError = ERROR_INVALID_HANDLE; // the first failure's; until Open, and after Commit
};

/// Saves a whole file at once.
bool SaveFile(const char* path, std::string_view contents, FileAccess access = FileAccess::Default);

} // namespace gaizior
