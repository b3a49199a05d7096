#pragma once

#include "gaizior/platform/windows_api.h"

namespace apps {

/// Turns Ctrl-C, Ctrl-Break and the wish to close into an event, so that a program can end in order. One lives in
/// main. A second Ctrl-C ends the process at once.
class Interrupt {
public:
    Interrupt();
    ~Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    /// Manual reset; set by the first Ctrl-C and never reset.
    HANDLE Event() const;
    bool IsSet() const;
    /// Sleeps for `milliseconds` or until Ctrl-C. @returns whether Ctrl-C ended it.
    bool SleepUnlessSet(DWORD milliseconds) const;
};

/// Whether a handle is signalled now; a null handle never is.
bool IsSignalled(HANDLE handle);

} // namespace apps
