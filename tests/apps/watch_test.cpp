#include "apps/bench/watch_page.h"
#include "tests/apps/program.h"

#include <algorithm>
#include <cstring>

namespace apps::test {
namespace {

constexpr long long kNow = 1'800'000'000'000;

std::string TextOf(const Row& row) {
    std::string text;
    for (const Run& run : row) {
        text += run.text;
    }
    return text;
}

std::string TextOf(const Page& page) {
    std::string text;
    for (const Row& row : page) {
        const std::string line = TextOf(row);
        text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
}

/// What stands in red, a line for each row.
std::string Red(const Page& page) {
    std::string text;
    for (const Row& row : page) {
        std::string line;
        for (const Run& run : row) {
            line += run.colour == Colour::kBad ? run.text : "";
        }
        text += line.empty() ? "" : line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
}

ZcUserT User(unsigned short id, const char* program, int state = kZcUserRuns, long long waitingSince = 0) {
    ZcUserT user{};
    user.nID = id;
    user.nProcess = 4600U + id;
    user.nSince = kNow;
    user.nState = state;
    user.nWaitingSince = waitingSince;
    std::strncpy(user.szProgram, program, sizeof(user.szProgram) - 1);
    return user;
}

SeenMessage Sent(const char* text, unsigned id = 100) {
    return {MessageEvent::kSent, 0, id, text, kNow};
}

/// A job under way.
Watched UnderWay() {
    Watched watched;
    watched.now = kNow;
    watched.isThere = true;
    watched.areUsersKnown = true;
    watched.imager.id = 101;
    NoteUsers(watched, {User(100, "bench"), User(101, "imager")});
    NoteMessages(watched,
                 {Sent("2;1;101;0;state=empty;"), Sent("1;3;100;1270;width=3 length=5 separations=Cyan;Page", 101),
                  Sent("3;3;101;100;state=exposing width=345 length=580 separation=Cyan plate=1 plates=4;"),
                  Sent("3;3;101;437;state=exposing width=345 length=580 separation=Cyan plate=2 plates=4;")});
    watched.taken = 10;
    watched.queues = {{100, 8, kNow - 61'500}, {101, 2, kNow - 12'000}};
    return watched;
}

/// One in which all goes wrong that can, with names that are too long.
Watched InTrouble() {
    Watched watched = UnderWay();
    watched.trouble = "the message channel cannot be read: " + std::string(150, 'x') + ": 'bench channel doctor' helps";
    NoteMessages(watched, {Sent("2;2;101;846;state=exposing;the engine is exposing")});
    std::vector<ZcUserT> users = {User(101, "imager", kZcUserGone), User(7, "bench", kZcUserStopped)};
    for (unsigned short id = 300; id < 350; ++id) {
        users.push_back(User(id,
                             "ein-\xC3\xBC\xC3\xBC\xC3\xBC"
                             "berlanges-programm-einer-maschine",
                             kZcUserRuns, kNow));
    }
    NoteUsers(watched, std::move(users));
    watched.taken = 199;
    for (unsigned id = 1; id < 30; ++id) {
        watched.queues.push_back({id, id, 0});
    }
    for (int i = 0; i < 100; ++i) {
        NoteMessages(watched, {Sent(("note \x1b[2J " + std::string(200, 'n')).c_str(), 12)});
    }
    return watched;
}

TEST(WatchPage, ShowsAJobUnderWay) {
    const std::string clock = ClockText(kNow, kNow);
    EXPECT_EQ(TextOf(ComposePage(UnderWay(), {80, 24, false})),
              "message channel  " + clock + "  2 processes" + std::string(36, ' ') + "q ends\n\n" +
                  "ID   process  since     program  state\n"
                  "100  4700     " +
                  clock + "  bench    runs\n" + "101  4701     " + clock + "  imager   runs\n\n" +
                  "pool     [##---------------------------] 10 of 200 slots\n"
                  "to 100   [##---------------------------] 8 unread, for 1 min 1 s\n"
                  "to 101   [#----------------------------] 2 unread, for 12 s\n\n"
                  "imager 101  exposing, plate 345 x 580 mm\n"
                  "            [##################----------------------]  43 %, plate 2 of 4, Cyan\n\n" +
                  clock + "  imager 101: state empty, no plate\n" + clock +
                  "  100 asks to expose 'Page' (Cyan) at 1270 dpi\n" + clock +
                  "  imager 101 exposes: 43 %, plate 2 of 4, Cyan\n")
        << "of the progress only the newest";
}

TEST(WatchPage, FitsEverySizeAndIsAsciiWhereItMustBe) {
    for (const Watched& watched : {UnderWay(), InTrouble(), Watched()}) {
        for (std::size_t columns = 1; columns <= 200; columns += columns < 90 ? 1 : 55) {
            for (std::size_t rows = 1; rows <= 60; rows += rows < 30 ? 1 : 10) {
                const Page page = ComposePage(watched, {columns, rows, columns % 2 == 0});
                ASSERT_LE(page.size(), rows);
                for (const Row& row : page) {
                    const std::string text = TextOf(row);
                    ASSERT_LE(Characters(text), columns) << text;
                    ASSERT_FALSE(HasControl(text)) << text;
                    ASSERT_TRUE(columns % 2 == 0 || std::ranges::all_of(text, [](char c) { return c >= ' '; })) << text;
                }
            }
        }
    }
}

TEST(WatchPage, ShowsFailuresInRedAndKeepsTheLastInSight) {
    const std::string red = Red(ComposePage(InTrouble(), {100, 60, true}));
    for (const char* part :
         {"the message channel cannot be read:", "'bench channel doctor' helps\n", "gone without closing the channel\n",
          "stopped by a signal\n", " unread, nobody has this ID\n", "imager 101 refused 'load': 846 "}) {
        EXPECT_PRED2(Holds, red, part);
    }
    EXPECT_PRED2(Holds, red, "has gone in the middle: it was exposing, plate 2 of 4, Cyan\n");
    EXPECT_EQ(Red(ComposePage(UnderWay(), {80, 24, true})), "");
    const std::string small = TextOf(ComposePage(InTrouble(), {80, 24, true}));
    EXPECT_PRED2(Holds, small, "refused 'load'") << "however many messages came since";
    EXPECT_PRED2(Holds, small, " more\n");
    EXPECT_PRED2(Holds, small, "note \\x1B[2J nnn");
}

TEST(WatchModel, LearnsTheImagersStateFromWhatPasses) {
    Watched watched = UnderWay();
    const WatchedImager& imager = watched.imager;
    const auto note = [&](const char* text) { NoteMessages(watched, {Sent(text)}); };
    note("2;2;101;143;state=exposing;the engine is exposing");
    EXPECT_EQ(imager.permille, 437) << "a refusal ends no other command";
    note("3;3;201;999;state=loading;");
    note("1;3;101;1;state=loading;");
    note("3;3;101;999;state=loading");
    EXPECT_EQ(imager.state, "exposing") << "another imager's, a command's, what is no message's";
    note("2;3;101;0;state=exposed width=345 length=580 seconds=148;");
    EXPECT_EQ(imager.state, "exposed");
    EXPECT_FALSE(imager.permille);
    note("2;1;101;0;state=exposed width=345 length=580;Daily news");
    EXPECT_PRED2(Holds, imager.plate, "Daily news");
    note("2;4;101;0;state=empty seconds=3;");
    EXPECT_EQ(imager.plate, "");
    note("2;2;101;0;state=loading;");
    NoteUsers(watched, {User(101, "imager", kZcUserGone)});
    EXPECT_TRUE(imager.isLost) << "whether or not it told how far it was";
    NoteUsers(watched, {User(101, "imager")});
    note("2;2;101;0;state=loaded;");
    ZcUserT another = User(101, "imager");
    another.nSince += 1000;
    NoteUsers(watched, {another});
    EXPECT_EQ(imager.state, "") << "nothing was heard from this one";
    EXPECT_FALSE(imager.isLost);
}

TEST(WatchModel, TellsWhoComesAndGoes) {
    ZcUserT reused = User(101, "imager");
    reused.nProcess += 1;
    const std::vector<ZcUserT> before = {User(100, "bench"), User(101, "imager"), User(7, "bench", kZcUserStopped),
                                         User(8, "bench")};
    const std::vector<ZcUserT> after = {User(7, "bench"), User(8, "bench", kZcUserGone),
                                        User(9, "bench", kZcUserStopped), User(100, "bench"), reused};
    std::string text;
    for (const UserChange& change : ChangesOf(before, after)) {
        text += change.event + (" " + std::to_string(change.user.nProcess)) + ", ";
    }
    EXPECT_EQ(text, "closed 4701, continued 4607, gone 4608, stopped 4609, opened 4702, ");
    EXPECT_EQ(ClockText(0, kNow), "        ");
    EXPECT_PRED2(Holds, ClockText(kNow - 86'400'000LL * 9, kNow), " Jan");
}

class WatchTest : public ChannelTest {};

TEST_F(WatchTest, PrintsALineForWhatPassesAndForWhoIsThere) {
    const Program text("bench", {"watch", "--id", "550"});
    EXPECT_NE(text.WaitForError("no process has the message channel open"), "");
    const Program json("bench", {"watch", "--json"});
    ASSERT_EQ(ZcOpenComms(550), ZRErrors::e_General_NoError);
    EXPECT_TRUE(text.WaitForOutput("opened the channel as 550\n"));
    ASSERT_EQ(ZcSendMessage("2;2;550;846;state=loaded;the engine is loaded", 1000, 551), ZRErrors::e_General_NoError);
    ASSERT_EQ(ZcSendMessage("hello", 1000, 552), ZRErrors::e_General_NoError);
    EXPECT_TRUE(text.WaitForOutput("  imager 550 refused 'load': 846 the engine is loaded\n"));
    EXPECT_TRUE(text.WaitForOutput("  for 552: hello\n"));
    EXPECT_TRUE(
        json.WaitForOutput(R"("event":"sent","id":552,"process":null,"program":null,"words":null,"text":"hello"})"));
    EXPECT_PRED2(Holds, json.Output(),
                 R"("event":"opened","id":550,"process":)" + std::to_string(::GetCurrentProcessId()) +
                     R"(,"program":")");
    EXPECT_PRED2(Holds, Ended({"watch", "--json", "--seconds", "0.1"}).Output(), R"("event":"waiting","id":552,)");
    ZcCloseComms();
    EXPECT_TRUE(text.WaitForOutput("closed the channel, in which it was 550\n"));
}

} // namespace
} // namespace apps::test
