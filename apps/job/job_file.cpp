#include "apps/job/job_file.h"

#include "apps/support/suggest.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <map>
#include <vector>

namespace apps {
namespace {

constexpr std::size_t kLongestLine = 256;
constexpr int kMostLines = 1000;

std::string Quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t begin = text.find_first_not_of(kBlanks);
    return begin == text.npos ? std::string_view() : text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

/// "345 mm" or "345" gives "345".
std::string_view WithoutUnit(std::string_view value, std::string_view unit) {
    return value.ends_with(unit) ? Trimmed(value.substr(0, value.size() - unit.size())) : value;
}

/// What is wrong with a line; thrown from wherever it is found to the one place that knows the file.
struct Complaint {
    int line;
    std::string text;
};

/// Fills a job from a file's lines, one after the other.
class JobReader {
public:
    explicit JobReader(Job& job) : m_job(job) {}

    void Read(std::istream& stream);

private:
    using Setter = void (JobReader::*)(std::string_view value);
    struct Key {
        const char* section;
        const char* name;
        Setter set;
        bool bNeeded;
    };
    static const std::array<Key, 8> kKeys;

    void ReadLine(std::string_view line);
    void BeginSection(std::string_view name);
    void EndSection();
    void SetKey(std::string_view name, std::string_view value);
    void CheckWhole();

    void SetJobName(std::string_view value);
    void SetResolution(std::string_view value);
    void SetWidth(std::string_view value);
    void SetLength(std::string_view value);
    void SetSeparationName(std::string_view value);
    void SetCopies(std::string_view value);

    Size& CurrentSize() {
        return m_section == "plate" ? m_job.plate : m_job.image;
    }
    Hundredths Millimetres(std::string_view value, Range range) const;
    int Number(std::string_view value, std::string_view unit, Range range) const;
    [[noreturn]] void Complain(std::string text) const {
        throw Complaint{m_nLine, std::move(text)};
    }

    Job& m_job;
    int m_nLine = 0;
    std::string m_section;
    int m_nSectionLine = 0;
    std::map<std::string, int, std::less<>> m_lineOfKey;     ///< of the present section
    std::map<std::string, int, std::less<>> m_lineOfSection; ///< of all but [separation]
};

const std::array<JobReader::Key, 8> JobReader::kKeys{{
    {"job", "name", &JobReader::SetJobName, true},
    {"job", "resolution", &JobReader::SetResolution, true},
    {"plate", "width", &JobReader::SetWidth, true},
    {"plate", "length", &JobReader::SetLength, true},
    {"image", "width", &JobReader::SetWidth, true},
    {"image", "length", &JobReader::SetLength, true},
    {"separation", "name", &JobReader::SetSeparationName, true},
    {"separation", "copies", &JobReader::SetCopies, false},
}};

void JobReader::Read(std::istream& stream) {
    std::array<char, kLongestLine + 2> buffer{};
    while (stream.getline(buffer.data(), buffer.size()) || stream.gcount() > 0) {
        ++m_nLine;
        if (stream.fail()) {
            Complain("the line has more than " + std::to_string(kLongestLine) + " characters: this is no job file");
        }
        if (m_nLine > kMostLines) {
            Complain("the file has more than " + std::to_string(kMostLines) + " lines: this is no job file");
        }
        const std::size_t length = static_cast<std::size_t>(stream.gcount()) - (stream.eof() ? 0 : 1);
        ReadLine({buffer.data(), length});
    }
    if (stream.bad()) {
        Complain("the file cannot be read any further: check the disk");
    }
    EndSection();
    CheckWhole();
}

void JobReader::ReadLine(std::string_view line) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (m_nLine == 1 && line.starts_with(kByteOrderMark)) {
        line.remove_prefix(kByteOrderMark.size());
    }
    line = Trimmed(line.substr(0, line.find('#')));
    if (std::ranges::any_of(line, [](unsigned char c) { return c < ' ' && c != '\t'; })) {
        Complain("the line holds a control character: this is no job file");
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

void JobReader::BeginSection(std::string_view name) {
    EndSection();
    static const std::vector<std::string> kSections = {"job", "plate", "image", "separation"};
    if (std::ranges::find(kSections, name) == kSections.end()) {
        Complain("there is no section [" + std::string(name) + "]" + Suggestion(name, kSections));
    }
    const auto [first, isNew] = m_lineOfSection.emplace(name, m_nLine);
    if (!isNew && name != "separation") {
        Complain("section [" + std::string(name) + "] stands in line " + std::to_string(first->second) + " already");
    }
    m_section = name;
    m_nSectionLine = m_nLine;
    m_lineOfKey.clear();
    if (m_section == "separation") {
        if (m_job.separations.size() == kMaxSeparations) {
            Complain("a job has at most " + std::to_string(kMaxSeparations) + " separations");
        }
        m_job.separations.emplace_back();
    }
}

/// Complains about a section at its own line, however much follows it.
void JobReader::EndSection() {
    for (const Key& key : kKeys) {
        if (m_section == key.section && key.bNeeded && !m_lineOfKey.contains(key.name)) {
            throw Complaint{m_nSectionLine, "section [" + m_section + "] needs " + Quoted(key.name)};
        }
    }
}

void JobReader::SetKey(std::string_view name, std::string_view value) {
    if (m_section.empty()) {
        Complain("the key " + Quoted(name) + " stands before the first section: begin with [job]");
    }
    const auto key =
        std::ranges::find_if(kKeys, [&](const Key& k) { return m_section == k.section && name == k.name; });
    if (key == kKeys.end()) {
        std::vector<std::string> known;
        for (const Key& k : kKeys) {
            if (m_section == k.section) {
                known.emplace_back(k.name);
            }
        }
        Complain("section [" + m_section + "] has no key " + Quoted(name) + Suggestion(name, known));
    }
    const auto [first, isNew] = m_lineOfKey.emplace(name, m_nLine);
    if (!isNew) {
        Complain(Quoted(name) + " is set in line " + std::to_string(first->second) + " already");
    }
    if (value.empty()) {
        Complain(Quoted(name) + " has no value");
    }
    (this->*key->set)(value);
}

void JobReader::CheckWhole() {
    for (const char* section : {"job", "plate", "image", "separation"}) {
        if (!m_lineOfSection.contains(section)) {
            Complain("the file ends without a section [" + std::string(section) + "]");
        }
    }
    if (m_job.image.width > m_job.plate.width || m_job.image.length > m_job.plate.length) {
        throw Complaint{m_lineOfSection["image"], "an image of " + FormatSize(m_job.image) +
                                                      " does not fit on a plate of " + FormatSize(m_job.plate)};
    }
}

Hundredths JobReader::Millimetres(std::string_view value, Range range) const {
    const std::optional<Hundredths> length = ParseHundredths(WithoutUnit(value, "mm"));
    if (!length) {
        Complain("expected a length such as '345.5 mm', found " + Quoted(value));
    }
    if (!range.Holds(*length)) {
        Complain(Quoted(value) + " is not between " + FormatHundredths(range.least) + " and " +
                 FormatHundredths(range.most) + " mm");
    }
    return *length;
}

int JobReader::Number(std::string_view value, std::string_view unit, Range range) const {
    const std::optional<int> number = ParseNumber(WithoutUnit(value, unit));
    if (!number || !range.Holds(*number)) {
        Complain("expected a whole number from " + std::to_string(range.least) + " to " + std::to_string(range.most) +
                 std::string(unit.empty() ? "" : " ") + std::string(unit) + ", found " + Quoted(value));
    }
    return *number;
}

void JobReader::SetJobName(std::string_view value) {
    if (!IsJobName(value)) {
        Complain("a job's name has at most " + std::to_string(kMaxJobName) + " characters, this one has " +
                 std::to_string(value.size()));
    }
    m_job.name = value;
}

void JobReader::SetResolution(std::string_view value) {
    m_job.resolution = Number(value, "dpi", kResolution);
}

void JobReader::SetWidth(std::string_view value) {
    CurrentSize().width = Millimetres(value, m_section == "plate" ? kPlateWidth : kImageSide);
}

void JobReader::SetLength(std::string_view value) {
    CurrentSize().length = Millimetres(value, m_section == "plate" ? kPlateLength : kImageSide);
}

void JobReader::SetSeparationName(std::string_view value) {
    if (!IsSeparationName(value)) {
        Complain("a separation's name has 1 to " + std::to_string(kMaxSeparationName) +
                 " letters, digits, '-' and '_', found " + Quoted(value));
    }
    if (std::ranges::find(m_job.separations, value, &Separation::name) != m_job.separations.end()) {
        Complain("there is a separation " + Quoted(value) + " already: write 'copies = 2' for two plates of it");
    }
    m_job.separations.back().name = value;
}

void JobReader::SetCopies(std::string_view value) {
    m_job.separations.back().copies = Number(value, "", kCopies);
}

} // namespace

Outcome ReadJob(std::istream& stream, const std::string& name, Job& job) {
    Job read;
    try {
        JobReader(read).Read(stream);
    } catch (const Complaint& complaint) {
        return Fail("ReadJob(): ", kFileFormat, Exit::kUsage,
                    name + ":" + std::to_string(complaint.line) + ": " + complaint.text);
    }
    job = std::move(read);
    return std::nullopt;
}

Outcome ReadJobFile(const std::string& path, Job& job) {
    constexpr const char* kFunction = "ReadJobFile(): ";
    std::error_code error;
    const auto type = std::filesystem::status(path, error).type();
    if (type == std::filesystem::file_type::not_found) {
        return Fail(kFunction, kNameNotFound, Exit::kNotFound, path + ": there is no such job file: check the name");
    }
    std::ifstream stream(path);
    if (type == std::filesystem::file_type::directory || !stream) {
        return Fail(kFunction, kFileNotRead, Exit::kFailed,
                    path + ": cannot be read as a job file: check that it is "
                           "a file that you may read");
    }
    return ReadJob(stream, path, job);
}

} // namespace apps
