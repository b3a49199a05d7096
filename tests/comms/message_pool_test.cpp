#include "gaizior/comms/message_pool.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace gaizior {
namespace {

class MessagePoolTest : public ::testing::Test {
protected:
    MessagePoolTest() {
        MessagePool::Initialise(block);
    }

    void Post(std::initializer_list<std::pair<const char*, std::uint16_t>> messages) {
        for (const auto& [text, destination] : messages) {
            ASSERT_TRUE(pool.Post(text, destination));
        }
    }

    std::vector<std::string> TakeAll(std::uint16_t destination) {
        std::vector<std::string> taken;
        char buffer[kZcMessageSize];
        while (pool.Take(destination, buffer, sizeof(buffer))) {
            taken.emplace_back(buffer);
            EXPECT_EQ(Examine(block).damage, "") << "after taking " << buffer;
        }
        return taken;
    }

    const std::unique_ptr<ZcChannel> owner = std::make_unique<ZcChannel>();
    ZcChannel& block = *owner;
    MessagePool pool{block};
};

using Texts = std::vector<std::string>;

TEST_F(MessagePoolTest, EachAddresseeTakesItsOwnOldestFirst) {
    Post({{"a1", 1}, {"b1", 2}, {"a2", 1}, {"c1", 3}, {"b2", 2}});
    EXPECT_EQ(TakeAll(2), (Texts{"b1", "b2"})) << "from the middle and from the end";
    EXPECT_EQ(TakeAll(1), (Texts{"a1", "a2"})) << "from the start";
    Post({{"c2", 3}});
    EXPECT_EQ(block.slots[0].dest_id, 3) << "the first free slot is used, wherever the list is";
    EXPECT_EQ(TakeAll(3), (Texts{"c1", "c2"}));
    EXPECT_EQ(block.nMessages + block.start_of_list + block.end_of_list, 0);
}

TEST_F(MessagePoolTest, TwoHundredMessagesFillIt) {
    for (int i = 0; i < kZcSlotCount; ++i) {
        ASSERT_TRUE(pool.Post(std::to_string(i).c_str(), 7));
    }
    EXPECT_FALSE(pool.Post("too many", 7));
    EXPECT_EQ(Examine(block).nQueued, kZcSlotCount);
    EXPECT_EQ(TakeAll(7).size(), kZcSlotCount);
}

TEST_F(MessagePoolTest, AConsistentBlockIsLeftByteForByteAsItIs) {
    Post({{"a1", 1}, {"b1", 2}, {"a2", 1}});
    EXPECT_EQ(TakeAll(2), Texts{"b1"});
    const auto before = std::make_unique<ZcChannel>(block);
    EXPECT_FALSE(pool.Repair());
    EXPECT_EQ(std::memcmp(before.get(), &block, sizeof(block)), 0);
}

struct Damage {
    const char* name;
    std::function<void(ZcChannel&)> inflict;
    Texts expected; ///< what ID 1 then receives of a0 (slot 0), a1 (slot 1), a2 (slot 2)
};

/// Whoever posts or takes next mends the block, never follows a wild index and loses nothing.
TEST_F(MessagePoolTest, DamageIsMendedByTheNextOperation) {
    const Texts all{"a0", "a1", "a2"};
    const Damage damages[] = {
        {"start out of range", [](ZcChannel& c) { c.start_of_list = 200; }, all},
        {"start far out of range", [](ZcChannel& c) { c.start_of_list = 0xFFFF; }, all},
        {"start at a free slot", [](ZcChannel& c) { c.start_of_list = 9; }, all},
        {"end out of range", [](ZcChannel& c) { c.end_of_list = 0xFFFF; }, all},
        {"end in the middle", [](ZcChannel& c) { c.end_of_list = 1; }, all},
        {"next out of range", [](ZcChannel& c) { c.slots[1].next = 200; }, all},
        {"list in a circle", [](ZcChannel& c) { c.slots[1].next = 0; }, all},
        {"slot that leads to itself", [](ZcChannel& c) { c.slots[0].next = 0; }, all},
        {"prev out of range", [](ZcChannel& c) { c.slots[0].prev = 777; }, all},
        {"all links lost", [](ZcChannel& c) { c.slots[0].next = c.slots[1].next = c.slots[2].prev = 199; }, all},
        {"wrong self", [](ZcChannel& c) { c.slots[2].self = 300; }, all},
        {"count too small", [](ZcChannel& c) { c.nMessages = 2; }, all},
        {"count too large", [](ZcChannel& c) { c.nMessages = 0xFFFF; }, all},
        {"count of none", [](ZcChannel& c) { c.nMessages = 0; }, all},
        {"text without end",
         [](ZcChannel& c) { std::memset(c.slots[1].msg, 'x', sizeof(c.slots[1].msg)); },
         {"a0", std::string(255, 'x'), "a2"}},
        {"slot half written", [](ZcChannel& c) { c.slots[1].taken = 0xDEADBEEF; }, {"a0", "a2"}},
    };
    for (const Damage& damage : damages) {
        SCOPED_TRACE(damage.name);
        for (const bool postFirst : {false, true}) {
            MessagePool::Initialise(block);
            Post({{"a0", 1}, {"a1", 1}, {"a2", 1}});
            damage.inflict(block);
            EXPECT_NE(Examine(block).damage, "");
            if (postFirst) {
                ASSERT_TRUE(pool.Post("new", 1));
                EXPECT_TRUE(pool.Repair() || !pool.Report().empty());
            }
            Texts expected = damage.expected;
            if (postFirst) {
                expected.emplace_back("new");
            }
            char buffer[kZcMessageSize];
            Texts taken;
            while (pool.Take(1, buffer, sizeof(buffer))) {
                taken.emplace_back(buffer);
            }
            EXPECT_EQ(taken, expected);
            pool.Repair();
            EXPECT_EQ(Examine(block).damage, "");
        }
    }
}

/// Whatever bytes another process left behind, nothing outside the block is touched and the pool works on.
TEST_F(MessagePoolTest, ABlockOfNoiseIsMadeUsable) {
    std::uint32_t state = 12345;
    for (int round = 0; round < 300; ++round) {
        auto* bytes = reinterpret_cast<unsigned char*>(&block);
        for (std::size_t i = 0; i < sizeof(block); ++i) {
            state = state * 1664525u + 1013904223u;
            bytes[i] = static_cast<unsigned char>(state >> 24);
        }
        for (ZcMessageSlot& slot : block.slots) {
            slot.taken &= round % 3 == 0 ? 0xFFFFFFFF : 1u;
            slot.next = round % 2 == 0 ? slot.next : static_cast<std::uint16_t>(slot.next % 200);
        }
        EXPECT_TRUE(pool.Repair());
        ASSERT_EQ(Examine(block).damage, "") << "round " << round;
        char buffer[16];
        ASSERT_TRUE(pool.IsEmpty() || pool.Take(block.slots[block.start_of_list].dest_id, buffer, sizeof(buffer)));
        ASSERT_TRUE(pool.Post("works", 1));
        ASSERT_EQ(Examine(block).damage, "") << "round " << round;
    }
}

} // namespace
} // namespace gaizior
