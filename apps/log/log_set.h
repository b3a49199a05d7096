#pragma once

#include "apps/log/log_file.h"
#include "apps/support/failure.h"

#include <map>
#include <memory>
#include <set>
#include <vector>

namespace apps {

/// The logs of several processes and days as one, by time.
class LogSet {
public:
    /// @param process whose logs are read; empty: everybody's. Upper and lower case are the same
    LogSet(std::string process, bool isFollowed) : m_process(std::move(process)), m_bIsFollowed(isFollowed) {}

    /// Takes files, and of folders all files that are logs.
    /// @returns Exit::kNotFound where there is nothing to read. In a folder that is followed it may still come.
    Outcome Open(const std::vector<std::string>& paths);
    /// The same with folders of which some may not be there, or not be ours to read.
    Outcome OpenThoseThatAreThere(const std::vector<std::string>& folders);
    bool IsEmpty() const {
        return m_sources.empty();
    }

    /// The oldest entry that is left; those of one file stay in their order. @returns false when none is left: of
    /// logs that are followed, until Look finds more.
    bool Next(LogEntry& entry);

    /// Looks for what was appended, replaced, renamed, removed and made.
    /// @returns what has happened to files, for people.
    std::vector<std::string> Look();

    /// Of the files that could not be read, or not to their end, the first.
    Outcome ReadFailure() const;

private:
    struct Source {
        std::unique_ptr<LogFile> file;
        LogEntry next = {};
        bool isGone = false;
        bool isReplaced = false; ///< as the last look found it
        bool hasFailed = false;  ///< and that was told
    };
    /// Where more files may come.
    struct Watch {
        std::filesystem::path folder;
        std::string ofDaysOf; ///< nothing but the weekdays' files of this process; empty: every log
    };

    bool IsWanted(const Watch& watch, const LogName& name);
    bool IsKnown(const std::filesystem::path& path) const;
    std::error_code Scan(const Watch& watch);
    void Add(const std::filesystem::path& path);
    void LookAt(Source& source, std::vector<std::string>& news);
    void Queue(std::size_t source);
    bool IsLater(std::size_t a, std::size_t b) const;
    Outcome WhenNothingIsFound(const std::vector<std::string>& paths) const;

    std::string m_process;
    bool m_bIsFollowed;
    std::vector<Watch> m_watches;
    std::vector<Source> m_sources;
    std::vector<std::size_t> m_queue; ///< a heap of the sources that have an entry, the oldest on top
    std::map<std::filesystem::path, std::uintmax_t> m_noLogs; ///< files, with the size at which they were none
    std::map<std::filesystem::path, bool> m_unreadable;       ///< files in folders, and whether that was told
    std::set<std::string> m_others;                           ///< processes whose logs are not wanted
};

} // namespace apps
