#include "apps/support/exit_text.h"

namespace apps {

std::string ExitText(HANDLE process) {
    DWORD exitCode = 0;
    return ::GetExitCodeProcess(process, &exitCode) ? ExitText(exitCode) : "ended";
}

} // namespace apps
