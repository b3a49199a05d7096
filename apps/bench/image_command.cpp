#include "apps/bench/commands.h"
#include "apps/bench/imager_session.h"
#include "apps/bench/job_display.h"
#include "apps/bench/job_output.h"
#include "apps/bench/plate_output.h"

#include <utility>

namespace apps {
namespace {

Outcome CheckFile(const ImageOptions& options) {
    Job job;
    std::vector<Complaint> complaints;
    if (Outcome failure = CheckJobFile(options.jobFile, job, complaints)) {
        return failure;
    }
    PrintComplaints(options, job, complaints);
    return complaints.empty()
               ? Outcome()
               : Fail("CheckFile(): ", kFileFormat, Exit::kUsage,
                      options.jobFile + " has " + Counted(static_cast<long long>(complaints.size()), "fault") +
                          ": mend the file and check it again");
}

Outcome RunStep(ImagerSession& session, JobDisplay& display, const Message& command, const JobStep& step) {
    display.Begin(step);
    Outcome failure = session.Command(command, [&](const Message& progress) { display.Show(step, progress.value); });
    if (!failure) {
        display.Done(step);
    }
    return failure;
}

/// A step for each plate of the job.
std::vector<JobStep> ExposeSteps(const Job& job) {
    std::vector<JobStep> steps;
    const std::string of = " of " + std::to_string(CountPlates(job)) + ": ";
    for (std::string& separation : PlateSeparations(job)) {
        const int plate = static_cast<int>(steps.size() + 1);
        std::string text = "expose plate " + std::to_string(plate);
        text += of + separation;
        steps.push_back({JobPhase::kExpose, std::move(text), plate, std::move(separation)});
    }
    return steps;
}

/// Exposes the job; each plate that is through becomes a step of its own.
Outcome Expose(ImagerSession& session, JobDisplay& display, const Job& job) {
    const std::vector<JobStep> steps = ExposeSteps(job);
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
    const JobStep load{JobPhase::kLoad, "load a plate of " + PlateText(job.plate)};
    if (Outcome failure = RunStep(session, display, MakeLoadCommand(job.plate), load)) {
        return failure;
    }
    if (Outcome failure = Expose(session, display, job)) {
        return failure;
    }
    return RunStep(session, display, MakeUnloadCommand(), {JobPhase::kUnload, "unload the plate"});
}

Outcome Stop(ImagerSession& session, JobDisplay& display) {
    const JobStep step{JobPhase::kStop, "stop the imager"};
    display.Begin(step);
    Outcome failure = session.End();
    if (!failure) {
        display.Done(step);
    }
    return failure;
}

/// Ends the session after a failure and tells both, and where the plate is, in one line.
Failure EndAfter(Failure failure, ImagerSession& session, const JobDisplay& display) {
    const JobStep& step = display.Step();
    const bool hasStarted = session.ProcessId() != 0;
    const Outcome notEnded = session.End();
    const Whereabouts plate = WhereIsPlate(step.phase, !notEnded && failure.code != kImagerDied);
    display.Failed(plate);
    if (!hasStarted) {
        return failure;
    }
    failure.text += ", at '" + step.text + "'";
    if (notEnded) {
        failure.text += "; " + notEnded->text;
    } else if (failure.code == kUserAborted) {
        failure.text += "; the imager was stopped";
    }
    failure.text += std::string("; ") + plate.text;
    return failure;
}

Outcome RunImage(const ImageOptions& options, const Job& job, const Interrupt& interrupt) {
    OutliveReaders(); // no plate is left on the drum for want of one
    // Log lines on the terminal and a bar that is drawn over itself do not go together.
    JobDisplay display(IsTerminal(Stream::kError) && !options.verbose, options.json, CountPlates(job));
    ImagerSession session(options);
    const JobStep start{JobPhase::kStart, "start the imager"};
    display.Begin(start);
    Outcome failure = session.Start(interrupt.Event());
    const ULONGLONG begin = ::GetTickCount64();
    if (!failure) {
        const std::string process = " (process " + std::to_string(session.ProcessId()) + ")";
        display.Done({start.phase, start.text + process});
        display.Started(options.jobFile, job, session.ProcessId());
        failure = RunJob(session, job, display);
    }
    const double seconds = static_cast<double>(::GetTickCount64() - begin) / 1000;
    if (!failure) {
        failure = Stop(session, display);
    }
    display.Clear();
    if (failure) {
        return EndAfter(std::move(*failure), session, display);
    }
    PrintSummary(options, job, seconds, session.EngineSeconds());
    return std::nullopt;
}

} // namespace

Outcome ImageCommand(const ImageOptions& options, const Interrupt& interrupt) {
    if (options.check && options.dryRun) {
        return Fail("ImageCommand(): ", kInvalidParameter, Exit::kUsage,
                    "--check and --dry-run do not go together: check the file first");
    }
    if (options.check) {
        return CheckFile(options);
    }
    Job job;
    if (Outcome failure = ReadJobFile(options.jobFile, job)) {
        return failure;
    }
    if (options.dryRun) {
        PrintPlan(options, job);
        return std::nullopt;
    }
    return RunImage(options, job, interrupt);
}

} // namespace apps
