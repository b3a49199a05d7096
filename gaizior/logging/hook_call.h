#pragma once

#include "gaizior/platform/error_keeper.h"

#include <cstdarg>
#include <cstddef>

/// What the log stream and the debug print share in calling code of the host's.
namespace gaizior {

/// Calls a hook of the host's, unless the same thread is in it already (`busy` is the hook's own and the thread's):
/// a hook that comes back here would never end.
/// @returns whether the hook was called and did not throw.
template <class Call>
bool CallHook(bool& busy, const Call& call) noexcept {
    if (busy) {
        return false;
    }
    const ErrorKeeper keeper;
    busy = true;
    bool done = false;
    try {
        call();
        done = true;
    } catch (...) {
        // The host's failure must not become that of the code which logs.
    }
    busy = false;
    return done;
}

/// Writes to the process's standard error stream, where lines go that no hook takes.
void PrintToStandardError(const char* text) noexcept;

/// Formats into `buffer` by C99's rules; always terminated, cut where the buffer ends, empty when the formatter fails
/// or `format` is null.
void FormatBounded(char* buffer, std::size_t size, const char* format, std::va_list arguments) noexcept;

} // namespace gaizior
