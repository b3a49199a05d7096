#include "benchmarks/compare.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>

#include <sched.h>

namespace benchmarks {
namespace {

using Clock = std::chrono::steady_clock;
using Nanoseconds = std::chrono::duration<double, std::nano>;

constexpr Nanoseconds kBatchTime = std::chrono::microseconds(400);
constexpr int kRounds = 301;
constexpr int kTrials = 5;

/// One of those who take turns.
struct Side {
    explicit Side(const Batch& batch) : run(batch) {
        while (ShortestTime() < kBatchTime) {
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
        const Clock::time_point start = Clock::now();
        run(operations);
        return Clock::now() - start;
    }

    void Measure() {
        samples.push_back(TimeOf(count).count() / static_cast<double>(count));
    }

    double Median() {
        const auto middle = samples.begin() + kRounds / 2;
        std::nth_element(samples.begin(), middle, samples.end());
        return *middle;
    }

    const Batch& run;
    std::size_t count = 1;
    std::vector<double> samples;
};

const char* Verdict(double value, double aim) {
    return value <= aim ? "reached" : "MISSED";
}

void PrintMedian(const char* name, double nanoseconds) {
    std::printf("%-46s %9.1f", name, nanoseconds);
}

} // namespace

void Compare(const char* operation, const Batch& ours, const std::vector<Peer>& peers) {
    std::vector<Side> sides{Side(ours)};
    for (const Peer& peer : peers) {
        sides.emplace_back(peer.run);
    }
    for (int round = 0; round < kRounds; ++round) {
        for (Side& side : sides) {
            side.Measure();
        }
    }
    const double own = sides[0].Median();
    PrintMedian(operation, own);
    std::printf("\n");
    for (std::size_t i = 0; i < peers.size(); ++i) {
        const double other = sides[i + 1].Median();
        const double ratio = own / other;
        PrintMedian((std::string("  ") + peers[i].name).c_str(), other);
        std::printf(" %6.2f", ratio);
        if (peers[i].aim > 0) {
            std::printf(" %6.2f  %s", peers[i].aim, Verdict(ratio, peers[i].aim));
        }
        std::printf("\n");
    }
    std::fflush(stdout);
}

void Limit(const char* operation, const Batch& ours, double aim) {
    Side side(ours);
    for (int round = 0; round < kRounds; ++round) {
        side.Measure();
    }
    const double own = side.Median();
    PrintMedian(operation, own);
    std::printf(" %6s %3.0f ns  %s\n", "", aim, Verdict(own, aim));
    std::fflush(stdout);
}

void PrintPlace(const char* place) {
    std::printf("\n-- %s\n", place);
    std::printf("%-46s %9s %6s %6s\n", "operation, and what it is compared with", "ns", "ratio", "aim");
}

bool PinToCore(unsigned core) {
    static const cpu_set_t allowed = [] {
        cpu_set_t cores;
        ::sched_getaffinity(0, sizeof(cores), &cores);
        return cores;
    }();
    for (unsigned i = 0; i < CPU_SETSIZE; ++i) {
        if (CPU_ISSET(i, &allowed) && core-- == 0) {
            cpu_set_t one;
            CPU_ZERO(&one);
            CPU_SET(i, &one);
            return ::sched_setaffinity(0, sizeof(one), &one) == 0;
        }
    }
    return false;
}

} // namespace benchmarks
