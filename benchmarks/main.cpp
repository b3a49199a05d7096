#include "benchmarks/compare.h"
#include "benchmarks/host.h"
#include "benchmarks/results.h"
#include "benchmarks/subjects.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <exception>
#include <span>
#include <string_view>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

using benchmarks::Results;

struct Subject {
    std::string_view name;
    void (*run)();
};

constexpr Subject kSubjects[] = {
    {"errors", &benchmarks::Errors},
    {"logging", &benchmarks::Logging},
    {"logfile", &benchmarks::LogFile},
    {"messages", &benchmarks::Messages},
    {"channel", &benchmarks::Channel},
    {"times", &benchmarks::Times},
    {"guids", &benchmarks::Guids},
    {"lengths", &benchmarks::Lengths},
    {"threads", &benchmarks::Threads},
    {"events", &benchmarks::Events},
    {"roundtrips", &benchmarks::RoundTrips},
    {"process", &benchmarks::Process},
    {"ini", &benchmarks::Ini},
    {"tokens", &benchmarks::Tokens},
    {"history", &benchmarks::History},
    {"preferences", &benchmarks::Preferences},
};

constexpr unsigned kMostPasses = 99;

struct Options {
    unsigned passes = 5;
    Results::Format format = Results::Format::text;
    std::vector<Subject> subjects;
};

int Usage() {
    std::fprintf(stderr,
                 "usage: benchmarks [--passes 1..%u] [--markdown] [SUBJECT]...    those, or all of:", kMostPasses);
    for (const Subject& subject : kSubjects) {
        std::fprintf(stderr, " %s", subject.name.data());
    }
    std::fputs("\n", stderr);
    return 2;
}

bool ReadPasses(std::string_view text, unsigned& passes) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), passes);
    return error == std::errc() && end == text.data() + text.size() && passes >= 1 && passes <= kMostPasses;
}

/// @returns whether all arguments are understood.
bool Read(std::span<char*> arguments, Options& options) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string_view argument = arguments[i];
        const auto* const subject = std::ranges::find(kSubjects, argument, &Subject::name);
        if (argument == "--markdown") {
            options.format = Results::Format::markdown;
        } else if (argument == "--passes" && i + 1 < arguments.size()) {
            if (!ReadPasses(arguments[++i], options.passes)) {
                return false;
            }
        } else if (subject != std::end(kSubjects)) {
            options.subjects.push_back(*subject);
        } else {
            return false;
        }
    }
    if (options.subjects.empty()) {
        options.subjects.assign(std::begin(kSubjects), std::end(kSubjects));
    }
    return true;
}

/// Shows on a terminal what is being measured; nothing at the end.
void ShowProgress(unsigned pass, unsigned passes, std::string_view subject) {
    static const bool s_isTerminal = ::isatty(STDERR_FILENO) != 0;
    if (s_isTerminal && subject.empty()) {
        std::fputs("\r\033[K", stderr);
    } else if (s_isTerminal) {
        std::fprintf(stderr, "\r\033[Kpass %u of %u: %s", pass, passes, subject.data());
    }
}

void Measure(const Options& options) {
    for (unsigned pass = 1; pass <= options.passes; ++pass) {
        ShowProgress(pass, options.passes, "this machine");
        benchmarks::Calibrate();
        for (const Subject& subject : options.subjects) {
            ShowProgress(pass, options.passes, subject.name);
            Results::All().SetPlace("One thread, on core 0; a second thread of the process sleeps");
            subject.run();
        }
    }
}

} // namespace

int main(int count, char** arguments) {
    Options options;
    if (!Read(std::span(arguments, static_cast<std::size_t>(count)).subspan(1), options)) {
        return Usage();
    }
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(signal, &benchmarks::Interrupt);
    }
    // Where a process has but one thread the C library leaves out locked instructions, which no application of ours
    // would see.
    std::thread([] {
        for (;;) {
            ::pause();
        }
    }).detach();
    benchmarks::PinToCore(0);
    int status = 0;
    try {
        Measure(options);
    } catch (const benchmarks::Interrupted& interrupted) {
        status = 128 + interrupted.signal;
    } catch (const std::exception& error) {
        ShowProgress(0, 0, "");
        std::fprintf(stderr, "benchmarks: %s\n", error.what());
        status = 1;
    }
    ShowProgress(0, 0, "");
    if (status == 0) {
        Results::All().Print(options.format, options.passes);
    }
    return status;
}
