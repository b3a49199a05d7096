#include "apps/job/message.h"
#include "apps/support/failure.h"

#include <gtest/gtest.h>

namespace apps {
namespace {

/// The job that needs the longest message of all that the limits allow.
Job LargestJob() {
    Job job;
    job.name.assign(kMaxName, 'n');
    job.image = {149'999, 149'999};
    job.resolution = kResolution.most;
    for (std::size_t i = 0; i < kMaxSeparations; ++i) {
        job.separations.push_back({std::string(kMaxSeparationName, static_cast<char>('a' + i)), kCopies.most});
    }
    return job;
}

/// What arrives of a message that is sent.
Message Sent(const Message& message) {
    Message received;
    std::string packet;
    EXPECT_EQ(Encode(message, packet), ZRErrors::e_General_NoError);
    EXPECT_LE(packet.size(), kMaxMessage);
    EXPECT_EQ(Decode(packet, received), ZRErrors::e_General_NoError);
    return received;
}

TEST(Message, TheLargestJobAndHundredthsArriveWhole) {
    const Job job = LargestJob();
    Message command = MakeExposeCommand(job);
    command.id = 65535;
    EXPECT_EQ(Sent(command).id, 65535);
    EXPECT_EQ(ReadExposeCommand(Sent(command)), job);
}

TEST(Message, PlatesArriveWithAllThatIsToldOfThem) {
    const Plate half{{345'05, 580'50}, "", {}, Polarity::kPositive, Power{{}, 500'000}, "a=b;c", {}};
    EXPECT_EQ(Sent(MakeLoadCommand(half)).text, "width=345.05 length=580.5 polarity=positive power=0.5%");
    EXPECT_EQ(ReadLoadCommand(Sent(MakeLoadCommand(half))), half);
}

TEST(Message, WhatWouldArriveChangedIsNotSent) {
    Message message = MakeStopCommand();
    std::string packet = "as before";
    message.text = "a;b";
    EXPECT_EQ(Encode(message, packet), kInvalidParameter);
    message.text.assign(300, 'x');
    EXPECT_NE(Encode(message, packet), ZRErrors::e_General_NoError);
    message.text.clear();
    message.qualifier.assign(kMaxMessage - std::string("1;5;0;0;;").size(), 'q');
    EXPECT_EQ(packet, "as before");
    EXPECT_EQ(Encode(message, packet), ZRErrors::e_General_NoError);
    EXPECT_EQ(packet.size(), kMaxMessage);
}

TEST(Message, OnlyWholePacketsAreRead) {
    for (const std::string packet : {"", ";;;;;", "1;2;3;4;text", "1;2;3;4", "x;2;3;4;;", "1;2;3;4x;;", "1;2;-1;4;;",
                                     "1;2;65536;4;;", "99999999999;2;3;4;;", "1; 2;3;4;;", "hello", "\xFF\xFE;;;;;;"}) {
        Message message{7, 7, 7, 7, "as", "before"};
        EXPECT_EQ(Decode(packet, message), kInvalidData) << packet;
        EXPECT_EQ(message.text, "as") << packet;
    }
    Message message;
    EXPECT_EQ(Decode("1;1;1;1;" + std::string(300, 'x') + ";", message), kInvalidData);
    EXPECT_EQ(Decode("1;2;3;-4;text;more;and more", message), ZRErrors::e_General_NoError);
    EXPECT_TRUE(message.value == -4 && message.text == "text" && message.qualifier == "more;and more");
}

TEST(Message, CommandsWithMissingOrHostileParametersAreNotRead) {
    Message message = MakeExposeCommand(LargestJob());
    for (const char* text : {"", "width=1", "width=1 length=", "width=99999999999 length=1", "width=1 length=-1",
                             "width= length=5", "length=1 width", "width=1 length=1 separations=Cyan*x"}) {
        message.text = text;
        EXPECT_EQ(ReadExposeCommand(message), std::nullopt) << text;
        EXPECT_EQ(ReadLoadCommand(message), std::nullopt) << text;
    }
    for (const char* word : {"width=1", "thickness=0.301", "thickness=-1", "polarity=", "polarity=both", "power=80",
                             "power=%", "power=1e3%", "power=9999999%", "power=nan%", "cassette=2x",
                             "cassette=99999999999", "cassette=1 cassette=1", "colour=red", "=1"}) {
        message.text = std::string("width=345 length=580 ") + word;
        EXPECT_EQ(ReadLoadCommand(message), std::nullopt) << word;
    }
}

} // namespace
} // namespace apps
