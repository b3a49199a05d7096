#pragma once

#include <cstdint>
#include <optional>

/// Numbers in texts from other processes, read as the C library's formatted input of Windows reads them.
namespace gaizior {

constexpr bool IsScanBlank(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

/// The digit's value; `base` or more for what is no digit of that base.
constexpr std::uint32_t DigitValue(char character, std::uint32_t base) {
    const auto value = static_cast<unsigned char>(character);
    if (value >= '0' && value <= '9') {
        return value - static_cast<std::uint32_t>('0');
    }
    const std::uint32_t letter = (value | 0x20u) - static_cast<std::uint32_t>('a');
    return letter < 6 ? letter + 10 : base;
}

/// Reads what "%d" (base 10) or "%x" (base 16) would at `position`: blanks, a sign, digits; base 16 also "0x" before
/// them, which is no number by itself. A number too large for 32 bits keeps its low 32, as Windows has it. Moves
/// `position` behind the number.
/// @returns nothing when there is no number here; `position` then stands not beyond the text's end.
constexpr std::optional<std::uint32_t> ReadNumber(const char*& position, std::uint32_t base) {
    while (IsScanBlank(*position)) {
        ++position;
    }
    const bool negative = *position == '-';
    if (negative || *position == '+') {
        ++position;
    }
    if (base == 16 && position[0] == '0' && (position[1] | 0x20) == 'x') {
        position += 2;
    }
    std::uint32_t digit = DigitValue(*position, base);
    if (digit >= base) {
        return std::nullopt;
    }
    std::uint32_t number = 0;
    for (; digit < base; digit = DigitValue(*++position, base)) {
        number = number * base + digit;
    }
    return negative ? 0u - number : number;
}

} // namespace gaizior
