#pragma once

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace gaizior::platform {

/// Whether a descriptor has the place of a standard stream. A host that has closed those still writes to them, and
/// would write into what took their places.
constexpr bool IsStandardStream(int fd) {
    return fd >= 0 && fd <= STDERR_FILENO;
}

/// A second descriptor for the same, behind the places of the standard streams. @returns -1 with errno set.
inline int DuplicateLifted(int fd) {
    const int lifted = ::fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (lifted < 0 && errno == EINVAL) {
        errno = EMFILE; // a limit of three descriptors or less
    }
    return lifted;
}

/// Moves a descriptor that a call has just opened out of the places of the standard streams.
/// @returns -1 with errno set, nothing left open, when it was -1 or there is no other place.
inline int LiftDescriptor(int fd) {
    if (!IsStandardStream(fd)) {
        return fd;
    }
    const int lifted = DuplicateLifted(fd);
    const int error = errno;
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
    /// @returns the descriptor, which is the caller's from now on.
    int Release() {
        return std::exchange(m_fd, -1);
    }

private:
    int m_fd = -1;
};

} // namespace gaizior::platform
