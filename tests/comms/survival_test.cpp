#include "gaizior/comms/channel.h"
#include "gaizior/comms/channel_status.h"
#include "gaizior/logging/debug_print.h"
#include "gaizior/platform/timing.h"
#include "tests/comms/survival.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/child.h"
#include "tests/support/scratch.h"
#include "tests/support/shared_view.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <span>
#include <utility>
#include <vector>

namespace gaizior::test {
namespace {

constexpr unsigned kRounds = 100;
constexpr unsigned kSoakMessages = 1000;

using Texts = std::vector<std::string>;
using Queues = std::array<Texts, 10>; // by the last digit of the addressee

std::unique_ptr<Child> StartChild(const std::string& words) {
    return std::make_unique<Child>(SiblingProgram("comms_child"), words);
}

/// Whether it died at its crash point rather than ended by itself.
bool Crashes(const std::string& words) {
    const DWORD exitCode = StartChild("crash " + words)->ExitCode();
    EXPECT_TRUE(exitCode == 0 || exitCode == 9 || exitCode == 128 + 9) << exitCode;
    return exitCode != 0;
}

bool IsWell(const std::unique_ptr<Child>& child) {
    return ::WaitForSingleObject(child->Handle(), 0) == WAIT_TIMEOUT || child->ExitCode() == 0;
}

class SurvivalTest : public ::testing::Test {
protected:
    SurvivalTest() {
        seams::SetTimeDivisor(1000);
        s_repairs = 0;
        ZRDBNewRegisterCallback(
            [](int, int, const char* line) { s_repairs += std::strstr(line, "the block was damaged") != nullptr; });
    }
    ~SurvivalTest() override {
        ZcCloseComms();
        ZRDBNewRegisterCallback(nullptr);
        seams::SetTimeDivisor(1);
    }

    static Texts ReceiveAll() {
        Texts received;
        char buffer[256];
        while (ZcReceiveMessageAtOnce(buffer, sizeof(buffer), 0) == ZRErrors::e_General_NoError) {
            received.emplace_back(buffer);
        }
        return received;
    }

    /// What is in the block, which must be consistent.
    static Queues LookIntoBlock() {
        const auto block = std::make_unique<ZcChannel>();
        ZcFindingsT findings;
        EXPECT_EQ(ZcSnapshot(block.get(), INFINITE), ZRErrors::e_General_NoError);
        EXPECT_EQ(ZcExamine(block.get(), &findings), ZRErrors::e_General_NoError) << findings.szDamage;
        Queues queues;
        for (unsigned i = 0; i < findings.nQueued; ++i) {
            const ZcMessageSlot& slot = block->slots[findings.anOrder[i]];
            queues[slot.dest_id % 10].emplace_back(slot.msg);
        }
        return queues;
    }

    bool DieAndGoOn(const std::string& operation, const std::string& ids, int point);

    static inline int s_repairs = 0;
    Watchdog watchdog{std::chrono::minutes(9)};
    PrivateNames names;
};

/// Removes from `before` what the victim's operation may have done, if that explains what is there now.
void AllowFor(const std::string& operation, int point, bool hasFinished, Queues& before, Queues& now) {
    Texts& mine = before[kVictimId % 10];
    const std::size_t left = now[kVictimId % 10].size();
    if (operation == "send") {
        Texts& theirs = now[kSurvivorId % 10];
        const bool isThere = !theirs.empty() && theirs.back() == kSentByVictim;
        EXPECT_TRUE(isThere || !hasFinished);
        theirs.resize(theirs.size() - isThere);
    } else if (operation.starts_with("take") && !mine.empty()) {
        const bool isTaken = left == mine.size() - 1;
        EXPECT_TRUE(isTaken || !hasFinished);
        EXPECT_FALSE(isTaken && point == 1) << "it is freed last";
        mine.erase(mine.begin(), mine.begin() + isTaken);
    } else if (operation == "open") {
        EXPECT_TRUE(left == 0 || !hasFinished);
        mine.erase(mine.begin(), mine.end() - static_cast<std::ptrdiff_t>(std::min(left, mine.size())));
    }
}

/// Lets a victim die at that point of the operation and looks at what those who live find. What waits when it begins
/// are messages for the IDs with those last digits. @returns whether it died.
bool SurvivalTest::DieAndGoOn(const std::string& operation, const std::string& ids, int point) {
    const std::string words = operation + ' ' + std::to_string(point) + ' ' + ids;
    SCOPED_TRACE(words);
    const auto open = [] { EXPECT_EQ(ZcOpenComms(kSurvivorId), ZRErrors::e_General_NoError); };
    if (operation != "create") {
        open();
    }
    const bool hasCrashed = Crashes(words);
    if (operation == "create") {
        open();
    }
    const int repairsBefore = s_repairs;
    if (point % 3 == 0) {
        static int allocation = 0; // another one each time fails for a viewer
        const auto block = std::make_unique<ZcChannel>();
        FailAllocation(++allocation % 12 + 1, [&] { ZcSnapshot(block.get(), INFINITE); });
    }
    Texts received = point % 2 ? ReceiveAll() : Texts(); // the dead one's mutex falls to a receiver or to a spectator
    Queues now = LookIntoBlock();
    EXPECT_LE(s_repairs - repairsBefore, 1) << "one line tells it all";
    Texts& mine = now[kSurvivorId % 10];
    mine.insert(mine.begin(), received.begin(), received.end());
    Queues before;
    for (std::size_t i = 0; i < ids.size(); ++i) {
        before[static_cast<std::size_t>(ids[i] - '0')].push_back(FillText(i));
    }
    AllowFor(operation, point, !hasCrashed, before, now);
    EXPECT_EQ(now, before);
    ReceiveAll();
    EXPECT_EQ(ZcSendMessage("it works on", INFINITE, kSurvivorId), ZRErrors::e_General_NoError);
    const Texts last = ReceiveAll();
    EXPECT_EQ(last.empty() ? "" : last.back(), "it works on");
    ZcCloseComms();
    EXPECT_TRUE(std::filesystem::is_empty(names.Path())) << "whatever the dead one had left";
    return hasCrashed;
}

TEST_F(SurvivalTest, WhoeverDiesWhereverLosesNobodysMessage) {
    const std::string allButOne = '1' + std::string(98, '2') + '1' + std::string(98, '3') + '1';
    const std::string fills[] = {"", "1", "123", "213", "321", allButOne};
    // and at how many places it must have died, over all fills
    const std::pair<const char*, int> operations[] = {
        {"send", 70}, {"take", 20}, {"take-at-once", 20}, {"open", 50}, {"create", 6}};
    for (const auto& [operation, leastPoints] : operations) {
        const bool isChannelThere = std::strcmp(operation, "create") != 0;
        const int repairsBefore = s_repairs;
        int points = 0;
        for (const std::string& ids : std::span(fills, isChannelThere ? std::size(fills) : 1)) {
            for (int point = 1; DieAndGoOn(operation, ids, point); ++point) {
                ++points;
            }
        }
        EXPECT_GE(points, leastPoints) << operation;
        EXPECT_EQ(s_repairs > repairsBefore, isChannelThere) << "what is half made is no damage: " << operation;
    }
}

TEST_F(SurvivalTest, EightThatOpenAtOnceShareOneBlockWhileOthersDie) {
    const SharedView<Gathering> arrived(kGatheringName);
    std::vector<std::unique_ptr<Child>> gatherers;
    for (unsigned i = 0; i < kGatheringSize; ++i) {
        gatherers.push_back(StartChild("gather " + std::to_string(i) + ' ' + std::to_string(kRounds)));
    }
    int died = 0;
    for (int point = 0; *arrived < 3 * kGatheringSize * kRounds; ++point) {
        ASSERT_TRUE(std::ranges::all_of(gatherers, IsWell));
        died += Crashes("create " + std::to_string(1 + point % 30));
    }
    for (const auto& gatherer : gatherers) {
        EXPECT_EQ(gatherer->ExitCode(), 0u);
    }
    EXPECT_GT(died, 0);
    EXPECT_EQ(ZcOpenComms(kSurvivorId), ZRErrors::e_General_NoError);
    ZcCloseComms();
    EXPECT_LE(std::distance(std::filesystem::directory_iterator(names.Path()), {}), 1) << "the gathering's own";
}

/// What a killed process had taken stands in its buffer, which outlives it. An open that is killed while it throws
/// messages away could not tell of them, so only those that are open are killed.
TEST_F(SurvivalTest, ASoakOfRandomKillsLosesAndRepeatsNothing) {
    const char* const wanted = std::getenv("GAIZIOR_SOAK_MESSAGES");
    const SharedView<Ledger> ledger(kLedgerName);
    ledger->count = wanted ? std::min(Ledger::kMost, 2 * static_cast<unsigned>(std::atoi(wanted))) : kSoakMessages;
    ASSERT_EQ(ZcOpenComms(kSurvivorId), ZRErrors::e_General_NoError) << "keeps the block while the others come and go";
    std::array<std::unique_ptr<Child>, Ledger::kProcesses> children;
    const auto start = [&](unsigned i) {
        ledger->isOpen[i] = 0;
        children[i] = StartChild("soak " + std::to_string(i));
    };
    for (unsigned i = 0; i < children.size(); ++i) {
        start(i);
    }
    const auto isBegun = [&](const Ledger::Lane& lane) { return lane.begun == ledger->count; };
    std::mt19937 random(static_cast<unsigned>(std::random_device()()));
    while (!std::ranges::all_of(ledger->lanes, isBegun)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20 + random() % 130));
        const unsigned victim = static_cast<unsigned>(random() % children.size());
        ASSERT_TRUE(IsWell(children[victim]));
        if (ledger->isOpen[victim]) {
            children[victim]->Kill();
            start(victim);
        }
    }
    while (LookIntoBlock() != Queues()) {
        ASSERT_TRUE(std::ranges::all_of(children, IsWell));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ledger->stop = 1;
    for (const auto& child : children) {
        EXPECT_EQ(child->ExitCode(), 0u);
    }
    unsigned came = 0;
    unsigned lost = 0;
    for (const Ledger::Lane& lane : ledger->lanes) {
        for (const std::uint8_t state : lane.states) {
            came += state >= Ledger::kCame;
            lost += state == Ledger::kSent;
        }
    }
    EXPECT_GT(came, 0u);
    EXPECT_EQ(lost, 0u);
    EXPECT_EQ(ledger->faults, 0u);
}

} // namespace
} // namespace gaizior::test
