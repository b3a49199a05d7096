#include "apps/job/message.h"
#include "apps/support/channel_id.h"
#include "apps/support/failure.h"
#include "gaizior/comms/channel.h"
#include "tests/apps/program.h"

#include <algorithm>
#include <array>
#include <fstream>

namespace apps::test {
namespace {

const std::string kSample = GAIZIOR_SAMPLES "/newspaper.job";
#ifdef _WIN32
const std::string kKilled = "ended with exit code 1";
#else
const std::string kKilled = "was killed by signal 9 (SIGKILL)";
#endif
const std::string kPlates = GAIZIOR_SAMPLES "/pressroom.plates";

class ProgramsTest : public ChannelTest {
protected:
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
    static void WaitForChannel() {
        while (Program("bench", {"channel", "status"}).Wait() == 3) {
        }
    }
    static bool HasEnded(const UniqueHandle& process, DWORD milliseconds = 10000) {
        return ::WaitForSingleObject(process.Get(), milliseconds) == WAIT_OBJECT_0;
    }
};

TEST_F(ProgramsTest, AJobRunsFromItsFileToItsSummary) {
    const Ended bench({"image", kSample, "--speed", "1000", "--json"});
    EXPECT_PRED2(Holds, bench.Output(), R"("job":"Morning edition, front page")");
    EXPECT_PRED2(Holds, bench.Output(), R"("plate":{"name":"Daily news","widthMm":345,"lengthMm":580,)");
    EXPECT_PRED2(Holds, bench.Output(), R"("plates":4,"linesPerPlate":27250,)");
    EXPECT_PRED2(Holds, bench.Output(), R"("engineSeconds":149.110,"platesPerHour":96.)");
    for (const char* step : {"load a plate of 345 x 580 mm, 'Daily news'", "expose plate 1 of 4: Cyan",
                             "expose plate 4 of 4: Black", "unload the plate", "stop the imager"}) {
        EXPECT_PRED2(Holds, bench.Errors(), std::string("done ") + step + "\n");
    }
    EXPECT_FALSE(Holds(bench.Errors() + bench.Output(), "\x1b")) << "no colour and no bar in a file";
}

TEST_F(ProgramsTest, CallsAreAnsweredAndWhatIsWrongIsToldInOneLineWithItsExitCode) {
    const ScratchFolder folder;
    std::ofstream(folder.File("wrong.job")) << "[job]\nnaem = x\n";
    std::ofstream(folder.File("zero.cfg"), std::ios::binary) << "gain" << '\0';
    std::ofstream(folder.File("h")) << "0x00000001\n\ndate\ttime\ta\t\ta\n\n11/22/2026\t08:00:00\t1\t2\t3\t4\n";
    const std::tuple<std::vector<std::string>, Exit, std::string> calls[] = {
        {{"image", folder.File("nowhere.job")}, Exit::kNotFound, "nowhere.job: there is no such job file"},
        {{"cfg", "set", folder.File("wrong.job"), "naem\n", "2"}, Exit::kUsage, "TOKEN has to be a text"},
        {{"cfg", "set", folder.File("wrong.job"), "naem", "1", "0x10"}, Exit::kUsage, "VALUES have to be decimal"},
        {{"cfg", "set", folder.File("zero.cfg"), "gain", "2"}, Exit::kFailed, "zero.cfg: the file is no text"},
        {{"ini", "set", folder.File("wrong.job"), "job", "na=em", "v"}, Exit::kUsage, "cannot hold '=' in a key"},
        {{"ini", "set", folder.File("wrong.job"), "job", "naem", " v"}, Exit::kUsage, "cannot hold ' v'"},
        {{"ini", "encode", folder.File("."), folder.File("wrong.job")}, Exit::kFailed, "the file cannot be read"},
        {{"prefs", "set", "historylines", "0"}, Exit::kUsage, "a history has 1 line at least"},
        {{"prefs", "set", "LogLevel", "ten", "--type", "text"}, Exit::kUsage, "'ten' is no number"},
        {{"history", "list", folder.File("wrong.job")}, Exit::kFailed, "wrong.job: the file is no history"},
        {{"history", "list", folder.File("h"), "--json"}, Exit::kDone, R"({"a":"1","column2":"2","column3":"3","c)"},
        {{"image", folder.File("wrong.job")}, Exit::kUsage, "wrong.job:2: section [job] has no key 'naem' (did you"},
        {{"plates", kSample}, Exit::kUsage, "newspaper.job:4: this is a job file"},
        {{"plates"}, Exit::kUsage, "PLATEFILE is required: see 'bench plates --help'"},
        {{"plates", kPlates}, Exit::kDone, "Type Positive, Power 82.50 %\nTest strip, Width 250.00 mm"},
        {{"plate", kSample}, Exit::kDone, "Daily news, Width 345.00 mm"},
        {{"plate", kPlates}, Exit::kUsage, "pressroom.plates has 4 plates: say which by its name"},
        {{"plate", kPlates, "Test stripe"}, Exit::kNotFound, "(did you mean 'Test strip'?)"},
        {{"plate", GAIZIOR_SAMPLES "/brochure.job"}, Exit::kUsage, "brochure.job has no name"},
#ifndef _WIN32
        {{"plate", kPlates, "Test strip", "--show"}, Exit::kUsage, "there are no dialogs on this system"},
#endif
        {{"plates", kPlates, "--json"}, Exit::kDone, R"("powerUnit":"%","calibration":"Thermal 2540 dpi",)"},
        {{"image", kSample, "--imager", folder.File("gone")}, Exit::kNotFound, "gone: there is no imager"},
        {{"image", kSample, "--imager", kSample}, Exit::kFailed, "newspaper.job: the imager cannot be started"},
        {{"image", kSample, "--imager", SiblingProgram("bench")}, Exit::kFailed, "imager ended with exit code 2"},
        {{"image", kSample, "--speed", "fast"}, Exit::kUsage, "--speed"},
        {{"image", kSample, "--sped", "2"}, Exit::kUsage, "did you mean '--speed'?"},
        {{"imaeg", kSample}, Exit::kUsage, "there is no command 'imaeg' (did you mean 'image'?): see 'bench --help'"},
        {{"channel", "stauts"}, Exit::kUsage, "did you mean 'status'?"},
        {{"channel", "status"}, Exit::kNotFound, "no process has the message channel open"},
        {{"imager", "threads"}, Exit::kNotFound, "there is no imager 101"},
        {{"channel", "send", "--to", "5", "hello"}, Exit::kNotFound, "no process has the message channel open"},
        {{"channel", "send", "--to", "5", std::string(256, 'x')}, Exit::kUsage, "256 bytes"},
        {{"channel", "receive", "--timeout", "0.1"}, Exit::kTimedOut, "no message came for ID 110"},
        {{"error", "e_Phs_NoPlaet"}, Exit::kNotFound, "did you mean 'e_Phs_NoPlate'?"},
        {{"error", "zebra", "crossing"}, Exit::kNotFound, "zebra crossing"},
        {{"error", "0x123456789"}, Exit::kUsage, "0x123456789"},
        {{"convert", "25,4mm", "--dpi", "1"}, Exit::kUsage, "'25,4mm' is neither a length nor a count"},
        {{"convert", "2m", "--dpi", "1e5", "--json"}, Exit::kDone, R"({"dpi":100000,"pixels":7874016,"mm":2000.)"},
        {{"convert", "1e9", "m", "--dpi", "1200"}, Exit::kUsage, "1e9 m are more pixels than"},
        {{"convert", "10mm", "--dpi", "2400"}, Exit::kDone, "945 pixels = 10.0012 mm\n"},
        {{"convert", "1", "line", "--dpi", "25.4"}, Exit::kDone, "1 line = 1.0000 mm\n"},
        {{"guid", "check", "{x}"}, Exit::kFailed, "'{x}' is no GUID"},
        {{"guid", "check", "--json", "}12345678-1234-1234-1234-123456789ABC"}, Exit::kDone, R"({"guid":"{12345678-)"},
        {{"guid", "new"}, Exit::kDone, "-4"},
        {{"error", "--json", "e_phs_noplate"}, Exit::kDone, R"("hex":"0xA314","name":"e_Phs_NoPlate",)"},
        {{"error", "--json", "0x20000005"}, Exit::kDone, R"("text":"Error: 5 (0x5) Access )"},
        {{"error", "--json", "0x60000002"}, Exit::kDone, R"("text":"No such file or directory")"},
        {{"error", "--json", "JOB", "stopped"}, Exit::kDone, R"([{"code":57,"hex":"0x39","name":null,"text":"J)"},
    };
    for (const auto& [arguments, exit, says] : calls) {
        const Ended bench(arguments, static_cast<int>(exit));
        const std::string errors = bench.Errors();
        const bool imagerSpoke = Holds(errors, "there is no option '--id'");
        EXPECT_PRED2(Holds, exit == Exit::kDone ? bench.Output() : errors, says);
        EXPECT_EQ(bench.Output().empty(), exit != Exit::kDone) << bench.Output();
        EXPECT_EQ(std::ranges::count(errors, '\n'), exit == Exit::kDone ? 0 : imagerSpoke ? 2 : 1) << errors;
    }
}

TEST_F(ProgramsTest, VerbosePrintsTheErrorStackAndTheChannelsLines) {
    const Ended bench({"--verbose", "channel", "receive", "--timeout", "0.1"}, 4);
    EXPECT_PRED2(Holds, bench.Errors(), "ERROR: 0x000007dd Command timed out: 2013, in FUNCTION: ReceiveOne(): ");
    EXPECT_PRED2(Holds, bench.Errors(), "bench[5] Dumping messages");
}

TEST_F(ProgramsTest, AnImagerThatIsKilledEndsTheJobWithOneLine) {
    Program bench("bench", {"image", kSample, "--speed", "10"});
    const auto [id, imager] = ImagerOf(bench);
    ::TerminateProcess(imager.Get(), 1);
    EXPECT_EQ(bench.Wait(10000), 1);
    EXPECT_PRED2(Holds, bench.Errors(), "(process " + std::to_string(id) + "): the imager " + kKilled);
    EXPECT_PRED2(Holds, bench.Errors(),
                 "at 'expose plate 1 of 4: Cyan'; a plate is on the drum, not exposed to its end, or");
    EXPECT_EQ(bench.Output(), "");
}

TEST_F(ProgramsTest, AnImagerThatHangsIsGivenUpAndKilled) {
    Program bench("bench", {"image", kSample, "--timeout", "1"});
    const auto [id, imager] = ImagerOf(bench, "start the imager");
    SuspendProcess(id);
    EXPECT_EQ(bench.Wait(20000), 4);
    EXPECT_PRED2(Holds, bench.Errors(), "did not answer 'load' within 1 s");
    EXPECT_PRED2(Holds, bench.Errors(), "did not end within 5 s and was killed; a plate may be on its way: look");
    EXPECT_TRUE(HasEnded(imager, 0));
}

TEST_F(ProgramsTest, NoImagerOutlivesItsBench) {
    for (const bool isKilled : {false, true}) {
        Program bench("bench", {"image", kSample, "--speed", "10"});
        const auto [id, imager] = ImagerOf(bench);
        if (isKilled || !bench.Interrupt()) { // where no console could tell of Ctrl-C it is killed, too
            bench.Kill();
            EXPECT_TRUE(HasEnded(imager));
        } else {
            EXPECT_EQ(bench.Wait(5000), 1);
            EXPECT_PRED2(Holds, bench.Errors(), "bench: interrupted");
            EXPECT_TRUE(HasEnded(imager, 0)) << "bench waits for it";
            const Ended status({"channel", "status"}, 3);
        }
    }
}

TEST_F(ProgramsTest, AFullChannelIsCalledFull) {
    ASSERT_EQ(ZcOpenComms(1), ZRErrors::e_General_NoError);
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(ZcSendMessage("unread", 0, 2), ZRErrors::e_General_NoError);
    }
    EXPECT_PRED2(Holds, Ended({"image", kSample}, 4).Errors(), "the channel is full");
    EXPECT_PRED2(Holds, Ended({"channel", "send", "--to", "2", "x"}, 4).Errors(), "the channel is full");
}

TEST_F(ProgramsTest, AnImagerAnswersAnybodyButDoesNotBuryASilentClientInProgress) {
    ASSERT_EQ(ZcOpenComms(40), ZRErrors::e_General_NoError);
    Program imager("imager", {"--id", "41", "--client-id", "40", "--speed", "0.5"});
    EXPECT_EQ(Receive(), "2;1;41;0;state=empty;") << "it greets its client";
    ASSERT_EQ(ZcSendMessage("0;0;40", 1000, 41), ZRErrors::e_General_NoError);
    EXPECT_EQ(Receive(), "2;0;41;" + std::to_string(kInvalidData) + ";state=empty;this is no whole message");
    ASSERT_EQ(ZcSendMessage("1;2;40;0;width=345 length=580;", 1000, 41), ZRErrors::e_General_NoError);
    ::Sleep(5000);
    EXPECT_PRED2(Holds, Ended({"channel", "status", "--json"}).Output(), R"("ids":[{"id":40,"messages":4}])");
    ASSERT_EQ(ZcSendMessage("1;5;40;0;;", 1000, 41), ZRErrors::e_General_NoError);
    EXPECT_EQ(imager.Wait(10000), 0) << imager.Errors();
}

TEST_F(ProgramsTest, AnImagerDoesNotFillTheChannelWithAnswersThatNobodyReads) {
    ASSERT_EQ(ZcOpenComms(39), ZRErrors::e_General_NoError);
    const Program imager("imager", {"--id", "41", "--client-id", "39"});
    EXPECT_NE(Receive(), "") << "it is ready";
    const auto send = [](const std::string& packet) {
        ASSERT_EQ(ZcSendMessage(packet.c_str(), 20000, 41), ZRErrors::e_General_NoError);
    };
    for (int i = 0; i < 30; ++i) {
        send("rubbish");
        send("1;17;9;0;;");
    }
    send("1;1;39;0;;"); // those before it are answered first
    EXPECT_NE(Receive(), "");
    EXPECT_EQ(CountWaiting(9).forId, 20u);
    for (int id = 1000; id < 1150; ++id) {
        send("1;17;" + std::to_string(id) + ";0;;");
    }
    send("1;1;39;0;;");
    EXPECT_NE(Receive(), "");
    EXPECT_LE(CountWaiting(9).forAnybody, 100u);
}

TEST_F(ProgramsTest, StatusShowsTheQueueAndTakesNothing) {
    ASSERT_EQ(ZcOpenComms(40), ZRErrors::e_General_NoError);
    ASSERT_EQ(ZcSendMessage("one \"\x01\"", 1000, 7), ZRErrors::e_General_NoError);
    ASSERT_EQ(ZcSendMessage("two", 1000, 40), ZRErrors::e_General_NoError);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Ended({"channel", "status", "--json"}).Output(),
                  R"({"consistent":true,"messages":2,"taken":2,"slots":200,"first":0,"last":1,"damage":null,)"
                  R"("ids":[{"id":7,"messages":1},{"id":40,"messages":1}],)"
                  R"("queue":[{"slot":0,"id":7,"text":"one \"\u0001\"","words":null},)"
                  R"({"slot":1,"id":40,"text":"two","words":null}]})"
                  "\n");
    }
    const Ended table({"channel", "status"});
    EXPECT_PRED2(Holds, table.Output(), "2 of 200 slots taken, consistent");
    EXPECT_PRED2(Holds, table.Output(), "    0       7  one \"\\x01\"\n");
}

TEST_F(ProgramsTest, SendReceiveAndWatchMeetInTheChannel) {
    EXPECT_EQ(Ended({"channel", "watch", "--seconds", "0.1"}).Output(), "");
    Program watch("bench", {"channel", "watch"}); // killed at the end
    EXPECT_NE(watch.WaitForError("waiting for "), "");
    Program receive("bench", {"channel", "receive", "--id", "7", "--count", "2", "--json", "--timeout", "10"});
    WaitForChannel();
    ASSERT_EQ(ZcOpenComms(40), ZRErrors::e_General_NoError); // it stays, however late the watcher looks
    const Ended send({"channel", "send", "--to", "7", "2;1;41;-5;state=empty;why;not"});
    const Ended sendMore({"channel", "send", "--to", "7", "hello"});
    EXPECT_EQ(receive.Wait(), 0) << receive.Errors();
    EXPECT_PRED2(Holds, receive.Output(),
                 R"({"id":7,"text":"2;1;41;-5;state=empty;why;not","words":"imager 41 refused 'status': -5 why;not",)"
                 R"("type":2,"code":1,"sender":41,"value":-5,"string":"state=empty","qualifier":"why;not","time":"20)");
    EXPECT_PRED2(Holds, receive.Output(), "\n{\"id\":7,\"text\":\"hello\",\"words\":null,\"type\":null,");
    for (int i = 0; i < 600 && !Holds(watch.Output(), "for     7  hello"); ++i) {
        ::Sleep(50);
    }
    EXPECT_PRED2(Holds, watch.Output(), "for     7  hello");
}

TEST_F(ProgramsTest, AnIdIsReservedForOneBenchOrNotAtAll) {
    Program first("bench", {"channel", "receive", "--id", "7", "--timeout", "20"});
    WaitForChannel();
    EXPECT_PRED2(Holds, Ended({"channel", "receive", "--id", "7"}, 1).Errors(), "communications ID 7 is in use");
    first.Kill();
    const Ended third({"channel", "receive", "--id", "7", "--timeout", "0.1"}, 4); // a dead process holds no ID
    const UniqueHandle squatter(::CreateEventA(nullptr, TRUE, FALSE, "Gaizior_Comms_ID_7"));
    const Ended fourth({"channel", "receive", "--id", "7", "--timeout", "0.1"}, 1);
    EXPECT_PRED2(Holds, fourth.Errors(), "communications ID 7 cannot be reserved under the name Gaizior_Comms_ID_7");
}

} // namespace
} // namespace apps::test
