#include "apps/bench/channel_look.h"
#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "apps/support/channel_id.h"
#include "apps/support/channel_users.h"
#include "gaizior/comms/channel.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <numeric>

namespace apps {
namespace {

constexpr const char* kFunction = "WhoCommand(): ";
constexpr std::size_t kGap = 2; // blanks between columns

/// An ID that somebody has, or for which messages wait.
struct Row {
    unsigned id = 0;
    std::optional<ZcUserT> user; ///< nothing where nobody has the ID, or it is not known who
    bool isInUse = false;        ///< somebody has it, known or not
    unsigned unread = 0;
};

struct Answer {
    std::vector<Row> rows;
    bool areUsersKnown = false;
    bool areMessagesKnown = false;
};

bool IsWaiting(const ZcUserT& user) {
    return user.nState == kZcUserRuns && user.nWaitingSince != 0;
}

/// The state in one word, for programs.
const char* StateName(const Row& row) {
    if (!row.user) {
        return row.isInUse ? "unknown" : "nobody";
    }
    switch (row.user->nState) {
    case kZcUserGone:
        return "gone";
    case kZcUserStopped:
        return "stopped";
    default:
        return IsWaiting(*row.user) ? "waiting" : "runs";
    }
}

/// The state as people read it.
std::string StateText(const Row& row) {
    if (!row.user) {
        return row.isInUse ? "in use, not known by whom" : "nobody has it";
    }
    if (row.user->nState == kZcUserStopped) {
        return "stopped by a signal";
    }
    return IsWaiting(*row.user) ? "waits for the lock, " + Span(std::max(Now() - row.user->nWaitingSince, 0LL))
                                : StateName(row);
}

bool IsBad(const Row& row) {
    return !row.isInUse || (row.user && (row.user->nState != kZcUserRuns || IsWaiting(*row.user)));
}

/// One row for each user, and one for each other ID with messages; by ID.
std::vector<Row> RowsOf(const std::vector<ZcUserT>& users, std::map<unsigned, unsigned> unread) {
    std::vector<Row> rows;
    rows.reserve(users.size() + unread.size());
    for (const ZcUserT& user : users) {
        rows.push_back({user.nID, user, user.nState != kZcUserGone, unread[user.nID]});
    }
    for (const auto& [id, count] : unread) {
        if (count > 0 && std::ranges::find(users, id, &ZcUserT::nID) == users.end()) {
            rows.push_back({id, std::nullopt, IsIdInUse(static_cast<std::uint16_t>(id)), count});
        }
    }
    std::ranges::stable_sort(rows, {}, &Row::id);
    return rows;
}

/// The users first: they are known also where the lock is held.
Outcome Ask(Answer& answer) {
    constexpr unsigned long kPatience = 500;
    std::vector<ZcUserT> users;
    const ZRErrors::ZRErrorT code = ListUsers(users);
    answer.areUsersKnown = code == ZRErrors::e_General_NoError;
    const bool isMissing = IsAbsent(code);
    const std::string cause = isMissing || answer.areUsersKnown ? "" : LedgerCause();
    const auto block = std::make_unique<ZcChannel>();
    const ZRErrors::ZRErrorT looked = ZcSnapshot(block.get(), kPatience);
    if (IsAbsent(looked) &&
        std::ranges::all_of(users, [](const ZcUserT& user) { return user.nState == kZcUserGone; })) {
        return CannotRead(kFunction, looked);
    }
    answer.areMessagesKnown = looked == ZRErrors::e_General_NoError;
    if (!answer.areMessagesKnown && looked != ZRErrors::e_Command_TimedOut) {
        return CannotRead(kFunction, looked);
    }
    if (!answer.areUsersKnown) {
        std::fprintf(stderr, "bench: who has the channel open is not known: %s\n",
                     isMissing ? "only processes of an older version use it" : cause.c_str());
    }
    if (!answer.areMessagesKnown) {
        std::fputs(
            "bench: the messages cannot be counted while the channel is locked: 'bench channel doctor' tells who "
            "holds the lock\n",
            stderr);
    }
    answer.rows = RowsOf(users, answer.areMessagesKnown ? CountById(*block) : std::map<unsigned, unsigned>());
    return std::nullopt;
}

std::string TimeOrNull(long long moment) {
    return moment == 0 ? "" : TimeText(moment, kTimeForPrograms);
}

std::string AnswerAsJson(const Answer& answer) {
    JsonArray ids;
    for (const Row& row : answer.rows) {
        const ZcUserT user = row.user.value_or(ZcUserT{});
        JsonObject object;
        object.Number("id", row.id);
        row.user ? object.Number("process", user.nProcess) : object.Null("process");
        object.TextOrNull("program", user.szProgram).TextOrNull("user", user.szUser);
        object.TextOrNull("since", TimeOrNull(user.nSince)).Text("state", StateName(row));
        object.TextOrNull("waitingSince", TimeOrNull(user.nWaitingSince));
        answer.areMessagesKnown ? object.Number("unread", row.unread) : object.Null("unread");
        ids.Add(object.Json());
    }
    return JsonObject().Bool("usersKnown", answer.areUsersKnown).Value("ids", ids.Json()).Json();
}

/// Local time, and before it the date where it is not today's.
std::string SinceText(const Row& row) {
    if (!row.user || row.user->nSince == 0) {
        return "";
    }
    constexpr std::size_t kDate = 11; // "2026-11-22 "
    const std::string moment = TimeText(row.user->nSince, kTimeForPeople);
    return moment.substr(0, kDate) == TimeText(Now(), kTimeForPeople).substr(0, kDate) ? moment.substr(kDate) : moment;
}

std::string PaintedState(const Row& row, const std::string& text) {
    return Painted(Stream::kOutput, IsBad(row) ? Colour::kBad : Colour::kGood, text);
}

enum Cell { kId, kUnread, kProcess, kProgram, kUser, kSince, kState, kCells };
using Cells = std::array<std::string, kCells>;

Cells CellsOf(const Answer& answer, const Row& row) {
    const ZcUserT user = row.user.value_or(ZcUserT{});
    return {std::to_string(row.id),
            answer.areMessagesKnown ? std::to_string(row.unread) : "?",
            row.user ? std::to_string(user.nProcess) : "",
            Printable(user.szProgram),
            Printable(user.szUser),
            SinceText(row),
            StateText(row)};
}

/// The width that each column needs.
std::array<std::size_t, kCells> WidthsOf(const std::vector<Cells>& lines) {
    std::array<std::size_t, kCells> widths{};
    for (const Cells& cells : lines) {
        for (std::size_t i = 0; i < kCells; ++i) {
            widths[i] = std::max(widths[i], Characters(cells[i]));
        }
    }
    return widths;
}

/// Numbers to the right, texts to the left, the state in its colour.
void PrintTable(const std::vector<Cells>& lines, const std::array<std::size_t, kCells>& widths,
                const std::vector<Row>& rows) {
    for (std::size_t line = 0; line < lines.size(); ++line) {
        const Cells& cells = lines[line];
        std::string text;
        for (std::size_t i = 0; i < kState; ++i) {
            const std::string margin(i <= kProcess ? widths[i] - Characters(cells[i]) : 0, ' ');
            text += Padded(margin + cells[i], widths[i] + kGap);
        }
        text += line == 0 ? cells[kState] : PaintedState(rows[line - 1], cells[kState]);
        std::printf("%s\n", text.c_str());
    }
}

/// Three lines for each ID, for a terminal without room for the table.
void PrintList(const std::vector<Cells>& lines, const std::vector<Row>& rows, std::size_t columns) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Cells& cells = lines[i + 1];
        const std::string user = cells[kUser].empty() ? "" : ", " + cells[kUser];
        const std::string who = rows[i].user ? ": " + cells[kProgram] + ", process " + cells[kProcess] + user : "";
        const std::string since = cells[kSince].empty() ? "" : ", since " + cells[kSince];
        std::printf("%s\n", Shortened("ID " + cells[kId] + who, columns).c_str());
        std::printf("%s\n", PaintedState(rows[i], Shortened("  " + cells[kState], columns)).c_str());
        std::printf("%s\n", Shortened("  " + cells[kUnread] + " unread" + since, columns).c_str());
    }
}

void Print(const Answer& answer) {
    std::vector<Cells> lines{{"ID", "unread", "process", "program", "user", "since", "state"}};
    for (const Row& row : answer.rows) {
        lines.push_back(CellsOf(answer, row));
    }
    const std::array<std::size_t, kCells> widths = WidthsOf(lines);
    const std::size_t needed = std::accumulate(widths.begin(), widths.end(), kGap * (kCells - 1));
    if (const std::size_t columns = OutputColumns(); needed <= columns) {
        PrintTable(lines, widths, answer.rows);
    } else {
        PrintList(lines, answer.rows, columns);
    }
}

} // namespace

Outcome WhoCommand(const WhoOptions& options) {
    Answer answer;
    if (Outcome failure = Ask(answer)) {
        return failure;
    }
    if (options.json) {
        std::printf("%s\n", AnswerAsJson(answer).c_str());
    } else {
        Print(answer);
    }
    return std::nullopt;
}

} // namespace apps
