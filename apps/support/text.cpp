#include "apps/support/text.h"

#include "gaizior/values/ascii.h"

#include <array>
#include <cstdio>

namespace apps {
namespace {

unsigned char Byte(std::string_view text, std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

} // namespace

std::size_t Utf8Length(std::string_view text) {
    const unsigned char first = Byte(text, 0);
    const std::size_t length = first < 0x80   ? 1
                               : first < 0xC2 ? 0
                               : first < 0xE0 ? 2
                               : first < 0xF0 ? 3
                               : first < 0xF5 ? 4
                                              : 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((Byte(text, i) & 0xC0) != 0x80) {
            return 0;
        }
    }
    // Longer forms of short numbers, surrogates and what lies behind the last plane.
    const unsigned char second = Byte(text, 1);
    const bool bad = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                     (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
    return bad ? 0 : length;
}

bool IsControl(std::string_view character) {
    const unsigned char first = Byte(character, 0);
    return first < 0x20 || first == 0x7F || (first == 0xC2 && Byte(character, 1) < 0xA0);
}

std::size_t Characters(std::string_view text) {
    std::size_t characters = 0;
    ForEachCharacter(text, [&](std::string_view, bool) { ++characters; });
    return characters;
}

std::string Printable(std::string_view text) {
    std::string printable;
    ForEachCharacter(text, [&](std::string_view character, bool valid) {
        if (valid && !IsControl(character)) {
            printable += character;
            return;
        }
        for (const char c : character) {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\x%02X", unsigned{static_cast<unsigned char>(c)});
            printable += escape.data();
        }
    });
    return printable;
}

bool HasControl(std::string_view text) {
    bool hasControl = false;
    ForEachCharacter(text, [&](std::string_view character, bool valid) {
        hasControl = hasControl || (valid && IsControl(character));
    });
    return hasControl;
}

bool IsSameName(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, gaizior::ToLowerAscii, gaizior::ToLowerAscii);
}

} // namespace apps
