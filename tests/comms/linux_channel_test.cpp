#include "gaizior/comms/channel.h"
#include "gaizior/comms/channel_block.h"
#include "gaizior/logging/debug_print.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace gaizior {
namespace {

std::string g_log;

struct Part {
    const char* name;
    std::size_t size;
    ZRErrors::ZRErrorT code;
    const char* line;
};

/// Whatever of the channel is not ours makes the open fail, is told, and stays as it is.
TEST(LinuxChannel, FilesOfAnotherUserOrAnotherSizeAreRefused) {
    const test::PrivateNames names;
    ZRDBNewRegisterCallback([](int, int, const char* line) { g_log += line; });
    const Part parts[] = {
        {"Zircona_Comms_Mutex", 128, ZRErrors::e_Resource_AllocationFailed, "creating the mutex failed"},
        {"Zircona_Comms_Event", 128, ZRErrors::e_Resource_AllocationFailed, "creating the event failed"},
        {"Zircona_Comms_Queue", sizeof(ZcChannel), ZRErrors::e_File_MappingFailed, "creating the shared memory failed"},
    };
    for (const Part& part : parts) {
        for (const bool isOfAnotherUser : {true, false}) {
            if (isOfAnotherUser && ::geteuid() != 0) {
                continue; // only root can make such a file
            }
            SCOPED_TRACE(std::string(part.name) + (isOfAnotherUser ? " of another user" : " of another size"));
            const std::filesystem::path file = names.Path() / part.name;
            std::ofstream{file};
            std::filesystem::resize_file(file, part.size + (isOfAnotherUser ? 0 : 1));
            ASSERT_EQ(isOfAnotherUser ? ::chown(file.c_str(), 12345, 12345) : 0, 0);
            g_log.clear();
            EXPECT_EQ(ZcOpenComms(1), part.code);
            EXPECT_NE(g_log.find(part.line), std::string::npos) << g_log;
            EXPECT_TRUE(std::filesystem::remove(file));
            EXPECT_TRUE(std::filesystem::is_empty(names.Path())) << "the open leaves nothing of its own";
        }
    }
    ZRDBNewRegisterCallback(nullptr);
}

} // namespace
} // namespace gaizior
