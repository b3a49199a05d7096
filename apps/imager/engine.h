#pragma once

#include "apps/job/job.h"

#include <string>
#include <utility>
#include <vector>

namespace apps {

/// A plate that has been exposed, or on which exposing was broken off.
struct Exposure {
    std::string job;
    Plate plate;
    std::string separation;
    int number = 0; ///< among the job's plates, from 1
    int plates = 0; ///< of the job
    bool isSpoiled = false;
};

/// Simulates an internal-drum platesetter: a spinning mirror writes one line a revolution while the carriage moves on.
/// Time passes only in Advance, so whoever drives it decides the pace. Not for several threads at once.
///
///     operation   empty      loaded     exposed    busy
///     Load        loading    rejected   rejected   busy
///     Expose      no plate   exposing   rejected   busy
///     Unload      no plate   unloading  unloading  busy
///     Halt        -          -          -          ends the operation
class Engine {
public:
    enum class State { kEmpty, kLoading, kLoaded, kExposing, kExposed, kUnloading };

    /// How far the running operation is.
    struct Progress {
        int permille = 0;
        int plate = 0; ///< of the job, from 1; 0 when nothing is exposed
        int plates = 0;
        std::string separation;
    };

    /// @returns 0, kDeviceBusy, kCommandRejected for a drum that has a plate, or what is wrong with the plate.
    ZRErrors::ZRErrorT Load(const Plate& plate);
    /// Exposes every copy of every separation and changes the plate in between; `job.plate` is not looked at.
    /// @returns 0, kDeviceBusy, e_Phs_NoPlate, kCommandRejected for a plate that is exposed, or what is wrong.
    ZRErrors::ZRErrorT Expose(const Job& job);
    /// @returns 0, kDeviceBusy or e_Phs_NoPlate.
    ZRErrors::ZRErrorT Unload();
    /// Ends a running operation where it is: a plate that was being exposed is spoiled, one on its way is out.
    void Halt();

    /// What was exposed since this was last asked, oldest first.
    std::vector<Exposure> TakeExposures() {
        return std::exchange(m_exposures, {});
    }

    /// Lets time pass. @returns whether the running operation came to its end in it.
    bool Advance(double seconds);

    State GetState() const {
        return m_state;
    }
    bool IsBusy() const {
        return !m_phases.empty();
    }
    /// The plate on the drum or on its way; its size is 0 when there is none.
    const Plate& GetPlate() const {
        return m_plate;
    }
    Progress GetProgress() const;
    /// Seconds that the running operation takes, or the last one took.
    double Duration() const {
        return m_fDuration;
    }

private:
    /// One piece of an operation: a plate that is moved or exposed.
    struct Phase {
        double seconds = 0;
        int plate = 0;
        std::string separation = {};
        bool exposes = false;
        double end = 0; ///< seconds since the operation began
    };

    void Begin(State state, State after, std::vector<Phase> phases);
    void End(State state);
    void Note(const Phase& phase, bool isSpoiled);

    State m_state = State::kEmpty;
    State m_stateAfter = State::kEmpty;
    Plate m_plate;
    std::string m_job;           ///< the name of the one that is exposed
    std::vector<Phase> m_phases; ///< of the running operation; none when the engine is idle
    std::size_t m_nEnded = 0;    ///< how many of them have come to their end
    std::vector<Exposure> m_exposures;
    double m_fElapsed = 0; ///< seconds since the operation began
    double m_fDuration = 0;
};

/// "empty", "loading" ...
const char* StateName(Engine::State state);

} // namespace apps
