// Logs a line to the history PATH with room for two, and dies at the POINT-th place where others can see it half done.

#include "gaizior/platform/crash_point.h"
#include "tests/config/plate_history.h"
#include "tests/support/log_capture.h"

#include <cstdlib>

int main(int, char** arguments) {
    const gaizior::test::LogCapture quiet;
    gaizior::test::PlateHistory history;
    history.Create(arguments[1], nullptr, 2);
    gaizior::seams::CrashAfter(static_cast<unsigned>(std::atoi(arguments[2])));
    return history.LogIt("new") == 0 ? 0 : 1;
}
