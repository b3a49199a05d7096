#include "apps/bench/judgement.h"
#include "tests/apps/program.h"

#include <functional>

namespace apps::test {
namespace {

#ifdef _WIN32
constexpr const char* kWake = "taskkill /F /PID 4711";
constexpr const char* kKill = "taskkill /F /PID 4711";
#else
constexpr const char* kWake = "kill -CONT 4711";
constexpr const char* kKill = "kill -9 4711";
#endif
constexpr const char* kWho = "bench channel who";

ZcUserT User(unsigned short id, ZcUserStateT state) {
    return {id, 4711, 1, 0, state, "imager", "anna"};
}

/// A channel on which all is well: a hundred and forty-nine messages for one who takes them, posted just now.
class JudgementTest : public ChannelTest {
protected:
    JudgementTest() {
        EXPECT_EQ(ZcOpenComms(40), ZRErrors::e_General_NoError);
        Post(149, 101);
        well.areUsersKnown = true;
        well.users = {User(101, kZcUserRuns)};
        well.heldIds = {101};
    }
    void Post(int count, unsigned short id) {
        for (int i = 0; i < count; ++i) {
            ASSERT_EQ(ZcSendMessage("text", 1000, id), ZRErrors::e_General_NoError);
        }
        ASSERT_EQ(ZcSnapshot(&look.block, 1000), ZRErrors::e_General_NoError);
        ASSERT_EQ(ZcExamine(&look.block, &look.findings), ZRErrors::e_General_NoError);
        well.look = &look;
        ASSERT_EQ(ZcGetPostTimes(&look.block, well.postedAt.data()), ZRErrors::e_General_NoError);
        well.now = well.postedAt[look.findings.anOrder[0]] + 60'000;
    }

    Look look{};
    Symptoms well;
};

TEST_F(JudgementTest, FindsNothingWhereAllIsWellAndElseTheCommandThatHelps) {
    struct Case {
        std::function<void(Symptoms&)> change;
        std::vector<std::pair<std::string, std::string>> found; ///< kind and command
    };
    const Case cases[] = {
        {[](Symptoms&) {}, {}},
        {[](Symptoms& s) { s.now += 1; }, {{"old", kWho}}},
        {[](Symptoms& s) { s.users = {User(101, kZcUserStopped)}, s.now += 1; }, {{"stopped", kWake}, {"old", kWake}}},
        {[](Symptoms& s) { s.users.push_back(User(101, kZcUserGone)); }, {}}, // another has taken its place
        {[](Symptoms& s) { s.users = {User(101, kZcUserGone)}, s.heldIds = {}; },
         {{"gone", "bench imager start --id 101"}, {"unheld", "bench channel purge --id 101"}}},
        {[](Symptoms& s) { s.users = {}, s.heldIds = {}, s.areUsersKnown = false; }, {}},
        {[](Symptoms& s) { s.holder = {1, 0, 4711, 4712, 1, "imager"}, s.look = nullptr; }, {{"lock", kKill}}},
        {[](Symptoms& s) {
             s.holder = {1, 0, 4711, 4712, 1, "imager"}, s.look = nullptr, s.users = {User(101, kZcUserStopped)};
         },
         {{"lock", kWake}, {"stopped", kWake}}},
        {[](Symptoms& s) { s.holder = {1, 0, 0, 0, 0, ""}, s.look = nullptr; }, {{"lock", kWho}}},
    };
    for (const Case& each : cases) {
        Symptoms symptoms = well;
        each.change(symptoms);
        std::vector<std::pair<std::string, std::string>> found;
        for (const Finding& finding : Judge(symptoms)) {
            found.emplace_back(finding.kind, finding.command);
        }
        EXPECT_EQ(found, each.found) << "case " << &each - cases;
    }
}

TEST_F(JudgementTest, FillsFromThreeQuartersOnAndNamesWhoHasMost) {
    Post(1, 99);
    const std::vector<Finding> findings = Judge(well);
    ASSERT_EQ(findings.size(), 2u);
    EXPECT_EQ(findings[0].text, "150 of 200 slots are taken, 149 of them for ID 101");
    EXPECT_EQ(findings[1].text, "1 message waits for ID 99, which nobody has");
    look.block.nMessages = 7;
    ZcExamine(&look.block, &look.findings);
    const std::vector<Finding> damaged = Judge(well);
    ASSERT_EQ(damaged.size(), 1u) << "what is damaged has nothing to tell of its messages";
    EXPECT_EQ(damaged[0].command, "bench channel doctor --repair");
}

} // namespace
} // namespace apps::test
