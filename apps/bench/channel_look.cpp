#include "apps/bench/channel_look.h"

#include "apps/bench/output.h"
#include "gaizior/comms/channel.h"

#include <array>
#include <cstdio>

namespace apps {

bool IsConsistent(const Look& look) {
    return look.findings.szDamage[0] == '\0';
}

Failure CannotRead(const char* function, ZRErrors::ZRErrorT code) {
    return ChannelFailure(function, code, "the message channel cannot be read");
}

Outcome DamageFailure(const char* function, const Look& look) {
    if (IsConsistent(look)) {
        return std::nullopt;
    }
    if (look.block.magic != kZcMagic) {
        return CannotRead(function, ZRErrors::e_Object_BadMagic);
    }
    return Fail(function, kInvalidData, Exit::kFailed,
                std::string("the message channel is damaged: ") + kRepairCommand);
}

std::map<unsigned, unsigned> CountById(const ZcChannel& block) {
    std::map<unsigned, unsigned> counts;
    for (const ZcMessageSlot& slot : block.slots) {
        if (slot.taken == 1) {
            ++counts[slot.dest_id];
        }
    }
    return counts;
}

void PrintTakeover(const Look& look) {
    if (!look.takeover.empty()) {
        std::fprintf(stderr, "bench: %s\n", look.takeover.c_str());
    }
}

Outcome TakeLook(ZcViewerC& viewer, Look& look, Presence& presence, unsigned long timeoutMs) {
    std::array<char, kReportSize> takeover{};
    const ZRErrors::ZRErrorT code = viewer.Snapshot(&look.block, timeoutMs, takeover.data(), takeover.size());
    look.takeover.clear();
    if (takeover[0] != '\0') {
        look.takeover = "the channel was taken over from a process that died: " + Printable(takeover.data());
    }
    const bool absent = IsAbsent(code);
    presence = absent ? Presence::kAbsent : Presence::kThere;
    if (!absent && code != ZRErrors::e_General_NoError && code != ZRErrors::e_Object_BadMagic) {
        return CannotRead("TakeLook(): ", code);
    }
    if (!absent) {
        ZcExamine(&look.block, &look.findings);
    }
    return std::nullopt;
}

Outcome TakeLook(Look& look, HANDLE hInterrupt, DWORD patience) {
    if (const auto code = AwaitLock(patience, hInterrupt); code != ZRErrors::e_General_NoError) {
        return CannotRead("TakeLook(): ", code);
    }
    ZcViewerC viewer;
    Presence presence{};
    Outcome failure = TakeLook(viewer, look, presence, kLockTimeout);
    PrintTakeover(look);
    if (!failure && presence == Presence::kAbsent) {
        failure = CannotRead("TakeLook(): ", ZRErrors::e_Resource_AllocationFailed);
    }
    return failure;
}

} // namespace apps
