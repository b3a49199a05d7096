#include "apps/job/section_file.h"

#include "apps/support/suggest.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>

namespace apps {
namespace {

constexpr std::size_t kLongestLine = 256;
constexpr int kMostLines = 2000;

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t begin = text.find_first_not_of(kBlanks);
    return begin == text.npos ? std::string_view() : text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

/// "345 mm" or "345" gives "345".
std::string_view WithoutUnit(std::string_view value, std::string_view unit) {
    return value.ends_with(unit) ? Trimmed(value.substr(0, value.size() - unit.size())) : value;
}

template <typename Named>
std::vector<std::string> NamesOf(const std::vector<Named>& all) {
    std::vector<std::string> names;
    std::ranges::transform(all, std::back_inserter(names), &Named::name);
    return names;
}

class SectionReader {
public:
    explicit SectionReader(const Layout& layout) : m_layout(layout) {}

    void Read(std::istream& stream);

private:
    struct Occurrence {
        int count = 0;
        int line = 0; ///< of the first
    };

    void ReadLine(std::string_view line);
    void BeginSection(std::string_view name);
    void EndSection();
    void SetKey(std::string_view name, std::string_view value);
    [[noreturn]] void Complain(std::string text) const {
        throw Complaint{m_nLine, std::move(text)};
    }

    const Layout& m_layout;
    int m_nLine = 0;
    const Section* m_pSection = nullptr;
    int m_nSectionLine = 0;
    std::map<std::string, int, std::less<>> m_lineOfKey; ///< of the present section
    std::map<std::string, Occurrence, std::less<>> m_sections;
};

void SectionReader::Read(std::istream& stream) {
    std::array<char, kLongestLine + 2> buffer{};
    while (stream.getline(buffer.data(), buffer.size()) || stream.gcount() > 0) {
        ++m_nLine;
        if (stream.fail()) {
            Complain("the line has more than " + std::to_string(kLongestLine) + " characters: this is no " +
                     m_layout.kind);
        }
        if (m_nLine > kMostLines) {
            Complain("the file has more than " + std::to_string(kMostLines) + " lines: this is no " + m_layout.kind);
        }
        const std::size_t length = static_cast<std::size_t>(stream.gcount()) - (stream.eof() ? 0 : 1);
        ReadLine({buffer.data(), length});
    }
    if (stream.bad()) {
        Complain("the file cannot be read any further: check the disk");
    }
    EndSection();
    for (const Section& section : m_layout.sections) {
        if (section.count.least > 0 && !m_sections.contains(section.name)) {
            throw Complaint{std::max(m_nLine, 1), "the file ends without a section [" + section.name + "]"};
        }
    }
    if (m_layout.end) {
        m_layout.end();
    }
}

void SectionReader::ReadLine(std::string_view line) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (m_nLine == 1 && line.starts_with(kByteOrderMark)) {
        line.remove_prefix(kByteOrderMark.size());
    }
    line = Trimmed(line.substr(0, line.find('#')));
    if (std::ranges::any_of(line, [](unsigned char c) { return (c < ' ' && c != '\t') || c == 0x7F; })) {
        Complain("the line holds a control character: this is no " + m_layout.kind);
    }
    if (line.empty()) {
        return;
    }
    if (line.front() == '[') {
        if (line.back() != ']') {
            Complain("a section is written '[name]': the ']' at the line's end is missing");
        }
        BeginSection(Trimmed(line.substr(1, line.size() - 2)));
        return;
    }
    const std::size_t equals = line.find('=');
    if (equals == line.npos) {
        Complain("expected 'key = value' or '[section]', found " + Quoted(line));
    }
    SetKey(Trimmed(line.substr(0, equals)), Trimmed(line.substr(equals + 1)));
}

void SectionReader::BeginSection(std::string_view name) {
    EndSection();
    const auto section = std::ranges::find(m_layout.sections, name, &Section::name);
    if (section == m_layout.sections.end()) {
        Complain("a " + m_layout.kind + " has no section [" + std::string(name) + "]" +
                 Suggestion(name, NamesOf(m_layout.sections)));
    }
    Occurrence& occurrence = m_sections[section->name];
    if (occurrence.count == 0) {
        occurrence.line = m_nLine;
    }
    if (++occurrence.count > section->count.most) {
        const std::string bracketed = "[" + section->name + "]";
        Complain(section->count.most == 1
                     ? "section " + bracketed + " stands in line " + std::to_string(occurrence.line) + ", and a " +
                           m_layout.kind + " has only one"
                     : "a " + m_layout.kind + " has at most " + std::to_string(section->count.most) + " sections " +
                           bracketed);
    }
    m_pSection = &*section;
    m_nSectionLine = m_nLine;
    m_lineOfKey.clear();
    if (section->begin) {
        section->begin(m_nLine);
    }
}

/// Complains about a section at its own line, however much follows it.
void SectionReader::EndSection() {
    if (!m_pSection) {
        return;
    }
    for (const Key& key : m_pSection->keys) {
        if (key.isNeeded && !m_lineOfKey.contains(key.name)) {
            throw Complaint{m_nSectionLine, "section [" + m_pSection->name + "] needs " + Quoted(key.name)};
        }
    }
}

void SectionReader::SetKey(std::string_view name, std::string_view value) {
    if (!m_pSection) {
        Complain("the key " + Quoted(name) + " stands before the first section: begin with [" +
                 m_layout.sections.front().name + "]");
    }
    const auto key = std::ranges::find(m_pSection->keys, name, &Key::name);
    if (key == m_pSection->keys.end()) {
        Complain("section [" + m_pSection->name + "] has no key " + Quoted(name) +
                 Suggestion(name, NamesOf(m_pSection->keys)));
    }
    const auto [first, isNew] = m_lineOfKey.emplace(name, m_nLine);
    if (!isNew) {
        Complain(Quoted(name) + " is set in line " + std::to_string(first->second) + " already");
    }
    if (value.empty()) {
        Complain(Quoted(name) + " has no value");
    }
    key->set({m_nLine, value});
}

} // namespace

Hundredths Value::Millimetres(Range range) const {
    const std::optional<Hundredths> length = ParseHundredths(WithoutUnit(text, "mm"));
    if (!length) {
        Complain("expected a length such as '345.5 mm', found " + Quoted(text));
    }
    if (!range.Holds(*length)) {
        Complain(Quoted(text) + " is not between " + FormatHundredths(range.least) + " and " +
                 FormatHundredths(range.most) + " mm");
    }
    return *length;
}

int Value::Number(std::string_view unit, Range range) const {
    const std::optional<int> number = ParseNumber(WithoutUnit(text, unit));
    if (!number || !range.Holds(*number)) {
        Complain("expected a whole number from " + std::to_string(range.least) + " to " + std::to_string(range.most) +
                 std::string(unit.empty() ? "" : " ") + std::string(unit) + ", found " + Quoted(text));
    }
    return *number;
}

std::string Value::Name(const std::string& whose) const {
    if (!IsName(text)) {
        Complain(whose + "'s name has at most " + std::to_string(kMaxName) +
                 " characters (beyond ASCII they count twice and more), this one has " + std::to_string(text.size()));
    }
    return std::string(text);
}

std::string Quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

Outcome ReadSections(std::istream& stream, const std::string& name, const Layout& layout) {
    try {
        SectionReader(layout).Read(stream);
    } catch (const Complaint& complaint) {
        return Fail("ReadSections(): ", kFileFormat, Exit::kUsage,
                    name + ":" + std::to_string(complaint.line) + ": " + complaint.text);
    }
    return std::nullopt;
}

Outcome OpenSections(const std::string& path, const char* kind, std::ifstream& stream) {
    constexpr const char* kFunction = "OpenSections(): ";
    std::error_code error;
    const auto type = std::filesystem::status(path, error).type();
    if (type == std::filesystem::file_type::not_found) {
        return Fail(kFunction, kNameNotFound, Exit::kNotFound,
                    path + ": there is no such " + kind + ": check the name");
    }
    stream.open(path);
    if (type == std::filesystem::file_type::directory || !stream) {
        return Fail(kFunction, kFileNotRead, Exit::kFailed,
                    path + ": cannot be read as a " + kind + ": check that it is a file that you may read");
    }
    return std::nullopt;
}

} // namespace apps
