#include "apps/log/log_set.h"

#include "apps/support/suggest.h"
#include "apps/support/text.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace apps {
namespace {

namespace fs = std::filesystem;

Failure Unreadable(const std::string& path) {
    return Fail("LogSet::Open(): ", kFileNotRead, Exit::kFailed,
                path + ": cannot be read: check that it is a file or folder that you may read");
}

} // namespace

Outcome LogSet::Open(const std::vector<std::string>& paths) {
    for (const std::string& text : paths) {
        const fs::path path(text);
        std::error_code error;
        const fs::file_type type = fs::status(path, error).type();
        if (type == fs::file_type::not_found) {
            return Fail("LogSet::Open(): ", kNameNotFound, Exit::kNotFound,
                        text + ": there is no such file or folder: check the name");
        }
        const LogName name = NameOfLog(text);
        if (type == fs::file_type::directory) {
            m_watches.push_back({path, {}});
            if (Scan(m_watches.back())) {
                return Unreadable(text);
            }
        } else if (type != fs::file_type::regular) {
            return Unreadable(text);
        } else if (IsWanted({}, name) && !IsKnown(path)) {
            Add(path);
            if (name.weekday) {
                m_watches.push_back({path.has_parent_path() ? path.parent_path() : fs::path("."), name.process});
            }
        }
    }
    return WhenNothingIsFound(paths);
}

Outcome LogSet::OpenThoseThatAreThere(const std::vector<std::string>& folders) {
    for (const std::string& folder : folders) {
        m_watches.push_back({folder, {}});
        Scan(m_watches.back());
    }
    return WhenNothingIsFound(folders);
}

Outcome LogSet::WhenNothingIsFound(const std::vector<std::string>& paths) const {
    if (!m_sources.empty() || (m_bIsFollowed && !m_watches.empty())) {
        return std::nullopt;
    }
    if (!m_unreadable.empty()) {
        return ReadFailure();
    }
    std::string places;
    for (const std::string& path : paths) {
        places += (places.empty() ? "" : ", ") + path;
    }
    const std::vector<std::string> others(m_others.begin(), m_others.end());
    const std::string what = others.empty()
                                 ? "there is no log: say in which folder, or which file"
                                 : "there is no log of a process '" + m_process + "'" + Suggestion(m_process, others);
    return Fail("LogSet::Open(): ", kNameNotFound, Exit::kNotFound, places + ": " + what);
}

bool LogSet::IsWanted(const Watch& watch, const LogName& name) {
    if (!m_process.empty() && !IsSameName(name.process, m_process)) {
        m_others.insert(name.process);
        return false;
    }
    return watch.ofDaysOf.empty() || (name.weekday && IsSameName(name.process, watch.ofDaysOf));
}

/// Under this name or another.
bool LogSet::IsKnown(const fs::path& path) const {
    const auto isAt = [&](const Source& source) { return source.file->Lines().Path() == path; };
    const auto isSame = [&](const Source& source) {
        std::error_code error;
        return fs::equivalent(source.file->Lines().Path(), path, error);
    };
    return std::ranges::any_of(m_sources, isAt) || std::ranges::any_of(m_sources, isSame);
}

/// Adds the logs of a folder that are new.
std::error_code LogSet::Scan(const Watch& watch) {
    std::error_code error;
    std::set<fs::path> paths; // in an order that is the same everywhere
    for (fs::directory_iterator entry(watch.folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        paths.insert(entry->path());
    }
    for (const fs::path& path : paths) {
        std::error_code unknown;
        const std::uintmax_t size = fs::is_regular_file(path, unknown) ? fs::file_size(path, unknown) : 0;
        const auto noLog = m_noLogs.find(path);
        if (size == 0 || unknown || (noLog != m_noLogs.end() && noLog->second == size) || IsKnown(path)) {
            continue;
        }
        const std::optional<bool> isLog = IsLog(path);
        if (isLog) {
            m_unreadable.erase(path);
        }
        if (isLog == false) {
            m_noLogs[path] = size;
        } else if (IsWanted(watch, NameOfLog(path.string()))) {
            if (isLog) {
                Add(path);
            } else {
                m_unreadable.try_emplace(path);
            }
        }
    }
    return error;
}

/// A file that was renamed or copied goes on where it was read to.
void LogSet::Add(const fs::path& path) {
    const auto isOrigin = [&](const Source& source) { return source.file->Lines().StandsIn(path); };
    const auto origin = std::ranges::find_if(m_sources, isOrigin);
    m_sources.push_back(
        {origin == m_sources.end() ? std::make_unique<LogFile>(path, m_bIsFollowed) : origin->file->ContinuedIn(path)});
}

bool LogSet::Next(LogEntry& entry) {
    if (m_queue.empty()) {
        for (std::size_t source = 0; source < m_sources.size(); ++source) {
            Queue(source);
        }
    }
    if (m_queue.empty()) {
        return false;
    }
    std::ranges::pop_heap(m_queue, [this](std::size_t a, std::size_t b) { return IsLater(a, b); });
    const std::size_t source = m_queue.back();
    m_queue.pop_back();
    entry = std::move(m_sources[source].next);
    Queue(source);
    return true;
}

bool LogSet::IsLater(std::size_t a, std::size_t b) const {
    const auto rank = [this](std::size_t source) {
        // At midnight the old day's file has the first word.
        return std::tuple(m_sources[source].next.moment, m_sources[source].file->Date(), source);
    };
    return rank(a) > rank(b);
}

void LogSet::Queue(std::size_t source) {
    if (m_sources[source].file->Next(m_sources[source].next)) {
        m_queue.push_back(source);
        std::ranges::push_heap(m_queue, [this](std::size_t a, std::size_t b) { return IsLater(a, b); });
    }
}

std::vector<std::string> LogSet::Look() {
    std::vector<std::string> news;
    for (const Watch& watch : m_watches) {
        Scan(watch); // a folder that is gone has files that are gone
    }
    for (auto& [path, isTold] : m_unreadable) {
        if (!std::exchange(isTold, true)) {
            news.push_back(path.string() + " cannot be read: trying again");
        }
    }
    for (Source& source : m_sources) {
        LookAt(source, news);
    }
    return news;
}

void LogSet::LookAt(Source& source, std::vector<std::string>& news) {
    LogFile& file = *source.file;
    const GrowingFile::Change change = file.Lines().Look();
    const bool isGone = change == GrowingFile::Change::kGone;
    // Only when it was found so twice is it read anew: in between Scan has found where it was renamed to.
    const bool wasReplaced = std::exchange(source.isReplaced, change == GrowingFile::Change::kReplaced);
    if (isGone && !source.isGone) {
        news.push_back(file.Path() + " is gone: waiting for it");
    }
    if (source.isReplaced && wasReplaced) {
        news.push_back(file.Path() + " was replaced: reading it from its start");
        file.Rewind();
        source.isReplaced = false;
    }
    const bool hasFailed = file.Lines().HasFailed() && !isGone && !source.isReplaced;
    if (hasFailed && !source.hasFailed) {
        news.push_back(file.Path() + " cannot be read: trying again when it changes");
    }
    source.isGone = isGone;
    source.hasFailed = hasFailed;
}

Outcome LogSet::ReadFailure() const {
    const auto failed =
        std::ranges::find_if(m_sources, [](const Source& source) { return source.file->Lines().HasFailed(); });
    if (failed != m_sources.end()) {
        return Unreadable(failed->file->Path());
    }
    return m_unreadable.empty() ? Outcome() : Unreadable(m_unreadable.begin()->first.string());
}

} // namespace apps
