#include "gaizior/values/guid_encrypt.h"

#include "gaizior/errors/failure.h"
#include "gaizior/errors/memory_guard.h"
#include "gaizior/platform/file_replacement.h"
#include "gaizior/platform/files.h"
#include "gaizior/values/encoded_text.h"
#include "gaizior/values/guid.h"

#include <array>
#include <iostream>
#include <string>
#include <string_view>

namespace {

using namespace gaizior;
using ZRErrors::ZRErrorT;

constexpr std::size_t kLargest = 64 << 20; // bytes of a file
constexpr const char* kDecode = "ZRGUIDEncryptC::Decode(): ";
constexpr const char* kEncode = "ZRGUIDEncryptC::Encode(): ";

/// Reads what is left in a stream.
bool ReadAll(std::istream& stream, std::string& text) {
    std::array<char, 4096> block;
    do {
        stream.read(block.data(), block.size());
        text.append(block.data(), static_cast<std::size_t>(stream.gcount()));
    } while (stream);
    return stream.eof() && !stream.bad();
}

ZRErrorT DecodeFile(const char* path, std::iostream& stream, const GUID& key) {
    std::string file;
    if (!ReadWholeFile(path, file, kLargest)) {
        const DWORD error = ::GetLastError();
        const bool isMissing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
        return Fail(kDecode, isMissing ? ZRErrors::e_File_NotFound : ZRErrors::e_File_ReadFailed, "failed to read ",
                    OrEmpty(path), ": ", CodeText(FoldSystemError(error)));
    }
    std::string_view text;
    if (const ZRErrorT error = DecodeText(file, key, text); error != ZRErrors::e_General_NoError) {
        return Fail(kDecode, error, OrEmpty(path),
                    error == ZRErrors::e_Guid_Invalid      ? " is encoded with another key"
                    : error == ZRErrors::e_Object_BadMagic ? " is not encoded, or by another version"
                                                           : " is damaged");
    }
    if (!stream.write(text.data(), static_cast<std::streamsize>(text.size()))) {
        return Fail(kDecode, ZRErrors::e_File_WriteFailed, "the stream does not take the text of ", OrEmpty(path));
    }
    return ZRErrors::e_General_NoError;
}

ZRErrorT EncodeFile(const char* path, std::iostream& stream, const GUID& key) {
    std::string text;
    if (!ReadAll(stream, text)) {
        return Fail(kEncode, ZRErrors::e_File_ReadFailed, "failed to read the text for ", OrEmpty(path));
    }
    GuidC random;
    if (const ZRErrorT error = random.CreateGUID(); error != ZRErrors::e_General_NoError) {
        return error;
    }
    const std::string file = EncodeText(std::move(text), key, random);
    if (file.size() > kLargest) {
        return Fail(kEncode, ZRErrors::e_File_WriteFailed, "the text for ", OrEmpty(path), " is too long");
    }
    if (!SaveFile(path, file)) {
        return Fail(kEncode, ZRErrors::e_File_WriteFailed, "failed to save ", OrEmpty(path), ": ",
                    CodeText(LastSystemError()));
    }
    return ZRErrors::e_General_NoError;
}

} // namespace

const GUID ZRGUIDEncryptC::PUBLIC_KEY = {0x3E8B61D4, 0x97C2, 0x4F05, {0xA3, 0x6E, 0x51, 0xD8, 0x0B, 0xF4, 0x29, 0x7C}};

ZRErrorT ZRGUIDEncryptC::Decode(const char* path, std::iostream& stream, const GUID& key) {
    return GuardMemory(kDecode, [&] { return DecodeFile(path, stream, key); });
}

ZRErrorT ZRGUIDEncryptC::Encode(const char* path, std::iostream& stream, const GUID& key) {
    return GuardMemory(kEncode, [&] { return EncodeFile(path, stream, key); });
}
