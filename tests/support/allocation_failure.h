#pragma once

namespace gaizior::test {

/// While it lives, one allocation with new fails: the calling thread's `number`-th from now on, counted from 1.
/// Programs that use it list allocation_failure.cpp, which replaces operator new, among their sources. On Windows it
/// reaches the program and what is linked into it (SEAMS), not what the C++ runtime's DLL allocates.
class AllocationFailure {
public:
    explicit AllocationFailure(int number);
    ~AllocationFailure();
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;
    /// Whether that many allocations were made: when not, there is no later one left to fail.
    static bool Happened();
};

} // namespace gaizior::test
