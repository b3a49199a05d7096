#include "apps/bench/hang.h"
#include "apps/bench/output.h"
#include "tests/apps/program.h"

#include <cstdlib>
#include <limits>

namespace apps::test {
namespace {

constexpr int kMost = std::numeric_limits<int>::max();

ThreadState Thread(const char* name, int id, const char* awaits = "", int milliseconds = 0) {
    return {name, id, 1, 0, true, false, awaits, milliseconds};
}

TEST(Hang, TheWaitIsFollowedToWhoeverHoldsItUp) {
    const struct {
        std::vector<ThreadState> threads;
        std::vector<LockState> locks;
        int culprit;
        const char* text;
    } cases[] = {
        {{Thread("a", 1), Thread("b", 2, "x", 1999)}, {{"x", 1, 1999, "A()"}}, 0, ""},
        {{Thread("a", 1), Thread("b", 2, "x", 9000)}, {{"x", 0, 0, "A()"}}, 0, ""}, // free just now
        {{Thread("a", 1), Thread("b", 2, "x", 1900)}, // the hold is a hang, the wait not yet
         {{"x", 1, 2500, "A()"}},
         1,
         "'b' (thread 2) has waited 1.9 s for 'x'; 'a' (thread 1) has held it for 2.5 s as A()"},
        {{Thread("a", 1, "y", 4000), Thread("b", 2, "x", 5000)},
         {{"x", 1, 6000, "A()"}, {"y", 9, 65000, "Y"}},
         9,
         "'b' (thread 2) has waited 5.0 s for 'x'; 'a' (thread 1) has held it for 6.0 s as A(), and waits for 'y'; a "
         "thread of no name (thread 9) has held it for 1 min 5 s as Y"},
        {{Thread("a", 1, "y", 4000), Thread("b", 2, "x", 3000)},
         {{"x", 1, 6000, "A()"}, {"y", 2, 7000, "B()"}},
         1,
         "'a' (thread 1) has waited 4.0 s for 'y'; 'b' (thread 2) has held it for 7.0 s as B(), and waits for 'x'; 'a' "
         "(thread 1) has held it for 6.0 s as A(): a deadlock"},
        {{Thread("a", 1), Thread("b", 2)},
         {{"x", 1, 7200000, "A()"}, {"y", 2, 100, "B()"}},
         1,
         "'a' (thread 1) has held 'x' for 2 h 0 min as A(); nobody waits for it yet"},
    };
    for (const auto& [threads, locks, culprit, text] : cases) {
        const std::optional<Hang> hang = FindHang({7, threads, locks});
        EXPECT_EQ(hang ? hang->text : "", text);
        EXPECT_EQ(hang ? hang->culprit : 0, culprit);
    }
}

TEST(ThreadReport, ArrivesWholeOrIsKnownToLackSomething) {
    const std::string word(24, 'w');
    const ThreadReport report{kMost,
                              {{word, kMost, kMost, -15, true, false, word, kMost}, Thread("b", 2)},
                              {{word, kMost, kMost, std::string(300, 'l')}}};
    ThreadReportReader reader(-5);
    const std::vector<Message> replies = MakeThreadReplies(report, -5);
    for (const Message& reply : replies) {
        EXPECT_FALSE(reader.IsWhole());
        std::string packet;
        Message received;
        EXPECT_EQ(Encode(reply, packet), ZRErrors::e_General_NoError);
        EXPECT_EQ(Decode(packet, received), ZRErrors::e_General_NoError);
        for (const auto& [from, to] : {std::pair{"request=-5", "request=4"}, {"part=", "part=9"}, {"ms=", "ms=x"}}) {
            Message wrong = received;
            if (const std::size_t at = wrong.text.find(from); at != std::string::npos) {
                reader.Add((wrong.text.replace(at, std::string(from).size(), to), wrong));
            }
        }
        reader.Add(received);
        reader.Add(received);
    }
    ASSERT_TRUE(reader.IsWhole()) << reader.Received() << " of " << reader.Expected();
    const ThreadState& first = reader.Report().threads.at(0);
    EXPECT_TRUE(first.name == word && first.id == kMost && first.parent == kMost && first.priority == -15);
    EXPECT_TRUE(first.alive && !first.ending && first.awaits == word && first.milliseconds == kMost);
    EXPECT_EQ(reader.Report().threads.at(1).awaits, "");
    EXPECT_EQ(reader.Report().locks.at(0).locker, std::string(100, 'l'));
}

class ThreadsTest : public ChannelTest, public testing::WithParamInterface<const char*> {};

INSTANTIATE_TEST_SUITE_P(EachLock, ThreadsTest, testing::ValuesIn(std::vector{"engine", "outbox"}));

TEST_P(ThreadsTest, AHangingImagerNamesTheCulpritAndEndsInOrder) {
    const std::string lock = GetParam();
    Program imager("imager", {"--hang", lock});
    std::optional<Program> bench;
    do {
        bench.emplace("bench", std::vector<std::string>{"imager", "threads", "--json"});
    } while (bench->Wait() != 1); // it finds that the imager hangs
    const std::string json = bench->Output();
    const std::string errors = bench->Errors();
    EXPECT_PRED2(Holds, json, R"({"name":"sender","id":)");
    EXPECT_PRED2(Holds, json, R"("holds":[{"lock":")" + lock + R"(","since":"20)");
    EXPECT_PRED2(Holds, json, R"-("locker":"Server::Hang()"}],"waits":null})-");
    EXPECT_PRED2(Holds, json, R"("waits":{"lock":")" + lock + R"(","since":"20)");
    EXPECT_PRED2(Holds, errors, "imager 101 hangs: 'engine' (thread ");
    EXPECT_PRED2(Holds, errors, " for '" + lock + "'; 'sender' (thread ");
    const auto numberBehind = [&](const std::string& key) {
        const std::size_t at = json.find(key);
        return at == json.npos ? -1 : std::atol(json.c_str() + at + key.size());
    };
    EXPECT_EQ(numberBehind(R"("culprit":)"), numberBehind(R"("name":"sender","id":)"));
    const auto answer = [](const char* command) {
        return Ended({"channel", "send", "--to", "101", "--wait", "20", command}, 1).Output();
    };
    EXPECT_PRED2(Holds, answer("1;1;110;0;;"), "2;1;101;20487;;the lock 'engine' is held by thread ");
    if (lock == "engine" || !imager.Interrupt()) {
        EXPECT_PRED2(Holds, answer("1;5;110;0;;"), "it stops all the same\n");
    }
    EXPECT_EQ(imager.Wait(), 0);
    EXPECT_PRED2(Holds, imager.Errors(),
                 "imager: the thread 'engine' hangs: the lock '" + lock + "' is held by thread ");
}

using ThreadsProgramTest = ChannelTest;

TEST_F(ThreadsProgramTest, AnImagerThatIsWellIsShownAsATreeAndOneThatIsSilentIsToldOf) {
    Program hang("imager", {"--hang", "engnie"});
    EXPECT_EQ(hang.Wait(), 2);
    EXPECT_PRED2(Holds, hang.Errors(), "there is no lock 'engnie' to hang in: --hang takes engine or outbox\n");
    ASSERT_EQ(ZcOpenComms(40), ZRErrors::e_General_NoError);
    Program imager("imager", {"--client-id", "40"});
    std::array<char, 256> buffer{};
    ASSERT_EQ(ZcReceiveMessage(buffer.data(), buffer.size(), 20000), ZRErrors::e_General_NoError) << "it greets";
    const std::string tree = Ended({"imager", "threads"}).Output();
    const std::size_t sender = tree.find("\nsender  thread ");
    EXPECT_LT(sender, tree.find("\n  receiver  thread ")) << tree;
    EXPECT_LT(sender, tree.find("\n  engine  thread ")) << tree;
    EXPECT_PRED2(Holds, tree, "\nnothing hangs: ");
    EXPECT_PRED2(Holds, Ended({"imager", "threads", "--id", "300"}, 3).Errors(),
                 "'bench imager start --id 300' starts one");
    SuspendProcess(imager.Id());
    const Ended silent({"imager", "threads", "--timeout", "0.2"}, 4);
    EXPECT_PRED2(Holds, silent.Errors(), "imager 101 gave no answer within 200 ms: ");
    EXPECT_PRED2(Holds, silent.Errors(), "'bench channel doctor'");
}

} // namespace
} // namespace apps::test
