#include "gaizior/errors/error_text.h"
#include "gaizior/logging/debug_print.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>
#include <thread>

#ifndef _WIN32
#include <dlfcn.h>
#endif

namespace gaizior::test {
namespace {

#ifdef _WIN32
constexpr int RTLD_NOW = 0;
void* dlopen(const char* name, int) {
    return ::LoadLibraryA(name);
}
void* dlsym(void* library, const char* name) {
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(library), name));
}
int dlclose(void* library) {
    return ::FreeLibrary(static_cast<HMODULE>(library));
}
#endif

thread_local std::string t_printed;

/// Loads the library in the calling thread, prints a line and asks a code's text. @returns both.
std::string LoadAndUse(int code) {
    const std::unique_ptr<void, int (*)(void*)> library(dlopen(GAIZIOR_LIBRARY, RTLD_NOW), &dlclose);
    if (!library) {
        return "not loaded";
    }
    const auto find = [&]<class Function>(Function*& function, const char* name) {
        function = reinterpret_cast<Function*>(dlsym(library.get(), name));
    };
    decltype(&ZRDBNewRegisterCallback) setCallback = nullptr;
    decltype(&ZRDBprintf) print = nullptr;
    decltype(&ZRErrToStr) toText = nullptr;
    find(setCallback, "ZRDBNewRegisterCallback");
    find(print, "ZRDBprintf");
    find(toText, "ZRErrToStr");
    setCallback([](int, int, const char* line) { t_printed = line; });
    print(0, 1, "line %d, ", code);
    return t_printed + toText(static_cast<ZRErrors::ZRErrorT>(code));
}

TEST(Loading, AnyThreadOfARunningProcessLoadsTheLibraryAndUsesItAgainAndAgain) {
    const Watchdog watchdog;
    std::string used;
    std::mutex turn;
    std::unique_lock mine(turn);
    std::thread older([&] {
        const std::lock_guard its(turn);
        used = LoadAndUse(57);
    });
    for (int round = 0; round < 3; ++round) {
        std::thread([&] { used = LoadAndUse(0); }).join();
        EXPECT_EQ(used, "line 0, No Error: 0");
        EXPECT_EQ(LoadAndUse(57), "line 57, Job Stopped: 57");
    }
    mine.unlock();
    older.join();
    EXPECT_EQ(used, "line 57, Job Stopped: 57");
}

} // namespace
} // namespace gaizior::test
