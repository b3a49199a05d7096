#include "gaizior/config/file_utils.h"

#include "gaizior/errors/failure.h"
#include "gaizior/platform/files.h"

#include <cerrno>
#include <new>
#include <string>
#include <string_view>
#include <utility>

// Here the names are the class's own.
#undef DeleteFile
#undef CopyFile

namespace gaizior {
namespace {

constexpr std::string_view kSeparators = "\\/";

/// Whether there is nothing, for certain. Where it cannot be told, the operation that follows tells why.
bool IsMissing(const char* path) {
    FileStatus status{};
    return !QueryFile(path, status) &&
           (::GetLastError() == ERROR_FILE_NOT_FOUND || ::GetLastError() == ERROR_PATH_NOT_FOUND);
}

/// Creates one folder. @returns 0 or the errno.
int CreateOne(const std::string& path) {
    return CreateFolder(path.c_str()) ? 0 : errno;
}

ZRErrors::ZRErrorT FailToCreate(const std::string& path, int error) {
    const ZRErrors::ZRErrorT code = FoldErrno(error);
    return Fail("ZRFileUtilsC::MakeFolder(): ", code, "Creating directory: ", path, ", reason: ", CodeText(code));
}

/// Logs why a call failed; the last error still tells it afterwards. @returns 0.
int FailCall(const char* function) {
    LogError(function, "failed: ", CodeText(LastSystemError()));
    return 0;
}

void Assign(ZRCString* part, std::string_view text) {
    if (part) {
        *part = std::string(text).c_str();
    }
}

/// Cuts what stands before the last of `separators` off a path, and the separator with it; nothing where there is none.
std::string_view CutBeforeLast(std::string_view& path, std::string_view separators) {
    const std::size_t at = path.find_last_of(separators);
    const std::string_view before = path.substr(0, at == path.npos ? 0 : at);
    path.remove_prefix(at + 1); // by nothing where there is none
    return before;
}

} // namespace
} // namespace gaizior

using gaizior::Fail;

int ZRFileUtilsC::FileExists(const char* path) {
    gaizior::FileStatus status{};
    return gaizior::QueryFile(path, status) ? 1 : 0;
}

ZRErrors::ZRErrorT ZRFileUtilsC::HideFile(const char* path, int hide) {
    constexpr const char* kFunction = "ZRFileUtilsC::HideFile(): ";
    DWORD attributes = 0;
    if (!gaizior::ReadAttributes(path, attributes)) {
        const ZRErrors::ZRErrorT code = gaizior::LastSystemError();
        return Fail(kFunction, code, "GetFileAttributes() failed, reason: ", gaizior::CodeText(code));
    }
    attributes &= ~gaizior::kHiddenAttribute;
    if (!gaizior::WriteAttributes(path, hide ? attributes | gaizior::kHiddenAttribute : attributes)) {
        const ZRErrors::ZRErrorT code = gaizior::LastSystemError();
        return Fail(kFunction, code, "unable to make ", hide ? "hidden" : "visible", " file: ", path,
                    ", reason: ", gaizior::CodeText(code));
    }
    return ZRErrors::e_General_NoError;
}

ZRErrors::ZRErrorT ZRFileUtilsC::MakeFolder(const char* path) {
    if (FileExists(path)) {
        return ZRErrors::e_General_NoError;
    }
    const std::string_view whole = path ? path : "";
    std::string prefix;
    int error = 0;
    std::size_t end = 0;
    do {
        const std::size_t separator = whole.find_first_of(gaizior::kSeparators, end);
        end = separator == whole.npos ? whole.size() : separator + 1;
        prefix = whole.substr(0, end);
        error = gaizior::CreateOne(prefix);
        if (error == ENOENT) {
            return gaizior::FailToCreate(prefix, error);
        }
    } while (end < whole.size());
    return error == 0 || FileExists(path) ? ZRErrors::e_General_NoError : gaizior::FailToCreate(prefix, error);
}

int ZRFileUtilsC::DeleteFile(const char* path, int noExistCheck) {
    if (!noExistCheck && gaizior::IsMissing(path)) {
        return 1;
    }
    return gaizior::RemoveFile(path) ? 1 : gaizior::FailCall("ZRFileUtilsC::DeleteFile(): ");
}

int ZRFileUtilsC::CopyFile(const char* source, const char* destination, int failIfExists) {
    return gaizior::CopyWholeFile(source, destination, failIfExists != 0)
               ? 1
               : gaizior::FailCall("ZRFileUtilsC::CopyFile(): ");
}

ZRErrors::ZRErrorT ZRFileUtilsC::GetLastWriteTime(const char* path, FILETIME& lastWrite) {
    if (!path) {
        return ZRErrors::e_Arguments_Bad;
    }
    if (gaizior::IsMissing(path)) {
        return ZRErrors::e_File_NotFound;
    }
    const gaizior::File file = gaizior::File::OpenToRead(path);
    gaizior::FileStatus status{};
    if (!file || !file.Query(status)) {
        const ZRErrors::ZRErrorT code = gaizior::LastSystemError();
        return Fail("ZRFileUtilsC::GetLastWriteTime(): ", code, "Returning: ", gaizior::CodeText(code));
    }
    lastWrite = status.lastWrite;
    return ZRErrors::e_General_NoError;
}

void ZRFileUtilsC::SplitPath(ZRCString& path, ZRCString* drive, ZRCString* dir, ZRCString* fname, ZRCString* ext) {
    const std::string copy(static_cast<const char*>(path));
    std::string_view rest = copy;
    if (const std::size_t colon = rest.find(':'); colon != rest.npos) {
        gaizior::Assign(drive, rest.substr(0, colon));
        rest.remove_prefix(colon + 1);
    } else if (rest.empty()) {
        gaizior::Assign(drive, "");
    }
    gaizior::Assign(dir, gaizior::CutBeforeLast(rest, gaizior::kSeparators));
    gaizior::Assign(fname, gaizior::CutBeforeLast(rest, "."));
    gaizior::Assign(ext, rest);
}

void ZRFileUtilsC::MakePath(ZRCString& path, ZRCString* drive, ZRCString* dir, ZRCString* fname, ZRCString* ext) {
    ZRCString whole;
    if (drive) {
        whole += *drive + ':';
    }
    if (dir) {
        whole += *dir + '\\';
    }
    if (fname) {
        whole += *fname;
    }
    if (ext && !ext->IsEmpty()) {
        whole += '.' + *ext;
    }
    path = whole;
}

ZRErrors::ZRErrorT ZRGetCurrentDirectory(ZRCString& directory) {
    std::string path;
    try {
        if (gaizior::GetCurrentFolder(path)) {
            directory = path.c_str();
            return ZRErrors::e_General_NoError;
        }
    } catch (const std::bad_alloc&) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return ::GetLastError() == ERROR_NOT_ENOUGH_MEMORY ? ZRErrors::e_Memory_AllocationFailed
                                                       : gaizior::LastSystemError();
}
