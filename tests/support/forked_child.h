#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>

#include <sys/wait.h>
#include <unistd.h>

namespace gaizior::test {

/// A forked child of the test program. It prints what it does not find as expected and ends with 1 then.
class ForkedChild {
public:
    template <class Body>
    explicit ForkedChild(Body body) {
        std::fflush(nullptr);
        m_id = ::fork();
        if (m_id == 0) {
            body();
            std::fflush(nullptr);
            ::_exit(testing::Test::HasFailure() ? 1 : 0);
        }
    }
    ForkedChild(const ForkedChild&) = delete;
    ForkedChild& operator=(const ForkedChild&) = delete;
    ~ForkedChild() {
        if (m_id > 0) {
            ::kill(m_id, SIGKILL);
            ::waitpid(m_id, nullptr, 0);
        }
    }

    pid_t Id() const {
        return m_id;
    }
    /// The exit code, waited for; 128 plus the signal's number when a signal ended it.
    int ExitCode() {
        int status = 0;
        ::waitpid(m_id, &status, 0);
        m_id = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

private:
    pid_t m_id = 0;
};

} // namespace gaizior::test
