#pragma once

#include <csignal>

namespace gaizior::platform {

/// While it lives, a write of this thread beyond the process's limit on file sizes (RLIMIT_FSIZE) fails, as on a full
/// disk, and raises no signal that would end the host.
class NoSizeSignal {
public:
    NoSizeSignal();
    ~NoSizeSignal();
    NoSizeSignal(const NoSizeSignal&) = delete;
    NoSizeSignal& operator=(const NoSizeSignal&) = delete;

private:
    bool m_bBlocks;
    sigset_t m_before;
};

} // namespace gaizior::platform
