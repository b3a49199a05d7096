#include "apps/job/job_file.h"
#include "apps/support/diagnostics.h"

#include <filesystem>
#include <sstream>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace apps {
namespace {

// Seventeen lines; tests break one of them.
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

std::string WithLine(int number, const std::string& replacement) {
    std::istringstream good(kGoodFile);
    std::string file;
    std::string line;
    for (int i = 1; std::getline(good, line); ++i) {
        file += (i == number ? replacement : line) + "\n";
    }
    return file;
}

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
    const Job expected{"Front page", {345'00, 580'50}, {325'25, 545'00}, 1270, {{"Cyan", 1}, {"Black", 2}}};
    EXPECT_EQ(job, expected);
    EXPECT_EQ(CountPlates(job), 3);
    EXPECT_FALSE(Read("\xEF\xBB\xBF" + std::string(kGoodFile), job)) << "with a byte-order mark";
}

TEST_F(JobFile, EachFaultIsToldWithItsLine) {
    const struct {
        int line;
        std::string replacement;
        int complaintLine;
        std::string complaint;
    } cases[] = {
        {2, "[jab]", 2, "did you mean 'job'?"},
        {2, "[job", 2, "']'"},
        {2, "", 3, "before the first section"},
        {3, "", 2, "needs 'name'"},
        {3, "name =", 3, "has no value"},
        {3, "name = " + std::string(41, 'x'), 3, "at most 40"},
        {3, "name = bell\a", 3, "control character"},
        {3, "name = a\0b"s, 3, "control character"},
        {3, "name = " + std::string(5000, 'x'), 3, "no job file"},
        {4, "resolution = 1270 lpi", 4, "whole number from 600 to 3600 dpi"},
        {4, "resolution = 99999999999999999999", 4, "600 to 3600"},
        {4, "resolution = -1270", 4, "600 to 3600"},
        {4, "rezolution = 1270", 4, "did you mean 'resolution'?"},
        {4, "resolution 1270", 4, "expected 'key = value'"},
        {4, "name = again", 4, "set in line 3 already"},
        {6, "width = 1e3", 6, "expected a length"},
        {6, "width = 345.125", 6, "expected a length"},
        {6, "width = 345 in", 6, "expected a length"},
        {6, "width = 9999999999 mm", 6, "expected a length"},
        {6, "width = 1200.01 mm", 6, "not between 250 and 1200 mm"},
        {8, "[plate]", 8, "stands in line 5 already"},
        {9, "width = 345.01", 8, "does not fit on a plate of 345 x 580.5 mm"},
        {13, "copies = 1", 12, "needs 'name'"},
        {15, "name = Cyan", 15, "already"},
        {15, "name = Cyan;1", 15, "letters, digits"},
        {15, "name = " + std::string(17, 'x'), 15, "1 to 16"},
        {16, "copies = 10", 16, "1 to 9"},
    };
    for (const auto& damaged : cases) {
        SCOPED_TRACE(damaged.replacement.substr(0, 40));
        Job job;
        const Outcome failure = Read(WithLine(damaged.line, damaged.replacement), job);
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->exit, Exit::kUsage);
        EXPECT_EQ(job, Job()) << "a damaged file must not change the job";
        const std::string where = "page.job:" + std::to_string(damaged.complaintLine) + ": ";
        EXPECT_EQ(failure->text.substr(0, where.size()), where) << failure->text;
        EXPECT_NE(failure->text.find(damaged.complaint), std::string::npos) << failure->text;
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
