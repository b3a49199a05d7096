#pragma once

#include "gaizior/platform/windows_api.h"

#include <cerrno>

namespace gaizior {

/// Puts errno and the calling thread's last error back as they were when it was made: whoever reports a failure may
/// ask for its number afterwards.
class ErrorKeeper {
public:
    ErrorKeeper() = default;
    ~ErrorKeeper() {
        ::SetLastError(m_dwLastError);
        errno = m_nErrno;
    }
    ErrorKeeper(const ErrorKeeper&) = delete;
    ErrorKeeper& operator=(const ErrorKeeper&) = delete;

private:
    int m_nErrno = errno;
    DWORD m_dwLastError = ::GetLastError();
};

} // namespace gaizior
