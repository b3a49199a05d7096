#pragma once

#include "gaizior/platform/no_throw.h"
#include "gaizior/platform/path.h"
#include "gaizior/platform/windows_api.h"

#include <string>

/// What every call of files.h goes through. In the build for tests (GAIZIOR_SEAMS) one of them can be made to fail; in
/// what ships none is.
namespace gaizior {

#ifdef GAIZIOR_SEAMS

namespace seams {

/// Lets the `number`-th file call of the process from now on fail with `error`, once; 0 disarms. A write that is made
/// to fail has half its bytes written, as on a disk that fills up. Any thread.
void FailFileCall(unsigned number, DWORD error);
/// Whether it came to that many calls.
bool HasFileCallFailed();

} // namespace seams

/// False, with the last error set, for the call that is to fail.
bool FileCallPasses();

#else

constexpr bool FileCallPasses() {
    return true;
}

#endif

/// Runs the body of one call, which gets the system's path of `path`; an empty result is a failure.
template <class Body>
auto OnPath(const char* path, Body&& body) -> decltype(body(std::string())) {
    if (!FileCallPasses()) {
        return {};
    }
    return NoThrow([&] { return body(ToSystemPath(path ? path : "")); });
}

} // namespace gaizior
