#include "apps/job/section_file.h"

#include "apps/support/suggest.h"
#include "apps/support/text.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <iterator>
#include <map>
#include <utility>

namespace apps {
namespace {

constexpr std::size_t kLongestLine = 256;
constexpr int kMostLines = 2000;

constexpr std::string_view kBlanks = " \t\r";

std::string_view Trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(kBlanks);
    return begin == text.npos ? std::string_view() : text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

/// A trimmed line without its comment and the blanks before that.
std::string_view WithoutComment(std::string_view line) {
    const auto isBlank = [&](std::size_t at) { return at >= line.size() || kBlanks.find(line[at]) != kBlanks.npos; };
    for (std::size_t at = line.find('#'); at != line.npos; at = line.find('#', at + 1)) {
        if (at == 0 || (isBlank(at - 1) && isBlank(at + 1))) {
            return Trimmed(line.substr(0, at));
        }
    }
    return line;
}

/// Whether a file's line is one of UTF-16: with a byte-order mark, or ASCII letters with a NUL before or behind each.
bool IsUtf16(std::string_view line) {
    constexpr std::string_view kTwoNuls("\0\0", 2);
    return line.starts_with("\xFF\xFE") || line.starts_with("\xFE\xFF") ||
           (3 * static_cast<std::size_t>(std::ranges::count(line, '\0')) > line.size() &&
            line.find(kTwoNuls) == line.npos);
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

    std::vector<Complaint> Read(std::istream& stream);

private:
    struct Occurrence {
        int count = 0;
        int line = 0; ///< of the first
    };

    void ReadLines(std::istream& stream);
    void CheckLine(const std::istream& stream) const;
    void ReadLine(std::string_view line);
    /// A line that has had its complaint: the key that it begins with is not missing.
    void PassOver(std::string_view line) {
        m_lineOfKey.emplace(line.substr(0, line.find_first_of(" \t:=")), m_nLine);
    }
    void BeginSection(std::string_view heading);
    const Section* FindSection(std::string_view name);
    void CountSection(const Section& section);
    void EndSection();
    void CheckWhole();
    void SetKey(std::string_view name, std::string_view value);
    const Key* FindKey(std::string_view name);
    /// Calls a function of the layout's, which may complain.
    template <typename Function>
    void Attempt(Function&& function);
    void Note(std::string text) {
        m_complaints.push_back({m_nLine, std::move(text)});
    }

    const Layout& m_layout;
    int m_nLine = 0;
    const Section* m_pSection = nullptr; ///< null: what stands here is passed over, once there was a complaint
    int m_nSectionLine = 0;
    std::map<std::string, int, std::less<>> m_lineOfKey; ///< of the present section
    std::map<std::string, Occurrence, std::less<>> m_sections;
    std::vector<Complaint> m_complaints;
};

std::vector<Complaint> SectionReader::Read(std::istream& stream) {
    try {
        ReadLines(stream);
        EndSection();
        CheckWhole();
    } catch (const LastComplaint& last) {
        m_complaints.push_back(last);
    }
    return std::move(m_complaints);
}

void SectionReader::ReadLines(std::istream& stream) {
    std::array<char, kLongestLine + 2> buffer{};
    while (stream.getline(buffer.data(), buffer.size()) || stream.gcount() > 0) {
        ++m_nLine;
        const std::size_t length = static_cast<std::size_t>(stream.gcount()) - (stream.eof() || stream.fail() ? 0 : 1);
        const std::string_view line(buffer.data(), length);
        if (IsUtf16(line)) {
            throw LastComplaint{{m_nLine, "the file is UTF-16, which is not read: save it in the editor as UTF-8"}};
        }
        CheckLine(stream);
        const std::size_t before = m_complaints.size();
        ReadLine(line);
        if (m_complaints.size() > before && m_complaints.back().text.find('#') != std::string::npos) {
            m_complaints.back().text += " (behind a value a comment begins with '# ')";
        }
    }
    if (stream.bad()) {
        throw LastComplaint{{m_nLine, "the file cannot be read any further: check the disk"}};
    }
}

void SectionReader::CheckLine(const std::istream& stream) const {
    if (stream.fail()) {
        throw LastComplaint{{m_nLine, "the line has more than " + std::to_string(kLongestLine) + " bytes: this is no " +
                                          m_layout.kind}};
    }
    if (m_nLine > kMostLines) {
        throw LastComplaint{
            {m_nLine, "the file has more than " + std::to_string(kMostLines) + " lines: this is no " + m_layout.kind}};
    }
}

void SectionReader::ReadLine(std::string_view line) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (m_nLine == 1 && line.starts_with(kByteOrderMark)) {
        line.remove_prefix(kByteOrderMark.size());
    }
    line = WithoutComment(Trimmed(line));
    if (line.empty()) {
        return;
    }
    const bool isHeading = line.front() == '[';
    const bool isDamaged =
        std::ranges::any_of(line, [](unsigned char c) { return (c < ' ' && c != '\t') || c == 0x7F; });
    const std::size_t equals = line.find('=');
    if (isHeading && !isDamaged) {
        BeginSection(line);
    } else if (!m_pSection && !m_sections.empty()) {
        return;
    } else if (isDamaged) {
        Note("the line holds a control character: this is no " + m_layout.kind);
        PassOver(line);
    } else if (equals == line.npos) {
        Note("expected 'key = value' or '[section]', found " + Quoted(line));
        PassOver(line);
    } else {
        SetKey(Trimmed(line.substr(0, equals)), Trimmed(line.substr(equals + 1)));
    }
    if (!m_pSection) { // who forgot the first section hears of it once
        m_sections.try_emplace(m_layout.sections.front().name);
    }
}

/// "[job]". What lacks its bracket, or is mistyped, is read as the section that is meant.
void SectionReader::BeginSection(std::string_view heading) {
    EndSection();
    if (heading.back() != ']') {
        Note("a section is written '[name]': the ']' at the line's end is missing");
    }
    m_pSection = FindSection(Trimmed(heading.substr(1, heading.find(']', 1) - 1)));
    m_nSectionLine = m_nLine;
    m_lineOfKey.clear();
    if (m_pSection) {
        CountSection(*m_pSection);
    }
    if (m_pSection && m_pSection->begin) {
        Attempt([&] { m_pSection->begin(m_nLine); });
    }
}

const Section* SectionReader::FindSection(std::string_view name) {
    auto section = std::ranges::find(m_layout.sections, name, &Section::name);
    if (section == m_layout.sections.end()) {
        const std::vector<std::string> names = NamesOf(m_layout.sections);
        Note("a " + m_layout.kind + " has no section [" + std::string(name) + "]" + Suggestion(name, names));
        section = std::ranges::find(m_layout.sections, Nearest(name, names), &Section::name);
    }
    return section == m_layout.sections.end() ? nullptr : &*section;
}

void SectionReader::CountSection(const Section& section) {
    Occurrence& occurrence = m_sections[section.name];
    if (occurrence.count == 0) {
        occurrence.line = m_nLine;
    }
    ++occurrence.count;
    const std::string bracketed = "[" + section.name + "]";
    if (section.count.most == 1 && occurrence.count > 1) {
        Note("section " + bracketed + " stands in line " + std::to_string(occurrence.line) + ", and a " +
             m_layout.kind + " has only one");
    } else if (occurrence.count == section.count.most + 1) { // told once
        Note("a " + m_layout.kind + " has at most " + std::to_string(section.count.most) + " sections " + bracketed);
    }
}

/// Complains about a section at its own line, however much follows it.
void SectionReader::EndSection() {
    for (const Key& key : m_pSection ? m_pSection->keys : std::vector<Key>()) {
        if (key.isNeeded && !m_lineOfKey.contains(key.name)) {
            m_complaints.push_back({m_nSectionLine, "section [" + m_pSection->name + "] needs " + Quoted(key.name)});
        }
    }
}

void SectionReader::CheckWhole() {
    const auto stands = [](const auto& named) { return named.second.count > 0; };
    const auto other = m_sections.find(m_layout.other.section);
    if (other != m_sections.end() && stands(*other) && std::ranges::count_if(m_sections, stands) == 1) {
        m_complaints.clear();
        throw LastComplaint{{other->second.line, m_layout.other.complaint}};
    }
    for (const Section& section : m_layout.sections) {
        if (section.count.least > 0 && !m_sections.contains(section.name)) {
            m_complaints.push_back({std::max(m_nLine, 1), "the file ends without a section [" + section.name + "]"});
        }
    }
    if (m_layout.end) {
        std::ranges::move(m_layout.end(), std::back_inserter(m_complaints));
    }
}

void SectionReader::SetKey(std::string_view name, std::string_view value) {
    if (!m_pSection) {
        Note("the key " + Quoted(name) + " stands before the first section: begin with [" +
             m_layout.sections.front().name + "]");
        return;
    }
    const Key* const key = FindKey(name);
    if (!key) {
        return;
    }
    const auto [first, isNew] = m_lineOfKey.emplace(key->name, m_nLine);
    if (!isNew) {
        Note(Quoted(name) + " is set in line " + std::to_string(first->second) + " already");
    } else if (value.empty()) {
        Note(Quoted(name) + " has no value");
    } else {
        Attempt([&] { key->set({m_nLine, value}); });
    }
}

const Key* SectionReader::FindKey(std::string_view name) {
    const std::vector<Key>& keys = m_pSection->keys;
    auto key = std::ranges::find(keys, name, &Key::name);
    if (key == keys.end()) {
        const std::vector<std::string> names = NamesOf(keys);
        Note("section [" + m_pSection->name + "] has no key " + Quoted(name) + Suggestion(name, names));
        key = std::ranges::find(keys, Nearest(name, names), &Key::name);
    }
    return key == keys.end() ? nullptr : &*key;
}

template <typename Function>
void SectionReader::Attempt(Function&& function) {
    try {
        function();
    } catch (const LastComplaint&) {
        throw;
    } catch (const Complaint& complaint) {
        m_complaints.push_back(complaint);
    }
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
    if (text.find('\t') != text.npos) {
        Complain(whose + "'s name holds a tab: write a blank");
    }
    if (!IsName(text)) {
        Complain(whose + "'s name has at most " + std::to_string(kMaxName) + " characters, this one has " +
                 std::to_string(Characters(text)));
    }
    return std::string(text);
}

std::string Quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

std::vector<Complaint> ReadSections(std::istream& stream, const Layout& layout) {
    return SectionReader(layout).Read(stream);
}

Outcome ToOutcome(const std::vector<Complaint>& complaints, const std::string& name, const std::string& command) {
    if (complaints.empty()) {
        return std::nullopt;
    }
    const auto& [line, complaint] = complaints.front();
    std::string text = name + ":" + std::to_string(line) + ": " + complaint;
    if (complaints.size() > 1) {
        text += ", and " + std::to_string(complaints.size() - 1) + " more";
        text += command.empty() ? "" : ": '" + command + "' tells all";
    }
    return Fail("ReadSections(): ", kFileFormat, Exit::kUsage, std::move(text));
}

Outcome OpenSections(const std::string& path, const char* kind, std::ifstream& stream) {
    constexpr const char* kFunction = "OpenSections(): ";
    std::error_code error;
    const auto type = std::filesystem::status(path, error).type();
    if (type == std::filesystem::file_type::not_found) {
        return Fail(kFunction, kNameNotFound, Exit::kNotFound,
                    path + ": there is no such " + kind + ": check the name");
    }
    stream.open(path, std::ios::binary); // the same bytes on both systems
    if (type == std::filesystem::file_type::directory || !stream) {
        return Fail(kFunction, kFileNotRead, Exit::kFailed,
                    path + ": cannot be read as a " + kind + ": check that it is a file that you may read");
    }
    return std::nullopt;
}

} // namespace apps
