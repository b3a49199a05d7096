#include "gaizior/errors/error_text.h"
#include "gaizior/logging/debug_print.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>

#ifndef _WIN32
#include <dlfcn.h>
#endif

namespace gaizior::test {
namespace {

thread_local std::string t_printed;

/// The library, loaded as long as this lives.
class Library {
public:
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
#ifdef _WIN32
    Library() : m_pHandle(::LoadLibraryA(GAIZIOR_LIBRARY)) {}
    ~Library() {
        ::FreeLibrary(m_pHandle);
    }
    template <class Function>
    Function* Find(const char* name) const {
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(m_pHandle, name)));
    }

private:
    HMODULE m_pHandle;
#else
    Library() : m_pHandle(::dlopen(GAIZIOR_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_TRUE(m_pHandle) << ::dlerror();
    }
    ~Library() {
        if (m_pHandle) {
            ::dlclose(m_pHandle);
        }
    }
    template <class Function>
    Function* Find(const char* name) const {
        return reinterpret_cast<Function*>(::dlsym(m_pHandle, name));
    }

private:
    void* m_pHandle;
#endif
};

/// Loads the library in the calling thread, asks a code's text and prints a line. @returns both.
std::string LoadAndUse(int code) {
    const Library library;
    const auto toText = library.Find<decltype(ZRErrToStr)>("ZRErrToStr");
    const auto setCallback = library.Find<decltype(ZRDBNewRegisterCallback)>("ZRDBNewRegisterCallback");
    const auto print = library.Find<decltype(ZRDBprintf)>("ZRDBprintf");
    if (!toText || !setCallback || !print) {
        return "not there";
    }
    const std::string text = toText(static_cast<ZRErrors::ZRErrorT>(code));
    setCallback([](int, int, const char* line) { t_printed = line; });
    print(0, 1, "line %d", code);
    return text + ", " + t_printed;
}

TEST(Loading, AnyThreadOfARunningProcessLoadsTheLibraryAndUsesItAgainAndAgain) {
    const Watchdog watchdog;
    std::promise<void> loadedBefore;
    std::future<std::string> older = std::async(std::launch::async, [&] {
        loadedBefore.get_future().wait();
        return LoadAndUse(57);
    });
    for (int round = 0; round < 3; ++round) {
        std::string used;
        std::thread([&] { used = LoadAndUse(0); }).join();
        EXPECT_EQ(used, "No Error: 0, line 0");
        EXPECT_EQ(LoadAndUse(57), "Job Stopped: 57, line 57");
    }
    loadedBefore.set_value();
    EXPECT_EQ(older.get(), "Job Stopped: 57, line 57");
}

} // namespace
} // namespace gaizior::test
