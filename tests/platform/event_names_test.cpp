#include "gaizior/platform/names.h"
#include "tests/platform/objects.h"

#include <fstream>
#include <set>

#include <fcntl.h>
#include <unistd.h>

namespace gaizior::test {
namespace {

using EventNames = ObjectTest;

TEST_F(EventNames, ThatNobodyHasOpenAreSweptAndNothingElse) {
    const UniqueHandle open = Event(FALSE, FALSE, "Event_12");
    const UniqueHandle mutex = Mutex(FALSE, "m");
    std::filesystem::copy(names.File("Event_12"), names.File("Event_7")); // as a killed process leaves it
    std::filesystem::copy(names.File("m"), names.File("Event_8"));
    std::ofstream(names.File("Event_65535"));
    for (const char* name : {"Event_notes.txt", "Event_", "Event_123456", "Event_1", "Other_7"}) {
        std::ofstream(names.File(name)) << (*name == 'O' ? "" : "somebody's");
    }
    ::SetLastError(4711);
    RemoveUnusedEvents("Event_");
    EXPECT_EQ(::GetLastError(), 4711u);
    std::set<std::string> left;
    for (const auto& entry : std::filesystem::directory_iterator(names.Path())) {
        left.insert(entry.path().filename());
    }
    EXPECT_EQ(left, (std::set<std::string>{"m", "Event_12", "Event_8", "Event_notes.txt", "Event_", "Event_123456",
                                           "Event_1", "Other_7"}));
}

TEST_F(EventNames, AreNotWaitedForAtTheDoor) {
    const UniqueHandle open = Event(FALSE, FALSE, "Event_12");
    EXPECT_TRUE(UniqueHandle(TryOpenEvent("Event_12")));
    EXPECT_EQ(ErrorOf(UniqueHandle(TryOpenEvent("Event_13"))), ERROR_FILE_NOT_FOUND);
    const int stopped = ::open(names.File("Event_14").c_str(), O_RDWR | O_CREAT, 0600);
    const struct flock door = {F_WRLCK, SEEK_SET, 0, 1, 0};
    ASSERT_EQ(::fcntl(stopped, F_OFD_SETLK, &door), 0);
    EXPECT_EQ(ErrorOf(UniqueHandle(TryOpenEvent("Event_14"))), ERROR_BUSY);
    RemoveUnusedEvents("Event_");
    EXPECT_TRUE(std::filesystem::exists(names.File("Event_14")));
    ::close(stopped);
}

} // namespace
} // namespace gaizior::test
