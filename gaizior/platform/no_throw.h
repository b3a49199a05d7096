#pragma once

#include "gaizior/platform/windows_api.h"

#include <new>

namespace gaizior {

/// Runs the body of a call, which must not throw: without memory it fails with ERROR_NOT_ENOUGH_MEMORY and an empty
/// result.
template <typename Body>
auto NoThrow(Body&& body) -> decltype(body()) {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return {};
    }
}

} // namespace gaizior
