#include "apps/bench/channel_look.h"
#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "gaizior/comms/channel.h"

#include <array>
#include <cstdio>
#include <memory>
#include <optional>

namespace apps {
namespace {

constexpr const char* kFunction = "DoctorCommand(): ";
constexpr const char* kRestart = "end every process that uses it and start them again";
constexpr long long kPerSecond = 1000; // the channel's times are milliseconds since 1970

using ZRErrors::ZRErrorT;

bool IsRead(ZRErrorT code) {
    return code == ZRErrors::e_General_NoError || code == ZRErrors::e_Object_BadMagic;
}

struct Diagnosis {
    ZRErrorT code = ZRErrors::e_General_NoError; ///< of the last thing that was tried
    ZcHolderT holder;
    std::string takeover; ///< what was found and done when the owner had died
    std::string repaired; ///< what was found and done because it was asked for
    Look look;            ///< valid if it was read

    bool WasRead() const {
        return IsRead(code);
    }
    bool IsForeign() const {
        return code == ZRErrors::e_Object_BadMagic;
    }
    bool IsDamaged() const {
        return WasRead() && !IsForeign() && !IsConsistent(look);
    }
};

/// Tries for kLockTimeout in all, in steps between which Ctrl-C ends it.
template <typename Try>
ZRErrorT Insist(const Interrupt& interrupt, const Try& attempt) {
    constexpr unsigned long kStep = 50;
    ZRErrorT code = ZRErrors::e_Command_TimedOut;
    for (unsigned long waited = 0; code == ZRErrors::e_Command_TimedOut && waited < kLockTimeout; waited += kStep) {
        if (interrupt.IsSet()) {
            return kUserAborted;
        }
        code = attempt(kStep);
    }
    return code;
}

void Examine(Diagnosis& diagnosis, const Interrupt& interrupt) {
    diagnosis.code = Insist(interrupt, [&](unsigned long timeout) {
        std::array<char, kReportSize> report{};
        const ZRErrorT code = ZcSnapshot(&diagnosis.look.block, timeout, report.data(), report.size());
        diagnosis.takeover += report.data();
        return code;
    });
    if (diagnosis.WasRead()) {
        ZcExamine(&diagnosis.look.block, &diagnosis.look.findings);
    } else if (diagnosis.code == ZRErrors::e_Command_TimedOut) {
        ZcQueryHolder(&diagnosis.holder); // it may be another one than at first
    }
}

void Repair(Diagnosis& diagnosis, const Interrupt& interrupt) {
    diagnosis.code = Insist(interrupt, [&](unsigned long timeout) {
        std::array<char, kReportSize> report{};
        const ZRErrorT code = ZcRepair(report.data(), report.size(), timeout);
        diagnosis.repaired = report.data();
        return code;
    });
    if (IsRead(diagnosis.code)) {
        Examine(diagnosis, interrupt);
    }
}

/// While the last process closes the channel its objects vanish one after the other, but the mutex does not stay.
bool IsGoing(ZRErrorT code, const Interrupt& interrupt) {
    constexpr DWORD kTimeToGo = 100;
    ZcHolderT holder;
    return IsAbsent(code) && !interrupt.SleepUnlessSet(kTimeToGo) && IsAbsent(ZcQueryHolder(&holder));
}

/// Seconds since then; 0 for a moment that is still to come.
double AgeOf(long long moment) {
    const long long age = Now() - moment;
    return age > 0 ? static_cast<double>(age) / kPerSecond : 0;
}

std::string HolderText(const ZcHolderT& holder) {
    if (holder.nProcess == 0) {
        return holder.nThread == 0 ? "a process that the system does not name"
                                   : "thread " + std::to_string(holder.nThread) + ", which this process cannot see";
    }
    return Printable(holder.szProgram) + " (process " + std::to_string(holder.nProcess) + ", thread " +
           std::to_string(holder.nThread) + ")";
}

std::string MutexText(const Diagnosis& diagnosis) {
    const ZcHolderT& holder = diagnosis.holder;
    std::string text = holder.bAbandoned ? "its last owner died" : "free";
    if (holder.bHeld) {
        text = "held by " + HolderText(holder);
        if (holder.nSince != 0) {
            text += " since " + TimeText(holder.nSince, kTimeForPeople) + ", for " + Duration(AgeOf(holder.nSince));
        }
    }
    if (!diagnosis.takeover.empty()) {
        text += std::string(holder.bAbandoned ? "" : "; its owner died just now") +
                ", taken over: " + Printable(diagnosis.takeover);
    }
    return text;
}

std::string BlockText(const Diagnosis& diagnosis) {
    if (diagnosis.code == ZRErrors::e_Command_TimedOut) {
        return "cannot be read while the mutex is held";
    }
    if (!diagnosis.WasRead()) {
        return "cannot be read: " + ErrorText(diagnosis.code);
    }
    if (!IsConsistent(diagnosis.look)) {
        return Painted(Stream::kOutput, Colour::kBad, "DAMAGED") + ": " + Printable(diagnosis.look.findings.szDamage);
    }
    const std::string consistent = Painted(Stream::kOutput, Colour::kGood, "consistent");
    return diagnosis.repaired.empty() ? consistent : consistent + ", repaired: " + Printable(diagnosis.repaired);
}

/// Whom the oldest message is for; nothing where there is none.
std::optional<unsigned> OldestId(const Diagnosis& diagnosis) {
    const ZcFindingsT& findings = diagnosis.look.findings;
    if (!diagnosis.WasRead() || diagnosis.IsForeign() || findings.nQueued == 0) {
        return std::nullopt;
    }
    return diagnosis.look.block.slots[findings.anOrder[0]].dest_id;
}

void Print(const Diagnosis& diagnosis) {
    std::printf("mutex     %s\n", MutexText(diagnosis).c_str());
    std::printf("block     %s\n", BlockText(diagnosis).c_str());
    if (!diagnosis.WasRead() || diagnosis.IsForeign()) {
        return;
    }
    const std::optional<unsigned> oldest = OldestId(diagnosis);
    std::printf("messages  %u of %u slots taken%s\n", unsigned{diagnosis.look.findings.nTaken}, unsigned{kZcSlotCount},
                oldest ? (", oldest for ID " + std::to_string(*oldest)).c_str() : "");
}

JsonObject& NumberOrNull(JsonObject& object, const char* key, unsigned value) {
    return value == 0 ? object.Null(key) : object.Number(key, value);
}

std::string MutexAsJson(const ZcHolderT& holder) {
    JsonObject mutex;
    mutex.Bool("held", holder.bHeld).Bool("abandoned", holder.bAbandoned);
    NumberOrNull(mutex, "process", holder.nProcess);
    NumberOrNull(mutex, "thread", holder.nThread);
    mutex.TextOrNull("program", holder.szProgram);
    const bool isTimed = holder.bHeld && holder.nSince != 0;
    mutex.TextOrNull("since", isTimed ? TimeText(holder.nSince, kTimeForPrograms) : "");
    return (isTimed ? mutex.Real("seconds", AgeOf(holder.nSince)) : mutex.Null("seconds")).Json();
}

std::string DiagnosisAsJson(const Diagnosis& diagnosis) {
    JsonObject object;
    object.Value("mutex", MutexAsJson(diagnosis.holder)).Bool("readable", diagnosis.WasRead());
    if (diagnosis.WasRead()) {
        object.Bool("consistent", IsConsistent(diagnosis.look));
        object.TextOrNull("damage", diagnosis.look.findings.szDamage);
        object.Number("taken", diagnosis.look.findings.nTaken);
    } else {
        object.Null("consistent").Null("damage").Null("taken");
    }
    object.Number("slots", kZcSlotCount);
    const std::optional<unsigned> oldest = OldestId(diagnosis);
    oldest ? object.Number("oldest_id", *oldest) : object.Null("oldest_id");
    object.TextOrNull("taken_over", diagnosis.takeover);
    return object.TextOrNull("repaired", diagnosis.repaired).Json();
}

/// What is wrong and what to do about it.
Outcome Advise(const Diagnosis& diagnosis) {
    const bool hasTimedOut = diagnosis.code == ZRErrors::e_Command_TimedOut;
    if (hasTimedOut && diagnosis.holder.bHeld) {
        return Fail(kFunction, diagnosis.code, Exit::kTimedOut,
                    "the message channel is locked by " + HolderText(diagnosis.holder) +
                        ": if it stays so end that process, the next one takes the channel over");
    }
    if (!diagnosis.WasRead()) {
        return CannotRead(kFunction, diagnosis.code, hasTimedOut ? "try again" : kRestart);
    }
    if (diagnosis.IsForeign()) {
        return Fail(kFunction, diagnosis.code, Exit::kFailed,
                    std::string("the shared memory is not a message channel's: ") + kRestart);
    }
    if (diagnosis.IsDamaged()) {
        return Fail(kFunction, kInvalidData, Exit::kFailed,
                    "the message channel is damaged: --repair puts it in order");
    }
    return std::nullopt;
}

} // namespace

Outcome DoctorCommand(const DoctorOptions& options, const Interrupt& interrupt) {
    const auto diagnosis = std::make_unique<Diagnosis>();
    if (const ZRErrorT code = ZcQueryHolder(&diagnosis->holder); code != ZRErrors::e_General_NoError) {
        return IsAbsent(code) ? NoChannel(kFunction) : CannotRead(kFunction, code, kRestart);
    }
    Examine(*diagnosis, interrupt);
    if (options.repair && diagnosis->IsDamaged()) {
        Repair(*diagnosis, interrupt);
    }
    if (IsGoing(diagnosis->code, interrupt)) {
        return NoChannel(kFunction);
    }
    if (diagnosis->code == kUserAborted) {
        return Fail(kFunction, kUserAborted, Exit::kFailed, "interrupted while waiting for the channel's lock");
    }
    if (options.json) {
        std::printf("%s\n", DiagnosisAsJson(*diagnosis).c_str());
    } else {
        Print(*diagnosis);
    }
    return Advise(*diagnosis);
}

} // namespace apps
