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
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace gaizior::test {
namespace {

constexpr unsigned kRounds = 100;
constexpr unsigned kSoakMessages = 1000;

using Texts = std::vector<std::string>;
using Queues = std::map<std::uint16_t, Texts>; // by addressee

std::unique_ptr<Child> StartChild(const std::string& words) {
    return std::make_unique<Child>(SiblingProgram("comms_child"), words);
}

/// Whether it died at its crash point rather than ended by itself.
bool HasCrashed(DWORD exitCode) {
    EXPECT_TRUE(exitCode == 0 || exitCode == 9 || exitCode == 128 + 9) << exitCode;
    return exitCode != 0;
}

bool IsRunning(const std::unique_ptr<Child>& child) {
    return ::WaitForSingleObject(child->Handle(), 0) == WAIT_TIMEOUT;
}

bool IsWell(const std::unique_ptr<Child>& child) {
    return IsRunning(child) || child->ExitCode() == 0;
}

struct Operation {
    const char* name;
    bool isChannelThere; ///< or does the victim make it
    int leastPoints;     ///< places to die at, over all fills
    bool canDamage;
};

/// The messages that wait when the victim begins.
struct Fill {
    const char* name;
    const char* ids; ///< the last digits of their addressees
};

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
        while (ZcReceiveMessage(buffer, sizeof(buffer), 0) == ZRErrors::e_General_NoError) {
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
            queues[slot.dest_id].emplace_back(slot.msg);
        }
        return queues;
    }

    /// A viewer for whom the n-th allocation fails, another one each time.
    static void LookInVain() {
        static int n = 0;
        const auto block = std::make_unique<ZcChannel>();
        FailAllocation(++n % 12 + 1, [&] { ZcSnapshot(block.get(), INFINITE); });
    }

    bool DieAndGoOn(const Operation& operation, const Fill& fill, int point);

    static inline int s_repairs = 0;
    Watchdog watchdog{std::chrono::minutes(9)};
    PrivateNames names;
};

std::string AllButOne() {
    std::string ids;
    for (int i = 0; i < 199; ++i) {
        ids += i == 0 || i == 100 || i == 198 ? '1' : static_cast<char>('2' + i % 2);
    }
    return ids;
}

Queues QueuesOf(const Fill& fill) {
    Queues queues;
    for (std::size_t i = 0; fill.ids[i]; ++i) {
        queues[static_cast<std::uint16_t>(10 + fill.ids[i] - '0')].push_back(FillText(i));
    }
    return queues;
}

void DropEmpty(Queues& queues) {
    std::erase_if(queues, [](const auto& queue) { return queue.second.empty(); });
}

/// Removes from `before` what the victim's operation may have done, if that explains what is there now.
void AllowFor(const std::string& operation, int point, bool hasFinished, Queues& before, Queues& now) {
    Texts& mine = before[kVictimId];
    const std::size_t left = now[kVictimId].size();
    if (operation == "send") {
        Texts& theirs = now[kSurvivorId];
        const bool isThere = !theirs.empty() && theirs.back() == kSentByVictim;
        EXPECT_TRUE(isThere || !hasFinished);
        theirs.resize(theirs.size() - isThere);
    } else if (operation == "take" && !mine.empty()) {
        const bool isTaken = left == mine.size() - 1;
        EXPECT_TRUE(isTaken || !hasFinished);
        EXPECT_FALSE(isTaken && point == 1) << "it is freed last";
        mine.erase(mine.begin(), mine.begin() + isTaken);
    } else if (operation == "open") {
        EXPECT_TRUE(left == 0 || !hasFinished);
        mine.erase(mine.begin(), mine.end() - static_cast<std::ptrdiff_t>(std::min(left, mine.size())));
    }
}

/// Lets a victim die at that point of the operation and looks at what those who live find. @returns whether it died.
bool SurvivalTest::DieAndGoOn(const Operation& operation, const Fill& fill, int point) {
    SCOPED_TRACE(std::string(operation.name) + ", point " + std::to_string(point) + ", messages: " + fill.name);
    const auto open = [] { EXPECT_EQ(ZcOpenComms(kSurvivorId), ZRErrors::e_General_NoError); };
    if (operation.isChannelThere) {
        open();
    }
    const std::string words = std::string("crash ") + operation.name + ' ' + std::to_string(point) + ' ' + fill.ids;
    const bool hasCrashed = HasCrashed(StartChild(words)->ExitCode());
    if (!operation.isChannelThere) {
        open();
    }
    const int repairsBefore = s_repairs;
    if (point % 3 == 0) {
        LookInVain();
    }
    Texts received = point % 2 ? ReceiveAll() : Texts(); // the dead one's mutex falls to a receiver or to a spectator
    Queues now = LookIntoBlock();
    EXPECT_LE(s_repairs - repairsBefore, 1) << "one line tells it all";
    Texts& mine = now[kSurvivorId];
    mine.insert(mine.begin(), received.begin(), received.end());
    Queues before = QueuesOf(fill);
    AllowFor(operation.name, point, !hasCrashed, before, now);
    DropEmpty(before);
    DropEmpty(now);
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
    const std::string allButOne = AllButOne();
    const Fill fills[] = {{"none", ""},
                          {"one", "1"},
                          {"three, the victim's first", "123"},
                          {"three, the victim's second", "213"},
                          {"three, the victim's last", "321"},
                          {"all but one", allButOne.c_str()}};
    const Operation operations[] = {
        {"send", true, 70, true}, {"take", true, 20, true}, {"open", true, 50, true}, {"create", false, 6, false}};
    for (const Operation& operation : operations) {
        const int repairsBefore = s_repairs;
        int points = 0;
        for (const Fill& fill : std::span(fills, operation.isChannelThere ? std::size(fills) : 1)) {
            for (int point = 1; DieAndGoOn(operation, fill, point); ++point) {
                ++points;
            }
        }
        EXPECT_GE(points, operation.leastPoints) << operation.name;
        EXPECT_EQ(s_repairs > repairsBefore, operation.canDamage) << operation.name;
    }
}

TEST_F(SurvivalTest, EightThatOpenAtOnceShareOneBlockWhileOthersDie) {
    const SharedView<Gathering> gathering(kGatheringName);
    std::vector<std::unique_ptr<Child>> gatherers;
    for (unsigned i = 0; i < kGatheringSize; ++i) {
        gatherers.push_back(StartChild("gather " + std::to_string(i) + ' ' + std::to_string(kRounds)));
    }
    int died = 0;
    for (int point = 0; std::any_of(gatherers.begin(), gatherers.end(), IsRunning); ++point) {
        ASSERT_TRUE(std::all_of(gatherers.begin(), gatherers.end(), IsWell));
        died += HasCrashed(StartChild("crash create " + std::to_string(1 + point % 30))->ExitCode());
    }
    for (const auto& gatherer : gatherers) {
        EXPECT_EQ(gatherer->ExitCode(), 0u);
    }
    EXPECT_GT(died, 0);
    EXPECT_EQ(ZcOpenComms(kSurvivorId), ZRErrors::e_General_NoError);
    ZcCloseComms();
    for (const auto& file : std::filesystem::directory_iterator(names.Path())) {
        EXPECT_EQ(file.path().filename(), kGatheringName);
    }
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
        ledger->desks[i].isOpen = 0;
        children[i] = StartChild("soak " + std::to_string(i));
    };
    for (unsigned i = 0; i < children.size(); ++i) {
        start(i);
    }
    const auto isSent = [&](const Ledger::Lane& lane) { return lane.begun == ledger->count; };
    std::mt19937 random(static_cast<unsigned>(std::random_device()()));
    unsigned kills = 0;
    while (!std::all_of(ledger->lanes.begin(), ledger->lanes.end(), isSent)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20 + random() % 130));
        const unsigned victim = static_cast<unsigned>(random() % children.size());
        ASSERT_TRUE(IsWell(children[victim]));
        if (ledger->desks[victim].isOpen) {
            children[victim]->Kill();
            ++kills;
            start(victim);
        }
    }
    while (!LookIntoBlock().empty()) {
        ASSERT_TRUE(std::all_of(children.begin(), children.end(), IsWell));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ledger->stop = 1;
    for (const auto& child : children) {
        EXPECT_EQ(child->ExitCode(), 0u);
    }
    std::array<unsigned, Ledger::Came + 1> became{};
    for (const Ledger::Lane& lane : ledger->lanes) {
        for (unsigned i = 0; i < ledger->count; ++i) {
            ++became[lane.states[i]];
        }
    }
    std::printf("%u processes killed, %u messages came, %u found with the dead, %u lost, %u come badly\n", kills,
                became[Ledger::Came], became[Ledger::Found], became[Ledger::Sent], ledger->faults.load());
    EXPECT_GT(became[Ledger::Came], 0u);
    EXPECT_EQ(became[Ledger::Sent], 0u);
    EXPECT_EQ(ledger->faults, 0u);
}

} // namespace
} // namespace gaizior::test
