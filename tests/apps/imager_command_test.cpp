#include "apps/support/channel_id.h"
#include "apps/support/exit_text.h"
#include "apps/support/patience.h"
#include "tests/apps/program.h"

#include <array>
#include <optional>

namespace apps::test {
namespace {

const std::string kSample = GAIZIOR_SAMPLES "/newspaper.job";
const std::string kPlates = GAIZIOR_SAMPLES "/pressroom.plates";

TEST(Patience, EndsWithTheTimeButNotForWhoeverWasHeldUpHimself) {
    const struct {
        std::vector<ULONGLONG> asked; ///< milliseconds since the beginning
        bool isExhausted;             ///< at the last of them
    } cases[] = {{{0, 200, 399}, false},
                 {{0, 200, 400}, true},
                 {{0, 5000}, false},
                 {{0, 5000, 5200, 5399}, false},
                 {{0, 5000, 5200, 5400}, true}};
    for (const auto& [asked, isExhausted] : cases) {
        Patience patience(400, 1000);
        bool answer = false;
        for (const ULONGLONG moment : asked) {
            answer = patience.IsExhausted(1000 + moment);
        }
        EXPECT_EQ(answer, isExhausted) << testing::PrintToString(asked);
        patience.Renew(1000 + asked.back());
        EXPECT_FALSE(patience.IsExhausted(1000 + asked.back() + 399));
    }
    EXPECT_EQ(Patience(400).Text() + Patience(86400000).Text(), "0.4 s86400 s");
}

TEST(ExitText, TellsACrashFromAnExitCode) {
    const std::pair<DWORD, const char*> cases[] = {
        {2, "ended with exit code 2"},
#ifdef _WIN32
        {0xC0000005, "crashed (0xC0000005)"},
#else
        {137, "was killed by signal 9 (SIGKILL)"},
        {162, "was killed by signal 34"},
        {128, "ended with exit code 128"},
        {255, "ended with exit code 255"},
        {0xC0000005, "ended with exit code 3221225477"},
#endif
    };
    for (const auto& [code, words] : cases) {
        EXPECT_EQ(ExitText(code), words);
    }
}

class ImagerCommandTest : public ChannelTest {
protected:
    ~ImagerCommandTest() override {
        Program("bench", {"imager", "stop"}).Wait(); // no imager outlives its test
    }

    static void Start(const char* speed) {
        const Ended start({"imager", "start", "--speed", speed});
        EXPECT_PRED2(Holds, start.Output(), "imager 101 runs as process ");
    }
    static DWORD ImagerProcess() {
        const std::string json = Ended({"imager", "threads", "--json"}).Output();
        const std::string key = R"("process":)";
        return static_cast<DWORD>(std::strtoul(json.c_str() + json.find(key) + key.size(), nullptr, 10));
    }
};

TEST_F(ImagerCommandTest, AnImagerIsCommandedFromItsStartToItsEnd) {
    Start("1000");
    const std::tuple<std::vector<std::string>, int, std::string> calls[] = {
        {{"start"}, 1, "communications ID 101 is in use by imager"},
        {{"status"}, 0, "imager 101: state empty, no plate\n"},
        {{"expose", kSample}, 1, "'bench imager load FILE' puts a plate onto the drum"},
        {{"load", kPlates}, 2, "has 4 plates: say which"},
        {{"load", kPlates, "Tabloid spread", "--json"},
         0,
         R"({"imager":101,"state":"loaded","plate":{"name":"Tabloid spread","widthMm":580,)"},
        {{"unload", "--json"}, 0, R"({"imager":101,"state":"empty","plate":null,"engineSeconds":3.000})"},
        {{"load", kSample}, 0, "imager 101 has loaded the plate in 4 s\n"},
        {{"load", kSample}, 1, "'bench imager unload' takes the plate that is there from the drum\n"},
        {{"expose", kSample, "--plate", "5"}, 3, "newspaper.job has 4 plates and no plate 5"},
        {{"expose", kSample, "--separation", "Cyna"}, 3, "(did you mean 'Cyan'?)"},
        {{"expose", kSample, "--plate", "1", "--separation", "Cyan"}, 2, "--plate"},
        {{"expose", kSample, "--separation", "black", "--json"},
         0,
         R"({"imager":101,"state":"exposed","job":"Morning edition, front page","plates":1,"engineSeconds":30.270})"},
        {{"expose", kSample}, 1, "takes the plate that is there from the drum, since it is exposed"},
        {{"status", "--json"}, 0, R"({"imager":101,"state":"exposed","plate":{"name":"Daily news",)"},
        {{"status", "--timeout", "nan"}, 2, "nan"},
        {{"stop"}, 0, "imager 101 has stopped\n"},
        {{"stop"}, 3, "there is no imager 101"},
        {{"start", "--imager", kSample}, 1, "newspaper.job: the program cannot be started"},
        {{"start", "--imager", SiblingProgram("bench")}, 1, "it says: bench: there is no "},
        {{"start", "--imager", "nowhere"}, 3, "there is no imager"},
    };
    for (const auto& [words, exit, says] : calls) {
        std::vector<std::string> arguments = {"imager"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        const Ended bench(arguments, exit);
        EXPECT_PRED2(Holds, exit == 0 ? bench.Output() : bench.Errors(), says);
        EXPECT_EQ(bench.Output().empty(), exit != 0) << bench.Output();
    }
}

TEST_F(ImagerCommandTest, WhereThePlateIsIsToldWhenBenchIsInterruptedOrTheImagerKilled) {
    Start("2");
    const DWORD process = ImagerProcess();
    const Ended load({"imager", "load", kSample});
    std::optional<Program> job(std::in_place, "bench", std::vector<std::string>{"imager", "expose", kSample});
    while (!Holds(Ended({"imager", "status"}).Output(), "state exposing, plate 345 x 580 mm")) {
    }
    if (job->Interrupt()) { // where a console can tell of Ctrl-C
        EXPECT_EQ(job->Wait(), 1);
        EXPECT_PRED2(Holds, job->Errors(), "interrupted; imager 101 goes on with 'expose ");
        EXPECT_PRED2(Holds, job->Errors(), "and the plate is on the drum: 'bench imager status' tells");
    }
    SuspendProcess(process); // what is asked now stays without an answer
    job.emplace("bench", std::vector<std::string>{"imager", "unload", "--timeout", "60"});
    while (!IsIdInUse(112)) {
        ::Sleep(20);
    }
    ::TerminateProcess(UniqueHandle(::OpenProcess(PROCESS_TERMINATE, FALSE, process)).Get(), 1);
    EXPECT_EQ(job->Wait(), 1);
    EXPECT_PRED2(Holds, job->Errors(), "the imager (ID 101) has ended: 'bench log'");
    EXPECT_PRED2(Holds, job->Errors(), "at 'unload the plate', 0 % of all, the plate is on its way from the drum\n");
}

/// The test is the imager 101.
class ImagerStandInTest : public ChannelTest {
protected:
    ImagerStandInTest() {
        EXPECT_FALSE(m_channel.Open(101));
    }

    /// What the imager is told next.
    static std::string Receive() {
        std::array<char, 256> buffer{};
        return ZcReceiveMessageAtOnce(buffer.data(), buffer.size(), 60000) == ZRErrors::e_General_NoError
                   ? buffer.data()
                   : "";
    }
    static void Answer(const char* packet, std::uint16_t to) {
        EXPECT_EQ(ZcSendMessage(packet, 20000, to), ZRErrors::e_General_NoError);
    }

    ChannelId m_channel;
};

TEST_F(ImagerStandInTest, WhoeverIsStoppedAndGoesOnHasNotWaitedInVain) {
    const std::tuple<std::vector<std::string>, std::uint16_t, std::string> waits[] = {
        {{"imager", "status", "--timeout", "10"}, 111, "1;1;111;0;;"},
        {{"channel", "send", "--to", "101", "--wait", "10", "1;1;110;0;;"}, 110, "1;1;110;0;;"},
    };
    for (const auto& [words, id, command] : waits) {
        const Program bench("bench", words);
        EXPECT_EQ(Receive(), command);
        SuspendProcess(bench.Id());
        ::Sleep(11000); // longer than it waits
        Answer("2;1;101;0;state=empty;", id);
        ResumeProcess(bench.Id());
        EXPECT_EQ(bench.Wait(), 0) << bench.Errors();
        EXPECT_PRED2(Holds, bench.Output(), "imager 101: state empty, no plate");
    }
}

TEST_F(ImagerStandInTest, AnAnswerIsToldInWordsAndOneThatRefusesIsAFailure) {
    const Program bench("bench", {"channel", "send", "--to", "101", "--wait", "60", "--json", "1;2;110;0;;"});
    EXPECT_EQ(Receive(), "1;2;110;0;;");
    Answer("3;2;101;500;state=loading;", 110);
    Answer("2;2;101;846;state=loaded;the engine is loaded", 110);
    EXPECT_EQ(bench.Wait(), 1);
    EXPECT_PRED2(Holds, bench.Output(), R"("words":"imager 101 loads: 50 %","type":3,)");
    EXPECT_PRED2(Holds, bench.Output(), R"("words":"imager 101 refused 'load': 846 the engine is loaded","type":2,)");
    EXPECT_PRED2(Holds, bench.Errors(), "the answer is a refusal with code 846: 'bench error 846' explains it\n");

    const Program stopped("bench", {"imager", "expose", kSample, "--timeout", "60"});
    EXPECT_PRED2(Holds, Receive(), "1;3;112;1270;");
    Answer("2;3;101;57;state=exposed;", 112);
    EXPECT_EQ(stopped.Wait(), 1);
    EXPECT_PRED2(Holds, stopped.Errors(), "the imager was told to end and broke off 'expose': ");

    const Ended silent({"imager", "status", "--timeout", "0.4"}, 4);
    EXPECT_PRED2(Holds, silent.Errors(), "did not answer 'status' within 0.4 s: ");
}

TEST_F(ImagerStandInTest, WhatGoesAstrayIsWarnedOfAndWhatWaitsIsNotCalledNew) {
    const Ended stray({"channel", "send", "--to", "9", "1;1;8;0;;"});
    EXPECT_PRED2(Holds, stray.Errors(), "bench: nobody has ID 9: ");
    EXPECT_PRED2(Holds, stray.Errors(), "bench: the text names 8 as its sender, where the answer goes: write 110");
    const Ended watch({"channel", "watch", "--seconds", "0.1"});
    EXPECT_PRED2(Holds, watch.Output(), " waiting slot   0 for     9  8 asks for the state  1;1;8;0;;\n");
    const Ended json({"channel", "watch", "--seconds", "0.1", "--json"});
    EXPECT_PRED2(Holds, json.Output(), R"("event":"waiting","time":"20)");
    const Ended fine({"channel", "send", "--to", "101", "1;1;110;0;;"});
    EXPECT_EQ(fine.Errors(), "");
}

} // namespace
} // namespace apps::test
