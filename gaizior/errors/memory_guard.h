#pragma once

#include "gaizior/errors/failure.h"

#include <new>

namespace gaizior {

/// Runs the body of an operation, which returns its code; one that runs out of memory fails with 2001.
template <class Body>
ZRErrors::ZRErrorT GuardMemory(const char* function, Body&& body) {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return Fail(function, ZRErrors::e_Memory_AllocationFailed);
    }
}

} // namespace gaizior
