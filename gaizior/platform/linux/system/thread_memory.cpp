#include "gaizior/platform/thread_local.h"

#include <pthread.h>
#include <sys/mman.h>

namespace gaizior {
namespace {

GAIZIOR_REACHED_WITHOUT_A_CALL constinit thread_local char* t_memory = nullptr;

/// Destructors of other keys may ask for it once more: that sets the key again, which has another round then.
void Free(void* memory) {
    t_memory = nullptr;
    ::munmap(memory, kThreadMemorySize);
}

/// A key, since C++ destructors of the main thread run before those of static objects, which may still fail and tell. A
/// page of its own: a forked child has those of all threads but only one thread, and a look for leaks would miss the
/// others.
char* Make() {
    static pthread_key_t s_key{};
    static const bool s_hasKey = ::pthread_key_create(&s_key, &Free) == 0;
    static char s_shared[kThreadMemorySize];
    void* const memory =
        s_hasKey ? ::mmap(nullptr, kThreadMemorySize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)
                 : MAP_FAILED;
    if (memory == MAP_FAILED) {
        return s_shared;
    }
    if (::pthread_setspecific(s_key, memory) != 0) {
        ::munmap(memory, kThreadMemorySize);
        return s_shared;
    }
    return t_memory = static_cast<char*>(memory);
}

} // namespace

std::span<char, kThreadMemorySize> ThreadMemory() noexcept {
    return std::span<char, kThreadMemorySize>(t_memory ? t_memory : Make(), kThreadMemorySize);
}

} // namespace gaizior
