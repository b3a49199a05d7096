#pragma once

namespace gaizior::test {

/// Arms and disarms the failure; for FailAllocation.
void FailNthAllocation(int number);
/// @returns whether the armed failure happened.
bool EndAllocationFailure();

/// Runs `operation`, which must not throw, so that the calling thread's `number`-th allocation with new in it, counted
/// from 1, fails. @returns whether it came to that many: once it does not, every allocation has had its turn.
/// Programs that use it list allocation_failure.cpp, which replaces operator new, among their sources. On Windows it
/// reaches the program and what is linked into it (SEAMS), not what the C++ runtime's DLL allocates.
template <class Operation>
bool FailAllocation(int number, const Operation& operation) {
    FailNthAllocation(number);
    operation();
    return EndAllocationFailure();
}

} // namespace gaizior::test
