#include "gaizior/logging/debug_print.h"

#include "gaizior/logging/hook_call.h"
#include "gaizior/platform/thread_local.h"

#include <atomic>

namespace {

constexpr std::size_t kTextSize = 2052;

constinit std::atomic<int> g_level{0};
constinit std::atomic<ZRDBCallbackT> g_callback{nullptr};
GAIZIOR_REACHED_WITHOUT_A_CALL constinit thread_local bool t_inCallback = false;

} // namespace

void ZRDBprintf(int level, int mode, const char* format, ...) {
    const ZRDBCallbackT callback = g_callback.load(std::memory_order_acquire);
    const int threshold = g_level.load(std::memory_order_relaxed);
    // A decision of this system: a text passes at the C level itself, a log stream's line only below its level.
    if (!callback || threshold < 0 || level > threshold) {
        return;
    }
    const gaizior::ErrorKeeper keeper;
    char text[kTextSize];
    std::va_list arguments;
    va_start(arguments, format);
    gaizior::FormatBounded(text, sizeof text, format, arguments);
    va_end(arguments);
    if (!gaizior::CallHook(t_inCallback, [&] { callback(level, mode, text); })) {
        gaizior::PrintToStandardError(text);
    }
}

int ZRDBSetLevel(int level) {
    g_level.store(level, std::memory_order_relaxed);
    return level;
}

int ZRDBGetLevel() {
    return g_level.load(std::memory_order_relaxed);
}

ZRDBCallbackT ZRDBNewRegisterCallback(ZRDBCallbackT callback) {
    g_callback.store(callback, std::memory_order_release);
    return callback;
}
