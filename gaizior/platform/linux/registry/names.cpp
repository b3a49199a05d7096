#include "gaizior/platform/linux/registry/names.h"

#include <algorithm>
#include <cstddef>

namespace gaizior::platform {
namespace {

constexpr std::size_t kLongest = 200; // a suffix follows, and a file's name has 255 bytes
constexpr std::size_t kKept = 160;    // of a longer one
constexpr char kDigits[] = "0123456789abcdef";

/// Whatever the locale.
constexpr char ToLower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

constexpr bool StandsAsItIs(char character) {
    return (character >= 'a' && character <= 'z') || (character >= '0' && character <= '9') || character == ' ' ||
           character == '-' || character == '_';
}

/// The last `count` hexadecimal digits of a number.
template <class Number>
void AppendDigits(std::string& text, Number number, int count) {
    while (count-- > 0) {
        text += kDigits[static_cast<unsigned>(number >> 4 * count) & 0xF];
    }
}

/// FNV-1a: no two names of a machine share one by chance, and who makes two that do has but lost the older value.
__extension__ using Hash = unsigned __int128;

Hash HashOf(std::string_view text) {
    constexpr Hash kPrime = (Hash{1} << 88) + 0x13B;
    Hash hash = Hash{0x6C62272E07BB0142} << 64 | Hash{0x62B821756295C58D};
    for (const char character : text) {
        hash = (hash ^ static_cast<unsigned char>(character)) * kPrime;
    }
    return hash;
}

} // namespace

void AppendDiskName(std::string& path, std::string_view name) {
    const std::size_t start = path.size();
    for (const char character : name) {
        if (const char lower = ToLower(character); StandsAsItIs(lower)) {
            path += lower;
        } else {
            AppendDigits(path += '%', static_cast<unsigned char>(character), 2);
        }
    }
    if (path.size() - start > kLongest) {
        const Hash hash = HashOf(std::string_view(path).substr(start));
        path.resize(start + kKept);
        AppendDigits(path += '~', hash, 32);
    }
}

} // namespace gaizior::platform
