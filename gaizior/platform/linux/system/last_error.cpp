#include "gaizior/platform/linux/system/last_error.h"

#include "gaizior/platform/linux/system/errno_map.h"
#include "gaizior/platform/thread_local.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace {

GAIZIOR_REACHED_WITHOUT_A_CALL constinit thread_local DWORD t_lastError = ERROR_SUCCESS;

} // namespace

inline namespace gaizior_windows_api {

DWORD GetLastError() {
    return t_lastError;
}

void SetLastError(DWORD error) {
    t_lastError = error;
}

} // namespace gaizior_windows_api

namespace gaizior::platform {

BOOL Fail(DWORD error) {
    SetLastError(error);
    return FALSE;
}

DWORD ErrorOfErrno(int error) {
    const auto* found = std::ranges::find(kErrnoMap, error, &ErrnoMapping::number);
    return found != std::end(kErrnoMap) ? found->error : ERROR_GEN_FAILURE;
}

BOOL FailErrno() {
    return Fail(ErrorOfErrno(errno));
}

} // namespace gaizior::platform
