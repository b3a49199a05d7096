#pragma once

#include "gaizior/logging/log_stream.h"

#include <cstdio>
#include <mutex>
#include <string>

namespace gaizior::test {

/// Collects the log stream's lines, each with its level before it ("0 ERROR: ..."); afterwards they go to standard
/// error again. One at a time.
class LogCapture {
public:
    LogCapture() {
        s_lines.clear();
        s_lines.reserve(10'000); // lines are told where memory fails, too
        ZRLogStrstreambufC::SetDBFn([](unsigned level, int, char* line) {
            const std::lock_guard lock(s_lock);
            s_lines.append(std::to_string(level)).append(line);
        });
    }
    ~LogCapture() {
        ZRLogStrstreambufC::SetDBFn([](unsigned, int, char* line) { std::fputs(line, stderr); });
    }
    /// The lines since the last call.
    std::string Take() {
        const std::lock_guard lock(s_lock);
        std::string taken = s_lines;
        s_lines.clear();
        return taken;
    }

private:
    static inline std::mutex s_lock;
    static inline std::string s_lines;
};

} // namespace gaizior::test
