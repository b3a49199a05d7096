#include "benchmarks/compare.h"

#include "benchmarks/results.h"

#include <algorithm>
#include <chrono>
#include <csignal>

namespace benchmarks {
namespace {

using Clock = std::chrono::steady_clock;
using Nanoseconds = std::chrono::duration<double, std::nano>;

constexpr Nanoseconds kBatchTime = std::chrono::microseconds(400);
constexpr int kTrials = 5;
constexpr int kRounds = 151;
constexpr int kFewestRounds = 15;
constexpr Nanoseconds kRowTime = std::chrono::milliseconds(500); // slow operations get fewer rounds

constexpr std::size_t kBeyondCaches = 64 << 20;
constexpr std::size_t kCacheLine = 64;

volatile std::sig_atomic_t g_signal = 0;

/// One of those who take turns.
struct Side {
    explicit Side(const Batch& theBatch) : batch(theBatch) {
        while (count < batch.largest && ShortestTime() < kBatchTime) {
            count *= 2;
        }
    }

    /// The best of several: one interruption must not make a batch so short that the clock itself is measured.
    Nanoseconds ShortestTime() const {
        Nanoseconds shortest = TimeOf(count);
        for (int trial = 1; trial < kTrials; ++trial) {
            shortest = std::min(shortest, TimeOf(count));
        }
        return shortest;
    }

    Nanoseconds TimeOf(std::size_t operations) const {
        if (g_signal != 0) {
            throw Interrupted{g_signal};
        }
        if (batch.prepare) {
            batch.prepare();
        }
        const Clock::time_point start = Clock::now();
        batch.run(operations);
        return Clock::now() - start;
    }

    void Measure() {
        samples.push_back(TimeOf(count).count() / static_cast<double>(count));
    }

    const Batch& batch;
    std::size_t count = 1;
    std::vector<double> samples;
};

void TakeTurns(std::vector<Side>& sides) {
    const Clock::time_point start = Clock::now();
    for (int round = 0; round < kRounds && (round < kFewestRounds || Clock::now() - start < kRowTime); ++round) {
        for (Side& side : sides) {
            side.Measure();
        }
    }
}

void EvictCaches() {
    static const std::vector<char> memory(kBeyondCaches, 1);
    char sum = 0;
    for (std::size_t i = 0; i < memory.size(); i += kCacheLine) {
        sum = static_cast<char>(sum ^ memory[i]);
    }
    Keep(sum);
}

} // namespace

Batch Cold(Batch batch) {
    batch.prepare = &EvictCaches;
    batch.largest = 1;
    return batch;
}

void Compare(const char* operation, const Batch& ours, const std::vector<Peer>& peers) {
    std::vector<Side> sides{Side(ours)};
    for (const Peer& peer : peers) {
        sides.emplace_back(peer.run);
    }
    TakeTurns(sides);
    const double own = Median(sides[0].samples);
    for (std::size_t i = 0; i < peers.size(); ++i) {
        Results::All().Add(operation, peers[i].name, peers[i].aim, own, Median(sides[i + 1].samples));
    }
}

void Limit(const char* operation, const Batch& ours, double aim) {
    std::vector<Side> sides{Side(ours)};
    TakeTurns(sides);
    Results::All().Add(operation, aim, Median(sides[0].samples));
}

void Interrupt(int signal) {
    g_signal = signal;
    std::signal(signal, SIG_DFL); // for somebody who cannot wait
}

} // namespace benchmarks
