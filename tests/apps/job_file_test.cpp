#include "apps/job/job_file.h"
#include "apps/support/diagnostics.h"

#include <filesystem>
#include <sstream>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace apps {
namespace {

const char* const kGoodFile = "# a page\n"
                              "[job]\n"
                              "name = Front page   # of today\r\n"
                              "resolution = 1270 dpi\n"
                              "[plate]\n"
                              "width = 345\n"
                              "  length=580.5mm\n"
                              "[image]\n"
                              "width = 325.25 mm\n"
                              "length = 545 mm\n"
                              "\n"
                              "[separation]\n"
                              "name = Cyan\n"
                              "[separation]\n"
                              "name = Black\n"
                              "copies = 2\n"
                              "# end";

Outcome Read(const std::string& text, Job& job) {
    std::istringstream stream(text);
    return ReadJob(stream, "page.job", job);
}

class JobFile : public testing::Test {
protected:
    static void SetUpTestSuite() {
        SetUpDiagnostics("apps_test", false); // failures are expected here: no lines about them
    }
};

TEST_F(JobFile, AGoodFileIsReadToTheLastHundredth) {
    Job job;
    ASSERT_FALSE(Read(kGoodFile, job));
    EXPECT_EQ(job, (Job{"Front page", {345'00, 580'50}, {325'25, 545'00}, 1270, {{"Cyan", 1}, {"Black", 2}}}));
    EXPECT_EQ(CountPlates(job), 3);
    EXPECT_FALSE(Read("\xEF\xBB\xBF" + std::string(kGoodFile), job)) << "with a byte-order mark";
}

TEST_F(JobFile, EachFaultIsToldWithItsLine) {
    const struct {
        std::string good, bad;
        int line;
        std::string complaint;
    } cases[] = {
        {"[job]", "[jab]", 2, "did you mean 'job'?"},
        {"[job]", "[job", 2, "']'"},
        {"[job]", "", 3, "before the first section"},
        {"name = Front page", "", 2, "needs 'name'"},
        {"Front page", "", 3, "has no value"},
        {"Front page", std::string(41, 'x'), 3, "at most 40"},
        {"Front page", "a\0b"s, 3, "control character"},
        {"Front page", std::string(5000, 'x'), 3, "no job file"},
        {"dpi", "lpi", 4, "whole number from 600 to 3600 dpi"},
        {"1270 dpi", "99999999999999999999", 4, "600 to 3600"},
        {"1270 dpi", "-1270", 4, "600 to 3600"},
        {"resolution =", "rezolution =", 4, "did you mean 'resolution'?"},
        {"resolution =", "resolution", 4, "expected 'key = value'"},
        {"resolution =", "name =", 4, "set in line 3 already"},
        {"= 345", "= 1e3", 6, "expected a length"},
        {"= 345", "= 345.125", 6, "expected a length"},
        {"= 345", "= 345 in", 6, "expected a length"},
        {"= 345", "= 9999999999 mm", 6, "expected a length"},
        {"= 345", "= 1200.01 mm", 6, "not between 250 and 1200 mm"},
        {"[image]", "[plate]", 8, "stands in line 5 already"},
        {"325.25", "345.01", 8, "does not fit on a plate of 345 x 580.5 mm"},
        {"name = Cyan", "copies = 1", 12, "needs 'name'"},
        {"Black", "Cyan", 15, "already"},
        {"Black", "Cyan;1", 15, "letters, digits"},
        {"Black", std::string(17, 'x'), 15, "1 to 16"},
        {"copies = 2", "copies = 10", 16, "1 to 9"},
    };
    for (const auto& [good, bad, line, complaint] : cases) {
        SCOPED_TRACE(good + " -> " + bad.substr(0, 40));
        Job job;
        std::string file = kGoodFile;
        const Outcome failure = Read(file.replace(file.find(good), good.size(), bad), job);
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->exit, Exit::kUsage);
        EXPECT_EQ(job, Job()) << "a damaged file must not change the job";
        const std::string where = "page.job:" + std::to_string(line) + ": ";
        EXPECT_TRUE(failure->text.starts_with(where)) << failure->text;
        EXPECT_NE(failure->text.find(complaint), std::string::npos) << failure->text;
        EXPECT_EQ(failure->text.find('\n'), std::string::npos) << "one line";
    }
}

TEST_F(JobFile, TooMuchOfEverythingIsRefused) {
    std::string separations = kGoodFile;
    for (const char c : std::string("0123456")) {
        separations += std::string("\n[separation]\nname = Spot") + c;
    }
    for (const std::string& file : {""s, "\n"s, std::string(2000, '\n'), separations, "\x7F\1ELF\2\0"s}) {
        Job job;
        EXPECT_TRUE(Read(file, job)) << file.substr(0, 20);
    }
}

TEST_F(JobFile, TheSamplesAreGoodAndAFolderIsNone) {
    Job job;
    for (const auto& entry : std::filesystem::directory_iterator(GAIZIOR_SAMPLES)) {
        EXPECT_TRUE(entry.path().extension() != ".job" || !ReadJobFile(entry.path().string(), job)) << entry;
    }
    EXPECT_NE(job, Job()) << "there is one";
    EXPECT_EQ(ReadJobFile(GAIZIOR_SAMPLES, job)->exit, Exit::kFailed);
}

} // namespace
} // namespace apps
