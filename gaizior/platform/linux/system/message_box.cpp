#include "gaizior/platform/windows_api.h"

#include <atomic>
#include <cerrno>
#include <cstdio>

namespace {

std::atomic<MessageBoxHandler> g_handler{nullptr};

} // namespace

inline namespace gaizior_windows_api {

int MessageBoxA(HWND owner, const char* text, const char* caption, UINT type) {
    if (const MessageBoxHandler handler = g_handler.load()) {
        return handler(owner, text, caption, type);
    }
    const int before = errno;
    // "Error" is what Windows shows for a null caption.
    std::fprintf(stderr, "%s: %s\n", caption ? caption : "Error", text ? text : "");
    errno = before;
    return IDOK;
}

MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler) {
    return g_handler.exchange(handler);
}

} // namespace gaizior_windows_api
