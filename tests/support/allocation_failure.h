#pragma once

#include <functional>

namespace gaizior::test {

/// Runs `operation`, which must not throw, so that the calling thread's `number`-th allocation with new in it, counted
/// from 1, fails. @returns whether it came to that many: once it does not, every allocation has had its turn.
/// Programs that use it list allocation_failure.cpp, which replaces operator new, among their sources. On Windows it
/// reaches the program and what is linked into it (SEAMS), not what the C++ runtime's DLL allocates.
bool FailAllocation(int number, const std::function<void()>& operation);

} // namespace gaizior::test
