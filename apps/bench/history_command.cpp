#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "apps/support/places.h"
#include "gaizior/config/history.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <limits>
#include <span>
#include <system_error>
#include <utility>

namespace apps {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFunction = "HistoryCommand(): ";
constexpr DWORD kPeriod = 200; // milliseconds between two looks at a file that is followed

/// A history that somebody else writes.
class ReadHistory : public ZRHistoryC {
public:
    explicit ReadHistory(const std::string& path) {
        Create(path.c_str(), "", std::numeric_limits<unsigned>::max());
    }
};

std::vector<std::string> SplitAtTabs(std::string_view line) {
    std::vector<std::string> fields;
    for (std::size_t tab = 0; tab != std::string_view::npos; line.remove_prefix(std::min(tab, line.size() - 1) + 1)) {
        tab = line.find('\t');
        fields.emplace_back(line.substr(0, tab));
        if (tab == std::string_view::npos) {
            break;
        }
    }
    return fields;
}

/// Opens a history and reads its first line, by which it is known.
Outcome Open(const std::string& path, std::ifstream& file) {
    std::error_code none;
    if (fs::is_directory(path, none)) {
        return Failure{kFileNotRead, Exit::kFailed, path + ": it is a folder: name the history in it"};
    }
    if (!fs::exists(path, none)) {
        return Failure{kNameNotFound, Exit::kNotFound,
                       path + ": there is no such history: an imager makes one when it starts"};
    }
    file.open(path);
    std::string format;
    std::getline(file, format);
    if (!file.is_open() || file.bad()) {
        return Failure{kFileNotRead, Exit::kFailed, path + ": the history cannot be read"};
    }
    return format.starts_with("0x00000001") ? Outcome()
                                            : Failure{kFileFormat, Exit::kFailed, path + ": the file is no history"};
}

/// The headings of the columns behind date and time, from the file's third line.
Outcome ReadHeadings(const std::string& path, std::vector<std::string>& headings) {
    std::ifstream file;
    if (Outcome failure = Open(path, file)) {
        return failure;
    }
    std::string line;
    std::getline(file, line);
    std::getline(file, line);
    line.erase(line.find_last_not_of('\r') + 1);
    headings = SplitAtTabs(line);
    headings.erase(headings.begin(), headings.begin() + std::min<std::ptrdiff_t>(2, std::ssize(headings)));
    return std::nullopt;
}

/// The moment that a line's date and time tell, in milliseconds since 1970; -1 when they tell none.
long long MomentOf(const std::string& date, const std::string& time) {
    std::tm tm{};
    char end = '\0';
    const std::string text = date + ' ' + time;
    if (std::sscanf(text.c_str(), "%2d/%2d/%4d %2d:%2d:%2d%c", &tm.tm_mon, &tm.tm_mday, &tm.tm_year, &tm.tm_hour,
                    &tm.tm_min, &tm.tm_sec, &end) != 6) {
        return -1;
    }
    tm.tm_mon -= 1;
    tm.tm_year -= 1900;
    tm.tm_isdst = -1;
    const std::time_t moment = std::mktime(&tm);
    return moment == -1 ? -1 : static_cast<long long>(moment) * 1000;
}

Outcome ReadLines(const std::string& path, std::vector<std::string>& lines) {
    std::ifstream file;
    if (Outcome failure = Open(path, file)) { // now, since the library makes a history that is missing
        return failure;
    }
    file.close();
    ZRHistoryC::HistoryEnumeratorC enumerator = ReadHistory(path).GetEnumerator();
    ZRCString line;
    auto code = enumerator.NextElement(line);
    for (; code == ZRErrors::e_General_NoError; code = enumerator.NextElement(line)) {
        lines.emplace_back(line);
    }
    return code == ZRErrors::e_File_EndOfFile
               ? Outcome()
               : Failure{code, Exit::kFailed, path + ": the history cannot be read: " + ErrorText(code)};
}

/// Prints the lines of a history, as a table or as objects.
class Printer {
public:
    Printer(std::vector<std::string> headings, bool json) : m_headings(std::move(headings)), m_bJson(json) {}

    /// Columns are as wide as what is printed first needs.
    void Fit(std::span<const std::string> lines) {
        Widen(m_headings);
        for (const std::string& line : lines) {
            const std::vector<std::string> fields = SplitAtTabs(line);
            Widen(std::span(fields).subspan(std::min<std::size_t>(2, fields.size())));
        }
    }
    void PrintHeadings() const {
        if (!m_bJson) {
            std::printf("%s\n", Painted(Stream::kOutput, Colour::kFaint, Row("date and time", m_headings)).c_str());
        }
    }
    void Print(const std::string& line) const {
        std::vector<std::string> fields = SplitAtTabs(line);
        fields.resize(std::max<std::size_t>(2, fields.size()));
        const long long moment = MomentOf(fields[0], fields[1]);
        const std::span<const std::string> rest = std::span(fields).subspan(2);
        if (m_bJson) {
            PrintJson(moment, rest);
        } else {
            const std::string when = moment < 0 ? fields[0] + ' ' + fields[1] : TimeText(moment, kTimeForPeople);
            std::printf("%s\n", Row(when, rest).c_str());
        }
        std::fflush(stdout);
    }

private:
    static constexpr std::size_t kTimeWidth = 25; // "2026-11-22 14:03:07 +0100"

    void Widen(std::span<const std::string> fields) {
        m_widths.resize(std::max(m_widths.size(), fields.size()));
        for (std::size_t i = 0; i < fields.size(); ++i) {
            m_widths[i] = std::max(m_widths[i], Characters(Printable(fields[i])));
        }
    }
    std::string Row(const std::string& when, std::span<const std::string> fields) const {
        const std::size_t columns = OutputColumns();
        std::string row = Padded(when, kTimeWidth);
        std::vector<std::size_t> widths = m_widths;
        widths.resize(fields.size());
        std::ranges::transform(widths, fields, widths.begin(), [](std::size_t width, const std::string& field) {
            return std::max(width, Characters(Printable(field)));
        });
        Narrow(widths, columns - std::min(columns, kTimeWidth));
        for (std::size_t i = 0; i < fields.size(); ++i) {
            row += "  " + Padded(Shortened(Printable(fields[i]), widths[i]), widths[i]);
        }
        row.erase(row.find_last_not_of(' ') + 1);
        return Shortened(row, columns);
    }
    /// A column's heading where it has one that no column before it has.
    std::string KeyOf(std::size_t column) const {
        const auto heading = m_headings.begin() + static_cast<std::ptrdiff_t>(std::min(column, m_headings.size()));
        const bool isKey = heading != m_headings.end() && !heading->empty() &&
                           std::find(m_headings.begin(), heading, *heading) == heading;
        return isKey ? *heading : "column" + std::to_string(column + 1);
    }
    void PrintJson(long long moment, std::span<const std::string> fields) const {
        JsonObject object, columns;
        object.TextOrNull("time", moment < 0 ? std::string() : TimeText(moment, kTimeForPrograms));
        for (std::size_t i = 0; i < fields.size(); ++i) {
            columns.Text(KeyOf(i).c_str(), fields[i]);
        }
        std::printf("%s\n", object.Value("columns", columns.Json()).Json().c_str());
    }

    std::vector<std::string> m_headings;
    bool m_bJson;
    std::vector<std::size_t> m_widths;
};

/// What `now` has behind what `before` ended with; the oldest lines may have gone meanwhile.
std::span<const std::string> NewLines(std::span<const std::string> before, std::span<const std::string> now) {
    std::size_t known = std::min(before.size(), now.size());
    while (!std::ranges::equal(before.last(known), now.first(known))) {
        --known;
    }
    return now.subspan(known);
}

void Follow(const std::string& path, std::vector<std::string> before, const Printer& printer,
            const Interrupt& interrupt) {
    auto lastLook = std::pair<std::uintmax_t, fs::file_time_type>();
    bool hasFailed = false;
    while (std::ferror(stdout) == 0 && !interrupt.SleepUnlessSet(kPeriod)) {
        std::error_code gone;
        const std::pair look(fs::file_size(path, gone), fs::last_write_time(path, gone));
        if (gone || look == lastLook) {
            continue; // a file that is gone may come back
        }
        std::vector<std::string> now;
        const Outcome failure = ReadLines(path, now);
        if (failure && !std::exchange(hasFailed, true)) {
            std::fprintf(stderr, "bench: %s: trying again\n", Printable(failure->text).c_str());
        }
        if (failure || now.empty()) {
            continue; // nothing is there, or it could not be opened, which the library does not tell
        }
        hasFailed = false;
        lastLook = look;
        for (const std::string& line : NewLines(before, now)) {
            printer.Print(line);
        }
        before = std::move(now);
    }
}

/// The history that was asked for, or the usual imager's, this user's before the machine's.
std::string PathOf(const HistoryOptions& options) {
    if (!options.file.empty()) {
        return options.file;
    }
    for (const std::string& folder : HistoryFolders()) {
        std::error_code none;
        if (fs::path path = fs::path(folder) / "imager.history"; fs::exists(path, none)) {
            return path.string();
        }
    }
    return (fs::path(HistoryFolder()) / "imager.history").string();
}

Outcome PrintHistory(const HistoryOptions& options, const Interrupt* follows) {
    const std::string path = PathOf(options);
    std::vector<std::string> headings, lines;
    Outcome failure = ReadHeadings(path, headings);
    if (failure || (failure = ReadLines(path, lines))) {
        return Fail(kFunction, failure->code, failure->exit, failure->text);
    }
    const std::size_t count = options.last > 0 ? std::min(lines.size(), options.last) : lines.size();
    const std::span<const std::string> shown = std::span(lines).last(count);
    Printer printer(std::move(headings), options.json);
    printer.Fit(shown);
    printer.PrintHeadings();
    for (auto line = shown.begin(); line != shown.end() && std::ferror(stdout) == 0; ++line) {
        printer.Print(*line);
    }
    if (follows) {
        Follow(path, std::move(lines), printer, *follows);
    }
    return std::nullopt;
}

} // namespace

Outcome ListHistoryCommand(const HistoryOptions& options) {
    return PrintHistory(options, nullptr);
}

Outcome FollowHistoryCommand(const HistoryOptions& options, const Interrupt& interrupt) {
    return PrintHistory(options, &interrupt);
}

} // namespace apps
