#include "tests/support/allocation_failure.h"

#include <cerrno>
#include <cstdlib>
#include <new>
#include <utility>

namespace gaizior::test {
namespace {

constinit thread_local int t_left = 0; ///< until one fails; 0 before and after it

void* Allocate(std::size_t size) {
    if (t_left > 0 && --t_left == 0) {
        errno = ENOMEM; // as malloc does
        return nullptr;
    }
    return std::malloc(size > 0 ? size : 1);
}

void* AllocateOrThrow(std::size_t size) {
    if (void* const memory = Allocate(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

} // namespace

bool FailAllocation(int number, const std::function<void()>& operation) {
    t_left = number;
    operation();
    return std::exchange(t_left, 0) == 0;
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
// clang-format on
