#include "gaizior/platform/windows_api.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string>

namespace {

std::atomic<MessageBoxHandler> g_handler{nullptr};

} // namespace

inline namespace gaizior_windows_api {

int MessageBoxA(HWND owner, const char* text, const char* caption, UINT type) {
    if (const MessageBoxHandler handler = g_handler.load()) {
        return handler(owner, text, caption, type);
    }
    const int before = errno;
    // One string, so that the lines of two threads do not mix. "Error" is what Windows shows for a null caption.
    const std::string line = std::string(caption ? caption : "Error") + ": " + (text ? text : "") + "\n";
    std::fputs(line.c_str(), stderr);
    errno = before;
    return IDOK;
}

MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler) {
    return g_handler.exchange(handler);
}

} // namespace gaizior_windows_api
