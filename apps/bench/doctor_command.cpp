#include "apps/bench/channel_look.h"
#include "apps/bench/commands.h"
#include "apps/bench/judgement.h"
#include "apps/bench/output.h"
#include "apps/support/channel_id.h"
#include "apps/support/channel_users.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace apps {
namespace {

constexpr const char* kFunction = "DoctorCommand(): ";
constexpr long long kPerSecond = 1000; // the channel's times are milliseconds since 1970

using ZRErrors::ZRErrorT;

bool IsRead(ZRErrorT code) {
    return code == ZRErrors::e_General_NoError || code == ZRErrors::e_Object_BadMagic;
}

struct Diagnosis {
    ZRErrorT code = ZRErrors::e_General_NoError; ///< of the last thing that was tried
    ZcHolderT holder;
    std::string takeover;                  ///< what was found and done when the owner had died
    std::string repaired;                  ///< what was found and done because it was asked for
    Look look;                             ///< valid if it was read
    std::optional<long long> oldestPosted; ///< in ms since 1970
    std::vector<Finding> findings;

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

/// The IDs of the users that are still there, and those that our programs have reserved.
std::set<unsigned> HeldIds(const std::vector<ZcUserT>& users, const Look* look) {
    std::set<unsigned> ids;
    for (const ZcUserT& user : users) {
        if (user.nState != kZcUserGone) {
            ids.insert(user.nID);
        }
    }
    for (unsigned i = 0; look && i < look->findings.nQueued; ++i) {
        const std::uint16_t id = look->block.slots[look->findings.anOrder[i]].dest_id;
        if (!ids.contains(id) && IsIdInUse(id)) {
            ids.insert(id);
        }
    }
    return ids;
}

void JudgeAll(Diagnosis& diagnosis) {
    Symptoms symptoms;
    symptoms.now = Now();
    symptoms.areUsersKnown = ListUsers(symptoms.users) == ZRErrors::e_General_NoError;
    if (diagnosis.code == ZRErrors::e_Command_TimedOut) {
        symptoms.holder = diagnosis.holder;
    }
    if (diagnosis.WasRead() && !diagnosis.IsForeign()) {
        symptoms.look = &diagnosis.look;
        ZcGetPostTimes(&diagnosis.look.block, symptoms.postedAt.data());
    }
    symptoms.heldIds = HeldIds(symptoms.users, symptoms.look);
    diagnosis.oldestPosted = OldestPosted(symptoms);
    diagnosis.findings = Judge(symptoms);
}

/// Seconds since then; 0 for a moment that is still to come.
double AgeOf(long long moment) {
    const long long age = Now() - moment;
    return age > 0 ? static_cast<double>(age) / kPerSecond : 0;
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

void PrintFindings(const std::vector<Finding>& findings) {
    for (const Finding& finding : findings) {
        std::printf("%s   %s: %s\n", Painted(Stream::kOutput, Colour::kNotice, "finding").c_str(), finding.text.c_str(),
                    finding.command.c_str());
    }
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

std::string FindingsAsJson(const std::vector<Finding>& findings) {
    JsonArray array;
    for (const Finding& finding : findings) {
        array.Add(
            JsonObject().Text("kind", finding.kind).Text("text", finding.text).Text("command", finding.command).Json());
    }
    return array.Json();
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
    oldest ? object.Number("oldestId", *oldest) : object.Null("oldestId");
    const std::optional<long long> posted = diagnosis.oldestPosted;
    object.TextOrNull("oldestPosted", posted ? TimeText(*posted, kTimeForPrograms) : "");
    object.TextOrNull("takenOver", diagnosis.takeover);
    object.TextOrNull("repaired", diagnosis.repaired);
    return object.Value("findings", FindingsAsJson(diagnosis.findings)).Json();
}

/// What is wrong and what to do about it.
Outcome Advise(const Diagnosis& diagnosis) {
    if (const Finding* const lock = FindKind(diagnosis.findings, kLockFinding)) {
        return Fail(kFunction, diagnosis.code, Exit::kTimedOut,
                    "the message channel is locked by " + HolderText(diagnosis.holder) + ": " + lock->command);
    }
    if (!diagnosis.WasRead()) {
        return CannotRead(kFunction, diagnosis.code);
    }
    if (Outcome failure = DamageFailure(kFunction, diagnosis.look)) {
        return failure;
    }
    if (IsFull(diagnosis.look)) {
        return Fail(kFunction, ZRErrors::e_Buffer_Overflowed, Exit::kFailed,
                    "the message channel is full, nobody can send: " +
                        FindKind(diagnosis.findings, kPoolFinding)->command);
    }
    return std::nullopt;
}

} // namespace

Outcome DoctorCommand(const DoctorOptions& options, const Interrupt& interrupt) {
    const auto diagnosis = std::make_unique<Diagnosis>();
    if (const ZRErrorT code = ZcQueryHolder(&diagnosis->holder); code != ZRErrors::e_General_NoError) {
        return CannotRead(kFunction, code);
    }
    Examine(*diagnosis, interrupt);
    if (options.repair && diagnosis->IsDamaged()) {
        Repair(*diagnosis, interrupt);
    }
    if (diagnosis->code == kUserAborted || IsAbsent(diagnosis->code)) {
        return CannotRead(kFunction, diagnosis->code);
    }
    JudgeAll(*diagnosis);
    if (options.json) {
        std::printf("%s\n", DiagnosisAsJson(*diagnosis).c_str());
    } else {
        Print(*diagnosis);
        PrintFindings(diagnosis->findings);
    }
    return Advise(*diagnosis);
}

} // namespace apps
