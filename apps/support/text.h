#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace apps {

// Texts from elsewhere: people, files and other processes.

/// Bytes of the UTF-8 character that `text` begins with; 0 when it is none.
std::size_t Utf8Length(std::string_view text);
/// Whether a character of UTF-8 is a control character.
bool IsControl(std::string_view character);

/// Goes through a text character by character; what is no UTF-8 comes byte by byte with `valid` false.
template <typename Visitor>
void ForEachCharacter(std::string_view text, Visitor&& visit) {
    while (!text.empty()) {
        const std::size_t length = Utf8Length(text);
        visit(text.substr(0, std::max<std::size_t>(length, 1)), length > 0);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
}

/// How many characters the text shows.
std::size_t Characters(std::string_view text);
/// The text made fit for a terminal, a log and a line: control characters become \xNN.
std::string Printable(std::string_view text);
bool HasControl(std::string_view text);

/// Upper and lower case are the same.
bool IsSameName(std::string_view a, std::string_view b);

} // namespace apps
