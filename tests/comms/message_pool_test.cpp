#include "gaizior/comms/message_pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <tuple>
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
    const auto before = std::make_unique<ZcChannel>(block);
    EXPECT_FALSE(pool.Repair());
    EXPECT_EQ(std::memcmp(before.get(), &block, sizeof(block)), 0) << "a consistent block is left as it is";
    EXPECT_EQ(TakeAll(1), (Texts{"a1", "a2"})) << "from the start";
    EXPECT_FALSE(pool.Repair());
    Post({{"c2", 3}});
    EXPECT_EQ(block.slots[0].dest_id, 3) << "the first free slot is used, wherever the list is";
    EXPECT_EQ(TakeAll(3), (Texts{"c1", "c2"}));
    EXPECT_EQ(block.nMessages + block.start_of_list + block.end_of_list, 0);
}

/// Whoever posts or takes next mends the block, never follows a wild index and loses nothing.
TEST_F(MessagePoolTest, DamageIsMendedByTheNextOperation) {
    const Texts all{"a0", "a1", "a2"};
    // What ID 1 receives of a0 (slot 0), a1 (slot 1), a2 (slot 2) after which damage.
    const std::tuple<const char*, std::function<void(ZcChannel&)>, Texts> damages[] = {
        {"start out of range", [](ZcChannel& c) { c.start_of_list = 200; }, all},
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
        {"count out of range", [](ZcChannel& c) { c.nMessages = 0xFFFF; }, all},
        {"count of none", [](ZcChannel& c) { c.nMessages = 0; }, all},
        {"text without end",
         [](ZcChannel& c) { std::memset(c.slots[1].msg, 'x', sizeof(c.slots[1].msg)); },
         {"a0", std::string(255, 'x'), "a2"}},
        {"a take that was not finished, and a newer message in a lower slot",
         [](ZcChannel& c) {
             c.slots[0].dest_id = 9;
             c.slots[0].next = c.slots[1].prev = c.slots[2].prev = c.start_of_list = 2;
             c.slots[1].next = c.slots[2].next = c.end_of_list = 1;
             c.nMessages = 2;
         },
         {"a2", "a1"}},
        {"slot half written", [](ZcChannel& c) { c.slots[1].taken = 0xDEADBEEF; }, {"a0", "a2"}},
    };
    for (const auto& [name, inflict, left] : damages) {
        SCOPED_TRACE(name);
        for (const bool postFirst : {false, true}) {
            MessagePool::Initialise(block);
            Post({{"a0", 1}, {"a1", 1}, {"a2", 1}});
            inflict(block);
            EXPECT_FALSE(Examine(block).damage.empty());
            Texts expected = left;
            if (postFirst) {
                ASSERT_TRUE(pool.Post("new", 1));
                EXPECT_TRUE(pool.Repair() || !pool.Report().empty());
                expected.emplace_back("new");
            }
            EXPECT_EQ(TakeAll(1), expected);
            pool.Repair();
            EXPECT_STREQ(Examine(block).damage.c_str(), "");
        }
    }
}

/// One that writes into the block without the mutex, all the time: an index that was checked may be another one when it
/// is used. Wherever one may lead to is watched.
TEST_F(MessagePoolTest, NothingOutsideTheBlockIsTouchedWhateverOthersWriteIntoIt) {
    std::vector<unsigned char> memory(sizeof(ZcChannel) + 0x10000 * sizeof(ZcMessageSlot), 0xAA);
    auto& shared = *new (memory.data()) ZcChannel{};
    std::atomic<bool> stop{false};
    std::thread scribbler([&] {
        std::minstd_rand random;
        std::uint16_t* const fields[] = {&shared.end_of_list, &shared.slots[0].next, &shared.slots[0].prev};
        while (!stop) {
            const std::atomic_ref index(*fields[random() % 3]);
            index.store(index.exchange(static_cast<std::uint16_t>(random())));
        }
    });
    char buffer[kZcMessageSize];
    for (int i = 0; i < 1'000'000; ++i) {
        MessagePool attacked(shared);
        attacked.Post("text", 1);
        attacked.Take(1, buffer, sizeof(buffer));
    }
    stop = true;
    scribbler.join();
    EXPECT_EQ(std::find_if(memory.begin() + sizeof(ZcChannel), memory.end(), [](int byte) { return byte != 0xAA; }),
              memory.end());
}

} // namespace
} // namespace gaizior
