#include "apps/bench/job_display.h"

#include "apps/job/pace.h"
#include "apps/support/clock.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace apps {
namespace {

const char* PhaseName(JobPhase phase) {
    constexpr std::array<const char*, 5> kNames = {"start", "load", "expose", "unload", "stop"};
    return kNames.at(static_cast<std::size_t>(phase));
}

JsonObject Event(const char* event) {
    JsonObject object;
    object.Text("event", event).Text("time", TimeText(Now(), kTimeForPrograms));
    return object;
}

/// A program is to read each line at once.
void Print(const JsonObject& object) {
    std::printf("%s\n", object.Json().c_str());
    std::fflush(stdout);
}

} // namespace

Whereabouts WhereIsPlate(JobPhase phase, bool isHalted) {
    constexpr Whereabouts kUnknown = {"unknown", "a plate may be on its way: look at the drum before the next job"};
    switch (phase) {
    case JobPhase::kStart:
        return {"empty", "no plate was loaded"};
    case JobPhase::kLoad:
        return isHalted ? Whereabouts{"empty", "no plate is on the drum"} : kUnknown;
    case JobPhase::kExpose: // its engine is gone with the imager, and nothing tells the next one of the plate
        return {"plate", "a plate is on the drum, not exposed to its end, or on its way where plates were being "
                         "changed: take it out by hand, since the next imager takes the drum for empty"};
    case JobPhase::kUnload:
        return isHalted ? Whereabouts{"empty", "the plate is out"} : kUnknown;
    case JobPhase::kStop:
        break;
    }
    return {"empty", "the plate is out"};
}

void JobDisplay::Started(const std::string& file, const Job& job, DWORD process) const {
    if (m_bJson) {
        Print(Event("started")
                  .Text("job", job.name)
                  .Text("file", file)
                  .Number("process", process)
                  .Number("plates", m_nPlates)
                  .Real("engineSeconds", m_nPlates * PlateSeconds(job)));
    }
}

void JobDisplay::Begin(const JobStep& step) {
    m_step = step;
    m_nBegin = ::GetTickCount64();
    m_bar.Show(step.text, 0, {});
    PrintEvent("progress", step, 0, {});
}

void JobDisplay::Show(const JobStep& step, int permille) {
    m_step = step;
    permille = std::clamp(permille, 0, 1000); // another process says it
    std::optional<double> left;
    if (permille > 0) {
        left = static_cast<double>(::GetTickCount64() - m_nBegin) * (1000 - permille) / permille / 1000;
    }
    m_bar.Show(step.text, permille, left ? Duration(*left) + " left" : "");
    PrintEvent("progress", step, permille, left);
}

void JobDisplay::Done(const JobStep& step) {
    m_bar.Clear();
    std::fprintf(stderr, "%s %s %s\n", ClockTime().c_str(), Painted(Stream::kError, Colour::kGood, "done").c_str(),
                 step.text.c_str());
    std::fflush(stderr);
    PrintEvent("stepDone", step, {}, {});
}

void JobDisplay::Failed(const Whereabouts& plate) const {
    if (m_bJson) {
        Print(Event("failed").Text("step", PhaseName(m_step.phase)).Text("drum", plate.drum));
    }
}

void JobDisplay::PrintEvent(const char* event, const JobStep& step, std::optional<int> permille,
                            std::optional<double> secondsLeft) const {
    if (!m_bJson || step.phase == JobPhase::kStart) { // Started is the first
        return;
    }
    JsonObject object = Event(event);
    object.Text("step", PhaseName(step.phase));
    permille ? object.Number("permille", *permille) : object.Null("permille");
    step.plate > 0 ? object.Number("plateNumber", step.plate) : object.Null("plateNumber");
    object.Number("plates", m_nPlates).TextOrNull("separation", step.separation);
    secondsLeft ? object.Real("secondsLeft", *secondsLeft) : object.Null("secondsLeft");
    Print(object);
}

} // namespace apps
