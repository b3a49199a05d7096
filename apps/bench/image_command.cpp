#include "apps/bench/commands.h"
#include "apps/bench/imager_session.h"
#include "apps/bench/output.h"
#include "apps/bench/plate_output.h"
#include "apps/job/job_file.h"

#include <cstdio>
#include <utility>

namespace apps {
namespace {

/// What a person sees of a job while it runs: steps that are done, one a line, and a bar for the one that is not.
class JobDisplay {
public:
    explicit JobDisplay(bool live) : m_bar(live) {}

    void Begin(const std::string& step) {
        m_step = step;
        m_nBegin = ::GetTickCount64();
        m_bar.Show(step, 0, {});
    }
    /// `step` names what is being done now, `permille` how far the whole since Begin is.
    void Show(const std::string& step, int permille) {
        m_step = step;
        const double elapsed = static_cast<double>(::GetTickCount64() - m_nBegin) / 1000;
        m_bar.Show(step, permille, permille > 0 ? Duration(elapsed * (1000 - permille) / permille) + " left" : "");
    }
    void Done(const std::string& step) {
        m_bar.Clear();
        std::fprintf(stderr, "%s %s\n", Painted(Stream::kError, Colour::kGood, "done").c_str(), step.c_str());
        std::fflush(stderr);
    }
    void Clear() {
        m_bar.Clear();
    }
    /// What was being done last.
    const std::string& Step() const {
        return m_step;
    }

private:
    ProgressBar m_bar;
    std::string m_step;
    ULONGLONG m_nBegin = 0;
};

Outcome RunStep(ImagerSession& session, JobDisplay& display, const Message& command, const std::string& step) {
    display.Begin(step);
    Outcome failure = session.Command(command, [&](const Message& progress) { display.Show(step, progress.value); });
    if (!failure) {
        display.Done(step);
    }
    return failure;
}

/// Exposes the job; each plate that is through becomes a step of its own.
Outcome Expose(ImagerSession& session, JobDisplay& display, const Job& job) {
    std::vector<std::string> steps;
    const std::string of = " of " + std::to_string(CountPlates(job)) + ": ";
    for (const Separation& separation : job.separations) {
        for (int copy = 0; copy < separation.copies; ++copy) {
            steps.push_back("expose plate " + std::to_string(steps.size() + 1) + of + separation.name);
        }
    }
    std::size_t exposed = 0;
    const auto exposedUpTo = [&](std::size_t plates) {
        for (; exposed < plates; ++exposed) {
            display.Done(steps[exposed]);
        }
    };
    display.Begin(steps.front());
    Outcome failure = session.Command(MakeExposeCommand(job), [&](const Message& progress) {
        const int plate = ParseNumber(FindParameter(progress.text, "plate")).value_or(0);
        if (plate >= 1 && static_cast<std::size_t>(plate) <= steps.size()) {
            const auto present = static_cast<std::size_t>(plate - 1);
            exposedUpTo(present);
            display.Show(steps[present], progress.value);
        }
    });
    if (!failure) {
        exposedUpTo(steps.size());
    }
    return failure;
}

Outcome RunJob(ImagerSession& session, const Job& job, JobDisplay& display) {
    if (Outcome failure =
            RunStep(session, display, MakeLoadCommand(job.plate), "load a plate of " + PlateText(job.plate))) {
        return failure;
    }
    if (Outcome failure = Expose(session, display, job)) {
        return failure;
    }
    return RunStep(session, display, MakeUnloadCommand(), "unload the plate");
}

Outcome Stop(ImagerSession& session, JobDisplay& display) {
    display.Begin("stop the imager");
    Outcome failure = session.End();
    if (!failure) {
        display.Done("stop the imager");
    }
    return failure;
}

/// Ends the session after a failure at `step` and tells both in one line.
Failure EndAfter(Failure failure, ImagerSession& session, const std::string& step) {
    if (session.ProcessId() == 0) {
        return failure;
    }
    const Outcome notEnded = session.End();
    failure.text += ", at '" + step + "'";
    if (notEnded) {
        failure.text += "; " + notEnded->text;
    } else if (failure.code == kUserAborted) {
        failure.text += "; the imager was stopped";
    }
    return failure;
}

/// `seconds` passed here, `engineSeconds` on the engine.
void PrintSummary(const ImageOptions& options, const Job& job, double seconds, double engineSeconds) {
    const int plates = CountPlates(job);
    const int lines = CountLines(job);
    const double perHour = engineSeconds > 0 ? plates * 3600 / engineSeconds : 0;
    if (options.json) {
        JsonArray separations;
        for (const Separation& separation : job.separations) {
            separations.Add(JsonObject().Text("name", separation.name).Number("copies", separation.copies).Json());
        }
        const std::string json = JsonObject()
                                     .Text("job", job.name)
                                     .Text("file", options.jobFile)
                                     .Value("plate", PlateJson(job.plate))
                                     .Number("plates", plates)
                                     .Number("linesPerPlate", lines)
                                     .Number("resolutionDpi", job.resolution)
                                     .Value("separations", separations.Json())
                                     .Real("seconds", seconds)
                                     .Real("speed", options.speed)
                                     .Real("engineSeconds", engineSeconds)
                                     .Real("platesPerHour", perHour)
                                     .Json();
        std::printf("%s\n", json.c_str());
        return;
    }
    std::string names;
    for (const Separation& separation : job.separations) {
        names += (names.empty() ? "" : ", ") + separation.name;
        names += separation.copies > 1 ? " x " + std::to_string(separation.copies) : "";
    }
    std::printf("\n%s\n", Printable(job.name).c_str());
    std::printf("  separations  %s\n", names.c_str());
    std::printf("  image        %s at %d dpi, %d lines a plate\n", FormatSize(job.image).c_str(), job.resolution,
                lines);
    std::printf("  plates       %d of %s\n", plates, PlateText(job.plate).c_str());
    std::printf("  time         %.1f s", seconds);
    if (options.speed != 1) {
        std::printf(" at %g times the engine's pace", options.speed);
    }
    std::printf("\n  real engine  %.1f s, %.0f plates an hour\n", engineSeconds, perHour);
}

} // namespace

Outcome ImageCommand(const ImageOptions& options, const Interrupt& interrupt) {
    Job job;
    if (Outcome failure = ReadJobFile(options.jobFile, job)) {
        return failure;
    }
    // Log lines on the terminal and a bar that is drawn over itself do not go together.
    JobDisplay display(IsTerminal(Stream::kError) && !options.verbose);
    ImagerSession session(options);
    display.Begin("start the imager");
    Outcome failure = session.Start(interrupt.Event());
    const ULONGLONG begin = ::GetTickCount64();
    if (!failure) {
        display.Done("start the imager (process " + std::to_string(session.ProcessId()) + ")");
        failure = RunJob(session, job, display);
    }
    const double seconds = static_cast<double>(::GetTickCount64() - begin) / 1000;
    if (!failure) {
        failure = Stop(session, display);
    }
    display.Clear();
    if (failure) {
        return EndAfter(std::move(*failure), session, display.Step());
    }
    PrintSummary(options, job, seconds, session.EngineSeconds());
    return std::nullopt;
}

} // namespace apps
