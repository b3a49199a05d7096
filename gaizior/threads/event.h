#pragma once

/// @file
/// A look at an event of somebody else's.

#include "gaizior/platform/export.h"

#include <ostream>

/// A look at an event, or at anything else that can be waited for, that somebody else owns: it is never closed here.
/// Copies look at the same one. Any thread.
class GAIZIOR_API ZREventC {
public:
    /// `handle` may be null, which is no valid event.
    ZREventC(void* handle);
    /// Copies look at the same event.
    /// @{
    ZREventC(const ZREventC&) = default;
    ZREventC& operator=(const ZREventC&) = default;
    /// @}
    virtual ~ZREventC();

    /// @returns 1 for a handle that is not null, else 0. Whether it is open, IsEventSignalled tells.
    /// @{
    static int IsEventValid(void* handle);
    int IsEventValid() const;
    /// @}

    /// Waits, and takes what is signalled as every wait does: an event that resets itself is reset, a mutex is owned.
    /// @param handle what to wait for; any value.
    /// @param timeout milliseconds to wait at most; 0 tests, 0xFFFFFFFF and more wait without limit.
    /// @param result unless null, receives the wait's own result: 0, 0x80 abandoned, 0x102 timed out, 0xFFFFFFFF failed
    ///   with the last error set.
    /// @param log unless null, receives what was found, in words and without an end of line.
    /// @returns 0 when the wait timed out, else 1: an abandoned mutex and a wait that failed count as signalled too, a
    ///   decision of this system, so that nobody goes on waiting for what is not there.
    static int IsEventSignalled(void* handle, unsigned long* const result, unsigned long timeout,
                                std::ostream* const log);
    /// The same with the object's own event.
    int IsEventSignalled(unsigned long* const result, unsigned long timeout, std::ostream* const log) const;

private:
    void* m_hEvent;
};
