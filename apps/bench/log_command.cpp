#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "apps/log/log_set.h"
#include "apps/support/places.h"
#include "gaizior/values/ascii.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <limits>

namespace apps {
namespace {

/// Which entries are wanted.
class Filter {
public:
    Outcome Read(const LogOptions& options) {
        m_level = options.level;
        m_text = options.grep;
        Outcome failure = ReadTime("--since", options.since, m_since);
        return failure ? failure : ReadTime("--until", options.until, m_until);
    }
    /// An entry whose time is not known lies before every --since.
    bool Passes(const LogEntry& entry) const {
        return entry.moment >= m_since && entry.moment <= m_until &&
               (!entry.hasTag || m_level < 0 || entry.tag.level <= static_cast<unsigned>(m_level)) &&
               HasText(entry.text);
    }

private:
    static Outcome ReadTime(const char* option, const std::string& text, long long& moment) {
        const auto read = text.empty() ? std::optional(moment) : ReadMoment(text, Now());
        if (!read) {
            return Fail("LogCommand(): ", kInvalidParameter, Exit::kUsage,
                        std::string(option) + ": '" + text + "' is no time: write " + kMomentExamples);
        }
        moment = *read;
        return std::nullopt;
    }
    bool HasText(std::string_view text) const {
        const auto isSame = [](char a, char b) { return gaizior::ToLowerAscii(a) == gaizior::ToLowerAscii(b); };
        return m_text.empty() ||
               std::search(text.begin(), text.end(), m_text.begin(), m_text.end(), isSame) != text.end();
    }

    int m_level = -1;
    std::string m_text;
    long long m_since = std::numeric_limits<long long>::min();
    long long m_until = std::numeric_limits<long long>::max();
};

std::string Clock(const LogTag& tag) {
    char text[64];
    std::snprintf(text, sizeof(text), "%02d:%02d:%02d.%03d", tag.time / kHour % 24, tag.time / kMinute % 60,
                  tag.time / kSecond % 60, tag.time % kSecond);
    return text;
}

std::string Date(Day day) {
    const std::chrono::year_month_day date{day};
    char text[64];
    std::snprintf(text, sizeof(text), "%04d-%02u-%02u", int{date.year()}, unsigned{date.month()}, unsigned{date.day()});
    return text;
}

/// The lines of an entry, fit for a terminal.
std::string Lines(std::string_view text) {
    std::string lines;
    for (bool isFirst = true; isFirst || !text.empty(); isFirst = false) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        std::string spaced(line);
        std::ranges::replace(spaced, '\t', ' ');
        lines += (isFirst ? "" : "\n") + Printable(spaced);
    }
    return lines;
}

bool IsError(std::string_view text) {
    constexpr std::string_view kErrorMark = " ERROR: ";
    return text.starts_with(kErrorMark) || text.starts_with(kErrorMark.substr(1));
}

/// What explains itself step by step is faint, what stops the machine is not.
std::string PaintedEntry(const LogEntry& entry, const std::string& head) {
    constexpr unsigned kSteps = 5;
    std::string text = Lines(entry.text);
    if (!entry.hasTag || entry.isContinued) {
        return text;
    }
    if (entry.tag.level >= kSteps) {
        return Painted(Stream::kOutput, Colour::kFaint, head + std::to_string(entry.tag.level) + " " + text);
    }
    const Colour colour = entry.tag.level == 0 ? Colour::kBad : entry.tag.level == 1 ? Colour::kNotice : Colour::kGood;
    return head + Painted(Stream::kOutput, colour, std::to_string(entry.tag.level)) + " " +
           (IsError(entry.text) ? Painted(Stream::kOutput, Colour::kBad, text) : text);
}

void PrintText(const LogEntry& entry) {
    char thread[32];
    std::snprintf(thread, sizeof(thread), " 0x%04x ", unsigned{entry.tag.thread});
    const std::string head =
        Date(entry.day) + " " + Clock(entry.tag) + " " + Printable(entry.file->Name().process) + thread;
    std::printf("%s\n", PaintedEntry(entry, head).c_str());
}

void PrintJson(const LogEntry& entry) {
    JsonObject line;
    if (entry.hasTag) {
        line.Text("time", ExactTimeText(entry.moment));
    } else {
        line.Null("time");
    }
    line.Text("process", entry.file->Name().process).Text("file", entry.file->Path());
    if (entry.hasTag) {
        line.Number("level", entry.tag.level).Number("thread", entry.tag.thread).Number("priority", entry.tag.priority);
    } else {
        line.Null("level").Null("thread").Null("priority");
    }
    line.Bool("continued", entry.isContinued).Text("text", entry.text);
    std::printf("%s\n", line.Json().c_str());
}

void Print(const LogEntry& entry, bool json) {
    json ? PrintJson(entry) : PrintText(entry);
}

void Tell(const std::string& news) {
    std::fprintf(stderr, "bench: %s\n", Printable(news).c_str());
    std::fflush(stderr);
}

Outcome PrintAll(LogSet& logs, const Filter& filter, bool json, const Interrupt& interrupt) {
    LogEntry entry;
    while (logs.Next(entry) && std::ferror(stdout) == 0) {
        if (filter.Passes(entry)) {
            Print(entry, json);
        }
        if (interrupt.IsSet()) {
            return Fail("LogCommand(): ", kUserAborted, Exit::kFailed, "interrupted: there is more to tell");
        }
    }
    return logs.ReadFailure();
}

/// Prints what has come, of what stands there already only the last entries unless `all`.
void PrintNew(LogSet& logs, const Filter& filter, const LogOptions& options, bool all) {
    constexpr std::size_t kEntriesBefore = 10;
    std::deque<LogEntry> last;
    for (LogEntry entry; logs.Next(entry);) {
        if (!filter.Passes(entry)) {
            continue;
        }
        if (all) {
            Print(entry, options.json);
            continue;
        }
        last.push_back(std::move(entry));
        if (last.size() > kEntriesBefore) {
            last.pop_front();
        }
    }
    for (const LogEntry& entry : last) {
        Print(entry, options.json);
    }
    std::fflush(stdout);
}

/// @returns when Ctrl-C is pressed, or nobody reads any more.
void Follow(LogSet& logs, const Filter& filter, const LogOptions& options, const Interrupt& interrupt) {
    constexpr DWORD kPeriod = 200;
    if (logs.IsEmpty()) {
        Tell("there is no log yet, waiting for one");
    }
    PrintNew(logs, filter, options, !options.since.empty());
    while (std::ferror(stdout) == 0 && !interrupt.SleepUnlessSet(kPeriod)) {
        for (const std::string& news : logs.Look()) {
            Tell(news);
        }
        PrintNew(logs, filter, options, true);
    }
}

} // namespace

Outcome LogCommand(const LogOptions& options, const Interrupt& interrupt) {
    if (options.follow && !options.until.empty()) {
        return Fail("LogCommand(): ", kInvalidParameter, Exit::kUsage,
                    "--follow waits for what is still to come, --until has an end: leave one of them out");
    }
    Filter filter;
    if (Outcome failure = filter.Read(options)) {
        return failure;
    }
    LogSet logs(options.process, options.follow);
    if (Outcome failure = options.paths.empty() ? logs.OpenThoseThatAreThere(LogFolders()) : logs.Open(options.paths)) {
        return failure;
    }
    if (!options.follow) {
        return PrintAll(logs, filter, options.json, interrupt);
    }
    Follow(logs, filter, options, interrupt);
    return std::nullopt;
}

} // namespace apps
