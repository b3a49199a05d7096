#pragma once

#include <cstddef>
#include <span>

/// What the library keeps for each thread: words of its own, marked as below, and one larger piece of memory.

// A thread-local of a shared library is reached by a call unless it says otherwise; one of a program never is. On Linux
// who says so puts all thread-locals of the library into the memory that the C library sets apart for every thread,
// which has some 1,600 bytes left once the process runs: larger ones would keep it from being loaded with dlopen.
#if defined(GAIZIOR_BUILDING) && !defined(_WIN32)
#define GAIZIOR_REACHED_WITHOUT_A_CALL [[gnu::tls_model("initial-exec")]]
#else
#define GAIZIOR_REACHED_WITHOUT_A_CALL
#endif

namespace gaizior {

inline constexpr std::size_t kThreadMemorySize = 3584;

/// Memory of the calling thread's, which is all zero at first and goes with the thread. On Linux threads that get none
/// share one piece.
std::span<char, kThreadMemorySize> ThreadMemory() noexcept;

} // namespace gaizior
