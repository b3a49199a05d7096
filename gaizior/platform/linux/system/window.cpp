#include "gaizior/platform/window.h"

#include "gaizior/platform/linux/system/last_error.h"
#include "gaizior/platform/mutex.h"

#include <atomic>
#include <map>
#include <utility>

namespace {

using gaizior::Mutex;
using gaizior::MutexLock;
using gaizior::platform::Fail;
using gaizior::platform::FailNull;
using gaizior::platform::NoThrow;

std::atomic<WindowHost*> g_host{nullptr};

/// The attached windows, which may belong to several threads, and where their handles are kept.
class Places {
public:
    /// @returns false when the window has one.
    bool Add(HWND window, HWND& place) {
        const MutexLock lock(m_mutex);
        return m_places.emplace(window, &place).second;
    }
    /// @returns null when the window has none.
    HWND* Take(HWND window) {
        const MutexLock lock(m_mutex);
        const auto node = m_places.extract(window);
        return node ? node.mapped() : nullptr;
    }

private:
    Mutex m_mutex;
    std::map<HWND, HWND*> m_places GAIZIOR_GUARDED_BY(m_mutex);
};

Places& AttachedWindows() {
    static Places* const places = new Places; // controls of static objects may outlive every other
    return *places;
}

} // namespace

inline namespace gaizior_windows_api {

WindowHost* SetWindowHost(WindowHost* host) {
    return g_host.exchange(host);
}

void WindowIsGone(HWND window) {
    if (HWND* const place = AttachedWindows().Take(window)) {
        *place = nullptr;
    }
}

} // namespace gaizior_windows_api

namespace gaizior {

HWND FindDialogItem(HWND dialog, UINT id) {
    WindowHost* const host = g_host.load();
    if (!host || !dialog) {
        return FailNull(ERROR_INVALID_WINDOW_HANDLE);
    }
    const HWND item = host->FindItem(dialog, id);
    return item ? item : FailNull(ERROR_CONTROL_ID_NOT_FOUND);
}

bool AttachWindow(HWND window, HWND& place) {
    if (!g_host.load() || !window) {
        return Fail(ERROR_INVALID_WINDOW_HANDLE);
    }
    return NoThrow([&] {
        if (!AttachedWindows().Add(window, place)) {
            return Fail(ERROR_BUSY) != FALSE;
        }
        place = window;
        return true;
    });
}

void DetachWindow(HWND& place) {
    if (place) {
        AttachedWindows().Take(std::exchange(place, nullptr));
    }
}

bool ShowWindowText(HWND window, const char* text) {
    WindowHost* const host = g_host.load();
    return host && host->ShowText(window, text) ? true : Fail(ERROR_INVALID_WINDOW_HANDLE);
}

void SetEditReadOnly(HWND window, bool isReadOnly) {
    if (WindowHost* const host = g_host.load()) {
        host->SetReadOnly(window, isReadOnly);
    }
}

} // namespace gaizior
