#include "gaizior/errors/error_text.h"
#include "gaizior/logging/debug_print.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>

#include <dlfcn.h>

namespace gaizior::test {
namespace {

thread_local std::string t_printed;

/// Loads the library in the calling thread, prints a line and asks a code's text. @returns both.
std::string LoadAndUse(int code) {
    const std::unique_ptr<void, int (*)(void*)> library(::dlopen(GAIZIOR_LIBRARY, RTLD_NOW), &::dlclose);
    if (!library) {
        return ::dlerror();
    }
    const auto find = [&]<class Function>(Function*, const char* name) {
        return reinterpret_cast<Function*>(::dlsym(library.get(), name));
    };
    find(&ZRDBNewRegisterCallback, "ZRDBNewRegisterCallback")([](int, int, const char* line) { t_printed = line; });
    find(&ZRDBprintf, "ZRDBprintf")(0, 1, "line %d, ", code);
    return t_printed + find(&ZRErrToStr, "ZRErrToStr")(static_cast<ZRErrors::ZRErrorT>(code));
}

TEST(Loading, AnyThreadOfARunningProcessLoadsTheLibraryAndUsesItAgainAndAgain) {
    const Watchdog watchdog;
    std::promise<void> loaded;
    auto older = std::async(std::launch::async, [&] {
        loaded.get_future().wait();
        return LoadAndUse(57);
    });
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(std::async(std::launch::async, LoadAndUse, 0).get(), "line 0, No Error: 0");
        EXPECT_EQ(LoadAndUse(57), "line 57, Job Stopped: 57");
    }
    loaded.set_value();
    EXPECT_EQ(older.get(), "line 57, Job Stopped: 57");
}

} // namespace
} // namespace gaizior::test
