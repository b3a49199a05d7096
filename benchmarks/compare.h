#pragma once

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

/// Measures our operations beside those of others: in one process, in short batches that take turns, so that whatever
/// else the machine does falls on all sides alike. Medians are printed, and the ratio to each peer beside its aim.
namespace benchmarks {

/// Does an operation `count` times.
using Batch = std::function<void(std::size_t count)>;

template <typename Operation>
Batch Repeat(Operation operation) {
    return [operation = std::move(operation)](std::size_t count) mutable {
        for (; count > 0; --count) {
            operation();
        }
    };
}

struct Peer {
    const char* name;
    Batch run;
    double aim; ///< ours may take so many times as long; 0 for a peer that is shown for comparison only
};

/// Prints a line for ours and one for each peer.
void Compare(const char* operation, const Batch& ours, const std::vector<Peer>& peers);

/// Prints a line for an operation that may take `aim` nanoseconds.
void Limit(const char* operation, const Batch& ours, double aim);

/// Says where the threads of the following comparisons run and heads their table.
void PrintPlace(const char* place);

/// Makes the compiler compute what is read and believe that it may have changed.
template <typename Value>
void Keep(Value& value) {
    asm volatile("" : : "g"(&value) : "memory");
}

/// Lets the calling thread, and those that it starts, run on that core only, 0 being the first that the process may
/// use. @returns false when there are not so many.
bool PinToCore(unsigned core);

} // namespace benchmarks
