#pragma once

#include "gaizior/platform/file_call.h"
#include "gaizior/platform/file_replacement.h"
#include "gaizior/platform/line_end.h"
#include "tests/support/log_capture.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

namespace gaizior::test {

inline const std::string kNone = "(no file)";

/// A folder with a file, and the log.
class ConfigFiles : public testing::Test {
protected:
    std::string Path(const std::string& name) const {
        return m_folder.Path().string() + '\\' + name;
    }
    std::string Contents() const {
        std::string contents;
        return ReadWholeFile(m_path.c_str(), contents, 1 << 20) ? contents : kNone;
    }
    void Put(const std::string& contents) const {
        std::filesystem::remove(m_folder.Path() / "file");
        ASSERT_TRUE(contents == kNone || SaveFile(m_path.c_str(), contents));
    }
    /// Repeats an operation until each of its file calls has failed, the file being as `before` each time. Nothing may
    /// be left beside it. @param check gets the code, the log and what the file holds. @returns how many calls there
    /// are.
    template <class Operation, class Check>
    unsigned FailEachCall(const std::string& before, Operation operation, Check check) {
        for (unsigned call = 1;; ++call) {
            Put(before);
            seams::FailFileCall(call, ERROR_CANCELLED);
            const unsigned code = operation();
            const bool isOver = !seams::HasFileCallFailed();
            seams::FailFileCall(0, NO_ERROR);
            SCOPED_TRACE(call);
            const std::string contents = Contents();
            check(code, m_log.Take(), contents);
            EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_folder.Path()), {}), contents != kNone);
            if (isOver) {
                EXPECT_EQ(code, 0u);
                return call - 1;
            }
        }
    }

    LogCapture m_log;
    ScratchFolder m_folder;
    const std::string m_path = Path("file");
};

} // namespace gaizior::test
