#include "apps/imager/command_handler.h"
#include "apps/support/failure.h"

#include <gtest/gtest.h>

#include <tuple>

namespace apps {
namespace {

constexpr std::uint16_t kImager = 101;
constexpr std::uint16_t kClient = 100;
constexpr std::uint16_t kOther = 7;
constexpr double kLongEnough = 10000;

const Job kJob{"Page", {{345'00, 580'00}}, {325'00, 545'00}, 1270, {{"Cyan", 1}, {"Black", 2}}};

class CommandHandlerTest : public testing::Test {
protected:
    std::vector<Outgoing> Tell(Message command, std::uint16_t sender = kClient) {
        command.id = sender;
        std::string packet;
        EXPECT_EQ(Encode(command, packet), ZRErrors::e_General_NoError);
        return m_handler.Handle(packet);
    }
    /// The code of the one answer to a text.
    ZRErrors::ZRErrorT CodeOf(const std::vector<Outgoing>& answers) {
        EXPECT_EQ(answers.size(), 1u);
        EXPECT_EQ(answers.empty() ? 0 : answers[0].message.type, kReply);
        return answers.empty() ? kInvalidData : static_cast<ZRErrors::ZRErrorT>(answers[0].message.value);
    }
    std::string State() {
        return std::string(FindParameter(Tell(MakeStatusCommand()).at(0).message.text, "state"));
    }
    void Load() {
        EXPECT_TRUE(Tell(MakeLoadCommand(kJob.plate)).empty()) << "answered when the plate is on the drum";
        EXPECT_EQ(CodeOf(m_handler.Advance(kLongEnough)), ZRErrors::e_General_NoError);
    }

    CommandHandler m_handler{kImager};
};

TEST_F(CommandHandlerTest, AJobGoesThroughItsStates) {
    const struct {
        Message command;
        const char *during, *after, *seconds;
    } steps[] = {{MakeLoadCommand(kJob.plate), "loading", "loaded", "4"},
                 {MakeExposeCommand(kJob), "exposing", "exposed", "104.83"}, // 27,250 lines at 900 a second
                 {MakeUnloadCommand(), "unloading", "empty", "3"}};
    EXPECT_EQ(State(), "empty");
    for (const auto& [command, during, after, seconds] : steps) {
        EXPECT_TRUE(Tell(command, kOther).empty()) << "answered when it is done";
        EXPECT_EQ(State(), during);
        const std::vector<Outgoing> done = m_handler.Advance(kLongEnough);
        EXPECT_EQ(CodeOf(done), ZRErrors::e_General_NoError);
        EXPECT_EQ(done.at(0).destination, kOther) << "whoever asked is answered";
        EXPECT_EQ(done.at(0).message.code, command.code);
        EXPECT_EQ(FindParameter(done.at(0).message.text, "seconds"), seconds);
        EXPECT_EQ(State(), after);
    }
    EXPECT_TRUE(m_handler.Advance(kLongEnough).empty()) << "nothing runs any more";
}

TEST_F(CommandHandlerTest, TheEngineTakesItsTimeAndTellsWhereItIs) {
    Load();
    Tell(MakeExposeCommand(kJob));
    // Three times 30.28 s, and 7 s for each change of the plate.
    const struct {
        double seconds;
        std::int32_t progress;
        const char *separation, *plate;
        std::size_t exposed;
    } steps[] = {
        {0, 0, "Cyan", "1", 0}, {30, 286, "Cyan", "1", 0}, {22.4, 499, "Black", "2", 1}, {52.3, 998, "Black", "3", 1}};
    for (const auto& [seconds, progress, separation, plate, exposed] : steps) {
        EXPECT_TRUE(m_handler.Advance(seconds).empty());
        EXPECT_EQ(m_handler.TakeExposures().size(), exposed);
        const Message told = m_handler.Progress()->message;
        EXPECT_TRUE(told.type == kProgress && told.value == progress) << told.value;
        EXPECT_EQ(FindParameter(told.text, "separation"), separation);
        EXPECT_EQ(FindParameter(told.text, "plate"), plate);
        EXPECT_EQ(FindParameter(told.text, "plates"), "3");
    }
    EXPECT_FALSE(m_handler.Advance(0.3).empty());
    EXPECT_FALSE(m_handler.Progress()) << "nothing runs any more";
}

TEST_F(CommandHandlerTest, CommandsThatTheStateForbidsAreRefusedAndChangeNothing) {
    EXPECT_EQ(CodeOf(Tell(MakeExposeCommand(kJob))), ZRErrors::e_Phs_NoPlate);
    EXPECT_EQ(CodeOf(Tell(MakeUnloadCommand())), ZRErrors::e_Phs_NoPlate);
    EXPECT_EQ(State(), "empty");
    Tell(MakeLoadCommand(kJob.plate));
    EXPECT_EQ(CodeOf(Tell(MakeLoadCommand(kJob.plate))), kDeviceBusy);
    m_handler.Advance(kLongEnough);
    EXPECT_EQ(CodeOf(Tell(MakeLoadCommand(kJob.plate))), kCommandRejected);
    Tell(MakeExposeCommand(kJob));
    for (const Message& command : {MakeLoadCommand(kJob.plate), MakeExposeCommand(kJob), MakeUnloadCommand()}) {
        EXPECT_EQ(CodeOf(Tell(command, kOther)), kDeviceBusy);
    }
    EXPECT_EQ(State(), "exposing");
    EXPECT_EQ(m_handler.Advance(kLongEnough).at(0).destination, kClient) << "not the one that was refused";
    EXPECT_EQ(CodeOf(Tell(MakeExposeCommand(kJob))), kCommandRejected) << "the plate is exposed";
}

TEST_F(CommandHandlerTest, WhatTheEngineCannotDoIsRefusedWithItsCode) {
    const auto loading = [&](const Size& plate) { return CodeOf(Tell(MakeLoadCommand({plate}))); };
    EXPECT_EQ(loading({1200'01, 580'00}), ZRErrors::e_Phs_PlateTooWide);
    EXPECT_EQ(loading({249'99, 580'00}), ZRErrors::e_Phs_PlateTooNarrow);
    EXPECT_EQ(loading({345'00, 1500'01}), ZRErrors::e_Phs_PlateTooLong);
    EXPECT_EQ(loading({345'00, 0}), ZRErrors::e_Phs_PlateTooShort);
    Load();
    const auto exposing = [&](auto&& change) {
        Job job = kJob;
        change(job);
        return CodeOf(Tell(MakeExposeCommand(job)));
    };
    EXPECT_EQ(exposing([](Job& job) { job.image.width = 345'01; }), kImageTooBig);
    EXPECT_EQ(exposing([](Job& job) { job.image.length = 0; }), kInvalidParameter);
    EXPECT_EQ(exposing([](Job& job) { job.name = "bell\a"; }), kInvalidParameter);
    EXPECT_EQ(exposing([](Job& job) { job.resolution = 0; }), kResolutionNotSet);
    EXPECT_EQ(exposing([](Job& job) { job.separations.clear(); }), kWrongSeparations);
    EXPECT_EQ(exposing([](Job& job) { job.separations.assign(9, {"a", 1}); }), kWrongSeparations);
    EXPECT_EQ(exposing([](Job& job) { job.separations[0].copies = 1000000000; }), kWrongSeparations);
    EXPECT_EQ(State(), "loaded");
}

TEST_F(CommandHandlerTest, ThePlateIsReportedAsItWasToldUntilItIsGone) {
    const Power power{ZRPlateC::e_PowerType_EnergyDensity, 199'999'999'999};
    const std::string name(kMaxName, ';');
    const Plate plate{{1199'99, 1499'99}, name, 49, Polarity::kNegative, power, std::string(kMaxName, '\xFC'), 99};
    const auto refused = [&](auto member, auto value) {
        Plate bad = plate;
        bad.*member = value;
        return CodeOf(Tell(MakeLoadCommand(bad)));
    };
    EXPECT_EQ(refused(&Plate::name, std::string("bell\a")), kInvalidParameter);
    EXPECT_EQ(refused(&Plate::name, std::string(kMaxName + 1, 'n')), kInvalidParameter);
    EXPECT_EQ(refused(&Plate::calibration, std::string("two\ttabs")), kInvalidParameter);
    EXPECT_EQ(refused(&Plate::thickness, 51), kInvalidParameter);
    EXPECT_EQ(refused(&Plate::power, Power{{}, 100'000'001}), kInvalidParameter);
    EXPECT_EQ(refused(&Plate::cassette, 0), kInvalidParameter);
    EXPECT_EQ(Tell(MakeLoadCommand({{1200'01, 580'00}})).at(0).message.qualifier,
              ErrorText(ZRErrors::e_Phs_PlateTooWide));
    EXPECT_EQ(State(), "empty");
    Tell(MakeLoadCommand(plate));
    const Message loaded = m_handler.Advance(kLongEnough).at(0).message;
    const std::string told = MakeLoadCommand(plate).text;
    EXPECT_EQ(loaded.text, "state=loaded " + told + " seconds=4");
    EXPECT_EQ(loaded.qualifier, plate.name + "\t" + plate.calibration);
    Tell(MakeUnloadCommand());
    Message status = Tell(MakeStatusCommand()).at(0).message;
    EXPECT_EQ(status.text, "state=unloading " + told);
    status.id = 65535;
    std::string packet;
    EXPECT_EQ(Encode(status, packet), ZRErrors::e_General_NoError) << "the longest state and the largest plate";
    m_handler.Advance(kLongEnough);
    EXPECT_EQ(Tell(MakeStatusCommand()).at(0).message.qualifier, "");
}

TEST_F(CommandHandlerTest, TheSenderThatATextNamesIsAnsweredAndNobodyElse) {
    const std::tuple<const char*, std::uint16_t, ZRErrors::ZRErrorT> cases[] = {
        {"", kNobody, kInvalidData},
        {"1;1", kNobody, kInvalidData},
        {"1;1;0x7;0;;", kNobody, kInvalidData},
        {"1;1;65536;0;;", kNobody, kInvalidData},
        {"1;1;101;0", kNobody, kInvalidData},
        {"1;1;7", kOther, kInvalidData},
        {"1;17;7;0;;", kOther, kUnimplemented},
        {"1;-1;7;0;;", kOther, kUnimplemented},
        {"9;1;7;0;;", kOther, kUnimplemented},
        {"1;17;0;0;;", kNobody, kUnimplemented},
        {"1;17;101;0;;", kNobody, kUnimplemented},
        {"1;2;7;0;width=345;", kOther, kInvalidParameter}};
    for (const auto& [packet, destination, code] : cases) {
        SCOPED_TRACE(packet);
        const std::vector<Outgoing> answers = m_handler.Handle(packet);
        EXPECT_EQ(CodeOf(answers), code);
        EXPECT_EQ(answers.at(0).destination, destination);
        EXPECT_FALSE(answers.at(0).message.qualifier.empty()) << "a person is told the reason";
    }
    EXPECT_TRUE(m_handler.Handle("2;1;7;0;;").empty()) << "an answer to an answer would never end";
    EXPECT_TRUE(m_handler.Handle("3;1;7;0;;").empty());
}

TEST_F(CommandHandlerTest, StopEndsTheRunningJobAndAnswersBoth) {
    Load();
    Tell(MakeExposeCommand(kJob));
    m_handler.Advance(20);
    const std::vector<Outgoing> answers = Tell(MakeStopCommand(), kOther);
    ASSERT_EQ(answers.size(), 2u);
    EXPECT_TRUE(answers[0].destination == kClient && answers[0].message.code == kExpose);
    EXPECT_EQ(answers[0].message.value, kJobStopped);
    EXPECT_TRUE(answers[1].destination == kOther && answers[1].message.value == ZRErrors::e_General_NoError);
    EXPECT_TRUE(m_handler.IsStopped());
    const std::vector<Exposure> exposures = m_handler.TakeExposures();
    ASSERT_EQ(exposures.size(), 1u);
    EXPECT_TRUE(exposures[0].isSpoiled && exposures[0].job == kJob.name && exposures[0].separation == "Cyan");
    EXPECT_EQ(State(), "exposed") << "the plate is spoiled";
    EXPECT_TRUE(m_handler.Advance(kLongEnough).empty());
}

} // namespace
} // namespace apps
