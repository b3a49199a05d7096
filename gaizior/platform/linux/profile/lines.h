#pragma once

#include <string_view>

namespace gaizior::platform {

/// A line of a settings file.
struct ProfileLine {
    std::string_view whole; ///< with its end
    std::string_view name;  ///< of the section or the key; else what stands there, without the blanks around it
    std::string_view value; ///< as it stands, quotes and all, without the blanks around it
    bool isSection = false;
    bool hasValue = false; ///< "key=value"

    bool IsComment() const {
        return name.starts_with(';');
    }
};

/// The lines of a text behind its byte-order mark. One ends with "\n", "\r\n", "\r" or the text; nothing behind a NUL
/// in it is seen.
class ProfileLines {
public:
    explicit ProfileLines(std::string_view text);
    /// Takes the next line. @returns false when there is none.
    bool Next(ProfileLine& line);

private:
    std::string_view m_rest;
    bool m_bHasReturns; // most texts have neither, so that their lines are not searched for them
    bool m_bHasNuls;
};

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
