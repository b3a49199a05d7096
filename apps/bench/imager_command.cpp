#include "apps/bench/imager_visit.h"
#include "apps/bench/output.h"
#include "apps/bench/plate_choice.h"
#include "apps/bench/plate_output.h"
#include "apps/job/job_file.h"
#include "apps/job/message_text.h"
#include "apps/support/channel_id.h"
#include "apps/support/patience.h"
#include "apps/support/suggest.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace apps {
namespace {

/// What the engine does when it is told, and where the plate is meanwhile.
struct Work {
    Message command;
    std::string step; ///< "load a plate of 345 x 580 mm"
    const char* plateIs;
};

/// What an imager at work shows of itself on a terminal.
class WorkDisplay {
public:
    WorkDisplay(std::string step, bool isLive) : m_bar(isLive), m_step(std::move(step)) {
        m_bar.Show(m_step, 0, {});
    }

    void Show(const Message& progress) {
        const std::string_view plate = FindParameter(progress.text, "plate");
        if (!plate.empty()) {
            m_step = "expose plate " + std::string(plate) + " of " +
                     std::string(FindParameter(progress.text, "plates")) + ": " +
                     std::string(FindParameter(progress.text, "separation"));
        }
        m_nPermille = std::clamp(progress.value, 0, 1000); // another process says it
        const double elapsed = static_cast<double>(::GetTickCount64() - m_nBegin) / 1000;
        m_bar.Show(Printable(m_step), m_nPermille,
                   m_nPermille > 0 ? Duration(elapsed * (1000 - m_nPermille) / m_nPermille) + " left" : "");
    }
    /// "'expose plate 2 of 4: Cyan', 43 % of all"
    std::string Present() const {
        return "'" + m_step + "', " + std::to_string(m_nPermille / 10) + " % of all";
    }

private:
    ProgressBar m_bar;
    std::string m_step;
    int m_nPermille = 0;
    ULONGLONG m_nBegin = ::GetTickCount64();
};

/// What to do where the state of the engine stands in the way.
std::string AdviceFor(CommandCode command, ZRErrors::ZRErrorT code, const std::string& id) {
    if (code == kDeviceBusy) {
        return ": 'bench imager status" + id + "' shows what it is at";
    }
    if (code == kCommandRejected) {
        return ": 'bench imager unload" + id + "' takes the plate that is there from the drum" +
               (command == kExpose ? ", since it is exposed" : "");
    }
    return code == ZRErrors::e_Phs_NoPlate && command == kExpose
               ? ": 'bench imager load FILE" + id + "' puts a plate onto the drum"
               : "";
}

void Explain(Failure& failure, const ImagerOptions& options, const Work& work, const WorkDisplay& display) {
    const std::string id = IdWords(options.id);
    if (failure.code == kUserAborted) {
        failure.text = "interrupted; imager " + std::to_string(options.id) + " goes on with " + display.Present() +
                       ", and " + work.plateIs + ": 'bench imager status" + id + "' tells when it is done, " +
                       "'bench imager stop" + id + "' ends it";
    } else if (failure.code == kImagerDied) {
        failure.text += "; at " + display.Present() + ", " + work.plateIs;
    } else {
        failure.text += AdviceFor(static_cast<CommandCode>(work.command.code), failure.code, id);
    }
}

/// Has the engine do it. `reply` says what came of it.
Outcome Run(const ImagerOptions& options, const Work& work, const Interrupt& interrupt, Message& reply) {
    ImagerVisit visit(options, ImagerVisit::Purpose::kWork, interrupt);
    if (Outcome failure = visit.Begin()) {
        return failure;
    }
    WorkDisplay display(work.step, IsTerminal(Stream::kError) && !options.verbose);
    Outcome failure =
        visit.Client().Command(work.command, reply, [&](const Message& progress) { display.Show(progress); });
    if (failure) {
        Explain(*failure, options, work, display);
    }
    return failure;
}

JsonObject StateAsJson(const ImagerOptions& options, const Message& reply) {
    JsonObject object;
    object.Number("imager", options.id).TextOrNull("state", FindParameter(reply.text, "state"));
    return object;
}

JsonObject& AddPlate(JsonObject& object, const Message& reply) {
    const std::optional<Plate> plate = ReadReportedPlate(reply);
    return plate ? object.Value("plate", PlateJson(*plate)) : object.Null("plate");
}

JsonObject& AddEngineSeconds(JsonObject& object, const Message& reply) {
    const std::optional<Hundredths> seconds = ParseHundredths(FindParameter(reply.text, "seconds"));
    return seconds ? object.Real("engineSeconds", *seconds / 100.0) : object.Null("engineSeconds");
}

void Print(const ImagerOptions& options, const std::string& text, const JsonObject& json) {
    std::printf("%s\n", options.json ? json.Json().c_str() : Printable(text).c_str());
}

/// Loads or unloads.
Outcome MovePlate(const ImagerOptions& options, const Work& work, const Interrupt& interrupt) {
    Message reply;
    if (Outcome failure = Run(options, work, interrupt, reply)) {
        return failure;
    }
    JsonObject json = StateAsJson(options, reply);
    AddEngineSeconds(AddPlate(json, reply), reply);
    Print(options, MessageText(reply), json);
    return std::nullopt;
}

/// Leaves of the job what is asked for.
Outcome Choose(const ExposeOptions& options, Job& job) {
    std::vector<Separation> all;
    std::vector<std::string> names;
    std::vector<Separation> plates; // each as a separation of its own
    std::swap(all, job.separations);
    for (const Separation& separation : all) {
        names.push_back(separation.name);
        plates.insert(plates.end(), static_cast<std::size_t>(separation.copies), {separation.name, 1});
    }
    if (options.plate > static_cast<int>(plates.size())) {
        return Fail("Choose(): ", kNameNotFound, Exit::kNotFound,
                    options.jobFile + " has " + Counted(static_cast<long long>(plates.size()), "plate") +
                        " and no plate " + std::to_string(options.plate));
    }
    if (options.plate > 0) {
        job.separations = {plates[static_cast<std::size_t>(options.plate - 1)]};
        return std::nullopt;
    }
    std::ranges::copy_if(all, std::back_inserter(job.separations), [&](const Separation& separation) {
        return options.separation.empty() || IsSameName(separation.name, options.separation);
    });
    if (job.separations.empty()) {
        return Fail("Choose(): ", kNameNotFound, Exit::kNotFound,
                    options.jobFile + " has no separation '" + options.separation + "'" +
                        Suggestion(options.separation, names));
    }
    return std::nullopt;
}

} // namespace

Outcome ImagerStatusCommand(const ImagerOptions& options, const Interrupt& interrupt) {
    ImagerVisit visit(options, ImagerVisit::Purpose::kQuestion, interrupt);
    Message reply;
    Outcome failure = visit.Begin();
    if (!failure) {
        failure = visit.Client().Command(MakeStatusCommand(), reply);
    }
    if (!failure) {
        JsonObject json = StateAsJson(options, reply);
        Print(options, MessageText(reply), AddPlate(json, reply));
    }
    return failure;
}

Outcome LoadCommand(const LoadOptions& options, const Interrupt& interrupt) {
    Plate plate;
    if (Outcome failure = ChoosePlate(options.file, options.name, plate)) {
        return failure;
    }
    return MovePlate(
        options, {MakeLoadCommand(plate), "load a plate of " + PlateText(plate), "the plate is on its way to the drum"},
        interrupt);
}

Outcome UnloadCommand(const ImagerOptions& options, const Interrupt& interrupt) {
    return MovePlate(options, {MakeUnloadCommand(), "unload the plate", "the plate is on its way from the drum"},
                     interrupt);
}

Outcome ExposeCommand(const ExposeOptions& options, const Interrupt& interrupt) {
    Job job;
    if (Outcome failure = ReadJobFile(options.jobFile, job)) {
        return failure;
    }
    if (Outcome failure = Choose(options, job)) {
        return failure;
    }
    Message reply;
    if (Outcome failure =
            Run(options, {MakeExposeCommand(job), "expose the job", "the plate is on the drum"}, interrupt, reply)) {
        return failure;
    }
    const int plates = CountPlates(job);
    JsonObject json = StateAsJson(options, reply);
    json.Text("job", job.name).Number("plates", plates);
    Print(options, MessageText(reply) + ": " + Counted(plates, "plate") + " of '" + job.name + "'",
          AddEngineSeconds(json, reply));
    return std::nullopt;
}

Outcome StopCommand(const ImagerOptions& options, const Interrupt& interrupt) {
    constexpr const char* kFunction = "StopCommand(): ";
    constexpr DWORD kPause = 50;
    ImagerVisit visit(options, ImagerVisit::Purpose::kQuestion, interrupt);
    if (Outcome failure = visit.Begin()) {
        return failure;
    }
    Message reply;
    Outcome refusal = visit.Client().Command(MakeStopCommand(), reply);
    // One that hangs in a lock says so, and ends all the same.
    if (refusal && refusal->code != ZRErrors::e_CriticalSection_TimeOut && refusal->code != kImagerDied) {
        return refusal;
    }
    Patience patience(static_cast<DWORD>(options.timeout * 1000));
    while (IsIdInUse(options.id)) {
        if (interrupt.SleepUnlessSet(kPause)) {
            return Fail(kFunction, kUserAborted, Exit::kFailed, "interrupted; " + visit.Name() + " is about to end");
        }
        if (patience.IsExhausted()) {
            return Fail(kFunction, ZRErrors::e_Command_TimedOut, Exit::kTimedOut,
                        visit.Name() + " was told to end and has not within " + patience.Text() +
                            ": 'bench imager threads" + IdWords(options.id) + "' shows what holds it up");
        }
    }
    Print(options, visit.Name() + " has stopped", JsonObject().Number("imager", options.id).Text("state", "stopped"));
    return std::nullopt;
}

} // namespace apps
