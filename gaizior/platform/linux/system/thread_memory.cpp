#include "gaizior/platform/thread_local.h"

#include <cstdlib>

#include <pthread.h>

namespace gaizior {
namespace {

GAIZIOR_REACHED_WITHOUT_A_CALL constinit thread_local char* t_memory = nullptr;

/// Destructors of other keys may ask for it once more: that sets the key again, which has another round then.
void Free(void* memory) {
    t_memory = nullptr;
    std::free(memory);
}

/// A key, since C++ destructors of the main thread run before those of static objects, which may still fail and tell.
char* Make() {
    static pthread_key_t s_key{};
    static const bool s_hasKey = ::pthread_key_create(&s_key, &Free) == 0;
    static char s_shared[kThreadMemorySize];
    void* const memory = s_hasKey ? std::calloc(1, kThreadMemorySize) : nullptr;
    if (!memory || ::pthread_setspecific(s_key, memory) != 0) {
        std::free(memory);
        return s_shared;
    }
    return t_memory = static_cast<char*>(memory);
}

} // namespace

std::span<char, kThreadMemorySize> ThreadMemory() noexcept {
    return std::span<char, kThreadMemorySize>(t_memory ? t_memory : Make(), kThreadMemorySize);
}

} // namespace gaizior
