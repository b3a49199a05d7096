#pragma once

#include "gaizior/logging/log_stream.h"

#include <cstdio>
#include <string>
#include <utility>

namespace gaizior::test {

/// Collects the log stream's lines, each with its level before it ("0 ERROR: ..."); afterwards they go to standard
/// error again. One at a time.
class LogCapture {
public:
    LogCapture() {
        Lines().clear();
        ZRLogStrstreambufC::SetDBFn([](unsigned level, int, char* line) { Lines() += std::to_string(level) + line; });
    }
    ~LogCapture() {
        ZRLogStrstreambufC::SetDBFn([](unsigned, int, char* line) { std::fputs(line, stderr); });
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// The lines since the last call.
    std::string Take() {
        return std::exchange(Lines(), {});
    }

private:
    static std::string& Lines() {
        static std::string lines;
        return lines;
    }
};

} // namespace gaizior::test
