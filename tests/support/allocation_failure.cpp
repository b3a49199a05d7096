#include "tests/support/allocation_failure.h"

#include <cerrno>
#include <cstdlib>
#include <new>

namespace gaizior::test {
namespace {

constinit thread_local int t_left = 0;
constinit thread_local bool t_happened = false;

bool Fails() {
    if (t_left == 0 || --t_left != 0) {
        return false;
    }
    t_happened = true;
    errno = ENOMEM; // as malloc does
    return true;
}

void* Allocate(std::size_t size) {
    return Fails() ? nullptr : std::malloc(size > 0 ? size : 1);
}

void* AllocateOrThrow(std::size_t size) {
    if (void* const memory = Allocate(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

} // namespace

void FailNthAllocation(int number) {
    t_left = number;
    t_happened = false;
}

bool EndAllocationFailure() {
    t_left = 0;
    return t_happened;
}

} // namespace gaizior::test

using namespace gaizior::test;

// clang-format off
void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
#ifndef _WIN32 // of what is aligned only the places of handles are allocated so, and kept
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return Fails() ? nullptr : std::aligned_alloc(static_cast<std::size_t>(alignment), size);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { std::free(memory); }
#endif
// clang-format on
