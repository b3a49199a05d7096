#pragma once

#include "apps/bench/output.h"
#include "apps/job/job.h"
#include "gaizior/platform/windows_api.h"

#include <optional>
#include <string>

namespace apps {

/// What 'bench image' does one after the other.
enum class JobPhase { kStart, kLoad, kExpose, kUnload, kStop };

struct JobStep {
    JobPhase phase = JobPhase::kStart;
    std::string text;            ///< for people: "expose plate 1 of 4: Cyan"
    int plate = 0;               ///< from 1; 0 where none is exposed
    std::string separation = {}; ///< of that plate
};

/// Where a job that was broken off has left its plate.
struct Whereabouts {
    const char* drum; ///< for programs: "empty", "plate" or "unknown"
    const char* text; ///< for people
};
/// `isHalted`: the engine was brought to its end in order, which puts a plate out that is on its way.
Whereabouts WhereIsPlate(JobPhase phase, bool isHalted);

/// Tells what a job does while it runs. People see on standard error the steps that are done, one a line, and a bar for
/// the one that is not; programs read on standard output one JSON object a line.
class JobDisplay {
public:
    /// `live`: a person sees the bar; `json`: a program reads.
    JobDisplay(bool live, bool json, int plates) : m_bar(live), m_bJson(json), m_nPlates(plates) {}

    /// The imager is ready, and the job begins; `file` is the job's.
    void Started(const std::string& file, const Job& job, DWORD process) const;
    void Begin(const JobStep& step);
    /// `step` is being done now, `permille` is how far the whole since Begin is.
    void Show(const JobStep& step, int permille);
    void Done(const JobStep& step);
    void Clear() {
        m_bar.Clear();
    }
    void Failed(const Whereabouts& plate) const;
    /// What was being done last.
    const JobStep& Step() const {
        return m_step;
    }

private:
    void PrintEvent(const char* event, const JobStep& step, std::optional<int> permille,
                    std::optional<double> secondsLeft) const;

    ProgressBar m_bar;
    bool m_bJson;
    int m_nPlates;
    JobStep m_step;
    ULONGLONG m_nBegin = 0;
};

} // namespace apps
