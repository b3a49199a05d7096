#pragma once

/// @file
/// What applications do with files and folders, and with their paths.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"
#include "gaizior/platform/windows_api.h"
#include "gaizior/values/string.h"

// <windows.h> makes DeleteFileA or DeleteFileW of DeleteFile, and the same of CopyFile, wherever it is included before
// their use.
#pragma push_macro("DeleteFile")
#pragma push_macro("CopyFile")
#undef DeleteFile
#undef CopyFile

/// Files, folders and paths. Paths may separate with backslashes or slashes, and the caller keeps them; a null path is
/// an empty one, which leads nowhere. What fails writes one line to the log, unless its own text says otherwise, and
/// puts nothing on the error stack. Any thread may call any of it; a ZRCString belongs to one at a time.
class GAIZIOR_API ZRFileUtilsC {
public:
    /// @returns 1 when there is a file or a folder, or a link, even one that leads nowhere; else 0, and no log line.
    static int FileExists(const char* path);

    /// Sets the hidden attribute of a file or folder, or takes it for a `hide` of 0. On Linux it is the extended
    /// attribute that file servers understand.
    /// @returns 0; the system error with bit 29 set: 2 or 3 where there is nothing, 50 where a Linux file system has no
    ///   such attribute.
    static ZRErrors::ZRErrorT HideFile(const char* path, int hide);

    /// Creates a folder and all folders above it that are missing.
    /// @returns 0, also for a file or folder that exists already; an errno with bits 29 and 30 set: 0x60000002 where
    ///   the file system lacks what the path begins with, or has a file in the place of a folder, else what kept the
    ///   last folder from being made.
    static ZRErrors::ZRErrorT MakeFolder(const char* path);

    /// Deletes a file, or a link and not what it leads to, and never a folder.
    /// @param path the file.
    /// @param noExistCheck 0: a file that does not exist counts as deleted. Any other value: it is a failure.
    /// @returns 1; 0 on a failure, which the last error tells.
    static int DeleteFile(const char* path, int noExistCheck);

    /// Copies a file, its last-write time too. The destination is replaced by a whole copy or left as it was; a file is
    /// not copied onto itself.
    /// @param source what is copied.
    /// @param destination the copy, a path with a file's name.
    /// @param failIfExists other than 0: a destination that exists stays, which is a failure.
    /// @returns 1; 0 on a failure, which the last error tells.
    static int CopyFile(const char* source, const char* destination, int failIfExists);

    /// DeleteFile and CopyFile, under the names that `<windows.h>` makes of them.
    /// @{
    static int DeleteFileA(const char* path, int noExistCheck) {
        return DeleteFile(path, noExistCheck);
    }
    static int DeleteFileW(const char* path, int noExistCheck) {
        return DeleteFile(path, noExistCheck);
    }
    static int CopyFileA(const char* source, const char* destination, int failIfExists) {
        return CopyFile(source, destination, failIfExists);
    }
    static int CopyFileW(const char* source, const char* destination, int failIfExists) {
        return CopyFile(source, destination, failIfExists);
    }
    /// @}

    /// Tells when a file was last written to.
    /// @param path the file.
    /// @param lastWrite receives the time, Universal; left alone on a failure.
    /// @returns 0; without a log line 2006 for a null path and 1014 e_File_NotFound where there is nothing; the system
    ///   error with bit 29 set when the file cannot be opened, as a folder never can (0x20000005), or asked.
    static ZRErrors::ZRErrorT GetLastWriteTime(const char* path, FILETIME& lastWrite);

    /// Splits a path. Parts whose pointers are null are not asked for; the caller's texts may be the path itself.
    /// @param path the path, left as it is unless it is a part, too.
    /// @param drive receives what stands before the first colon. A path without a colon leaves it as it is, a decision
    ///   of this system; an empty path empties it.
    /// @param dir receives what stands behind the colon and before the last separator.
    /// @param fname receives what follows, up to the last full stop. Nothing where there is none, on purpose.
    /// @param ext receives what stands behind that full stop; all of the name where there is none.
    static void SplitPath(ZRCString& path, ZRCString* drive, ZRCString* dir, ZRCString* fname, ZRCString* ext);

    /// Joins what SplitPath has split. Parts whose pointers are null are left out.
    /// @param path receives the path.
    /// @param drive with a colon behind it.
    /// @param dir with a backslash behind it, on both systems.
    /// @param fname as it is.
    /// @param ext behind a full stop; an empty one has none.
    static void MakePath(ZRCString& path, ZRCString* drive, ZRCString* dir, ZRCString* fname, ZRCString* ext);
};

#pragma pop_macro("DeleteFile")
#pragma pop_macro("CopyFile")

/// Fetches the current directory of the process, in the system's own form. Nothing is logged. Any thread.
/// @param directory receives it; left alone on a failure.
/// @returns 0; 2001 e_Memory_AllocationFailed; the system error with bit 29 set, 0x20000002 for a directory that was
///   removed.
GAIZIOR_API ZRErrors::ZRErrorT ZRGetCurrentDirectory(ZRCString& directory);
