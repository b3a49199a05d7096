#include "gaizior/config/ini_file.h"

#include "gaizior/errors/failure.h"
#include "gaizior/errors/memory_guard.h"
#include "gaizior/platform/files.h"
#include "gaizior/platform/windows_api.h"
#include "gaizior/values/guid_encrypt.h"

#include <sstream>
#include <string>
#include <string_view>

using namespace gaizior;
using ZRErrors::ZRErrorT;

namespace {

constexpr DWORD kFirstSize = 32;               // of a buffer for a value
constexpr std::size_t kLargestCopy = 64 << 20; // bytes

std::unique_ptr<char[]> CopyOf(std::string_view text) {
    auto copy = std::make_unique<char[]>(text.size() + 1);
    text.copy(copy.get(), text.size());
    return copy;
}

std::string AbsolutePath(const char* path) {
    std::string fullPath;
    return GetFullPath(path, fullPath) ? fullPath : OrEmpty(path);
}

/// What a stream holds from its beginning up to a NUL.
std::string TextOf(std::streambuf* stream) {
    std::string text;
    stream->pubseekpos(0, std::ios::in);
    for (int character = stream->sbumpc(); character > 0; character = stream->sbumpc()) {
        text += static_cast<char>(character);
    }
    return text;
}

/// Asks with larger buffers until the value fits: less than two characters of room are left of one that is cut.
/// @returns false with the last error for a file that is there and cannot be read.
bool ReadProfileValue(const char* section, const char* key, const std::string& defaultValue, const char* path,
                      std::string& value) {
    DWORD count = 0;
    ::SetLastError(NO_ERROR);
    for (DWORD size = kFirstSize; value.size() < count + 3; size *= 2) {
        value.resize(size);
        count = ::GetPrivateProfileStringA(section, key, defaultValue.c_str(), value.data(), size, path);
    }
    const DWORD error = ::GetLastError();
    value.resize(count);
    return error == NO_ERROR || error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

/// Replaces what a stream holds by a text and a NUL; it is then read from its beginning.
bool Refill(std::istream& stream, const std::string& text) {
    std::streambuf* const buffer = stream.rdbuf();
    const auto size = static_cast<std::streamsize>(text.size() + 1);
    const bool succeeded =
        buffer->pubseekpos(0, std::ios::out) == std::streampos(0) && buffer->sputn(text.c_str(), size) == size;
    stream.clear();
    stream.seekg(0);
    return succeeded && stream;
}

/// Makes a file with a text that only its user may read. @returns false with the last error, nothing being left.
bool SavePrivateCopy(std::string_view text, std::string& path) {
    std::string folder;
    if (!GetTemporaryFolder(folder)) {
        return false;
    }
    RemoveLeftFiles(folder);
    File file = File::CreateUnique(folder, FileAccess::Private, path);
    if (!file || file.Write(text)) {
        return static_cast<bool>(file);
    }
    const ErrorKeeper keeper;
    file = File();
    RemoveFile(path.c_str());
    return false;
}

} // namespace

const char* const ZRIniFileC::OEM_CONFIG_INI_FILE = "oemconfig.ini";
const char* const ZRIniFileC::MANUFACTURER = "manufacturer";
const char* const ZRIniFileC::PRODUCT_VERSION = "version";
const char* const ZRIniFileC::PRODUCT = "product";
const char* const ZRIniFileC::PRODUCT_ICON = "product_icon";
const char* const ZRIniFileC::MAIL = "mail";
const char* const ZRIniFileC::RECIPIENTS = "recipients";
const char* const ZRIniFileC::ADDRESSES = "addresses";
const char* const ZRIniFileC::SUBJECT = "subject";

ZRIniFileC::ZRIniFileC(const char* path, int encoded) : m_bEncoded(encoded) {
    try {
        m_pPath = CopyOf(AbsolutePath(path));
    } catch (const std::bad_alloc&) { // told by the first use, which finds no path
    }
}

ZRIniFileC::~ZRIniFileC() {
    Flush();
}

ZRErrorT ZRIniFileC::Read(const char* section, const char* key, const CString* const defaultValue, CString& out) {
    std::unique_ptr<std::iostream> stream;
    try {
        stream.reset(&GetStream());
    } catch (const std::bad_alloc&) {
        return Fail("ZRIniFileC::Read(): ", ZRErrors::e_Resource_AllocationFailed);
    }
    return GuardMemory("ZRIniFileC::Read(): ", [&] {
        const char* const text = defaultValue ? static_cast<const char*>(*defaultValue) : "";
        if (!Refill(*stream, text)) {
            throw std::bad_alloc();
        }
        const ZRErrorT result = _Read(section, key, *stream);
        out += TextOf(stream->rdbuf()).c_str(); // the default after a failure
        return result;
    });
}

ZRErrorT ZRIniFileC::_Read(const char* section, const char* key, std::istream& io) {
    if (const ZRErrorT error = Initialise(); error != ZRErrors::e_General_NoError) {
        return error;
    }
    try {
        std::string value;
        if (!ReadProfileValue(section, key, TextOf(io.rdbuf()), m_pWorkingPath.get(), value)) {
            return Fail("ZRIniFileC::_Read(): ", ZRErrors::e_File_ReadFailed, "failed to read ", m_pWorkingPath.get(),
                        ": ", CodeText(LastSystemError()));
        }
        if (Refill(io, value)) {
            return ZRErrors::e_General_NoError;
        }
    } catch (const std::bad_alloc&) { // told below
    }
    return Fail("ZRIniFileC::_Read(): ", ZRErrors::e_Memory_AllocationFailed,
                "failed to create temporary string buffer");
}

ZRErrorT ZRIniFileC::_Write(const char* section, const char* key, std::ostream& value) {
    if (const ZRErrorT error = Initialise(); error != ZRErrors::e_General_NoError) {
        return error;
    }
    return GuardMemory("ZRIniFileC::_Write(): ", [&] {
        if (!::WritePrivateProfileStringA(section, key, TextOf(value.rdbuf()).c_str(), m_pWorkingPath.get())) {
            return Fail("ZRIniFileC::_Write(): ", ZRErrors::e_File_WriteFailed,
                        "Failed to write to: ", m_pWorkingPath.get(), ": ", CodeText(LastSystemError()));
        }
        m_bDirty = m_bEncoded;
        return ZRErrors::e_General_NoError;
    });
}

std::iostream& ZRIniFileC::GetStream() {
    return *new std::stringstream(std::ios::in | std::ios::out | std::ios::binary);
}

ZRErrorT ZRIniFileC::Initialise() {
    constexpr const char* kFunction = "ZRIniFileC::Initialise(): ";
    if (m_bInitialised) {
        return CheckCopy();
    }
    if (!m_pPath || !m_pPath[0]) {
        return Fail(kFunction, ZRErrors::e_File_InvalidName);
    }
    return GuardMemory(kFunction, [&] {
        if (!m_bEncoded) {
            m_pWorkingPath = CopyOf(m_pPath.get());
        } else if (const ZRErrorT error = Extract(); error != ZRErrors::e_General_NoError) {
            return error;
        }
        m_bInitialised = 1;
        m_nProcess = ::GetCurrentProcessId();
        return ZRErrors::e_General_NoError;
    });
}

/// A copy that somebody has removed would be taken for a file without settings. Then the next call decodes anew.
ZRErrorT ZRIniFileC::CheckCopy() {
    FileStatus status{};
    if (!m_bEncoded || QueryFile(m_pWorkingPath.get(), status)) {
        return ZRErrors::e_General_NoError;
    }
    const ZRErrorT code = LastSystemError();
    if (code == FoldSystemError(ERROR_FILE_NOT_FOUND) || code == FoldSystemError(ERROR_PATH_NOT_FOUND)) {
        Forget();
    }
    return Fail("ZRIniFileC::Initialise(): ", ZRErrors::e_Resource_AllocationFailed, "the temporary file of ",
                m_pPath.get(), " is lost: ", CodeText(code));
}

/// Decodes the file to a copy, which becomes the working path.
ZRErrorT ZRIniFileC::Extract() {
    std::stringstream text(std::ios::in | std::ios::out | std::ios::binary);
    const ZRErrorT error = ZRGUIDEncryptC::Decode(m_pPath.get(), text, ZRGUIDEncryptC::PUBLIC_KEY);
    if (error != ZRErrors::e_General_NoError) {
        return error;
    }
    std::string path;
    if (!SavePrivateCopy(text.view(), path)) {
        return Fail("ZRIniFileC::Initialise(): ", ZRErrors::e_Resource_AllocationFailed,
                    "failed to create temporary file for extraction. ", CodeText(LastSystemError()));
    }
    try {
        m_pWorkingPath = CopyOf(path);
    } catch (const std::bad_alloc&) {
        RemoveFile(path.c_str());
        throw;
    }
    return ZRErrors::e_General_NoError;
}

ZRErrorT ZRIniFileC::Flush() {
    ZRErrorT result = ZRErrors::e_General_NoError;
    if (m_bInitialised && m_bEncoded && m_nProcess == ::GetCurrentProcessId()) { // a forked child has no copy
        if (m_bDirty) {
            result = EncodeBack();
        }
        if (!RemoveFile(m_pWorkingPath.get())) {
            LogError("ZRIniFileC::Flush(): ", "failed to remove ", m_pWorkingPath.get(), ": ",
                     CodeText(LastSystemError()));
        }
    }
    Forget();
    return result;
}

void ZRIniFileC::Forget() {
    m_pWorkingPath.reset();
    m_bInitialised = m_bDirty = 0;
}

ZRErrorT ZRIniFileC::EncodeBack() {
    return GuardMemory("ZRIniFileC::Flush(): ", [&] {
        std::string text;
        if (!ReadWholeFile(m_pWorkingPath.get(), text, kLargestCopy)) {
            return Fail("ZRIniFileC::Flush(): ", ZRErrors::e_File_ReadFailed, "failed to read ", m_pWorkingPath.get(),
                        ": ", CodeText(LastSystemError()));
        }
        std::stringstream stream(std::move(text), std::ios::in | std::ios::out | std::ios::binary);
        return ZRGUIDEncryptC::Encode(m_pPath.get(), stream, ZRGUIDEncryptC::PUBLIC_KEY);
    });
}
