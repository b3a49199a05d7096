#include "gaizior/values/guid_encrypt.h"

#include "gaizior/errors/failure.h"
#include "gaizior/platform/file_replacement.h"
#include "gaizior/platform/files.h"
#include "gaizior/values/guid.h"
#include "gaizior/values/key_stream.h"

#include <array>
#include <cstring>
#include <iostream>
#include <string>
#include <string_view>

namespace {

using namespace gaizior;
using namespace std::string_view_literals;
using ZRErrors::ZRErrorT;

constexpr std::string_view kMagic = "ZRENC\x1A\x01\0"sv; // with the version, 1
constexpr std::size_t kLargest = 64 << 20;               // bytes of a file
constexpr const char* kDecode = "ZRGUIDEncryptC::Decode(): ";
constexpr const char* kEncode = "ZRGUIDEncryptC::Encode(): ";

/// What stands before the encoded text. The check value of all of it, 8 bytes, stands behind.
struct Header {
    std::array<char, 8> magic;
    std::uint64_t length; // of the text
    std::array<char, 8> keyCheck;
    KeyStream::Salt salt;
    std::uint32_t reserved; // 0
};
static_assert(sizeof(Header) == 40);

using Check = std::uint64_t;

/// FNV-1a: no single byte can change without it.
Check CheckOf(std::string_view bytes) {
    Check check = 0xCBF29CE484222325;
    for (const char byte : bytes) {
        check = (check ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
    }
    return check;
}

template <class Value>
std::string_view BytesOf(const Value& value) {
    return {reinterpret_cast<const char*>(&value), sizeof(value)};
}

/// What tells that the key is the right one: the beginning of its stream.
std::array<char, 8> TakeKeyCheck(KeyStream& stream) {
    std::array<char, 8> check{};
    stream.Apply(check);
    return check;
}

/// Decodes a file in place. @returns its text in `text`, else which code tells what is wrong.
ZRErrorT DecodeBytes(std::string& file, const GUID& key, std::string_view& text) {
    if (!file.starts_with(kMagic)) {
        return ZRErrors::e_Object_BadMagic;
    }
    Header header;
    Check check = 0;
    if (file.size() < sizeof(header) + sizeof(check)) {
        return ZRErrors::e_Object_InvalidData;
    }
    const std::size_t length = file.size() - sizeof(header) - sizeof(check);
    std::memcpy(&header, file.data(), sizeof(header));
    std::memcpy(&check, file.data() + sizeof(header) + length, sizeof(check));
    if (header.length != length || check != CheckOf(std::string_view(file).substr(0, sizeof(header) + length))) {
        return ZRErrors::e_Object_InvalidData;
    }
    KeyStream stream(key, header.salt);
    if (TakeKeyCheck(stream) != header.keyCheck) {
        return ZRErrors::e_Guid_Invalid;
    }
    const std::span<char> encoded(file.data() + sizeof(header), length);
    stream.Apply(encoded);
    text = {encoded.data(), encoded.size()};
    return ZRErrors::e_General_NoError;
}

std::string EncodeText(std::string text, const GUID& key, const GUID& random) {
    Header header{};
    kMagic.copy(header.magic.data(), header.magic.size());
    header.length = text.size();
    std::memcpy(header.salt.data(), &random, header.salt.size());
    KeyStream stream(key, header.salt);
    header.keyCheck = TakeKeyCheck(stream);
    stream.Apply(text);
    text.insert(0, BytesOf(header));
    return text.append(BytesOf(CheckOf(text)));
}

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
    if (const ZRErrorT error = DecodeBytes(file, key, text); error != ZRErrors::e_General_NoError) {
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

template <class Body>
ZRErrorT WithinMemory(const char* function, Body&& body) {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return Fail(function, ZRErrors::e_Memory_AllocationFailed);
    }
}

} // namespace

const GUID ZRGUIDEncryptC::PUBLIC_KEY = {0x3E8B61D4, 0x97C2, 0x4F05, {0xA3, 0x6E, 0x51, 0xD8, 0x0B, 0xF4, 0x29, 0x7C}};

ZRErrorT ZRGUIDEncryptC::Decode(const char* path, std::iostream& stream, const GUID& key) {
    return WithinMemory(kDecode, [&] { return DecodeFile(path, stream, key); });
}

ZRErrorT ZRGUIDEncryptC::Encode(const char* path, std::iostream& stream, const GUID& key) {
    return WithinMemory(kEncode, [&] { return EncodeFile(path, stream, key); });
}
