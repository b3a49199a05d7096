#include "gaizior/config/ini_file.h"

#include "gaizior/errors/failure.h"
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
std::string ReadProfileValue(const char* section, const char* key, const std::string& defaultValue, const char* path) {
    std::string value;
    DWORD count = 0;
    for (DWORD size = kFirstSize; value.size() < count + 3; size *= 2) {
        value.resize(size);
        count = ::GetPrivateProfileStringA(section, key, defaultValue.c_str(), value.data(), size, path);
    }
    return value.substr(0, count);
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

ZRIniFileC::ZRIniFileC(const char* path, int encoded) : m_pPath(CopyOf(AbsolutePath(path))), m_bEncoded(encoded) {}

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
    try {
        const char* const text = defaultValue ? static_cast<const char*>(*defaultValue) : "";
        if (!Refill(*stream, text)) {
            return Fail("ZRIniFileC::Read(): ", ZRErrors::e_Memory_AllocationFailed);
        }
        const ZRErrorT result = _Read(section, key, *stream);
        out += TextOf(stream->rdbuf()).c_str(); // the default after a failure
        return result;
    } catch (const std::bad_alloc&) {
        return Fail("ZRIniFileC::Read(): ", ZRErrors::e_Memory_AllocationFailed);
    }
}

ZRErrorT ZRIniFileC::_Read(const char* section, const char* key, std::istream& io) {
    if (const ZRErrorT error = Initialise(); error != ZRErrors::e_General_NoError) {
        return error;
    }
    try {
        if (Refill(io, ReadProfileValue(section, key, TextOf(io.rdbuf()), m_pWorkingPath.get()))) {
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
    if (!::WritePrivateProfileStringA(section, key, TextOf(value.rdbuf()).c_str(), m_pWorkingPath.get())) {
        return Fail("ZRIniFileC::_Write(): ", ZRErrors::e_File_WriteFailed,
                    "Failed to write to: ", m_pWorkingPath.get(), ": ", CodeText(LastSystemError()));
    }
    m_bDirty = m_bEncoded;
    return ZRErrors::e_General_NoError;
}

std::iostream& ZRIniFileC::GetStream() {
    return *new std::stringstream(std::ios::in | std::ios::out | std::ios::binary);
}

ZRErrorT ZRIniFileC::Initialise() {
    if (m_bInitialised) {
        return ZRErrors::e_General_NoError;
    }
    if (!m_pPath[0]) {
        return Fail("ZRIniFileC::Initialise(): ", ZRErrors::e_File_InvalidName);
    }
    try {
        if (!m_bEncoded) {
            m_pWorkingPath = CopyOf(m_pPath.get());
        } else if (const ZRErrorT error = Extract(); error != ZRErrors::e_General_NoError) {
            return error;
        }
    } catch (const std::bad_alloc&) {
        return Fail("ZRIniFileC::Initialise(): ", ZRErrors::e_Memory_AllocationFailed);
    }
    m_bInitialised = 1;
    return ZRErrors::e_General_NoError;
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
    if (!m_bInitialised) {
        return ZRErrors::e_General_NoError;
    }
    ZRErrorT result = ZRErrors::e_General_NoError;
    if (m_bEncoded && m_bDirty) {
        result = EncodeBack();
    }
    if (m_bEncoded && !RemoveFile(m_pWorkingPath.get())) {
        LogError("ZRIniFileC::Flush(): ", "failed to remove ", m_pWorkingPath.get(), ": ", CodeText(LastSystemError()));
    }
    m_pWorkingPath.reset();
    m_bInitialised = m_bDirty = 0;
    return result;
}

ZRErrorT ZRIniFileC::EncodeBack() {
    try {
        std::string text;
        if (!ReadWholeFile(m_pWorkingPath.get(), text, kLargestCopy)) {
            return Fail("ZRIniFileC::Flush(): ", ZRErrors::e_File_ReadFailed, "failed to read ", m_pWorkingPath.get(),
                        ": ", CodeText(LastSystemError()));
        }
        std::stringstream stream(std::move(text), std::ios::in | std::ios::out | std::ios::binary);
        return ZRGUIDEncryptC::Encode(m_pPath.get(), stream, ZRGUIDEncryptC::PUBLIC_KEY);
    } catch (const std::bad_alloc&) {
        return Fail("ZRIniFileC::Flush(): ", ZRErrors::e_Memory_AllocationFailed);
    }
}
