#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "apps/bench/watch_page.h"
#include "apps/job/message_text.h"
#include "apps/support/channel_users.h"
#include "gaizior/errors/error_stack.h"

#include <cstdio>
#include <memory>
#include <utility>

namespace apps {
namespace {

/// Keeps what is known of the channel up to date. It takes part in nothing and sends nothing. For one thread.
class ChannelWatch {
public:
    explicit ChannelWatch(unsigned imagerId) {
        m_watched.imager.id = imagerId;
    }

    /// Looks, unless the look before failed a moment ago. A failure becomes the page's trouble: what ails a channel is
    /// what it is watched for.
    void Look();
    bool Rest(HANDLE hInterrupt) {
        return m_watcher.Rest(hInterrupt);
    }

    const Watched& Now() const {
        return m_watched;
    }
    /// What the last look found.
    /// @{
    const std::string& Takeover() const {
        return m_takeover;
    }
    const std::vector<SeenMessage>& Seen() const {
        return m_seen;
    }
    const std::vector<UserChange>& UserChanges() const {
        return m_userChanges;
    }
    /// @}

private:
    void TakeOver();
    void LookForUsers();
    std::string TroubleOf(const Outcome& failure);

    MessageWatcher m_watcher;
    Watched m_watched;
    std::string m_takeover; ///< empty where the lock's owner had not died
    std::vector<SeenMessage> m_seen;
    std::vector<UserChange> m_userChanges;
    std::string m_damage;                   ///< what the last look found damaged
    std::string m_damageText;               ///< the same with what to do about it
    ULONGLONG m_nNextLook = 0;              ///< not before, as GetTickCount64 counts, which nobody sets back
    ULONGLONG m_nNextUsers = 0;             ///< the same for who is there
    ULONGLONG m_nGood = ::GetTickCount64(); ///< the last time that nobody held the channel up
};

void ChannelWatch::Look() {
    constexpr unsigned long kPatience = 200; // for the lock: keys are to be heard meanwhile
    constexpr ULONGLONG kPeriodInTrouble = 500;
    constexpr ULONGLONG kPeriodOfUsers = 200;
    const ULONGLONG begin = ::GetTickCount64();
    m_watched.now = apps::Now();
    m_takeover.clear();
    m_seen.clear();
    m_userChanges.clear();
    if (begin >= m_nNextLook) {
        const Outcome failure = m_watcher.TakeLook(kPatience);
        m_watched.trouble = TroubleOf(failure);
        if (failure) {
            m_nNextLook = ::GetTickCount64() + kPeriodInTrouble;
            ZRErrorC::ClearStack(); // else it would grow for as long as the trouble lasts
        } else {
            TakeOver();
        }
    }
    if (begin >= m_nNextUsers || !m_seen.empty()) {
        m_nNextUsers = begin + kPeriodOfUsers;
        LookForUsers();
    }
}

void ChannelWatch::TakeOver() {
    m_watched.isThere = m_watcher.IsThere();
    m_takeover = m_watcher.LastLook().takeover;
    if (!m_takeover.empty()) {
        NoteFailure(m_watched, m_takeover);
    }
    m_seen = m_watcher.Seen();
    NoteMessages(m_watched, m_seen);
    if (m_watched.isThere) {
        NoteQueues(m_watched, m_watcher.LastLook(), m_watcher.PostTimes());
    } else {
        m_watched.taken = 0;
        m_watched.queues.clear();
    }
}

/// Who cannot be listed has not therefore left.
void ChannelWatch::LookForUsers() {
    std::vector<ZcUserT> users;
    const ZRErrors::ZRErrorT code = ListUsers(users);
    if (code != ZRErrors::e_General_NoError && !IsAbsent(code)) {
        m_watched.areUsersKnown = false;
        return;
    }
    m_userChanges = ChangesOf(m_watched.users, users);
    m_watched.areUsersKnown = code == ZRErrors::e_General_NoError || !m_watched.isThere;
    NoteUsers(m_watched, std::move(users));
}

std::string ChannelWatch::TroubleOf(const Outcome& failure) {
    constexpr ULONGLONG kTolerated = kLockTimeout; // a lock that is busy for so long is none yet
    const ULONGLONG now = ::GetTickCount64();
    if (failure && failure->code == ZRErrors::e_Command_TimedOut && now - m_nGood < kTolerated) {
        return {};
    }
    if (failure) {
        return failure->text;
    }
    m_nGood = now;
    const std::string damage = m_watcher.IsThere() ? m_watcher.LastLook().findings.szDamage : "";
    if (damage != m_damage) { // told and logged once, not with every look
        m_damage = damage;
        const Outcome found = damage.empty() ? Outcome() : DamageFailure("TroubleOf(): ", m_watcher.LastLook());
        m_damageText = found ? found->text : "";
        ZRErrorC::ClearStack();
    }
    return m_damageText;
}

bool IsOver(const LiveOptions& options, ULONGLONG begin) {
    return options.seconds > 0 && static_cast<double>(::GetTickCount64() - begin) >= options.seconds * 1000;
}

void ShowPages(const LiveOptions& options, const Interrupt& interrupt) {
    const ULONGLONG begin = ::GetTickCount64();
    const auto watch = std::make_unique<ChannelWatch>(options.id);
    Screen screen;
    const bool hasUtf8 = HasUtf8();
    constexpr ULONGLONG kPeriod = 50;
    ULONGLONG nextPage = 0;
    for (char key = 0; key != 'q' && key != 'Q' && !IsOver(options, begin); key = screen.NextKey()) {
        watch->Look();
        if (const ULONGLONG now = ::GetTickCount64(); now >= nextPage) {
            nextPage = now + kPeriod;
            const TerminalSize size = SizeOf(Stream::kOutput);
            screen.Show(ComposePage(watch->Now(), {size.columns, size.rows, hasUtf8}));
        }
        if (watch->Rest(interrupt.Event())) {
            break;
        }
    }
}

JsonObject Timed(long long time, const char* event, unsigned id) {
    JsonObject line;
    line.TextOrNull("time", time != 0 ? ExactTimeText(time) : "");
    return line.Text("event", event).Number("id", id);
}

std::string ChangeAsJson(const UserChange& change, long long time) {
    JsonObject line = Timed(time, change.event, change.user.nID);
    line.Number("process", change.user.nProcess).Text("program", change.user.szProgram);
    return line.Null("words").Null("text").Json();
}

std::string ChangeText(const UserChange& change) {
    const std::string id = std::to_string(change.user.nID);
    const std::string_view event = change.event;
    const std::string what = event == "opened"    ? "opened the channel as "
                             : event == "closed"  ? "closed the channel, in which it was "
                             : event == "stopped" ? "was stopped by a signal, as "
                             : event == "gone"    ? "is gone without closing the channel, in which it was "
                                                  : "goes on as ";
    return Printable(change.user.szProgram) + " (process " + std::to_string(change.user.nProcess) + ") " + what + id;
}

std::string MessageAsJson(const SeenMessage& seen) {
    JsonObject line = Timed(seen.time, seen.event == MessageEvent::kSent ? "sent" : "waiting", seen.id);
    line.Null("process").Null("program");
    return line.TextOrNull("words", MessageText(seen.text)).Text("text", seen.text).Json();
}

std::string Timed(long long time, const std::string& text) {
    constexpr std::size_t kWidth = 27; // "2026-11-22 14:03:07 +0000  "
    return Padded(time != 0 ? TimeText(time, kTimeForPeople) : "time unknown", kWidth) + text;
}

/// What the last look found, a line each.
void PrintLines(const ChannelWatch& watch, bool json) {
    const auto print = [](const std::string& line) { std::printf("%s\n", line.c_str()); };
    for (const UserChange& change : watch.UserChanges()) {
        const bool isOpening = change.event == std::string_view("opened");
        const long long time = isOpening ? change.user.nSince : watch.Now().now;
        print(json ? ChangeAsJson(change, time) : Timed(time, ChangeText(change)));
    }
    for (const SeenMessage& seen : watch.Seen()) {
        if (seen.event != MessageEvent::kTaken) {
            print(json ? MessageAsJson(seen) : Timed(seen.time, Noted(seen).text));
        }
    }
    std::fflush(stdout);
}

void PrintAll(const LiveOptions& options, const Interrupt& interrupt) {
    const ULONGLONG begin = ::GetTickCount64();
    const auto watch = std::make_unique<ChannelWatch>(options.id);
    std::string told;
    const auto tell = [](const std::string& text) {
        if (!text.empty()) {
            std::fprintf(stderr, "bench: %s\n", text.c_str());
            std::fflush(stderr);
        }
    };
    do {
        watch->Look();
        const std::string trouble = TroubleText(watch->Now());
        tell(watch->Takeover());
        tell(trouble != told ? trouble : "");
        told = trouble;
        PrintLines(*watch, options.json);
    } while (!IsOver(options, begin) && !watch->Rest(interrupt.Event()));
}

} // namespace

Outcome LiveCommand(const LiveOptions& options, const Interrupt& interrupt) {
    // Pages, JSON and log lines do not go together.
    if (HasScreen() && !options.json && !options.verbose) {
        ShowPages(options, interrupt);
    } else {
        PrintAll(options, interrupt);
    }
    return std::nullopt;
}

} // namespace apps
