#pragma once

#include "apps/log/growing_file.h"
#include "apps/log/log_line.h"

#include <memory>

namespace apps {

class LogFile;

/// A tagged line, with the lines behind it that have no tag.
struct LogEntry {
    const LogFile* file = nullptr;
    bool hasTag = false;      ///< else nothing but file and text is known
    bool isContinued = false; ///< the text belongs to the entry before it, whose tag it has
    Day day;
    LogTag tag;
    long long moment = 0; ///< milliseconds since 1970; an entry without a tag is older than all others
    std::string text;     ///< lines are separated by line feeds
};

/// A log's file, entry by entry.
class LogFile {
public:
    /// @param isFollowed the last line is taken only when its end has come
    LogFile(const std::filesystem::path& path, bool isFollowed);

    /// @returns false at the end of the file and where it cannot be read.
    bool Next(LogEntry& entry);

    /// The day that the file has come to.
    Day Date() const {
        return m_clock ? m_clock->Date() : Day();
    }
    const LogName& Name() const {
        return m_name;
    }
    GrowingFile& Lines() {
        return m_lines;
    }
    const GrowingFile& Lines() const {
        return m_lines;
    }
    std::string Path() const {
        return m_lines.Path().string();
    }
    void Rewind();
    /// The same place in a file that this one was renamed to, or copied.
    std::unique_ptr<LogFile> ContinuedIn(const std::filesystem::path& path) const;

private:
    struct Line {
        std::string text;
        std::optional<LogTag> tag;
    };

    bool Fetch();
    void Begin(LogEntry& entry);
    Day FirstDay() const;

    GrowingFile m_lines;
    LogName m_name;
    bool m_bIsFollowed;
    std::optional<LineClock> m_clock; ///< set by the first line
    std::optional<Line> m_next;
    LogEntry m_last; ///< without its text
};

/// Whether the first lines of a file have tags; nothing where they cannot be read.
std::optional<bool> IsLog(const std::filesystem::path& path);

} // namespace apps
