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
        s_lines.clear();
        ZRLogStrstreambufC::SetDBFn([](unsigned level, int, char* line) { s_lines += std::to_string(level) + line; });
    }
    ~LogCapture() {
        ZRLogStrstreambufC::SetDBFn([](unsigned, int, char* line) { std::fputs(line, stderr); });
    }
    /// The lines since the last call.
    std::string Take() {
        return std::exchange(s_lines, {});
    }

private:
    static inline std::string s_lines;
};

} // namespace gaizior::test
