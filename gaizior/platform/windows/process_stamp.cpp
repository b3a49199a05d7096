#include "gaizior/platform/process_stamp.h"

#include "gaizior/platform/unique_handle.h"

namespace gaizior {
namespace {

/// In units of 6.5 ms, of which 32 bits last for most of a year.
DWORD StampOf(HANDLE process) {
    FILETIME began{}, ended{}, inKernel{}, inUser{};
    ::GetProcessTimes(process, &began, &ended, &inKernel, &inUser);
    return began.dwHighDateTime << 16 | began.dwLowDateTime >> 16;
}

} // namespace

DWORD OwnStamp() {
    static const DWORD s_stamp = StampOf(::GetCurrentProcess());
    return s_stamp;
}

bool HasProcessEnded(DWORD processId, DWORD stamp) {
    const UniqueHandle process(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    if (!process) {
        return ::GetLastError() == ERROR_INVALID_PARAMETER;
    }
    DWORD code = STILL_ACTIVE; // a process that has ended is there for as long as somebody keeps its handle
    return (stamp != kUnknownStamp && StampOf(process.Get()) != stamp) ||
           (::GetExitCodeProcess(process.Get(), &code) && code != STILL_ACTIVE);
}

bool IsProcessStopped(DWORD /*processId*/) {
    return false;
}

} // namespace gaizior
