#include "benchmarks/host.h"

#include "benchmarks/compare.h"
#include "benchmarks/results.h"

#include <array>
#include <atomic>
#include <cstring>
#include <fstream>

#include <sched.h>

namespace benchmarks {
namespace {

/// The cores that the process might use before it pinned itself.
const cpu_set_t& Allowed() {
    static const cpu_set_t allowed = [] {
        cpu_set_t cores;
        ::sched_getaffinity(0, sizeof(cores), &cores);
        return cores;
    }();
    return allowed;
}

std::string ProcessorName() {
    constexpr std::string_view kSeparator = ": ";
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("model name")) {
            return line.substr(line.find(kSeparator) + kSeparator.size());
        }
    }
    return "unnamed processor";
}

template <std::size_t Size>
Batch Copy() {
    return Repeat([from = std::array<char, Size>(), to = std::array<char, Size>()]() mutable {
        Keep(from);
        std::memcpy(to.data(), from.data(), Size);
        Keep(to);
    });
}

} // namespace

std::string DescribeHost() {
    return ProcessorName() + "; cores usable: " + std::to_string(UsableCores()) + "; GCC " __VERSION__;
}

unsigned UsableCores() {
    return static_cast<unsigned>(CPU_COUNT(&Allowed()));
}

bool PinToCore(unsigned core) {
    for (unsigned i = 0; i < CPU_SETSIZE; ++i) {
        if (CPU_ISSET(i, &Allowed()) && core-- == 0) {
            cpu_set_t one;
            CPU_ZERO(&one);
            CPU_SET(i, &one);
            return ::sched_setaffinity(0, sizeof(one), &one) == 0;
        }
    }
    return false;
}

void Calibrate() {
    Results::All().SetPlace("This machine, to compare others with");
    std::atomic<int> word{0};
    Limit("lock and unlock a word, two compare-and-swaps", Repeat([&word] {
              int expected = 0;
              word.compare_exchange_strong(expected, 1);
              expected = 1;
              word.compare_exchange_strong(expected, 0);
          }),
          0);
    Limit("copy 256 bytes", Copy<256>(), 0);
    Limit("copy 4 KiB", Copy<4096>(), 0);
}

} // namespace benchmarks
