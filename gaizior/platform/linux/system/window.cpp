#include "gaizior/platform/window.h"

#include "gaizior/platform/fork.h"
#include "gaizior/platform/linux/system/last_error.h"
#include "gaizior/platform/mutex.h"

#include <atomic>
#include <map>
#include <utility>

namespace {

using gaizior::KeepAcrossFork;
using gaizior::Mutex;
using gaizior::MutexLock;
using gaizior::platform::Fail;
using gaizior::platform::FailNull;

std::atomic<WindowHost*> g_host{nullptr};

/// Guards the attached windows, which may belong to several threads, and where their handles are kept.
Mutex g_lock;
const KeepAcrossFork g_keepLock(g_lock);

std::map<HWND, HWND*>& Places() GAIZIOR_REQUIRES(g_lock) {
    static auto* const places = new std::map<HWND, HWND*>; // controls may be static objects anywhere
    return *places;
}

/// @returns where the handle is kept; null when the window is not attached.
HWND* TakePlace(HWND window) {
    const MutexLock lock(g_lock);
    const auto node = Places().extract(window);
    return node ? node.mapped() : nullptr;
}

} // namespace

inline namespace gaizior_windows_api {

WindowHost* SetWindowHost(WindowHost* host) {
    return g_host.exchange(host);
}

void WindowIsGone(HWND window) {
    if (HWND* const place = TakePlace(window)) {
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
        const MutexLock lock(g_lock);
        if (!Places().emplace(window, &place).second) {
            return Fail(ERROR_BUSY) != FALSE;
        }
        place = window;
        return true;
    });
}

void DetachWindow(HWND& place) {
    if (place) {
        TakePlace(std::exchange(place, nullptr));
    }
}

bool ShowWindowText(HWND window, const char* text) {
    WindowHost* const host = g_host.load();
    return host && host->ShowText(window, text) ? true : Fail(ERROR_INVALID_WINDOW_HANDLE);
}

bool SetEditReadOnly(HWND window, bool isReadOnly) {
    WindowHost* const host = g_host.load();
    return host && host->SetReadOnly(window, isReadOnly) ? true : Fail(ERROR_INVALID_WINDOW_HANDLE);
}

} // namespace gaizior
