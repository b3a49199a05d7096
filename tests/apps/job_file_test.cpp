#include "apps/job/job_file.h"
#include "apps/job/plate_file.h"
#include "apps/support/diagnostics.h"

#include <filesystem>
#include <span>
#include <sstream>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace apps {
namespace {

const char* const kGoodFile =
    "# a page\n[job]\nname = Front page   # of today\r\nresolution = 1270 dpi\n[plate]\nwidth = 345\n  length=580.5mm\n"
    "[image]\nwidth = 325.25 mm\nlength = 545 mm\n\n[separation]\nname = Cyan\n[separation]\nname = Black\ncopies = 2\n"
    "# end";

Outcome Read(const std::string& text, Job& job) {
    std::istringstream stream(text);
    return ReadJob(stream, "page.job", job);
}

Outcome Read(const std::string& text, std::vector<Plate>& plates) {
    std::istringstream stream(text);
    return ReadPlates(stream, "my.plates", plates);
}

const char* const kGoodPlates = "\xEF\xBB\xBF# our plates\r\n"
                                "[plate]\r\nname = News = 1; 100 %\r\nwidth = 345\r\nlength = 580.5 mm\r\n"
                                "thickness = 0.3 mm\r\npolarity = negative\r\npower = 199999.999999 uJ cm^2\r\n"
                                "calibration = Violet\r\ncassette = 99\r\n"
                                "[plate]\r\nname = Strip\r\npower = 0.5%\r\nwidth = 250\r\nlength = 300";

/// A file with one mistake.
struct Mistake {
    std::string good, bad;
    int line;
    std::string complaint;
};

/// Each mistake in a good file is told in one line, and nothing is stored.
template <typename Result>
void ExpectComplaints(const char* goodFile, const std::string& name, std::span<const Mistake> mistakes) {
    for (const auto& [good, bad, line, complaint] : mistakes) {
        SCOPED_TRACE(good + " -> " + bad.substr(0, 40));
        Result result;
        std::string file = goodFile;
        const Outcome failure = Read(file.replace(file.find(good), good.size(), bad), result);
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->exit, Exit::kUsage);
        EXPECT_EQ(result, Result()) << "a damaged file must not change the result";
        const std::string where = name + ":" + std::to_string(line) + ": ";
        EXPECT_TRUE(failure->text.starts_with(where)) << failure->text;
        EXPECT_NE(failure->text.find(complaint), std::string::npos) << failure->text;
        EXPECT_EQ(failure->text.find('\n'), std::string::npos) << "one line";
    }
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
    EXPECT_EQ(job, (Job{"Front page", {{345'00, 580'50}}, {325'25, 545'00}, 1270, {{"Cyan", 1}, {"Black", 2}}}));
    EXPECT_EQ(CountPlates(job), 3);
}

TEST_F(JobFile, EachFaultIsToldWithItsLine) {
    const Mistake cases[] = {
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
        {"[image]", "[plate]", 8, "stands in line 5, and a job file has only one"},
        {"325.25", "345.01", 8, "does not fit on a plate of 345 x 580.5 mm"},
        {"name = Cyan", "copies = 1", 12, "needs 'name'"},
        {"Black", "Cyan", 15, "already"},
        {"Black", "Cyan;1", 15, "letters, digits"},
        {"Black", std::string(17, 'x'), 15, "1 to 16"},
        {"copies = 2", "copies = 10", 16, "1 to 9"},
    };
    ExpectComplaints<Job>(kGoodFile, "page.job", cases);
}

TEST_F(JobFile, PlatesAreReadWithAllThatIsToldOfThem) {
    std::vector<Plate> plates;
    ASSERT_FALSE(Read(kGoodPlates, plates));
    using enum ZRPlateC::PowerTypeT;
    const Power power{e_PowerType_EnergyDensity, 199'999'999'999};
    const Plate news{{345'00, 580'50}, "News = 1; 100 %", 30, Polarity::kNegative, power, "Violet", 99};
    const Plate strip{{250'00, 300'00}, "Strip", {}, {}, Power{e_PowerType_Percentage, 500'000}, "", {}};
    EXPECT_EQ(plates, (std::vector{news, strip}));
    const ZRPlateC record = ToRecord(news);
    EXPECT_EQ(record.GetName() + std::string(record.GetCalibration()), "News = 1; 100 %Violet");
    EXPECT_TRUE(record.GetWidth() == 345 && record.GetHeight() == 580.5 && record.GetThickness() == 30);
    EXPECT_TRUE(record.GetPower() == 199999.999999 && record.GetPowerType() == e_PowerType_EnergyDensity);
    EXPECT_TRUE(!record.IsPositivePlate() && record.GetCassette() == 99);
}

TEST_F(JobFile, EachFaultOfAPlateIsToldWithItsLine) {
    const Mistake cases[] = {
        {"[plate]", "[job]", 2, "this is a job file"},
        {"[plate]", "[image]", 2, "a plate file has no section [image]"},
        {"name = Strip", "", 11, "needs 'name'"},
        {"Strip", "News = 1; 100 %", 12, "the plate in line 3 has the name"},
        {"Strip", std::string(41, 'x'), 12, "a plate's name has at most 40 characters"},
        {"Strip", "a\x7F", 12, "control character"},
        {"Violet", std::string(41, 'x'), 9, "a calibration's name has at most 40"},
        {"0.3 mm", "0.305 mm", 6, "expected a length"},
        {"0.3 mm", "0.09 mm", 6, "not between 0.1 and 0.5 mm"},
        {"negative", "Negative", 7, "expected 'positive' or 'negative'"},
        {"199999.999999", "200000.000001", 8, "more than 200000uJ/cm^2"},
        {"199999.999999", "1e3", 8, "expected a power"},
        {"199999.999999", "0,5", 8, "expected a power"},
        {"0.5%", "50", 13, "expected a power"},
        {"0.5%", "100.000001 %", 13, "more than 100%"},
        {"cassette = 99", "cassette = 100", 10, "from 1 to 99"},
    };
    ExpectComplaints<std::vector<Plate>>(kGoodPlates, "my.plates", cases);
    std::string many = kGoodPlates;
    std::vector<Plate> plates;
    for (int i = 2; i <= 100; ++i) {
        EXPECT_FALSE(Read(many, plates)) << i;
        many += "\n[plate]\nwidth=250\nlength=300\nname=" + std::to_string(i);
    }
    EXPECT_EQ(Read(many, plates)->text, "my.plates:408: a plate file has at most 100 sections [plate]");
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
    std::vector<Plate> plates;
    for (const auto& entry : std::filesystem::directory_iterator(GAIZIOR_SAMPLES)) {
        const std::string path = entry.path().string();
        EXPECT_FALSE(path.ends_with(".job")      ? ReadJobFile(path, job)
                     : path.ends_with(".plates") ? ReadPlateFile(path, plates)
                                                 : Outcome())
            << path;
    }
    EXPECT_TRUE(job != Job() && !plates.empty()) << "there is one of each";
    EXPECT_EQ(ReadJobFile(GAIZIOR_SAMPLES, job)->exit, Exit::kFailed);
}

} // namespace
} // namespace apps
