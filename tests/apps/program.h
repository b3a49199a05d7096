#pragma once

#include "gaizior/comms/channel.h"
#include "gaizior/platform/unique_handle.h"
#include "tests/support/child.h"
#include "tests/support/scratch.h"
#include "tests/support/watchdog.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace apps::test {

using gaizior::UniqueHandle;
using namespace gaizior::test; // what all tests share

/// One of our programs, started with its output going to files. Killed at the end if it still runs.
class Program {
public:
    /// `name`: the program beside the test's own.
    Program(const char* name, const std::vector<std::string>& arguments);

    /// The exit code; nothing when it has not ended within `milliseconds`.
    std::optional<int> Wait(DWORD milliseconds = 30000) const;
    void Kill() const {
        m_child.Kill();
    }
    /// What Ctrl-C does in a terminal. @returns false where there is no terminal through which to do it.
    bool Interrupt() const;
    DWORD Id() const {
        return m_child.Information().dwProcessId;
    }
    std::string Output() const;
    std::string Errors() const;
    /// Waits until standard error holds `text`. @returns what follows it, up to the end of its line; "" in vain.
    std::string WaitForError(const std::string& text) const;
    /// The same on standard output. @returns whether it has come.
    bool WaitForOutput(const std::string& text) const;

private:
    ScratchFolder m_folder;
    Child m_child;
};

/// A bench that has ended with the exit code that is expected of it.
struct Ended : Program {
    explicit Ended(const std::vector<std::string>& arguments, int exitCode = 0);
};

/// Programs as processes with a channel of their own, in which the test itself may take part.
class ChannelTest : public testing::Test {
protected:
    ~ChannelTest() override {
        ZcCloseComms();
    }

private:
    Watchdog m_watchdog{std::chrono::seconds(120)};
    PrivateNames m_names;
};

/// For EXPECT_PRED2: whether a text has that part.
bool Holds(const std::string& text, const std::string& part);

/// Lets a process hang: it neither runs nor ends.
void SuspendProcess(DWORD processId);
/// Lets it go on.
void ResumeProcess(DWORD processId);

} // namespace apps::test
