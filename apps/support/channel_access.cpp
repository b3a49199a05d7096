#include "apps/support/channel_access.h"

#include "apps/support/system_error.h"
#include "apps/support/text.h"
#include "gaizior/comms/channel.h"
#include "gaizior/comms/channel_ledger.h"
#include "gaizior/comms/channel_objects.h"
#include "gaizior/errors/folded_code.h"
#include "gaizior/platform/unique_handle.h"

#include <algorithm>

namespace apps {
namespace {

using ZRErrors::ZRErrorT;

constexpr std::size_t kSyncSize = 128; // of the files that stand for mutexes and events

constexpr std::size_t kBlockFile = 0;
constexpr std::size_t kMutexFile = 1;

ObjectPlace LookAtChannel() {
    return LookAtObjects({{gaizior::kChannelSectionName, sizeof(ZcChannel)},
                          {gaizior::kChannelMutexName, kSyncSize},
                          {gaizior::kChannelEventName, kSyncSize}});
}

bool IsThere(const char* mutex) {
    return static_cast<bool>(gaizior::UniqueHandle(::OpenMutexA(SYNCHRONIZE, FALSE, mutex)));
}

/// Whether the mutex was removed from a channel that processes have open: who opens that now gets another one, and no
/// protection. The order counts: who opens the channel makes the mutex first, who closes it lets go of it last.
bool IsTorn() {
    const auto isBlockThere = [] {
        return static_cast<bool>(
            gaizior::UniqueHandle(::OpenFileMappingA(FILE_MAP_READ, FALSE, gaizior::kChannelSectionName)));
    };
    return !IsThere(gaizior::kChannelMutexName) && isBlockThere() && !IsThere(gaizior::kChannelMutexName);
}

/// The files of a process that is just closing the channel are removed, too, for a moment.
ObjectPlace LookForAbsentChannel() {
    constexpr DWORD kTimeToClose = 200;
    ObjectPlace place = LookAtChannel();
    if (FindRemoved(place)) {
        ::Sleep(kTimeToClose);
        place = LookAtChannel();
    }
    if (IsTorn() && !place.files.empty()) { // the file may have been moved away, which its users do not tell
        place.files[kMutexFile].isRemoved = true;
        place.files[kMutexFile].users = place.files[kBlockFile].users;
    }
    return place;
}

Failure AbsentFailure(const char* function, ZRErrorT code, const std::string& what) {
    const ObjectPlace place = LookForAbsentChannel();
    if (place.state == FolderState::kUsable && !FindRemoved(place)) {
        const Cause cause = CauseOf(ERROR_FILE_NOT_FOUND, place);
        return Fail(function, code, Exit::kNotFound, cause.why + ": " + cause.remedy);
    }
    return Fail(function, code, Exit::kFailed, what + ": " + CauseText(ERROR_FILE_NOT_FOUND, place));
}

Failure LockedFailure(const char* function, ZRErrorT code, const std::string& what) {
    ZcHolderT holder{};
    const bool isHeld = ZcQueryHolder(&holder) == ZRErrors::e_General_NoError && holder.bHeld;
    return Fail(function, code, Exit::kTimedOut,
                what + ": " +
                    (isHeld
                         ? "it is locked by " + HolderText(holder) + ": 'bench channel doctor' tells more"
                         : std::string("the channel was locked or full for too long, and is neither now: try again")));
}

Failure ForeignFailure(const char* function, ZRErrorT code) {
    const ObjectPlace place = LookAtChannel();
    const Cause cause = CauseOfForeign(place.files.empty() ? ObjectFile() : place.files[kBlockFile]);
    return Fail(function, code, Exit::kFailed,
                "the shared memory is not a message channel's: " + cause.why + ": " + cause.remedy);
}

/// Whether it was the same at both looks, as far as the system tells who it is.
bool IsSameHold(const ZcHolderT& a, const ZcHolderT& b) {
    return b.bHeld && a.nThread == b.nThread && a.nSince == b.nSince;
}

} // namespace

bool IsAbsent(ZRErrorT code) {
    return (code == ZRErrors::e_File_MappingFailed || code == ZRErrors::e_Resource_AllocationFailed) &&
           ZcGetCommsOSError() == ERROR_FILE_NOT_FOUND;
}

Failure ChannelFailure(const char* function, ZRErrorT code, const std::string& what) {
    if (code == kUserAborted) {
        return Fail(function, code, Exit::kFailed, "interrupted while waiting for the channel's lock");
    }
    if (code == ZRErrors::e_Command_TimedOut) {
        return LockedFailure(function, code, what);
    }
    if (code == ZRErrors::e_Object_BadMagic) {
        return ForeignFailure(function, code);
    }
    const DWORD error = ZcGetCommsOSError();
    if (code == ZRErrors::e_Command_Aborted && error == ERROR_INVALID_HANDLE) {
        return Fail(function, code, Exit::kFailed, what + ": this process has closed it");
    }
    return IsAbsent(code) ? AbsentFailure(function, code, what)
                          : Fail(function, code, Exit::kFailed, what + ": " + CauseText(error, LookAtChannel()));
}

Failure ObjectFailure(const char* function, DWORD error, const std::string& name, const std::string& what) {
    return Fail(function, gaizior::FoldSystemError(error), Exit::kFailed,
                what + ": " + CauseText(error, LookAtObjects({{name, kSyncSize}})));
}

std::string LedgerCause() {
    return CauseText(ZcGetCommsOSError(), LookAtObjects({{gaizior::kLedgerName, sizeof(gaizior::LedgerBlock)}}));
}

std::string HolderText(const ZcHolderT& holder) {
    if (holder.nProcess == 0) {
        return holder.nThread == 0 ? "a process that the system does not name"
                                   : "thread " + std::to_string(holder.nThread) + ", which this process cannot see";
    }
    return Printable(holder.szProgram) + " (process " + std::to_string(holder.nProcess) + ", thread " +
           std::to_string(holder.nThread) + ")";
}

ZRErrorT AwaitLock(DWORD patience, HANDLE hInterrupt) {
    constexpr DWORD kStep = 50;
    ZcHolderT before{};
    for (DWORD waited = 0; IsThere(gaizior::kChannelMutexName); waited += kStep) {
        ZcHolderT holder{};
        const bool isKnown = ZcQueryHolder(&holder) == ZRErrors::e_General_NoError;
        if (!isKnown || !holder.bHeld || (waited > 0 && !IsSameHold(before, holder))) {
            break;
        }
        if (waited >= std::max(patience, kStep)) { // what is held for a moment is held up by nobody
            return ZRErrors::e_Command_TimedOut;
        }
        if (hInterrupt && ::WaitForSingleObject(hInterrupt, kStep) == WAIT_OBJECT_0) {
            return kUserAborted;
        }
        if (!hInterrupt) {
            ::Sleep(kStep);
        }
        before = holder;
    }
    ZcHolderT nobody{};
    return IsTorn() ? ZcQueryHolder(&nobody) : ZRErrors::e_General_NoError;
}

} // namespace apps
