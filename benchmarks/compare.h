#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

/// Measures our operations beside those of others: in one process, in short batches that take turns, so that whatever
/// else the machine does falls on all sides alike. What is measured goes to the results, where each pass over the whole
/// table adds its medians.
namespace benchmarks {

/// Operations that are measured together.
struct Batch {
    std::function<void(std::size_t count)> run;                    ///< does the operation so many times
    std::function<void()> prepare = {};                            ///< comes before each batch, outside of its time
    std::size_t largest = std::numeric_limits<std::size_t>::max(); ///< count at most
};

template <typename Operation>
Batch Repeat(Operation operation, std::function<void()> prepare = {}) {
    return {.run =
                [operation = std::move(operation)](std::size_t count) mutable {
                    for (; count > 0; --count) {
                        operation();
                    }
                },
            .prepare = std::move(prepare)};
}

/// The same, but each operation finds nothing in the caches that it will need.
Batch Cold(Batch batch);

struct Peer {
    const char* name;
    Batch run;
    double aim; ///< ours may take so many times as long; 0 for a peer that is shown for comparison only
};

/// Measures ours beside each peer.
void Compare(const char* operation, const Batch& ours, const std::vector<Peer>& peers);

/// Measures an operation that may take `aim` nanoseconds, or any time when that is 0.
void Limit(const char* operation, const Batch& ours, double aim);

/// Makes the compiler compute what is read and believe that it may have changed.
template <typename Value>
void Keep(Value& value) {
    asm volatile("" : : "g"(&value) : "memory");
}

/// Has what is being measured end with an exception, so that partners end and files are removed.
struct Interrupted {
    int signal;
};
/// For signal handlers.
void Interrupt(int signal);

} // namespace benchmarks
