#include "apps/bench/channel_look.h"

#include "apps/bench/output.h"
#include "gaizior/comms/channel.h"

#include <array>
#include <cstdio>

namespace apps {

bool IsConsistent(const Look& look) {
    return look.findings.szDamage[0] == '\0';
}

/// While the last process closes the channel its objects vanish one after the other.
bool IsAbsent(ZRErrors::ZRErrorT code) {
    constexpr unsigned kNoSuchObject = 2;
    return (code == ZRErrors::e_File_MappingFailed || code == ZRErrors::e_Resource_AllocationFailed) &&
           ZcGetCommsOSError() == kNoSuchObject;
}

Failure NoChannel(const char* function) {
    return Fail(function, ZRErrors::e_File_MappingFailed, Exit::kNotFound,
                "no process has the message channel open: it exists while an imager or another program uses it");
}

Failure CannotRead(const char* function, ZRErrors::ZRErrorT code, const char* advice) {
    return Fail(function, code, ExitOf(code),
                "the message channel cannot be read: " + ErrorText(code) + " (operating-system error " +
                    std::to_string(ZcGetCommsOSError()) + "): " + advice);
}

Outcome TakeLook(ZcViewerC& viewer, Look& look, Presence& presence) {
    std::array<char, kReportSize> takeover{};
    const ZRErrors::ZRErrorT code = viewer.Snapshot(&look.block, kLockTimeout, takeover.data(), takeover.size());
    if (takeover[0] != '\0') {
        std::fprintf(stderr, "bench: the channel was taken over from a process that died: %s\n",
                     Printable(takeover.data()).c_str());
    }
    const bool absent = IsAbsent(code);
    presence = absent ? Presence::kAbsent : Presence::kThere;
    if (!absent && code != ZRErrors::e_General_NoError && code != ZRErrors::e_Object_BadMagic) {
        return CannotRead("TakeLook(): ", code, "'bench channel doctor' tells who holds it");
    }
    if (!absent) {
        ZcExamine(&look.block, &look.findings);
    }
    return std::nullopt;
}

Outcome TakeLook(Look& look) {
    ZcViewerC viewer;
    Presence presence{};
    Outcome failure = TakeLook(viewer, look, presence);
    if (!failure && presence == Presence::kAbsent) {
        failure = NoChannel("TakeLook(): ");
    }
    return failure;
}

} // namespace apps
