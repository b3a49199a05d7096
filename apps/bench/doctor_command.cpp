#include "apps/bench/channel_look.h"
#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "gaizior/comms/channel.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <memory>

namespace gaizior {
namespace {

constexpr const char* kFunction = "DoctorCommand(): ";
constexpr const char* kAdvice = "try again";
constexpr ULONGLONG kTicksPerSecond = 10'000'000;
constexpr ULONGLONG kSecondsTo1970 = 11'644'473'600;

struct Diagnosis {
    ZcHolderT holder;
    bool isRead = false; ///< the look is valid
    std::string done;    ///< what was found and put in order
    Look look;

    bool IsForeign() const {
        return isRead && look.block.magic != kZcMagic;
    }
    bool IsHeld() const {
        return !isRead && holder.bHeld;
    }
};

/// Repairs where that is asked for or a dead owner's mutex must be taken over anyway; then looks at what is there.
ZRErrors::ZRErrorT Examine(Diagnosis& diagnosis, bool repair) {
    ZRErrors::ZRErrorT code = ZRErrors::e_General_NoError;
    if (repair || diagnosis.holder.bAbandoned) {
        std::array<char, 512> report{};
        code = ZcRepair(report.data(), report.size(), kLockTimeout);
        diagnosis.done = report.data();
    }
    if (code == ZRErrors::e_General_NoError || code == ZRErrors::e_Object_BadMagic) {
        code = ZcSnapshot(&diagnosis.look.block, kLockTimeout);
    }
    diagnosis.isRead = code == ZRErrors::e_General_NoError || code == ZRErrors::e_Object_BadMagic;
    if (diagnosis.isRead) {
        ZcExamine(&diagnosis.look.block, &diagnosis.look.findings);
    } else if (code == ZRErrors::e_Command_TimedOut) {
        ZcQueryHolder(&diagnosis.holder); // it may be another one than at first
    }
    return code;
}

/// Local time with its zone.
std::string TimeText(ULONGLONG fileTime, const char* format) {
    const auto time = static_cast<std::time_t>(fileTime / kTicksPerSecond) - static_cast<std::time_t>(kSecondsTo1970);
    std::array<char, 64> text{};
    const std::tm* const local = std::localtime(&time);
    return local && std::strftime(text.data(), text.size(), format, local) ? text.data() : "";
}

/// Seconds since then; 0 for a moment that is still to come.
double AgeOf(ULONGLONG fileTime) {
    FILETIME time{};
    ::GetSystemTimeAsFileTime(&time);
    const ULONGLONG now = ULONGLONG{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    return now > fileTime ? static_cast<double>(now - fileTime) / kTicksPerSecond : 0;
}

std::string HolderText(const ZcHolderT& holder) {
    if (holder.nProcess == 0) {
        return holder.nThread == 0 ? "a process that the system does not name"
                                   : "thread " + std::to_string(holder.nThread) + ", which this process cannot see";
    }
    return Printable(holder.szProgram) + " (process " + std::to_string(holder.nProcess) + ", thread " +
           std::to_string(holder.nThread) + ")";
}

std::string MutexText(const ZcHolderT& holder) {
    if (holder.bAbandoned) {
        return "its last owner died with it";
    }
    if (!holder.bHeld) {
        return "free";
    }
    std::string text = "held by " + HolderText(holder);
    if (holder.nSince != 0) {
        text += " since " + TimeText(holder.nSince, "%Y-%m-%d %H:%M:%S %z") + ", for " + Duration(AgeOf(holder.nSince));
    }
    return text;
}

std::string BlockText(const Diagnosis& diagnosis) {
    if (!diagnosis.isRead) {
        return "cannot be read while the mutex is held";
    }
    if (!IsConsistent(diagnosis.look)) {
        return Painted(Stream::kOutput, Colour::kBad, "DAMAGED") + ": " + Printable(diagnosis.look.findings.szDamage);
    }
    const std::string consistent = Painted(Stream::kOutput, Colour::kGood, "consistent");
    return diagnosis.done.empty() ? consistent : consistent + ", after this: " + Printable(diagnosis.done);
}

void Print(const Diagnosis& diagnosis) {
    std::printf("mutex     %s\n", MutexText(diagnosis.holder).c_str());
    std::printf("block     %s\n", BlockText(diagnosis).c_str());
    if (diagnosis.isRead) {
        std::printf("messages  %u of %u slots taken\n", unsigned{diagnosis.look.findings.nTaken},
                    unsigned{kZcSlotCount});
    }
}

JsonObject& NumberOrNull(JsonObject& object, const char* key, unsigned value) {
    return value == 0 ? object.Null(key) : object.Number(key, value);
}

JsonObject& TextOrNull(JsonObject& object, const char* key, std::string_view text) {
    return text.empty() ? object.Null(key) : object.Text(key, text);
}

std::string MutexAsJson(const ZcHolderT& holder) {
    JsonObject mutex;
    mutex.Bool("held", holder.bHeld).Bool("abandoned", holder.bAbandoned);
    NumberOrNull(mutex, "process", holder.nProcess);
    NumberOrNull(mutex, "thread", holder.nThread);
    TextOrNull(mutex, "program", holder.szProgram);
    const bool isTimed = holder.bHeld && holder.nSince != 0;
    TextOrNull(mutex, "since", isTimed ? TimeText(holder.nSince, "%Y-%m-%dT%H:%M:%S%z") : "");
    return (isTimed ? mutex.Real("seconds", AgeOf(holder.nSince)) : mutex.Null("seconds")).Json();
}

std::string DiagnosisAsJson(const Diagnosis& diagnosis) {
    JsonObject object;
    object.Value("mutex", MutexAsJson(diagnosis.holder)).Bool("readable", diagnosis.isRead);
    if (diagnosis.isRead) {
        object.Bool("consistent", IsConsistent(diagnosis.look));
        TextOrNull(object, "damage", diagnosis.look.findings.szDamage);
        object.Number("taken", diagnosis.look.findings.nTaken).Number("slots", kZcSlotCount);
    } else {
        object.Null("consistent").Null("damage").Null("taken").Number("slots", kZcSlotCount);
    }
    return TextOrNull(object, "repaired", diagnosis.done).Json();
}

/// What is wrong and what to do about it.
Outcome Advise(const Diagnosis& diagnosis, ZRErrors::ZRErrorT code) {
    if (diagnosis.IsHeld()) {
        return Fail(kFunction, code, Exit::kTimedOut,
                    "the message channel is locked by " + HolderText(diagnosis.holder) +
                        ": if it stays so end that process, the next one takes the channel over");
    }
    if (!diagnosis.isRead) {
        return CannotRead(kFunction, code, kAdvice);
    }
    if (diagnosis.IsForeign()) {
        return Fail(
            kFunction, code, Exit::kFailed,
            "the shared memory is not a message channel's: end every process that uses it and start them again");
    }
    if (!IsConsistent(diagnosis.look)) {
        return Fail(kFunction, kInvalidData, Exit::kFailed,
                    "the message channel is damaged: --repair puts it in order");
    }
    return std::nullopt;
}

} // namespace

Outcome DoctorCommand(const DoctorOptions& options) {
    const auto diagnosis = std::make_unique<Diagnosis>();
    ZRErrors::ZRErrorT code = ZcQueryHolder(&diagnosis->holder);
    if (code != ZRErrors::e_General_NoError) {
        return IsAbsent(code) ? NoChannel(kFunction) : CannotRead(kFunction, code, kAdvice);
    }
    code = Examine(*diagnosis, options.repair);
    if (IsAbsent(code)) {
        return NoChannel(kFunction);
    }
    if (options.json) {
        std::printf("%s\n", DiagnosisAsJson(*diagnosis).c_str());
    } else {
        Print(*diagnosis);
    }
    return Advise(*diagnosis, code);
}

} // namespace gaizior
