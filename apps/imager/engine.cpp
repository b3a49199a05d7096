#include "apps/imager/engine.h"

#include "apps/job/pace.h"
#include "apps/support/failure.h"

#include <array>

namespace apps {

ZRErrors::ZRErrorT Engine::Load(const Plate& plate) {
    if (IsBusy()) {
        return kDeviceBusy;
    }
    if (m_state != State::kEmpty) {
        return kCommandRejected;
    }
    const ZRErrors::ZRErrorT code = CheckPlate(plate);
    if (code == ZRErrors::e_General_NoError) {
        m_plate = plate;
        Begin(State::kLoading, State::kLoaded, {{.seconds = kLoadSeconds}});
    }
    return code;
}

ZRErrors::ZRErrorT Engine::Expose(const Job& job) {
    if (IsBusy()) {
        return kDeviceBusy;
    }
    if (m_state == State::kEmpty) {
        return ZRErrors::e_Phs_NoPlate;
    }
    if (m_state == State::kExposed) {
        return kCommandRejected;
    }
    Job onThisPlate = job;
    onThisPlate.plate = m_plate;
    const ZRErrors::ZRErrorT code = CheckExposure(onThisPlate);
    if (code != ZRErrors::e_General_NoError) {
        return code;
    }
    std::vector<Phase> phases;
    int plate = 0;
    for (const Separation& separation : job.separations) {
        for (int copy = 0; copy < separation.copies; ++copy) {
            ++plate;
            if (plate > 1) {
                phases.push_back(
                    {.seconds = kUnloadSeconds + kLoadSeconds, .plate = plate, .separation = separation.name});
            }
            phases.push_back(
                {.seconds = ExposeSeconds(job), .plate = plate, .separation = separation.name, .exposes = true});
        }
    }
    m_job = job.name;
    Begin(State::kExposing, State::kExposed, std::move(phases));
    return code;
}

ZRErrors::ZRErrorT Engine::Unload() {
    if (IsBusy()) {
        return kDeviceBusy;
    }
    if (m_state == State::kEmpty) {
        return ZRErrors::e_Phs_NoPlate;
    }
    Begin(State::kUnloading, State::kEmpty, {{.seconds = kUnloadSeconds}});
    return ZRErrors::e_General_NoError;
}

void Engine::Halt() {
    if (IsBusy()) {
        const Phase& present = m_phases[m_nEnded];
        Note(present, true);
        End(present.exposes ? State::kExposed : State::kEmpty);
    }
}

bool Engine::Advance(double seconds) {
    if (!IsBusy()) {
        return false;
    }
    m_fElapsed += seconds;
    for (; m_nEnded < m_phases.size() && m_phases[m_nEnded].end <= m_fElapsed; ++m_nEnded) {
        Note(m_phases[m_nEnded], false);
    }
    if (m_nEnded < m_phases.size()) {
        return false;
    }
    End(m_stateAfter);
    return true;
}

Engine::Progress Engine::GetProgress() const {
    if (!IsBusy()) {
        return {};
    }
    const Phase& present = m_phases[m_nEnded];
    return {static_cast<int>(1000 * m_fElapsed / m_fDuration), present.plate, m_phases.back().plate,
            present.separation};
}

void Engine::Begin(State state, State after, std::vector<Phase> phases) {
    m_state = state;
    m_stateAfter = after;
    m_phases = std::move(phases);
    m_fElapsed = 0;
    m_fDuration = 0;
    m_nEnded = 0;
    for (Phase& phase : m_phases) {
        m_fDuration += phase.seconds;
        phase.end = m_fDuration;
    }
}

void Engine::End(State state) {
    m_state = state;
    m_phases.clear();
    if (state == State::kEmpty) {
        m_plate = {};
    }
}

/// Keeps in mind what became of the plate, should the phase be one that exposes.
void Engine::Note(const Phase& phase, bool isSpoiled) {
    if (phase.exposes) {
        m_exposures.push_back({m_job, m_plate, phase.separation, phase.plate, m_phases.back().plate, isSpoiled});
    }
}

const char* StateName(Engine::State state) {
    constexpr std::array<const char*, 6> kNames = {"empty", "loading", "loaded", "exposing", "exposed", "unloading"};
    return kNames[static_cast<std::size_t>(state)];
}

} // namespace apps
