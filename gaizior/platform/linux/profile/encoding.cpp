#include "gaizior/platform/linux/profile/encoding.h"

#include <cstdint>

namespace gaizior::platform {
namespace {

constexpr bool IsFirstOfPair(std::uint32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

constexpr bool IsSecondOfPair(std::uint32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

void AppendUtf8(std::string& text, std::uint32_t character) {
    const auto append = [&](std::uint32_t byte) { text += static_cast<char>(byte); };
    if (character < 0x80) {
        append(character);
        return;
    }
    if (character < 0x800) {
        append(0xC0 | character >> 6);
    } else {
        if (character < 0x10000) {
            append(0xE0 | character >> 12);
        } else {
            append(0xF0 | character >> 18);
            append(0x80 | (character >> 12 & 0x3F));
        }
        append(0x80 | (character >> 6 & 0x3F));
    }
    append(0x80 | (character & 0x3F));
}

/// Takes the first character off; a byte that begins none counts as one.
std::uint32_t TakeUtf8(std::string_view& text) {
    const auto byteAt = [&](std::size_t i) -> std::uint32_t { return static_cast<unsigned char>(text[i]); };
    const std::uint32_t first = byteAt(0);
    const std::size_t length = first < 0xC2 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 1;
    constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    std::uint32_t character = length == 1 ? first : first & (0x7Fu >> length);
    bool isWhole = length <= text.size();
    for (std::size_t i = 1; isWhole && i < length; ++i) {
        isWhole = (byteAt(i) & 0xC0) == 0x80;
        character = character << 6 | (byteAt(i) & 0x3F);
    }
    isWhole = isWhole && character >= kSmallest[length] && character < 0x110000;
    text.remove_prefix(isWhole ? length : 1);
    return isWhole ? character : first;
}

} // namespace

ProfileEncoding EncodingOf(std::string_view file) {
    if (file.size() % 2 != 0) {
        return ProfileEncoding::Bytes;
    }
    return file.starts_with("\xFF\xFE")   ? ProfileEncoding::LittleEndianUnits
           : file.starts_with("\xFE\xFF") ? ProfileEncoding::BigEndianUnits
                                          : ProfileEncoding::Bytes;
}

std::string DecodeProfile(std::string file, ProfileEncoding encoding) {
    if (encoding == ProfileEncoding::Bytes) {
        return file;
    }
    const std::size_t low = encoding == ProfileEncoding::LittleEndianUnits ? 0 : 1;
    const auto byteAt = [&](std::size_t i) -> std::uint32_t { return static_cast<unsigned char>(file[i]); };
    const auto unitAt = [&](std::size_t i) { return byteAt(i + low) | byteAt(i + 1 - low) << 8; };
    std::string text;
    for (std::size_t i = 0; i < file.size(); i += 2) {
        std::uint32_t character = unitAt(i);
        if (IsFirstOfPair(character) && i + 2 < file.size() && IsSecondOfPair(unitAt(i + 2))) {
            i += 2;
            character = 0x10000 + ((character & 0x3FF) << 10) + (unitAt(i) & 0x3FF);
        }
        AppendUtf8(text, character);
    }
    return text;
}

std::string EncodeProfile(std::string text, ProfileEncoding encoding) {
    if (encoding == ProfileEncoding::Bytes) {
        return text;
    }
    std::string file;
    const auto append = [&](std::uint32_t unit) {
        const char bytes[] = {static_cast<char>(unit), static_cast<char>(unit >> 8)};
        const bool isLowFirst = encoding == ProfileEncoding::LittleEndianUnits;
        file += bytes[isLowFirst ? 0 : 1];
        file += bytes[isLowFirst ? 1 : 0];
    };
    for (std::string_view rest = text; !rest.empty();) {
        const std::uint32_t character = TakeUtf8(rest);
        if (character < 0x10000) {
            append(character);
        } else {
            append(0xD800 + (character - 0x10000) / 0x400);
            append(0xDC00 + (character - 0x10000) % 0x400);
        }
    }
    return file;
}

} // namespace gaizior::platform
