#include "gaizior/values/encoded_text.h"

#include "gaizior/values/key_stream.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace gaizior {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kMagic = "ZRENC\x1A\x01\0"sv; // with the version, 1

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

} // namespace

ZRErrors::ZRErrorT DecodeText(std::string& file, const GUID& key, std::string_view& text) {
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

} // namespace gaizior
