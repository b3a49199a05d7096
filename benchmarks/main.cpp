#include "benchmarks/compare.h"
#include "benchmarks/subjects.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <thread>

#include <unistd.h>

namespace {

struct Subject {
    std::string_view name;
    void (*run)();
};

constexpr Subject kSubjects[] = {
    {"errors", &benchmarks::Errors},
    {"logging", &benchmarks::Logging},
    {"messages", &benchmarks::Messages},
    {"channel", &benchmarks::Channel},
    {"times", &benchmarks::Times},
    // The last ones: they leave the one thread.
    {"threads", &benchmarks::Threads},
    {"events", &benchmarks::Events},
};

int Usage() {
    std::fputs("usage: benchmarks [SUBJECT]...    those, or all of:", stderr);
    for (const Subject& subject : kSubjects) {
        std::fprintf(stderr, " %s", subject.name.data());
    }
    std::fputs("\n", stderr);
    return 2;
}

} // namespace

int main(int count, char** arguments) {
    const auto isWanted = [&](const Subject& subject) {
        return count == 1 || std::find(arguments + 1, arguments + count, subject.name) != arguments + count;
    };
    const auto isKnown = [](std::string_view name) {
        return std::ranges::find(kSubjects, name, &Subject::name) != std::end(kSubjects);
    };
    if (!std::all_of(arguments + 1, arguments + count, isKnown)) {
        return Usage();
    }
    // Where a process has but one thread the C library leaves out locked instructions, which no application of ours
    // would see.
    std::thread([] { ::pause(); }).detach();
    benchmarks::PinToCore(0);
    benchmarks::PrintPlace("one thread, on core 0; a second thread of the process sleeps");
    for (const Subject& subject : kSubjects) {
        if (isWanted(subject)) {
            subject.run();
        }
    }
    return 0;
}
