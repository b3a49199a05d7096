#include "gaizior/platform/files.h"

#include "gaizior/platform/error_keeper.h"
#include "gaizior/platform/file_call.h"
#include "gaizior/platform/file_replacement.h"
#include "gaizior/platform/file_system.h"
#include "gaizior/platform/path.h"
#include "gaizior/platform/process_stamp.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>

namespace gaizior {
namespace {

constexpr unsigned kNamesToTry = 1000;
constexpr std::size_t kBlockSize = 65536;

std::string UniqueName(const std::string& folder) {
    static std::atomic<unsigned> s_number{0};
    std::array<char, 64> name{};
    std::snprintf(name.data(), name.size(), ".gaizior-%x-%x-%x.tmp", static_cast<unsigned>(::GetCurrentProcessId()),
                  static_cast<unsigned>(OwnStamp()), ++s_number);
    return folder + name.data();
}

bool IsLeft(const std::string& name) {
    unsigned process = 0, stamp = 0, number = 0;
    int length = 0;
    return std::sscanf(name.c_str(), ".gaizior-%x-%x-%x.tmp%n", &process, &stamp, &number, &length) == 3 &&
           static_cast<std::size_t>(length) == name.size() && HasProcessEnded(process, stamp);
}

} // namespace

File File::OpenToRead(const char* path) {
    return File(OnPath(path, [](const std::string& it) { return file_system::OpenToRead(it); }), false);
}

File File::OpenToAppend(const char* path) {
    return File(OnPath(path, [](const std::string& it) { return file_system::OpenToAppend(it); }), true);
}

File File::OpenExistingToAppend(const char* path) {
    return File(OnPath(path, [](const std::string& it) { return file_system::OpenExistingToAppend(it); }), true);
}

File File::CreateUnique(const std::string& folder, FileAccess access, std::string& path) {
    const auto create = [&](const std::string& systemFolder) {
        FileHandle handle;
        for (unsigned i = 0; i < kNamesToTry && !handle; ++i) {
            std::string name = UniqueName(systemFolder);
            handle = file_system::CreateNew(name, access);
            if (handle) {
                path.swap(name);
            } else if (::GetLastError() != ERROR_FILE_EXISTS) {
                break;
            }
        }
        return handle;
    };
    return File(OnPath(folder.c_str(), create), false);
}

bool File::Read(char* buffer, std::size_t size, std::size_t& count) {
    count = 0;
    return FileCallPasses() && file_system::Read(m_handle, buffer, size, count);
}

bool File::ReadToEnd(std::string& contents, std::size_t limit) {
    std::array<char, kBlockSize> block;
    std::size_t count = 0;
    FileStatus status{};
    if (file_system::Query(m_handle, status) && status.size <= limit) {
        // At once instead of step by step. What it cannot have now it may not need.
        NoThrow([&] { return contents.reserve(contents.size() + static_cast<std::size_t>(status.size)), true; });
    }
    while (Read(block.data(), block.size(), count)) {
        if (count == 0) {
            return true;
        }
        if (count > limit - std::min(limit, contents.size())) {
            ::SetLastError(ERROR_FILE_TOO_LARGE);
            return false;
        }
        if (!NoThrow([&] { return contents.append(block.data(), count).size() > 0; })) {
            return false;
        }
    }
    return false;
}

bool File::Write(std::string_view bytes) {
    const bool passes = FileCallPasses();
    const std::string_view part = passes ? bytes : bytes.substr(0, bytes.size() / 2);
    std::size_t written = 0;
    const bool succeeded =
        m_bAppends ? file_system::Append(m_handle, part, written) : file_system::Write(m_handle, part, written);
    if (succeeded && passes) {
        return true;
    }
    if (m_bAppends) {
        const ErrorKeeper reason;
        file_system::CutOff(m_handle, written);
    }
    return false;
}

bool File::Flush() {
    return FileCallPasses() && file_system::Flush(m_handle);
}

bool File::Query(FileStatus& status) const {
    return FileCallPasses() && file_system::Query(m_handle, status);
}

bool QueryFile(const char* path, FileStatus& status) {
    return OnPath(path, [&](const std::string& it) { return file_system::Query(it, status); });
}

bool ReadWholeFile(const char* path, std::string& contents, std::size_t limit) {
    File file = File::OpenToRead(path);
    contents.clear();
    return file && file.ReadToEnd(contents, limit);
}

bool RemoveFile(const char* path) {
    return OnPath(path, [](const std::string& it) { return file_system::Remove(it); });
}

bool RemoveFileIf(const char* path, bool (*isUnwanted)(const FileStatus& status)) {
    return OnPath(path, [&](const std::string& it) { return file_system::RemoveIf(it, isUnwanted); });
}

bool CopyWholeFile(const char* source, const char* destination, bool failIfExists) {
    File file = File::OpenToRead(source);
    FileStatus status{};
    if (file && failIfExists && QueryFile(destination, status)) {
        ::SetLastError(ERROR_FILE_EXISTS);
        return false;
    }
    if (file && !file_system::IsRegular(file.Handle())) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return false;
    }
    FileReplacement copy;
    return file && copy.Open(destination, FileAccess::Private) && copy.Copy(file) && copy.Commit(!failIfExists);
}

bool ReadAttributes(const char* path, DWORD& attributes) {
    return OnPath(path, [&](const std::string& it) { return file_system::ReadAttributes(it, attributes); });
}

bool WriteAttributes(const char* path, DWORD attributes) {
    return OnPath(path, [&](const std::string& it) { return file_system::WriteAttributes(it, attributes); });
}

bool CreateFolder(const char* path, FileAccess access) {
    return OnPath(path, [=](const std::string& it) { return file_system::CreateFolder(it, access); });
}

bool ListFolder(const char* path, std::vector<std::string>& names) {
    names.clear();
    return OnPath(path, [&](const std::string& it) { return file_system::ListFolder(it, names); });
}

bool GetCurrentFolder(std::string& path) {
    return FileCallPasses() && NoThrow([&] { return file_system::GetCurrentFolder(path); });
}

bool GetTemporaryFolder(std::string& path) {
    return FileCallPasses() && NoThrow([&] { return file_system::GetTemporaryFolder(path); });
}

bool GetFullPath(const char* path, std::string& fullPath) {
    return OnPath(path, [&](const std::string& it) {
        ::SetLastError(ERROR_PATH_NOT_FOUND);
        return !it.empty() && file_system::GetFullPath(it, fullPath);
    });
}

void RemoveLeftFiles(const std::string& folder) {
    const ErrorKeeper keeper;
    std::vector<std::string> names;
    ListFolder(folder.c_str(), names);
    NoThrow([&] {
        for (const std::string& name : names) {
            if (IsLeft(name)) {
                RemoveFile((folder + name).c_str());
            }
        }
        return true;
    });
}

} // namespace gaizior
