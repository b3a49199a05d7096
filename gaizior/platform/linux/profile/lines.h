#pragma once

#include <string_view>

namespace gaizior::platform {

/// A line of a settings file.
struct ProfileLine {
    std::string_view whole; ///< with its end
    std::string_view name;  ///< of the section or the key; else what stands there, without the blanks around it
    std::string_view value; ///< as it stands, quotes and all, without the blanks around it
    bool isSection;
    bool hasValue; ///< "key=value"

    bool IsComment() const {
        return name.starts_with(';');
    }
};

/// Takes the first line off, which ends with "\n", "\r\n", "\r" or the text; nothing behind a NUL in it is seen.
ProfileLine TakeLine(std::string_view& text);

/// Takes a byte-order mark off, which is then told.
std::string_view TakeMark(std::string_view& text);

/// The line end of the text's first line; "\n" where none has one.
std::string_view LineEndOf(std::string_view text);

std::string_view TrimBlanks(std::string_view text);
/// Takes off one pair of quotes, single or double.
std::string_view Unquoted(std::string_view text);
/// Whether two names are the same, A to Z being a to z.
bool IsSameName(std::string_view left, std::string_view right);

} // namespace gaizior::platform
