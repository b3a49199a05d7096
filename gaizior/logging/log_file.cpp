#include "gaizior/logging/log_file.h"

#include "gaizior/errors/error_text_format.h"
#include "gaizior/errors/folded_code.h"
#include "gaizior/logging/hook_call.h"
#include "gaizior/logging/log_tag.h"
#include "gaizior/logging/log_utils.h"
#include "gaizior/platform/files.h"
#include "gaizior/platform/fork.h"
#include "gaizior/platform/line_end.h"
#include "gaizior/platform/message_box.h"
#include "gaizior/platform/mutex.h"
#include "gaizior/platform/timing.h"

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace {

using gaizior::FileStatus;
using gaizior::LocalNow;
using gaizior::Mutex;
using gaizior::MutexLock;

constexpr DWORD kMutexTimeout = 60'000; // ms
constexpr UINT kSystemModal = 0x1000;   // MB_SYSTEMMODAL
constexpr std::size_t kTagSize = 64;    // of most
constexpr const char* kFailedToOpen = "Failed to open:";
constexpr const char* kFailedToWrite = "Failed to write to:";
constexpr std::string_view kRule = "****************************************************************\n";

bool IsSameDay(const SYSTEMTIME& one, const SYSTEMTIME& other) {
    return one.wDay == other.wDay && one.wMonth == other.wMonth && one.wYear == other.wYear;
}

/// "imager_Mon.log" for "imager.log".
std::string DailyName(std::string_view root, const char* day) {
    const std::size_t base = root.find_last_of("\\/") + 1;
    const std::size_t stop = root.find('.', base);
    const std::string_view ending = stop == std::string_view::npos ? std::string_view(".txt") : root.substr(stop);
    return std::string(root.substr(0, stop)).append("_").append(day).append(ending);
}

/// How far the log of one name has come. Only who writes lines looks at it, under the mutex of lines.
struct Progress {
    std::string begunFile;             // has this run's header, and is still there; empty: none
    std::string continued;             // the name before the day changed; told in the next header
    bool wasDeleted = false;           // since there was a header; told in the next one
    bool hadHeader = false;            // ever
    std::array<SYSTEMTIME, 7> begun{}; // when the file of each day of the week got its last header
};

/// Where lines go.
struct LogTarget {
    LogTarget(const char* name, bool deletesOld, bool hasDays)
        : root(name), autoDelete(deletesOld), daily(hasDays), day(LocalNow()) {
        for (std::size_t i = 0; i < names.size(); ++i) {
            names[i] = daily ? DailyName(root, DayOfWeek[i]) : root;
        }
    }
    const std::string& Name() const {
        return names[day.wDayOfWeek];
    }
    bool HasHeader() const {
        return progress->begunFile == Name();
    }

    const std::string root;
    const bool autoDelete;
    const bool daily;
    std::array<std::string, 7> names; // for each day of the week; they never change

    /// Whose name the file has. Changed by who writes lines alone, and under the lock, for others read it.
    SYSTEMTIME day;
    std::shared_ptr<Progress> progress = std::make_shared<Progress>();
};

/// Guards which target there is. Nobody waits under it, for a file neither: it is taken by fork(). Never destroyed, as
/// lines come from static destructors too.
struct LogState {
    Mutex lock;
    std::shared_ptr<LogTarget> target GAIZIOR_GUARDED_BY(lock);
    bool autoDelete GAIZIOR_GUARDED_BY(lock) = false; // what the last name was set with, also when that was none
    bool daily GAIZIOR_GUARDED_BY(lock) = false;
};

LogState& State() {
    static LogState& state = *new LogState;
    return state;
}
const gaizior::KeepAcrossFork g_keepLock(State().lock);

constinit std::atomic<bool> g_hasTarget{false}; // for a look without the lock
constinit std::atomic<unsigned> g_level{1};
constinit std::atomic<bool> g_teeCerr{true};
constinit std::atomic<bool> g_tagLog{true};
constinit std::atomic<bool> g_tagLogShowDate{false};
constinit std::atomic<ZRLogFileC*> g_headerSource{nullptr};
constinit std::atomic<HANDLE> g_mutex{nullptr}; // held while a line is written; never closed

template <class... Pieces>
void Tell(const Pieces*... pieces) {
    (gaizior::PrintToStandardError(pieces), ...);
    gaizior::PrintToStandardError("\n");
}

void TellFile(const char* what, const std::string& name) {
    Tell("ZRLogFileC::WriteToFile", what, name.c_str());
}

std::shared_ptr<LogTarget> Target() {
    LogState& state = State();
    const MutexLock lock(state.lock);
    return state.target;
}

std::string CurrentName() {
    LogState& state = State();
    const MutexLock lock(state.lock);
    return state.target ? state.target->Name() : std::string();
}

/// Lets lines go to `target`; the file that is written already goes on, for who is just writing to it too.
/// @param target null: they go nowhere.
void SetTarget(LogState& state, std::shared_ptr<LogTarget> target) GAIZIOR_REQUIRES(state.lock) {
    const LogTarget* const old = state.target.get();
    if (target && old && target->Name() == old->Name()) {
        target->progress = old->progress;
        target->day = old->daily ? old->day : target->day; // last week's file is still to be left
    }
    g_hasTarget = target != nullptr;
    state.target.swap(target);
}

void MakeMutex() {
    if (!g_mutex.load()) {
        const HANDLE mutex = ::CreateMutexA(nullptr, FALSE, nullptr);
        HANDLE none = nullptr;
        if (mutex && !g_mutex.compare_exchange_strong(none, mutex)) {
            ::CloseHandle(mutex);
        }
    }
}

/// Holds the mutex of lines while it lives, if that could be had.
class LogMutexUser {
public:
    LogMutexUser() {
        const DWORD waited = m_hMutex ? gaizior::WaitFor(m_hMutex, kMutexTimeout) : WAIT_OBJECT_0;
        m_bIsIn = waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED;
        if (!m_bIsIn) {
            TellWhy(waited);
        }
    }
    LogMutexUser(const LogMutexUser&) = delete;
    LogMutexUser& operator=(const LogMutexUser&) = delete;
    ~LogMutexUser() {
        if (m_bIsIn && m_hMutex) {
            ::ReleaseMutex(m_hMutex);
        }
    }
    explicit operator bool() const {
        return m_bIsIn;
    }

private:
    static void TellWhy(DWORD waited) {
        if (waited == WAIT_TIMEOUT) {
            Tell("ZRLogFileC::DebugOut: ERROR: Timed out waitng for logfile mutex on:", CurrentName().c_str());
        } else {
            std::array<char, gaizior::kErrorTextSize> text;
            gaizior::FormatErrorText(gaizior::LastSystemError(), text);
            Tell("ZRLogFileC::DebugOut: ERROR:  waiting for logfile mutex: ", text.data());
        }
    }

    const HANDLE m_hMutex = g_mutex.load();
    bool m_bIsIn;
};

bool IsMissing(DWORD error) {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

bool IsOfAnotherDay(const FileStatus& status) {
    const FILETIME now = gaizior::UtcNow();
    SYSTEMTIME written{}, today{};
    return ::FileTimeToSystemTime(&status.lastWrite, &written) && ::FileTimeToSystemTime(&now, &today) &&
           !IsSameDay(written, today);
}

/// Deletes the file that another run, or last week, has left under the name.
void DeleteLog(const LogTarget& target, const std::string& name) {
    const bool isDone =
        target.daily ? gaizior::RemoveFileIf(name.c_str(), &IsOfAnotherDay) : gaizior::RemoveFile(name.c_str());
    if (!isDone && !IsMissing(::GetLastError())) {
        const bool isOpening = target.daily && !gaizior::File::OpenToRead(name.c_str());
        Tell("ZRLogFileC::DeleteLog: ERROR: ", isOpening ? "opening file" : "deleting file");
    }
}

constinit bool g_isAsking = false; // under the mutex of lines

/// While it lives the header's extra line is asked for: a line of who is asked must not begin the file again.
struct Asking {
    Asking() {
        g_isAsking = true;
    }
    Asking(const Asking&) = delete;
    Asking& operator=(const Asking&) = delete;
    ~Asking() {
        g_isAsking = false;
    }
};

} // namespace

namespace gaizior {

/// A line on its way to the file; made under the mutex. Nothing here logs.
class LogLine {
public:
    LogLine(LogTarget& target, unsigned level, const char* text)
        : m_target(target), m_nLevel(level), m_text(text), m_file(File::OpenExistingToAppend(target.Name().c_str())) {
        if (!m_file && IsMissing(::GetLastError()) && target.HasHeader()) {
            m_progress.wasDeleted = true;
            m_progress.begunFile.clear();
        }
    }

    void Write() {
        if (!m_target.HasHeader() || HasDayChanged()) {
            BeginFile();
        }
        if (!m_file) {
            TellFile(kFailedToOpen, m_target.Name());
            return;
        }
        const bool beginsFile = !m_target.HasHeader();
        if (beginsFile) {
            AddHeader();
        }
        m_bytes.reserve(m_bytes.size() + kTagSize + m_text.size());
        AddTagged({m_text});
        if (Send(m_text.data()) && beginsFile) {
            m_progress.hadHeader = true;
            m_progress.begun[m_now.wDayOfWeek] = m_now;
            m_progress.continued.clear();
            m_progress.wasDeleted = false;
            m_progress.begunFile = m_target.Name();
        }
    }

private:
    bool HasDayChanged() const {
        return m_target.daily && !IsSameDay(m_target.day, m_now);
    }

    /// Whether the file of today was begun by this run, and stays.
    bool IsOurs() const {
        return m_target.daily ? IsSameDay(m_progress.begun[m_now.wDayOfWeek], m_now) : m_progress.hadHeader;
    }

    /// Opens the file that the line is to be the first of.
    void BeginFile() {
        const std::string& name = HasDayChanged() ? m_target.names[m_now.wDayOfWeek] : m_target.Name();
        m_file = File(); // while anybody has it open its name may stay
        if (m_target.autoDelete && !IsOurs()) {
            DeleteLog(m_target, name); // a week off it is the old one: the next line would make it look young
        }
        if (HasDayChanged()) {
            LeaveDay(name);
        }
        m_file = File::OpenToAppend(name.c_str());
    }

    /// Has the day's last line say where the log goes on, unless that has just been deleted.
    void LeaveDay(const std::string& newName) {
        if (m_target.HasHeader()) {
            m_file = File::OpenExistingToAppend(m_target.Name().c_str());
            if (m_file) {
                const std::string line = "Log file day has changed: switching to: " + newName + '\n';
                AddTagged({line});
                Send(line.c_str());
                m_file = File();
            } else if (!IsMissing(::GetLastError())) {
                TellFile(kFailedToOpen, m_target.Name());
            }
            m_progress.continued = m_target.Name();
            m_progress.begunFile.clear();
        }
        const MutexLock lock(State().lock);
        m_target.day = m_now;
    }

    void AddHeader() {
        std::string date;
        AppendDateStamp(date, m_now);
        AddTagged({kRule});
        AddTagged({"** ", m_target.Name(), " Created on:", date, "\n"});
        AddTagged({"** ", ExtraHeaderInfo(), "\n"});
        AddTagged({kRule});
        if (m_progress.wasDeleted) {
            AddTagged({"Previous log file was deleted during this session\n"});
        }
        if (!m_progress.continued.empty()) {
            AddTagged({"Log output continuing from: ", m_progress.continued, "\n"});
        }
        m_bytes += "TagFields:\nTimeStamp Level Thread ThreadPriority Message\n";
    }

    static std::string_view ExtraHeaderInfo() {
        ZRLogFileC* const source = g_headerSource.load();
        if (!source) {
            return "No extra header info function defined.";
        }
        const Asking asking;
        const char* const text = source->GetExtraHeaderInfo();
        return text ? text : "No extra header info available.";
    }

    void AddTagged(std::initializer_list<std::string_view> pieces) {
        if (g_tagLog.load(std::memory_order_relaxed)) {
            AppendTag(m_bytes, m_nLevel, m_now, g_tagLogShowDate.load(std::memory_order_relaxed));
        }
        for (const std::string_view piece : pieces) {
            m_bytes += piece;
        }
    }

    /// Writes in one piece what has been added. @param text what standard error gets of it.
    bool Send(const char* text) {
        if constexpr (kLineEnd != kUnixLineEnd) {
            m_bytes = ReplaceLineEnds(m_bytes, kUnixLineEnd, kLineEnd);
        }
        const bool succeeded = m_file.Write(m_bytes);
        m_bytes.clear();
        if (g_teeCerr.load(std::memory_order_relaxed)) {
            PrintToStandardError(text);
        }
        if (!succeeded) {
            TellFile(kFailedToWrite, m_target.Name());
        }
        return succeeded;
    }

    LogTarget& m_target;
    Progress& m_progress = *m_target.progress; // kept by the target, whatever the next one shares
    const unsigned m_nLevel;
    const std::string_view m_text; // ends with a NUL
    const SYSTEMTIME m_now = LocalNow();
    File m_file;
    std::string m_bytes;
};

} // namespace gaizior

namespace {

/// Under the mutex.
void WriteLine(unsigned level, const char* text) {
    if (g_isAsking) {
        gaizior::PrintToStandardError(text);
    } else if (const auto target = Target()) {
        try {
            gaizior::LogLine(*target, level, text).Write();
        } catch (...) { // no memory, or the host's header threw
            TellFile(kFailedToWrite, target->Name());
        }
    }
}

void Install(bool teeCerr) {
    ZRLogStreamC::SetDBGetLevelFn(&ZRLogFileC::GetDebugLevel, g_level); // lines that do not pass ask no function
    MakeMutex();
    g_teeCerr = teeCerr;
}

void ShowBoxes(unsigned level, int mode, char* text) {
    if ((mode & 2) != 0) {
        ZRLogFileC::WriteToImmediate(level, text);
    }
    if ((mode & 4) != 0) {
        ZRLogFileC::WriteToSystem(level, text);
    }
    if ((mode & 8) != 0) {
        ZRLogFileC::WriteToUser(level, text);
    }
}

} // namespace

ZRLogFileC::ZRLogFileC(bool teeCerr) : m_log(&DebugOut, &SetLogName, &SetDebugLevel, &GetDebugLevel) {
    Install(teeCerr);
    g_headerSource = this;
}

ZRLogFileC::ZRLogFileC(const char* const name, bool autoDelete, bool daily, bool teeCerr)
    : m_log(&DebugOut, &SetLogName, &SetDebugLevel, &GetDebugLevel) {
    Install(teeCerr);
    SetName(name, autoDelete, daily);
}

ZRLogFileC::~ZRLogFileC() {
    const LogMutexUser user;
    ZRLogFileC* self = this;
    g_headerSource.compare_exchange_strong(self, nullptr);
    LogState& state = State();
    const MutexLock lock(state.lock);
    SetTarget(state, nullptr);
}

void ZRLogFileC::SetName(const char* const name, bool autoDelete, bool daily) {
    MakeMutex();
    auto target = name ? std::make_shared<LogTarget>(name, autoDelete, daily) : nullptr;
    LogState& state = State();
    const MutexLock lock(state.lock);
    state.autoDelete = autoDelete;
    state.daily = daily;
    SetTarget(state, std::move(target));
}

void ZRLogFileC::SetLogName(char* name) {
    LogState& state = State();
    bool autoDelete = false, daily = false;
    std::shared_ptr<LogTarget> before;
    {
        const MutexLock lock(state.lock);
        autoDelete = state.autoDelete;
        daily = state.daily;
        before = state.target;
    }
    if (name || before) {
        SetName(name ? name : before->root.c_str(), autoDelete, daily);
    }
}

const char* ZRLogFileC::GetLogName() {
    LogState& state = State();
    const MutexLock lock(state.lock);
    return state.target ? state.target->Name().c_str() : nullptr;
}

unsigned ZRLogFileC::GetDebugLevel() {
    return g_level.load(std::memory_order_relaxed);
}

void ZRLogFileC::SetDebugLevel(unsigned level) {
    g_level = level;
}

void ZRLogFileC::SetTeeCerr(bool isOn) {
    g_teeCerr = isOn;
}

void ZRLogFileC::SetTagLog(bool isOn) {
    g_tagLog = isOn;
}

void ZRLogFileC::SetTagLogShowDate(bool isOn) {
    g_tagLogShowDate = isOn;
}

void ZRLogFileC::DebugOut(unsigned level, int mode, char* text) {
    if (!text || !g_hasTarget.load(std::memory_order_relaxed)) {
        return;
    }
    {
        const LogMutexUser user;
        if (!user) {
            return;
        }
        if ((mode & 1) != 0) {
            WriteLine(level, text);
        }
        if constexpr (gaizior::kBoxesHoldLocks) {
            ShowBoxes(level, mode, text);
        }
    }
    if constexpr (!gaizior::kBoxesHoldLocks) {
        ShowBoxes(level, mode, text);
    }
}

void ZRLogFileC::WriteToFile(unsigned level, char* text) {
    DebugOut(level, 1, text);
}

void ZRLogFileC::WriteToImmediate(unsigned /*level*/, char* text) {
    ::MessageBoxA(nullptr, text, "ZRLogFileC::WriteToImmediate", MB_OK);
}

void ZRLogFileC::WriteToUser(unsigned /*level*/, char* text) {
    ::MessageBoxA(nullptr, text, "ZRLogFileC::WriteToUser", MB_OK);
}

void ZRLogFileC::WriteToSystem(unsigned /*level*/, char* text) {
    ::MessageBoxA(nullptr, text, "ZRLogFileC::WriteToSystem", kSystemModal | MB_ICONSTOP);
}

std::ostream& ZRLogFileC::TagLog(std::ostream& stream, unsigned level) {
    if (g_tagLog) {
        std::string tag;
        gaizior::AppendTag(tag, level, LocalNow(), g_tagLogShowDate);
        stream.write(tag.data(), static_cast<std::streamsize>(tag.size()));
    }
    return stream;
}

const char* ZRLogFileC::GetExtraHeaderInfo() {
    return nullptr;
}
