#pragma once

#include <string>
#include <string_view>

/// What ends the lines of text files.
namespace gaizior {

inline constexpr std::string_view kUnixLineEnd = "\n";
inline constexpr std::string_view kWindowsLineEnd = "\r\n";

/// The line end of the system's own text files.
#ifdef _WIN32
inline constexpr std::string_view kLineEnd = kWindowsLineEnd;
#else
inline constexpr std::string_view kLineEnd = kUnixLineEnd;
#endif

/// The text with another line end in the place of each `from`, all in one pass. Any thread.
inline std::string ReplaceLineEnds(std::string_view text, std::string_view from, std::string_view to) {
    if (from == to) {
        return std::string(text);
    }
    std::string result;
    result.reserve(text.size());
    std::size_t begin = 0;
    for (std::size_t end = text.find(from); end != text.npos; end = text.find(from, begin)) {
        result.append(text.substr(begin, end - begin)).append(to);
        begin = end + from.size();
    }
    return result.append(text.substr(begin));
}

} // namespace gaizior
