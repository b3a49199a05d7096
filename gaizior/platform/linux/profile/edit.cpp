#include "gaizior/platform/linux/profile/edit.h"

#include "gaizior/platform/linux/profile/lines.h"

#include <optional>

namespace gaizior::platform {
namespace {

/// Where a section and a key stand in a text; positions in bytes.
struct Places {
    bool hasSection = false;
    std::size_t begin = 0;          // of the section
    std::size_t end = 0;            // of the section
    std::size_t behindLastKey = 0;  // where a new key goes
    std::optional<ProfileLine> key; // its line
};

Places FindPlaces(std::string_view text, std::string_view section, std::string_view key) {
    std::string_view behindMark = text;
    const std::size_t mark = TakeMark(behindMark).size();
    Places places{.hasSection = section.empty(), .begin = mark, .end = mark, .behindLastKey = mark, .key = {}};
    ProfileLines lines(text);
    for (ProfileLine line; lines.Next(line);) {
        const auto begin = static_cast<std::size_t>(line.whole.data() - text.data());
        const std::size_t end = begin + line.whole.size();
        if (line.isSection && places.hasSection) {
            break;
        }
        if (line.isSection && IsSameName(line.name, section)) {
            places = {.hasSection = true, .begin = begin, .end = end, .behindLastKey = end, .key = {}};
        } else if (places.hasSection) {
            places.end = end;
            const bool isKey = line.hasValue || !line.name.empty();
            if (isKey && !line.IsComment()) {
                places.behindLastKey = end;
            }
            if (isKey && !places.key && IsSameName(line.name, key)) {
                places.key = line;
            }
        }
    }
    return places;
}

void ReplaceValue(std::string& text, std::size_t lineBegin, const ProfileLine& line, std::string_view value) {
    if (line.hasValue) {
        const auto offset = static_cast<std::size_t>(line.value.data() - line.whole.data());
        text.replace(lineBegin + offset, line.value.size(), value);
    } else {
        const auto end = static_cast<std::size_t>(line.name.data() - line.whole.data()) + line.name.size();
        text.insert(lineBegin + end, std::string("=").append(value));
    }
}

/// Inserts whole lines at the beginning of a line, or behind a last one that has no end yet.
void InsertLines(std::string& text, std::size_t at, std::string_view lineEnd, std::string_view lines) {
    std::string_view before = std::string_view(text).substr(0, at);
    TakeMark(before);
    const bool isAtLineBegin = before.empty() || before.ends_with('\n') || before.ends_with('\r');
    text.insert(at, std::string(isAtLineBegin ? "" : lineEnd).append(lines));
}

} // namespace

std::string EditProfile(const std::string& text, std::string_view section, const char* key, const char* value) {
    const std::string_view sectionName = TrimBlanks(section);
    const std::string_view keyName = TrimBlanks(key ? key : "");
    const Places places = FindPlaces(text, sectionName, keyName);
    std::string edited = text;
    if (!key) {
        return edited.erase(places.begin, places.end - places.begin);
    }
    if (places.key) {
        const auto begin = static_cast<std::size_t>(places.key->whole.data() - text.data());
        value ? ReplaceValue(edited, begin, *places.key, value) : void(edited.erase(begin, places.key->whole.size()));
        return edited;
    }
    if (!value) {
        return edited;
    }
    const std::string lineEnd(LineEndOf(text));
    std::string lines = std::string(keyName).append("=").append(value).append(lineEnd);
    if (!places.hasSection) {
        lines.insert(0, std::string("[").append(sectionName).append("]").append(lineEnd));
    }
    InsertLines(edited, places.hasSection ? places.behindLastKey : text.size(), lineEnd, lines);
    return edited;
}

} // namespace gaizior::platform
