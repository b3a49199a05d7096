#include "gaizior/platform/thread_local.h"

#include <array>

namespace gaizior {

std::span<char, kThreadMemorySize> ThreadMemory() noexcept {
    thread_local std::array<char, kThreadMemorySize> memory;
    return memory;
}

} // namespace gaizior
