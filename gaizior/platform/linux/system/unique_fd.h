#pragma once

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace gaizior::platform {

/// Moves a descriptor that a call has just opened out of the places of the standard streams: a host that has closed
/// those still writes to them, and would write into what took their places.
/// @returns -1 with errno set, nothing left open, when it was -1 or there is no other place.
inline int LiftDescriptor(int fd) {
    if (fd < 0 || fd > STDERR_FILENO) {
        return fd;
    }
    const int lifted = ::fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno == EINVAL ? EMFILE : errno; // a limit of three descriptors or less
    ::close(fd);
    errno = error;
    return lifted;
}

/// Owns a file descriptor, which is never one of the standard streams'; -1 is none.
class UniqueFd {
public:
    UniqueFd() = default;
    /// Takes what a call that opens has returned: where that or lifting it failed there is none, and errno says why.
    explicit UniqueFd(int fd) : m_fd(LiftDescriptor(fd)) {}
    UniqueFd(UniqueFd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~UniqueFd() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    int Get() const {
        return m_fd;
    }
    explicit operator bool() const {
        return m_fd >= 0;
    }

private:
    int m_fd = -1;
};

} // namespace gaizior::platform
