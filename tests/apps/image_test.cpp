#include "apps/bench/output.h"
#include "apps/job/job_file.h"
#include "apps/support/diagnostics.h"
#include "tests/apps/program.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace apps::test {
namespace {

const std::string kSample = GAIZIOR_SAMPLES "/newspaper.job";

const std::string kGood = "[job]\nname = Page\nresolution = 1270\n[plate]\nwidth = 345\nlength = 580\n"
                          "[image]\nwidth = 325\nlength = 545\n[separation]\nname = Black\n";

/// The good file with one of its texts replaced.
std::string With(const std::string& text, const std::string& other) {
    std::string file = kGood;
    return file.replace(file.find(text), text.size(), other);
}

std::vector<Complaint> Check(const std::string& text, Job& job) {
    std::istringstream stream(text);
    return CheckJob(stream, job);
}

std::string Utf16(const std::string& text, bool isBigEndian) {
    std::string units;
    for (const char c : text) {
        units += isBigEndian ? "\0"s + c : c + "\0"s;
    }
    return units;
}

TEST(JobCheck, TellsEveryFaultOnceInTheOrderOfTheLines) {
    SetUpDiagnostics("apps_test", false);
    const std::pair<std::string, std::vector<std::pair<int, const char*>>> cases[] = {
        {kGood, {}},
        {"name = x\nname = y\n" + kGood, {{1, "before the first section: begin with [job]"}}},
        {With("[job]", "[jbo]"), {{1, "no section [jbo] (did you mean 'job'?)"}}},
        {With("[plate]", "[plate\nwidht = 345"),
         {{4, "the ']' at the line's end"}, {5, "'widht'"}, {6, "set in line 5"}}},
        {With("resolution =", "resolution"), {{3, "expected 'key = value'"}}},
        {With("[image]", "[xyz]\na\nb"), {{7, "no section [xyz]"}, {13, "ends without a section [image]"}}},
        {With("width = 345", "length = 1e3"), {{4, "needs 'width'"}, {5, "expected a length"}, {6, "in line 5"}}},
        {With("325", "1500"), {{7, "does not fit on a plate of 345 x 580 mm"}}},
        {With("345", "34") + "copies = 0\n\x01\n", {{5, "not between"}, {12, "1 to 9"}, {13, "control character"}}},
        {"[separation]\n" + kGood + "name = Cyan\n[plate]\n" + std::string(300, '#') + "\n[lost",
         {{1, "needs 'name'"}, {13, "in line 12 already"}, {14, "stands in line 5"}, {15, "256 bytes"}}},
        {"[plate]\nname = a\n[plate]\nwidth = x", {{1, "this is a plate file"}}},
    };
    for (const auto& [file, expected] : cases) {
        Job job;
        const std::vector<Complaint> complaints = Check(file, job);
        EXPECT_EQ(job == Job(), !expected.empty()) << "a damaged file must not change the job";
        ASSERT_EQ(complaints.size(), expected.size()) << file << testing::PrintToString(complaints.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(complaints[i].line, expected[i].first) << file << complaints[i].text;
            EXPECT_PRED2(Holds, complaints[i].text, expected[i].second);
        }
    }
}

TEST(JobCheck, CommentsBeginAtALineOrBetweenBlanks) {
    Job job;
    for (const auto& [written, name] : std::vector<std::pair<std::string, std::string>>{
             {"Plate #4", "Plate #4"}, {"C# major # 4", "C# major"}, {"#4\t#\t", "#4"}, {"a#", "a#"}, {"a #", "a"}}) {
        EXPECT_TRUE(Check("#[no]\n  #no\n" + With("Page", written), job).empty()) << written;
        EXPECT_EQ(job.name, name);
    }
    EXPECT_PRED2(Holds, Check(With("345", "345 #mm"), job).at(0).text, "a comment begins with '# '");
}

TEST(JobCheck, ANameHasFortyCharactersAsFarAsAMessageHasRoom) {
    std::string umlauts;
    std::string euros;
    std::string colours;
    for (int i = 0; i < 40; ++i) {
        umlauts += "\xC3\xBC";
        euros += "\xE2\x82\xAC";
    }
    for (const char c : "1234567"s) {
        colours += "[separation]\ncopies = 9\nname = Special-colour-"s + c + "\n";
    }
    Job job;
    EXPECT_TRUE(Check(With("Page", umlauts), job).empty());
    EXPECT_EQ(job.name, umlauts);
    EXPECT_PRED2(Holds, Check(With("Page", umlauts + "u"), job).at(0).text, "40 characters, this one has 41");
    EXPECT_TRUE(Check(kGood + colours, job).empty());
    const std::vector<Complaint> full = Check(With("Page", euros) + colours, job);
    ASSERT_EQ(full.size(), 1U);
    EXPECT_PRED2(Holds, full[0].text, "the job and its separations do not fit into a message");
    const std::string names = "[plate]\npower = 80 %\nname = " + euros + "\ncalibration = ";
    EXPECT_TRUE(Check(With("[plate]", names + "C"), job).empty());
    const std::vector<Complaint> fuller = Check(With("[plate]", names + umlauts), job);
    ASSERT_EQ(fuller.size(), 1U);
    EXPECT_TRUE(fuller[0].line == 4 && Holds(fuller[0].text, "the names of the plate do not fit")) << fuller[0].text;
}

TEST(JobCheck, Utf16IsToldAsSuchAndNothingElseIs) {
    Job job;
    for (const bool isBigEndian : {false, true}) {
        const std::string mark = isBigEndian ? "\xFE\xFF" : "\xFF\xFE";
        for (const std::string& file : {Utf16(kGood, isBigEndian), mark + Utf16("\r\n" + kGood, isBigEndian)}) {
            const std::vector<Complaint> complaints = Check(file, job);
            ASSERT_EQ(complaints.size(), 1U);
            EXPECT_PRED2(Holds, complaints[0].text, "is UTF-16, which is not read: save it in the editor as UTF-8");
        }
    }
    for (const std::string& file : {std::string(64, '\0'), "\x7F\1ELF\2\1\1\0\0\0\0\0\0\0\0\0"s, "[j\0b]"s}) {
        EXPECT_FALSE(Holds(Check(file, job).at(0).text, "UTF-16"));
    }
}

TEST(Output, AProgressLineCountsCharacters) {
    EXPECT_EQ(ProgressLine("\xC3\xBC", 500, "", 30), "\xC3\xBC [##########----------]  50 %");
}

class ImageTest : public ChannelTest {
protected:
    /// What stands behind a key in each line that has it, the commas between them not.
    static std::vector<std::string> Values(const std::string& lines, const std::string& key) {
        std::vector<std::string> values;
        const std::string before = "\"" + key + "\":";
        for (std::size_t at = lines.find(before); at != lines.npos; at = lines.find(before, at + 1)) {
            const std::size_t begin = at + before.size();
            values.push_back(lines.substr(begin, lines.find_first_of(",}", begin) - begin));
        }
        return values;
    }
};

TEST_F(ImageTest, CheckAndDryRunStartNothing) {
    const ScratchFolder folder;
    const std::string path = folder.File("my page.job");
    std::ofstream(path) << With("Black", "Bl ack") << "copies = 2.5\n";
    const Ended check({"image", path, "--check"}, 2);
    EXPECT_EQ(std::ranges::count(check.Output(), '\n'), 2) << check.Output();
    EXPECT_PRED2(Holds, check.Output(), path + ":12: expected a whole number");
    EXPECT_PRED2(Holds, check.Errors(), "my page.job has 2 faults");
    EXPECT_PRED2(Holds, Ended({"image", path, "--check", "--json"}, 2).Output(),
                 R"(,"line":11,"text":"a separation's)");
    EXPECT_PRED2(Holds, Ended({"image", path}, 2).Errors(), "more: 'bench image --check \"" + path + "\"' tells all");
    EXPECT_EQ(Ended({"image", kSample, "--check"}).Output(), kSample + ": in order, 4 plates\n");
    const Ended plan({"image", kSample, "--dry-run", "--json"});
    EXPECT_EQ(plan.Errors(), "") << "no imager was started";
    EXPECT_PRED2(Holds, plan.Output(), R"("engineSeconds":149.111,)");
    EXPECT_PRED2(Holds, plan.Output(), R"(,{"plateNumber":4,"separation":"Black","seconds":37.278}]})");
    EXPECT_PRED2(Holds, Ended({"image", kSample, "--dry-run"}).Output(),
                 "345 x 580 mm  37.3 s\n  real engine  149.1 s");
}

TEST_F(ImageTest, AJobTellsProgramsWhatItDoesLineByLine) {
    Program bench("bench", {"image", kSample, "--speed", "20", "--json"});
    EXPECT_TRUE(bench.WaitForOutput(R"("plateNumber":2,"plates":4,"separation":"Magenta","secondsLeft")")) << "at once";
    EXPECT_EQ(bench.Wait(), 0) << bench.Errors();
    std::vector<std::string> events = Values(bench.Output(), "event");
    EXPECT_EQ(events.front() + events.back(), R"("started""done")");
    EXPECT_EQ(std::ranges::count(events, R"("stepDone")"), 7) << "load, four plates, unload, stop";
    const std::vector<std::string> permille = Values(bench.Output(), "permille");
    EXPECT_TRUE(std::ranges::any_of(permille, [](const std::string& p) { return p != "0" && p != "null"; }));
}

TEST_F(ImageTest, AJobThatIsBrokenOffTellsWhereThePlateIs) {
    const std::string onDrum = "; a plate is on the drum, not exposed to its end, or on its way where plates were "
                               "being changed: take it out by hand";
    for (const auto& [speed, step, drum, text] : {std::tuple{"10", "\"expose\"", "\"plate\"", onDrum},
                                                  {"0.1", "\"load\"", "\"empty\"", "; no plate is on the drum"s}}) {
        Program bench("bench", {"image", kSample, "--speed", speed, "--json"});
        ASSERT_TRUE(bench.WaitForOutput("\"step\":"s + step)) << bench.Errors();
        if (!bench.Interrupt()) {
            return; // no console could tell of Ctrl-C
        }
        EXPECT_EQ(bench.Wait(), 1);
        EXPECT_EQ(Values(bench.Output(), "event").back(), R"("failed")");
        EXPECT_EQ(Values(bench.Output(), "step").back() + Values(bench.Output(), "drum").back(),
                  step + std::string(drum));
        EXPECT_PRED2(Holds, bench.Errors(), "; the imager was stopped" + text);
    }
    EXPECT_PRED2(Holds, Ended({"image", kSample, "--imager", SiblingProgram("bench")}, 1).Errors(),
                 "; no plate was loaded\n");
}

} // namespace
} // namespace apps::test
