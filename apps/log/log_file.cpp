#include "apps/log/log_file.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace apps {
namespace {

constexpr std::size_t kLongestEntry = std::size_t{256} * 1024;

Day LastWriteDay(const std::filesystem::path& path) {
    std::error_code error;
    const auto lastWrite = std::filesystem::last_write_time(path, error);
    const auto age = error ? std::chrono::seconds(0)
                           : std::chrono::duration_cast<std::chrono::seconds>(
                                 std::filesystem::file_time_type::clock::now() - lastWrite);
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return DayAt(std::chrono::duration_cast<std::chrono::milliseconds>(now - age).count());
}

} // namespace

LogFile::LogFile(const std::filesystem::path& path, bool isFollowed)
    : m_lines(path), m_name(NameOfLog(path.string())), m_bIsFollowed(isFollowed) {
    m_last.file = this;
    m_last.moment = std::numeric_limits<long long>::min();
}

void LogFile::Rewind() {
    m_lines.Rewind();
    m_clock.reset();
    m_next.reset();
}

std::unique_ptr<LogFile> LogFile::ContinuedIn(const std::filesystem::path& path) const {
    auto continued = std::make_unique<LogFile>(*this);
    continued->m_lines.MoveTo(path);
    continued->m_last.file = continued.get();
    return continued;
}

bool LogFile::Next(LogEntry& entry) {
    if (!Fetch()) {
        return false;
    }
    Begin(entry);
    while (entry.hasTag && entry.text.size() < kLongestEntry && Fetch() && !m_next->tag) {
        entry.text += '\n' + m_next->text;
        m_next.reset();
    }
    return true;
}

/// Makes sure that m_next has a line that is to be told. @returns false when there is none.
bool LogFile::Fetch() {
    std::string line;
    while (!m_next && (m_lines.ReadLine(line) || (!m_bIsFollowed && m_lines.TakeRest(line)))) {
        if (!m_clock) {
            m_clock.emplace(FirstDay(), m_name.weekday.has_value());
        }
        // A loss of power leaves zeros where the file was to grow.
        line.erase(0, std::min(line.find_first_not_of('\0'), line.size()));
        while (line.ends_with('\r')) {
            line.pop_back();
        }
        std::string_view text = line;
        const std::optional<LogTag> tag = TakeTag(text);
        if (const auto day = tag ? CreationDay(text) : std::nullopt) {
            m_clock->SetDay(*day);
        }
        if (!IsFrame(text)) {
            m_next = Line{std::string(text), tag};
        } else if (tag) {
            m_clock->MomentOf(*tag);
        }
    }
    return m_next.has_value();
}

void LogFile::Begin(LogEntry& entry) {
    Line line = *std::exchange(m_next, std::nullopt);
    m_last.isContinued = !line.tag && m_last.hasTag;
    if (line.tag) {
        m_last.hasTag = true;
        m_last.tag = *line.tag;
        const std::string_view next = NextDaysFile(line.text);
        const auto weekday = next.empty() ? std::nullopt : NameOfLog(next).weekday;
        if (weekday && m_name.weekday) { // written when the next day's first line came
            const Day tomorrow = m_clock->Date() + std::chrono::days(1);
            m_last.day = tomorrow + (*weekday - std::chrono::weekday(tomorrow));
            m_last.moment = DayMoments(m_last.day).At(line.tag->time, m_last.moment);
        } else {
            m_last.moment = m_clock->MomentOf(*line.tag);
            m_last.day = m_clock->Date();
        }
    }
    entry = m_last;
    entry.text = std::move(line.text);
}

/// The day of the first line: what the first date in the file tells, less the days up to there; or else what the time
/// of the last write tells.
Day LogFile::FirstDay() const {
    const Day lastWrite = LastWriteDay(m_lines.Path());
    if (m_name.weekday) {
        return LatestUpTo(lastWrite, *m_name.weekday);
    }
    GrowingFile lines(m_lines.Path());
    LineClock clock(lastWrite, false);
    std::string line;
    while (lines.ReadLine(line)) {
        std::string_view text = line;
        std::optional<LogTag> tag = TakeTag(text);
        if (!tag) {
            continue;
        }
        const std::optional<Day> date = tag->day ? std::exchange(tag->day, std::nullopt) : CreationDay(text);
        clock.MomentOf(*tag);
        if (date) {
            return *date - (clock.Date() - lastWrite);
        }
    }
    return lastWrite - (clock.Date() - lastWrite);
}

std::optional<bool> IsLog(const std::filesystem::path& path) {
    constexpr int kLines = 20;
    GrowingFile lines(path);
    std::string line;
    for (int i = 0; i < kLines && lines.ReadLine(line); ++i) {
        std::string_view text = line;
        text.remove_prefix(std::min(text.find_first_not_of('\0'), text.size()));
        if (TakeTag(text)) {
            return true;
        }
    }
    return lines.HasFailed() ? std::nullopt : std::optional(false);
}

} // namespace apps
