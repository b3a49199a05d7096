#include "apps/support/system_error.h"
#include "tests/apps/program.h"

#ifndef _WIN32
#include <filesystem>
#include <fstream>

#include <sys/resource.h>
#include <unistd.h>
#endif

namespace apps::test {
namespace {

TEST(SystemErrorTest, TellsCauseAndRemedyByWhatTheSystemSays) {
    const ObjectFile ours{"/names/block", "", {{4711, "imager"}, {4712, "bench"}}};
    const ObjectFile annas{"/names/mutex", "anna", {}};
    ObjectFile removed = ours;
    removed.isRemoved = true;
    ObjectFile strange = ours;
    strange.isStrange = true;
    const auto place = [](FolderState state, const ObjectFile& file, bool isSizeLimited = false) {
        return ObjectPlace{"bob", "/names", true, state, "carla", isSizeLimited, {file}};
    };
    ObjectPlace noFiles;
    noFiles.user = "bob";
    const FolderState kUsable = FolderState::kUsable;
    const struct {
        DWORD error;
        ObjectPlace where;
        const char* text;
    } cases[] = {
        {2, place(kUsable, ours), "no process has the message channel open"},
        {2, place(FolderState::kMissing, ours), "/names, which GAIZIOR_SHM_DIR names, does not exist"},
        {3, place(FolderState::kNoFolder, ours), "is no folder"},
        {2, place(kUsable, removed), "/names/block was removed while imager (process 4711), bench (process 4712) had "},
        {2, place(kUsable, removed), ": kill 4711 4712"},
        {5, place(kUsable, annas), "/names/mutex belongs to 'anna', you are 'bob' (operating-system error 5): "},
        {5, place(kUsable, annas), ": sudo -u anna "},
        {5, place(FolderState::kForbidden, ours),
         "/names, which GAIZIOR_SHM_DIR names, belongs to 'carla', you are 'bob'"},
        {5, place(kUsable, strange), "/names/block was made or changed by another program"},
        {5, noFiles, "an administrator's rights, you are 'bob'"},
        {6, place(kUsable, strange), ": kill 4711 4712; rm -rf /names/block"},
        {4, place(kUsable, ours), "ulimit -n"},
        {19, place(kUsable, ours), ": mount -o remount,rw /names"},
        {112, place(kUsable, ours), ": ls -lS /names"},
        {112, place(kUsable, ours, true), ": ulimit -f unlimited"},
        {170, place(kUsable, ours), "(process 4712) makes or removes /names/block and does not go on"},
        {31, place(kUsable, ours), "(operating-system error 31): end every process that uses the channel"},
    };
    for (const auto& [error, where, text] : cases) {
        EXPECT_PRED2(Holds, CauseText(error, where), text);
    }
}

#ifndef _WIN32

/// Each is provoked, and told by a command that reads the channel and by one that opens it.
class CausesTest : public ChannelTest {
protected:
    const std::string folder = std::getenv("GAIZIOR_SHM_DIR");
    const std::string mutex = folder + "/Zircona_Comms_Mutex";
    const std::string block = folder + "/Zircona_Comms_Queue";

    static void ExpectBothTell(const std::string& text) {
        for (const Ended& bench :
             {Ended({"channel", "doctor"}, 1), Ended({"channel", "receive", "--timeout", "1"}, 1)}) {
            EXPECT_PRED2(Holds, bench.Errors(), text);
        }
    }
};

TEST_F(CausesTest, AMissingFolderIsNamed) {
    const ScopedVariable elsewhere("GAIZIOR_SHM_DIR", (folder + "/nowhere").c_str());
    ExpectBothTell("the folder " + folder + "/nowhere, which GAIZIOR_SHM_DIR names, does not exist");
}

TEST_F(CausesTest, AnotherUsersChannelNamesBothUsers) {
    ASSERT_EQ(ZcOpenComms(40), ZRErrors::e_General_NoError);
    if (::chown(block.c_str(), 1, 1) + ::chown(mutex.c_str(), 1, 1) != 0) {
        GTEST_SKIP() << "only root gives files away";
    }
    ExpectBothTell(block + " belongs to '");
    EXPECT_EQ(::chown(block.c_str(), 0, 0) + ::chown(mutex.c_str(), 0, 0), 0);
}

/// Who opened the channel then would get a mutex of its own, and write into a block that others write into.
TEST_F(CausesTest, ARemovedMutexIsToldWithWhoUsesTheChannel) {
    ASSERT_EQ(ZcOpenComms(40), ZRErrors::e_General_NoError);
    const std::string test = "apps_test (process " + std::to_string(::getpid()) + ")";
    std::filesystem::rename(mutex, folder + "/moved");
    ExpectBothTell(mutex + " was removed while " + test);
    EXPECT_FALSE(std::filesystem::exists(mutex));
    std::filesystem::rename(folder + "/moved", mutex);
    for (const std::string& file : {mutex, block, folder + "/Zircona_Comms_Event"}) {
        std::filesystem::remove(file);
    }
    EXPECT_PRED2(Holds, Ended({"channel", "status"}, 1).Errors(), test + " had it open");
}

TEST_F(CausesTest, AForeignFileIsToldWithWhoUsesIt) {
    std::ofstream file(block);
    file << "another program's" << std::flush;
    const Ended opening({"channel", "receive", "--timeout", "1"}, 1);
    EXPECT_PRED2(Holds, opening.Errors(),
                 block + " was made or changed by another program, and apps_test (process " +
                     std::to_string(::getpid()) + ") has it open");
}

TEST_F(CausesTest, ALimitOnFilesIsNoFullFolder) {
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{54'411, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    const Ended opening({"channel", "receive", "--timeout", "1"}, 1);
    ::setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_PRED2(Holds, opening.Errors(), "this process may not write files as large as the channel's");
}

#endif

} // namespace
} // namespace apps::test
