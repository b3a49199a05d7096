#include "apps/job/message.h"
#include "apps/support/failure.h"
#include "gaizior/comms/channel.h"
#include "gaizior/platform/unique_handle.h"
#include "tests/apps/program.h"
#include "tests/support/watchdog.h"

#include <algorithm>
#include <array>
#include <fstream>

#include <gtest/gtest.h>

namespace gaizior::test {
namespace {

const std::string kSample = GAIZIOR_SAMPLES "/newspaper.job";

bool Holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// A bench that has ended with the exit code that is expected of it.
struct Ended : Program {
    explicit Ended(const std::vector<std::string>& arguments, int exitCode = 0) : Program("bench", arguments) {
        EXPECT_EQ(Wait(), exitCode) << testing::PrintToString(arguments) << Output() << Errors();
    }
};

/// bench and imager as processes; the test itself may take part in their channel.
class ProgramsTest : public testing::Test {
protected:
    ~ProgramsTest() override {
        ZcCloseComms();
    }

    /// The oldest message for the test's own ID; "" when none comes in time.
    static std::string Receive() {
        std::array<char, 256> buffer{};
        return ZcReceiveMessage(buffer.data(), buffer.size(), 5000) == ZRErrors::e_General_NoError ? buffer.data() : "";
    }

    /// Waits until a bench has done `step`. @returns its imager's process, the ID and a handle.
    static std::pair<DWORD, UniqueHandle> ImagerOf(const Program& bench, const char* step = "load a plate") {
        const std::string process = bench.WaitForError("start the imager (process ");
        EXPECT_NE(bench.WaitForError(step), "") << bench.Errors();
        const auto id = static_cast<DWORD>(std::strtoul(process.c_str(), nullptr, 10));
        return {id, UniqueHandle(::OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, id))};
    }
    static bool HasEnded(const UniqueHandle& process, DWORD milliseconds = 10000) {
        return ::WaitForSingleObject(process.Get(), milliseconds) == WAIT_OBJECT_0;
    }

    Watchdog m_watchdog{std::chrono::seconds(120)};
    PrivateNames m_names;
};

TEST_F(ProgramsTest, AJobRunsFromItsFileToItsSummary) {
    const Ended bench({"image", kSample, "--speed", "1000", "--json"});
    EXPECT_TRUE(Holds(bench.Output(), R"("job":"Morning edition, front page")")) << bench.Output();
    EXPECT_TRUE(Holds(bench.Output(), R"("plates":4,"linesPerPlate":27250,)")) << bench.Output();
    EXPECT_TRUE(Holds(bench.Output(), R"("engineSeconds":149.110,"platesPerHour":96.)")) << bench.Output();
    for (const char* step : {"load a plate of 345 x 580 mm", "expose plate 1 of 4: Cyan", "expose plate 4 of 4: Black",
                             "unload the plate", "stop the imager"}) {
        EXPECT_TRUE(Holds(bench.Errors(), std::string("done ") + step + "\n")) << bench.Errors();
    }
    EXPECT_FALSE(Holds(bench.Errors() + bench.Output(), "\x1b")) << "no colour and no bar in a file";
}

struct WrongCall {
    std::vector<std::string> arguments;
    Exit exit;
    std::string says;
};

TEST_F(ProgramsTest, WhatIsWrongIsToldInOneLineWithItsExitCode) {
    const ScratchFolder folder;
    std::ofstream(folder.File("wrong.job")) << "[job]\nnaem = x\n";
    const std::vector<WrongCall> calls = {
        {{"image", folder.File("nowhere.job")}, Exit::kNotFound, "nowhere.job: there is no such job file"},
        {{"image", folder.File("wrong.job")}, Exit::kUsage, "wrong.job:2: section [job] has no key 'naem' (did you"},
        {{"image", kSample, "--imager", folder.File("gone")}, Exit::kNotFound, "gone: there is no imager"},
        {{"image", kSample, "--imager", kSample}, Exit::kFailed, "newspaper.job: the imager cannot be started"},
        {{"image", kSample, "--imager", SiblingProgram("bench")}, Exit::kFailed, "ended unexpectedly with exit code 2"},
        {{"image"}, Exit::kUsage, "JOBFILE"},
        {{"image", kSample, "--speed", "fast"}, Exit::kUsage, "--speed"},
        {{"image", kSample, "--sped", "2"}, Exit::kUsage, "did you mean '--speed'?"},
        {{"imaeg", kSample}, Exit::kUsage, "there is no command 'imaeg' (did you mean 'image'?): see 'bench --help'"},
        {{"channel", "stauts"}, Exit::kUsage, "did you mean 'status'?"},
        {{}, Exit::kUsage, "bench --help"},
        {{"channel", "status"}, Exit::kNotFound, "no process has the message channel open"},
        {{"channel", "send", "--to", "5", "hello"}, Exit::kNotFound, "no process has the message channel open"},
        {{"channel", "send", "--to", "5", std::string(256, 'x')}, Exit::kUsage, "256 characters"},
        {{"channel", "receive", "--timeout", "0.1"}, Exit::kTimedOut, "no message came for ID 110"},
        {{"error", "5000"}, Exit::kNotFound, "5000"},
        {{"error", "e_Phs_NoPlaet"}, Exit::kNotFound, "did you mean 'e_Phs_NoPlate'?"},
        {{"error", "zebra", "crossing"}, Exit::kNotFound, "zebra crossing"},
        {{"error", "0x123456789"}, Exit::kUsage, "0x123456789"},
    };
    for (const WrongCall& call : calls) {
        Program bench("bench", call.arguments);
        const std::string trace = testing::PrintToString(call.arguments);
        EXPECT_EQ(bench.Wait(), static_cast<int>(call.exit)) << trace;
        const std::string errors = bench.Errors();
        EXPECT_EQ(bench.Output(), "") << trace;
        EXPECT_TRUE(Holds(errors, call.says)) << errors;
        const bool imagerSpoke = Holds(errors, "there is no option '--id'");
        EXPECT_EQ(std::ranges::count(errors, '\n'), imagerSpoke ? 2 : 1) << errors;
    }
}

TEST_F(ProgramsTest, VerbosePrintsTheErrorStackAndTheChannelsLines) {
    const Ended bench({"--verbose", "channel", "receive", "--timeout", "0.1"}, 4);
    EXPECT_TRUE(Holds(bench.Errors(), "ERROR: 0x000007dd Command timed out: 2013, in FUNCTION: ReceiveOne(): "))
        << bench.Errors();
    EXPECT_TRUE(Holds(bench.Errors(), "bench[5] Dumping messages")) << bench.Errors();
}

TEST_F(ProgramsTest, HelpAtEveryLevelHasExamplesAndExitCodes) {
    const std::vector<std::string> commands[] = {{},
                                                 {"image"},
                                                 {"error"},
                                                 {"channel"},
                                                 {"channel", "status"},
                                                 {"channel", "doctor"},
                                                 {"channel", "send"},
                                                 {"channel", "receive"},
                                                 {"channel", "watch"}};
    for (std::vector<std::string> arguments : commands) {
        arguments.push_back("--help");
        const Ended bench(arguments);
        EXPECT_TRUE(Holds(bench.Output(), "Examples:\n")) << bench.Output();
        EXPECT_TRUE(Holds(bench.Output(), "Exit codes: 0 done")) << bench.Output();
    }
}

TEST_F(ProgramsTest, AnImagerThatIsKilledEndsTheJobWithOneLine) {
    Program bench("bench", {"image", kSample, "--speed", "10"});
    const auto [id, imager] = ImagerOf(bench);
    ::TerminateProcess(imager.Get(), 1);
    EXPECT_EQ(bench.Wait(10000), 1);
    const std::string errors = bench.Errors();
    EXPECT_TRUE(Holds(errors, "(process " + std::to_string(id) + "): the imager ended unexpectedly")) << errors;
    EXPECT_TRUE(Holds(errors, "at 'expose plate 1 of 4: Cyan'")) << errors;
    EXPECT_EQ(bench.Output(), "");
}

TEST_F(ProgramsTest, AnImagerThatHangsIsGivenUpAndKilled) {
    Program bench("bench", {"image", kSample, "--timeout", "1"});
    const auto [id, imager] = ImagerOf(bench, "start the imager");
    SuspendProcess(id);
    EXPECT_EQ(bench.Wait(20000), 4);
    EXPECT_TRUE(Holds(bench.Errors(), "did not answer 'load' within 1 s")) << bench.Errors();
    EXPECT_TRUE(Holds(bench.Errors(), "did not end within 5 s and was killed\n")) << bench.Errors();
    EXPECT_TRUE(HasEnded(imager, 0));
}

TEST_F(ProgramsTest, AnImagerWhoseBenchIsKilledEndsByItself) {
    Program bench("bench", {"image", kSample, "--speed", "10"});
    const auto [id, imager] = ImagerOf(bench);
    bench.Kill();
    EXPECT_TRUE(HasEnded(imager));
}

TEST_F(ProgramsTest, CtrlCEndsBenchAndItsImager) {
    Program bench("bench", {"image", kSample, "--speed", "10"});
    const auto [id, imager] = ImagerOf(bench);
    if (!bench.Interrupt()) {
        bench.Kill();
        EXPECT_TRUE(HasEnded(imager)) << "the names of Windows are the next test's too";
        GTEST_SKIP() << "there is no console that could tell of Ctrl-C";
    }
    EXPECT_EQ(bench.Wait(5000), 1);
    EXPECT_TRUE(Holds(bench.Errors(), "bench: interrupted")) << bench.Errors();
    EXPECT_TRUE(HasEnded(imager, 0)) << "bench waits for it";
    const Ended status({"channel", "status"}, 3);
}

TEST_F(ProgramsTest, AFullChannelIsCalledFull) {
    ASSERT_EQ(ZcOpenComms(1), ZRErrors::e_General_NoError);
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(ZcSendMessage("unread", 0, 2), ZRErrors::e_General_NoError);
    }
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"image", kSample}, {"channel", "send", "--to", "2", "x"}}) {
        const Ended bench(arguments, 4);
        EXPECT_TRUE(Holds(bench.Errors(), "the channel is full")) << bench.Errors();
        EXPECT_EQ(std::ranges::count(bench.Errors(), '\n'), 1) << bench.Errors();
    }
}

TEST_F(ProgramsTest, AnImagerAnswersDamagedCommandsAndEndsWhenTold) {
    ASSERT_EQ(ZcOpenComms(40), ZRErrors::e_General_NoError);
    Program imager("imager", {"--id", "41", "--client-id", "40"});
    EXPECT_EQ(Receive(), "2;1;41;0;state=empty;") << "it greets its client";
    const std::vector<std::pair<const char*, std::string>> talk = {
        {"rubbish", "2;0;41;" + std::to_string(kInvalidData) + ";state=empty;this is no whole message"},
        {"1;99;40;0;;", "2;99;41;" + std::to_string(kUnimplemented) + ";state=empty;there is no such command"},
        {"1;4;40;0;;", "2;4;41;" + std::to_string(ZRErrors::e_Phs_NoPlate) + ";state=empty;the engine is empty"},
        {"1;5;40;0;;", "2;5;41;0;state=empty;"},
    };
    for (const auto& [command, answer] : talk) {
        ASSERT_EQ(ZcSendMessage(command, 1000, 41), ZRErrors::e_General_NoError);
        EXPECT_EQ(Receive(), answer);
    }
    EXPECT_EQ(imager.Wait(10000), 0) << imager.Errors();
}

TEST_F(ProgramsTest, ASilentClientIsNotBuriedInProgress) {
    ASSERT_EQ(ZcOpenComms(40), ZRErrors::e_General_NoError);
    Program imager("imager", {"--id", "41", "--client-id", "40", "--speed", "0.5"});
    EXPECT_NE(Receive(), "");
    ASSERT_EQ(ZcSendMessage("1;2;40;0;width=345 length=580;", 1000, 41), ZRErrors::e_General_NoError);
    ::Sleep(5000);
    const Ended status({"channel", "status", "--json"});
    EXPECT_TRUE(Holds(status.Output(), R"("ids":[{"id":40,"messages":4}])")) << status.Output();
}

TEST_F(ProgramsTest, StatusShowsTheQueueAndTakesNothing) {
    ASSERT_EQ(ZcOpenComms(40), ZRErrors::e_General_NoError);
    ASSERT_EQ(ZcSendMessage("one \"\x01\"", 1000, 7), ZRErrors::e_General_NoError);
    ASSERT_EQ(ZcSendMessage("two", 1000, 40), ZRErrors::e_General_NoError);
    for (int i = 0; i < 2; ++i) {
        const Ended status({"channel", "status", "--json"});
        EXPECT_EQ(status.Output(),
                  R"({"consistent":true,"messages":2,"taken":2,"slots":200,"first":0,"last":1,"damage":null,)"
                  R"("ids":[{"id":7,"messages":1},{"id":40,"messages":1}],)"
                  R"("queue":[{"slot":0,"id":7,"text":"one \"\u0001\""},{"slot":1,"id":40,"text":"two"}]})"
                  "\n");
    }
    const Ended table({"channel", "status"});
    EXPECT_TRUE(Holds(table.Output(), "2 of 200 slots taken, consistent")) << table.Output();
    EXPECT_TRUE(Holds(table.Output(), "    0       7  one \"\\x01\"\n")) << table.Output();
}

TEST_F(ProgramsTest, SendReceiveAndWatchMeetInTheChannel) {
    Program watch("bench", {"channel", "watch", "--seconds", "4"});
    EXPECT_NE(watch.WaitForError("waiting for "), "");
    Program receive("bench", {"channel", "receive", "--id", "7", "--count", "2", "--json", "--timeout", "10"});
    while (Program("bench", {"channel", "status"}).Wait() == 3) {
    }
    Program send("bench", {"channel", "send", "--to", "7", "2;1;41;-5;state=empty;why;not"});
    EXPECT_EQ(send.Wait(), 0) << send.Errors();
    const Ended sendMore({"channel", "send", "--to", "7", "hello"});
    EXPECT_EQ(receive.Wait(), 0) << receive.Errors();
    EXPECT_EQ(receive.Output(), R"({"id":7,"text":"2;1;41;-5;state=empty;why;not","type":2,"code":1,"sender":41,)"
                                R"("value":-5,"string":"state=empty","qualifier":"why;not"})"
                                "\n{\"id\":7,\"text\":\"hello\"}\n");
    EXPECT_EQ(watch.Wait(), 0);
    EXPECT_TRUE(Holds(watch.Output(), "for     7  hello")) << watch.Output() << watch.Errors();
}

TEST_F(ProgramsTest, TwoBenchesNeverShareAnId) {
    Program first("bench", {"channel", "receive", "--id", "7", "--timeout", "20"});
    while (Program("bench", {"channel", "status"}).Wait() == 3) {
    }
    const Ended second({"channel", "receive", "--id", "7"}, 1);
    EXPECT_TRUE(Holds(second.Errors(), "communications ID 7 is in use")) << second.Errors();
    first.Kill();
    Program third("bench", {"channel", "receive", "--id", "7", "--timeout", "0.1"});
    EXPECT_EQ(third.Wait(), 4) << "a dead process holds no ID";
}

TEST_F(ProgramsTest, ErrorsAreFoundByCodeNameAndWords) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> calls = {
        {{"57"}, R"({"errors":[{"code":57,"hex":"0x39","name":null,"text":"Job Stopped")"},
        {{"0x7dd"}, R"({"errors":[{"code":2013,"hex":"0x7DD","name":"e_Command_TimedOut","text":"Command timed out")"},
        {{"e_phs_noplate"}, R"({"errors":[{"code":41748,"hex":"0xA314","name":"e_Phs_NoPlate",)"},
        {{"0x20000005"}, R"("text":"Error: 5 (0x5) Access )"},
        {{"0x60000002"}, R"("text":"No such file or directory")"},
        {{"JOB", "stopped"}, R"("name":null,"text":"Job Stopped")"},
    };
    for (const auto& [words, expected] : calls) {
        std::vector<std::string> arguments = {"error", "--json"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        const Ended bench(arguments);
        EXPECT_TRUE(Holds(bench.Output(), expected)) << bench.Output();
    }
}

} // namespace
} // namespace gaizior::test
