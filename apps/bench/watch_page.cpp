#include "apps/bench/watch_page.h"

#include <algorithm>
#include <array>
#include <utility>

namespace apps {
namespace {

using Tint = std::optional<Colour>;

constexpr std::size_t kRowsForGaps = 20; // a page of fewer rows has none to leave empty

/// One row, filled from the left up to the page's edge.
class RowMaker {
public:
    explicit RowMaker(const PageSize& size) : m_size(size) {}

    RowMaker& Add(std::string_view text, Tint tint = std::nullopt) {
        std::string fitting = Shortened(m_size.hasUtf8 ? text : Ascii(text), m_size.columns - m_nUsed);
        m_nUsed += Characters(fitting);
        if (!fitting.empty()) {
            m_row.push_back({std::move(fitting), tint});
        }
        return *this;
    }
    /// Blanks up to a column.
    RowMaker& Fill(std::size_t column) {
        return Add(std::string(column > m_nUsed ? column - m_nUsed : 0, ' '));
    }
    std::size_t Room() const {
        return m_size.columns - m_nUsed;
    }
    Row Take() {
        return std::move(m_row);
    }

private:
    static std::string Ascii(std::string_view text) {
        std::string ascii;
        ForEachCharacter(text, [&](std::string_view character, bool) {
            ascii += character.size() == 1 && static_cast<unsigned char>(character[0]) < 0x80 ? character : "?";
        });
        return ascii;
    }

    const PageSize& m_size;
    std::size_t m_nUsed = 0;
    Row m_row;
};

/// "[####------]", something of it full where `part` is not 0.
void AddBar(RowMaker& row, const PageSize& size, std::size_t columns, unsigned part, unsigned whole, Tint tint) {
    constexpr std::size_t kFrame = 2;
    const std::size_t room = columns - std::min(columns, kFrame);
    const std::size_t full = std::min(room, (room * part + whole - 1) / whole);
    std::string bar;
    for (std::size_t i = 0; i < full; ++i) {
        bar += size.hasUtf8 ? "\u2588" : "#";
    }
    row.Add("[").Add(bar, tint).Add(std::string(room - full, size.hasUtf8 ? ' ' : '-')).Add("]");
}

Page Heading(const Watched& watched, const PageSize& size) {
    constexpr std::string_view kEnd = "q ends";
    const std::size_t count = watched.users.size();
    const std::string processes = "  " + std::to_string(count) + (count == 1 ? " process" : " processes");
    RowMaker row(size);
    row.Add("message channel  " + ClockText(watched.now, watched.now));
    const bool isCounted = watched.isThere && watched.areUsersKnown;
    row.Add(isCounted && row.Room() >= processes.size() + 2 + kEnd.size() ? processes : "");
    if (row.Room() > kEnd.size()) {
        row.Fill(size.columns - kEnd.size()).Add(kEnd, Colour::kFaint);
    }
    return {row.Take()};
}

/// Goes on in the next row at a blank.
Page Wrapped(std::string_view text, const PageSize& size, Tint tint) {
    Page page;
    while (!text.empty()) {
        std::size_t end = text.size() > size.columns ? text.rfind(' ', size.columns) : text.size();
        if (end == text.npos || end == 0) {
            end = size.columns;
        }
        page.push_back(RowMaker(size).Add(text.substr(0, end), tint).Take());
        text.remove_prefix(end);
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    }
    return page;
}

Tint TintOf(const ZcUserT& user) {
    return user.nState != kZcUserRuns ? Tint(Colour::kBad) : user.nWaitingSince != 0 ? Tint(Colour::kNotice) : Tint();
}

/// Where there is little room the process goes, which is only a number, and the state's end.
Page Users(const Watched& watched, const PageSize& size) {
    constexpr std::size_t kProcess = 1;
    constexpr std::size_t kProgram = 3;
    constexpr std::size_t kColumnsForProcess = 60;
    if (!watched.areUsersKnown) {
        return {RowMaker(size).Add("who has it open is not known", Colour::kFaint).Take()};
    }
    std::vector<std::vector<std::string>> texts = {{"ID", "process", "since", "program", "state"}};
    for (const ZcUserT& user : watched.users) {
        texts.push_back({std::to_string(user.nID), std::to_string(user.nProcess), ClockText(user.nSince, watched.now),
                         Printable(user.szProgram), StateText(user, watched.now)});
    }
    std::array<std::size_t, 5> widths{};
    for (const auto& row : texts) {
        std::ranges::transform(row, widths, widths.begin(), [](const std::string& text, std::size_t width) {
            return std::max(Characters(text), width);
        });
    }
    widths[kProcess] = size.columns < kColumnsForProcess ? 0 : widths[kProcess];
    widths[kProgram] = std::min(widths[kProgram], size.columns / 4);
    Page page;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const Tint tint = i == 0 ? Tint(Colour::kFaint) : TintOf(watched.users[i - 1]);
        RowMaker row(size);
        for (std::size_t column = 0; column < widths.size(); ++column) {
            if (widths[column] > 0) {
                row.Add(Padded(Shortened(texts[i][column], widths[column]), widths[column]) + "  ", tint);
            }
        }
        page.push_back(row.Take());
    }
    return page;
}

/// "12 s", "5 min 3 s": the seconds do not run.
std::string AgeText(long long milliseconds) {
    constexpr long long kSecond = 1000;
    constexpr long long kMinute = 60 * kSecond;
    return milliseconds < kMinute ? std::to_string(milliseconds / kSecond) + " s" : Span(milliseconds);
}

constexpr std::size_t kQueueLabel = 9;

/// A label and a bar of the pool's slots, all below one another.
RowMaker BeginQueue(const PageSize& size, const std::string& label, unsigned slots, Tint words, Tint bar) {
    constexpr std::size_t kWords = 40;
    constexpr std::size_t kMost = 60;
    const std::size_t room = size.columns - std::min(size.columns, kQueueLabel + kWords);
    RowMaker row(size);
    row.Add(Padded(label, kQueueLabel), words);
    AddBar(row, size, std::clamp(room, size.columns / 4, std::max(size.columns / 4, kMost)), slots, kZcSlotCount, bar);
    return row;
}

Row Queue(const Watched& watched, const PageSize& size, const WatchedQueue& queue) {
    const bool isLost = watched.areUsersKnown && !FindHolder(watched.users, queue.id);
    const Tint tint = isLost ? Tint(Colour::kBad) : Tint();
    const long long age = queue.oldest != 0 ? watched.now - queue.oldest : 0;
    RowMaker row =
        BeginQueue(size, "to " + std::to_string(queue.id), queue.messages, tint, isLost ? Colour::kBad : Colour::kGood);
    row.Add(" " + std::to_string(queue.messages) + " unread", tint);
    row.Add(isLost ? ", nobody has this ID" : "", tint);
    constexpr long long kWorthTelling = 1000;
    return row.Add(age >= kWorthTelling ? ", for " + AgeText(age) : "", tint).Take();
}

Page Queues(const Watched& watched, const PageSize& size) {
    const Tint tint = watched.taken >= kNearlyAllSlots       ? Colour::kBad
                      : watched.taken >= kNearlyAllSlots / 2 ? Colour::kNotice
                                                             : Colour::kGood;
    const std::string counts = " " + std::to_string(watched.taken) + " of " + std::to_string(kZcSlotCount) + " slots";
    Page page = {BeginQueue(size, "pool", watched.taken, std::nullopt, tint).Add(counts).Take()};
    for (const WatchedQueue& queue : watched.queues) {
        page.push_back(Queue(watched, size, queue));
    }
    return page;
}

Page Imager(const Watched& watched, const PageSize& size) {
    const WatchedImager& imager = watched.imager;
    const std::string name = "imager " + std::to_string(imager.id) + "  ";
    const std::string step = imager.step.empty() ? "" : ", " + imager.step;
    RowMaker row(size);
    row.Add(name);
    if (imager.isLost) {
        return {row.Add("has gone in the middle: it was " + imager.state + step, Colour::kBad).Take()};
    }
    if (watched.areUsersKnown && !FindHolder(watched.users, imager.id)) {
        return {row.Add("is not there", Colour::kFaint).Take()};
    }
    if (imager.state.empty()) {
        return {row.Add("nothing was heard from it yet", Colour::kFaint).Take()};
    }
    Page page = {row.Add(imager.state + (imager.plate.empty() ? "" : ", plate " + imager.plate)).Take()};
    if (imager.permille) {
        constexpr std::size_t kPercent = 6;
        RowMaker progress(size);
        progress.Fill(size.columns >= 60 ? name.size() : 0);
        constexpr std::size_t kMost = 60;
        const std::size_t words = std::min(kPercent + Characters(step), progress.Room() * 2 / 3);
        AddBar(progress, size, std::min(progress.Room() - words, kMost),
               static_cast<unsigned>(std::clamp(*imager.permille, 0, 1000)), 1000, Colour::kGood);
        const std::string percent = std::to_string(std::clamp(*imager.permille, 0, 1000) / 10) + " %";
        page.push_back(progress.Add(std::string(kPercent - percent.size(), ' ') + percent).Add(step).Take());
    }
    return page;
}

Row MessageRow(const NotedMessage& message, const Watched& watched, const PageSize& size) {
    return RowMaker(size)
        .Add(ClockText(message.time, watched.now) + "  ", Colour::kFaint)
        .Add(message.text, message.isFailure ? Tint(Colour::kBad) : Tint())
        .Take();
}

/// The newest that have room. A refusal that is older than those stands above them until another comes.
Page Messages(const Watched& watched, const PageSize& size, std::size_t rows) {
    const auto& messages = watched.messages;
    const std::size_t count = std::min(rows, messages.size());
    Page page;
    for (std::size_t i = messages.size() - count; i < messages.size(); ++i) {
        page.push_back(MessageRow(messages[i], watched, size));
    }
    const auto shown = messages.end() - static_cast<std::ptrdiff_t>(count);
    if (watched.failure && count > 1 &&
        std::none_of(shown, messages.end(), [](const NotedMessage& message) { return message.isFailure; })) {
        page.front() = MessageRow(*watched.failure, watched, size);
    }
    return page;
}

/// What does not fit into `rows` is counted in the last one.
void Limit(Page& page, std::size_t rows, const PageSize& size) {
    if (page.size() <= rows || rows == 0) {
        page.resize(std::min(page.size(), rows));
        return;
    }
    const std::size_t more = page.size() - rows + 1;
    page.resize(rows - 1);
    page.push_back(RowMaker(size).Add("       and " + std::to_string(more) + " more", Colour::kFaint).Take());
}

} // namespace

Page ComposePage(const Watched& watched, const PageSize& size) {
    const std::size_t gap = size.rows >= kRowsForGaps ? 1 : 0;
    Page page = Heading(watched, size);
    const auto append = [&](Page&& section) {
        if (section.empty()) {
            return;
        }
        page.resize(page.size() + gap);
        std::ranges::move(section, std::back_inserter(page));
    };
    append(Wrapped(TroubleText(watched), size, watched.isThere ? Colour::kBad : Colour::kNotice));
    Page users = watched.isThere ? Users(watched, size) : Page();
    Page queues = watched.isThere ? Queues(watched, size) : Page();
    Page imager = Imager(watched, size);
    const std::size_t taken = page.size() + imager.size() + 4 * gap;
    const std::size_t room = size.rows - std::min(size.rows, taken);
    const std::size_t forMessages = std::min(watched.messages.size(), room / 3);
    const std::size_t forLists = room - forMessages;
    Limit(users, std::max(forLists / 2, forLists - std::min(forLists, queues.size())), size);
    Limit(queues, forLists - users.size(), size);
    append(std::move(users));
    append(std::move(queues));
    append(std::move(imager));
    append(Messages(watched, size, size.rows - std::min(size.rows, page.size() + gap)));
    page.resize(std::min(page.size(), size.rows));
    return page;
}

} // namespace apps
