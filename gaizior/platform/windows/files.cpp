#include "gaizior/platform/file_system.h"

#include "gaizior/platform/path.h"
#include "gaizior/platform/timing.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <utility>

#include <direct.h>

namespace gaizior::file_system {
namespace {

constexpr DWORD kLargestPart = 1u << 30;
constexpr std::size_t kLongestPath = 32768;
// Who reads a file has it open for a moment, in which it cannot be replaced: a tenth of a second is waited for that.
constexpr int kRenames = 20;
constexpr DWORD kPause = 5;
constexpr DWORD kRemovalTimeout = 1000; // ms

FileHandle Open(const std::string& path, DWORD access, DWORD disposition, DWORD flags = FILE_ATTRIBUTE_NORMAL) {
    const HANDLE handle = ::CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        nullptr, disposition, flags, nullptr);
    return FileHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

ULONGLONG Join(DWORD high, DWORD low) {
    return ULONGLONG{high} << 32 | low;
}

/// @param place where each part goes; null: where the file's pointer is.
bool WriteParts(const FileHandle& file, std::string_view bytes, std::size_t& written, OVERLAPPED* place) {
    for (written = 0; written < bytes.size();) {
        const std::string_view rest = bytes.substr(written, kLargestPart);
        DWORD count = 0;
        if (!::WriteFile(file.Get(), rest.data(), static_cast<DWORD>(rest.size()), &count, place)) {
            return false;
        }
        written += count;
    }
    return true;
}

bool GetBasicInformation(const FileHandle& file, FILE_BASIC_INFO& information) {
    return ::GetFileInformationByHandleEx(file.Get(), FileBasicInfo, &information, sizeof(information)) != FALSE;
}

/// What is 0 in it stays as it is.
bool SetBasicInformation(const FileHandle& file, FILE_BASIC_INFO information) {
    return ::SetFileInformationByHandle(file.Get(), FileBasicInfo, &information, sizeof(information)) != FALSE;
}

/// For one at a time: others who want to remove the file wait until it is closed. It may be read and written meanwhile.
FileHandle OpenToRemove(const std::string& path) {
    const ULONGLONG start = TickCount();
    for (;;) {
        const HANDLE handle = ::CreateFileA(path.c_str(), GENERIC_READ | DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                            nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (handle != INVALID_HANDLE_VALUE) {
            return FileHandle(handle);
        }
        if (::GetLastError() != ERROR_SHARING_VIOLATION) {
            return {};
        }
        if (TickCount() - start >= kRemovalTimeout) {
            ::SetLastError(ERROR_TIMEOUT);
            return {};
        }
        SleepFor(kPause);
    }
}

/// Removes the file that is open, and its name at once where the file system can, else with the last handle.
bool RemoveOpen(const FileHandle& file) {
    constexpr auto kDispositionEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21); // FileDispositionInfoEx
    DWORD deleteWithPosixSemantics = 1 | 2;
    FILE_DISPOSITION_INFO disposition{.DeleteFile = TRUE};
    return ::SetFileInformationByHandle(file.Get(), kDispositionEx, &deleteWithPosixSemantics,
                                        sizeof deleteWithPosixSemantics) ||
           ::SetFileInformationByHandle(file.Get(), FileDispositionInfo, &disposition, sizeof disposition);
}

/// Finds out which file `path` leads to, and opens it when there is one.
bool Resolve(const std::string& path, DWORD access, Target& target) {
    target.path = path;
    target.file = Open(path, access, OPEN_EXISTING);
    if (!target.file) {
        return ::GetLastError() == ERROR_FILE_NOT_FOUND;
    }
    std::string resolved(kLongestPath, '\0');
    const DWORD length = ::GetFinalPathNameByHandleA(target.file.Get(), resolved.data(), kLongestPath, 0);
    if (length == 0 || length >= kLongestPath) {
        return false;
    }
    target.path.assign(resolved, 0, length);
    return true;
}

} // namespace

FileHandle OpenToRead(const std::string& path) {
    return Open(path, GENERIC_READ, OPEN_EXISTING);
}

FileHandle OpenToAppend(const std::string& path) {
    return Open(path, GENERIC_WRITE, OPEN_ALWAYS);
}

FileHandle OpenExistingToAppend(const std::string& path) {
    return Open(path, GENERIC_WRITE, OPEN_EXISTING);
}

FileHandle CreateNew(const std::string& path, FileAccess /*access*/) {
    return Open(path, GENERIC_READ | GENERIC_WRITE, CREATE_NEW);
}

bool Read(const FileHandle& file, char* buffer, std::size_t size, std::size_t& count) {
    DWORD read = 0;
    const auto part = static_cast<DWORD>(std::min<std::size_t>(size, kLargestPart));
    const bool succeeded = ::ReadFile(file.Get(), buffer, part, &read, nullptr) != FALSE;
    count = succeeded ? read : 0;
    return succeeded;
}

bool Write(const FileHandle& file, std::string_view bytes, std::size_t& written) {
    return WriteParts(file, bytes, written, nullptr);
}

bool Append(const FileHandle& file, std::string_view bytes, std::size_t& written) {
    OVERLAPPED end{};
    end.Offset = end.OffsetHigh = 0xFFFFFFFF; // the end of the file, wherever it is by then
    return WriteParts(file, bytes, written, &end);
}

void CutOff(const FileHandle& file, std::size_t written) {
    LARGE_INTEGER size{}, end{};
    const LARGE_INTEGER nowhere{};
    if (written > 0 && ::SetFilePointerEx(file.Get(), nowhere, &end, FILE_CURRENT) &&
        ::GetFileSizeEx(file.Get(), &size) && size.QuadPart == end.QuadPart) {
        end.QuadPart -= static_cast<LONGLONG>(written);
        if (::SetFilePointerEx(file.Get(), end, nullptr, FILE_BEGIN)) {
            ::SetEndOfFile(file.Get());
        }
    }
}

bool Flush(const FileHandle& file) {
    return ::FlushFileBuffers(file.Get()) != FALSE;
}

bool Query(const FileHandle& file, FileStatus& status) {
    BY_HANDLE_FILE_INFORMATION information{};
    if (!::GetFileInformationByHandle(file.Get(), &information)) {
        return false;
    }
    status = {.isFolder = (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0,
              .size = Join(information.nFileSizeHigh, information.nFileSizeLow),
              .lastWrite = information.ftLastWriteTime,
              .lastChange = information.ftLastWriteTime,
              .device = information.dwVolumeSerialNumber,
              .id = Join(information.nFileIndexHigh, information.nFileIndexLow)};
    return true;
}

bool IsRegular(const FileHandle& file) {
    return ::GetFileType(file.Get()) == FILE_TYPE_DISK;
}

bool Query(const std::string& path, FileStatus& status) {
    FileHandle file = Open(path, FILE_READ_ATTRIBUTES, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    if (!file) { // perhaps a link that leads nowhere
        file =
            Open(path, FILE_READ_ATTRIBUTES, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT);
    }
    return file && Query(file, status);
}

bool Remove(const std::string& path) {
    return ::DeleteFileA(path.c_str()) != FALSE;
}

bool RemoveIf(const std::string& path, bool (*isUnwanted)(const FileStatus& status)) {
    const FileHandle file = OpenToRemove(path);
    FileStatus status{};
    return file && Query(file, status) && (!isUnwanted(status) || RemoveOpen(file));
}

bool ReadAttributes(const std::string& path, DWORD& attributes) {
    attributes = ::GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES;
}

bool WriteAttributes(const std::string& path, DWORD attributes) {
    return ::SetFileAttributesA(path.c_str(), attributes) != FALSE;
}

bool CreateFolder(const std::string& path, FileAccess /*access*/) {
    return ::_mkdir(path.c_str()) == 0; // sets the last error and errno
}

bool ListFolder(const std::string& path, std::vector<std::string>& names) {
    WIN32_FIND_DATAA entry{};
    if (path.empty()) {
        ::SetLastError(ERROR_PATH_NOT_FOUND); // and not the root folder
        return false;
    }
    const HANDLE search = ::FindFirstFileA((path + "\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) {
        return false;
    }
    const std::unique_ptr<void, BOOL (*)(HANDLE)> closed(search, &::FindClose);
    do {
        if (const std::string_view name = entry.cFileName; name != "." && name != "..") {
            names.emplace_back(name);
        }
    } while (::FindNextFileA(search, &entry));
    return ::GetLastError() == ERROR_NO_MORE_FILES;
}

bool GetCurrentFolder(std::string& path) {
    std::string buffer(::GetCurrentDirectoryA(0, nullptr), '\0');
    const DWORD length = ::GetCurrentDirectoryA(static_cast<DWORD>(buffer.size()), buffer.data());
    if (length == 0 || length >= buffer.size()) {
        return false;
    }
    path.assign(buffer, 0, length);
    return true;
}

bool GetTemporaryFolder(std::string& path) {
    std::array<char, MAX_PATH + 1> buffer;
    const DWORD length = ::GetTempPathA(buffer.size(), buffer.data());
    path.assign(buffer.data(), length);
    return length > 0;
}

bool GetFullPath(const std::string& path, std::string& fullPath) {
    std::string buffer(::GetFullPathNameA(path.c_str(), 0, nullptr, nullptr), '\0');
    const DWORD length = ::GetFullPathNameA(path.c_str(), static_cast<DWORD>(buffer.size()), buffer.data(), nullptr);
    if (length == 0 || length >= buffer.size()) {
        return false;
    }
    fullPath.assign(buffer, 0, length);
    return true;
}

bool FindTarget(const std::string& path, Target& target) {
    return Resolve(path, GENERIC_WRITE | FILE_READ_ATTRIBUTES, target);
}

bool KeepIdentity(const FileHandle& file, const FileHandle& old) {
    FILE_BASIC_INFO information{};
    if (!GetBasicInformation(old, information)) {
        return false;
    }
    return SetBasicInformation(file, {.CreationTime = information.CreationTime,
                                      .LastAccessTime = {},
                                      .LastWriteTime = {},
                                      .ChangeTime = {},
                                      .FileAttributes = information.FileAttributes});
}

bool TakeAfter(const FileHandle& copy, const FileHandle& source, bool withPermissions) {
    FILE_BASIC_INFO information{};
    if (!GetBasicInformation(source, information)) {
        return false;
    }
    return SetBasicInformation(copy, {.CreationTime = {},
                                      .LastAccessTime = {},
                                      .LastWriteTime = information.LastWriteTime,
                                      .ChangeTime = {},
                                      .FileAttributes = withPermissions ? information.FileAttributes : 0});
}

bool Rename(const std::string& from, const std::string& to, bool mayReplace) {
    const DWORD flags = MOVEFILE_WRITE_THROUGH | (mayReplace ? MOVEFILE_REPLACE_EXISTING : 0u);
    for (int i = 0; !::MoveFileExA(from.c_str(), to.c_str(), flags); ++i) {
        if (::GetLastError() == ERROR_ALREADY_EXISTS) {
            ::SetLastError(ERROR_FILE_EXISTS);
        }
        const bool isOpen = ::GetLastError() == ERROR_ACCESS_DENIED || ::GetLastError() == ERROR_SHARING_VIOLATION;
        if (!isOpen || i == kRenames) {
            return false;
        }
        SleepFor(kPause);
    }
    return true;
}

bool FlushFolder(const Target& /*target*/) {
    return true; // the rename was written through
}

FileHandle Lock(const std::string& path, DWORD milliseconds) {
    Target target;
    FileStatus status{};
    if (!Resolve(path, FILE_READ_ATTRIBUTES, target)) {
        return {};
    }
    target.file = FileHandle(); // the holder of the lock may want to replace it
    const std::string folder(FolderOf(target.path));
    if (!Query(folder.empty() ? "." : folder, status)) {
        return {};
    }
    // Another number for another folder, mostly: two that have the same one only wait for each other.
    std::array<char, 64> name{};
    std::snprintf(name.data(), name.size(), "Global\\gaizior-folder-%llx-%llx", status.device, status.id);
    UniqueHandle mutex(::CreateMutexA(nullptr, FALSE, name.data()));
    const DWORD waited = mutex ? WaitFor(mutex.Get(), milliseconds) : WAIT_FAILED;
    if (waited == WAIT_TIMEOUT) {
        ::SetLastError(ERROR_TIMEOUT);
    }
    return waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED ? std::move(mutex) : UniqueHandle();
}

void Unlock(const FileHandle& lock) {
    ::ReleaseMutex(lock.Get());
}

} // namespace gaizior::file_system
