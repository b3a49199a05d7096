#pragma once

#include <utility>

#include <unistd.h>

namespace gaizior::platform {

/// Owns a file descriptor; -1 is none.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : m_fd(fd) {}
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
