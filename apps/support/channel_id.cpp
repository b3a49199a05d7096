#include "apps/support/channel_id.h"

#include "apps/support/channel_access.h"
#include "apps/support/channel_users.h"
#include "gaizior/comms/channel.h"
#include "gaizior/comms/channel_status.h"
#include "gaizior/errors/failure.h"

#include <memory>
#include <utility>

namespace apps {
namespace {

std::string NameOf(std::uint16_t id) {
    return "Gaizior_Comms_ID_" + std::to_string(id);
}

} // namespace

ChannelId::~ChannelId() {
    Close();
}

Outcome ChannelId::Open(std::uint16_t id, const OpenLimits& limits) {
    constexpr const char* kFunction = "ChannelId::Open(): ";
    if (Outcome failure = Reserve(id, limits)) {
        return failure;
    }
    auto code = AwaitLock(limits.forLock, limits.hInterrupt);
    if (code == ZRErrors::e_General_NoError) {
        code = ZcOpenComms(id);
    }
    if (code != ZRErrors::e_General_NoError) {
        m_hName = gaizior::UniqueHandle();
        return ChannelFailure(kFunction, code, "the message channel cannot be opened under ID " + std::to_string(id));
    }
    m_nId = id;
    m_bOpen = true;
    return std::nullopt;
}

Outcome ChannelId::Reserve(std::uint16_t id, const OpenLimits& limits) {
    constexpr const char* kFunction = "ChannelId::Reserve(): ";
    constexpr DWORD kPause = 100;
    const std::string number = std::to_string(id);
    const std::string name = NameOf(id);
    DWORD error = TakeName(name);
    for (DWORD waited = 0; error == ERROR_ALREADY_EXISTS && waited < limits.forId; waited += kPause) {
        if (limits.hInterrupt && ::WaitForSingleObject(limits.hInterrupt, kPause) == WAIT_OBJECT_0) {
            return Fail(kFunction, kUserAborted, Exit::kFailed, "interrupted");
        }
        if (!limits.hInterrupt) {
            ::Sleep(kPause);
        }
        error = TakeName(name);
    }
    if (error == ERROR_ALREADY_EXISTS) {
        const std::optional<ZcUserT> user = FindUser(id);
        return Fail(kFunction, kDeviceBusy, Exit::kFailed,
                    "communications ID " + number + " is in use by " + (user ? UserText(*user) : "another process") +
                        ": end that or choose another ID with --id");
    }
    if (error != ERROR_SUCCESS) {
        return ObjectFailure(kFunction, error, name,
                             "communications ID " + number + " cannot be reserved under the name " + name);
    }
    return std::nullopt;
}

DWORD ChannelId::TakeName(const std::string& name) {
    gaizior::UniqueHandle hName(::CreateMutexA(nullptr, FALSE, name.c_str()));
    const DWORD error = ::GetLastError();
    if (!hName || error == ERROR_ALREADY_EXISTS) {
        return error;
    }
    m_hName = std::move(hName);
    return ERROR_SUCCESS;
}

void ChannelId::Close() {
    if (std::exchange(m_bOpen, false)) {
        if (const auto code = AwaitLock(kLockTimeout, nullptr); code != ZRErrors::e_General_NoError) {
            gaizior::LogError(
                "ChannelId::Close(): ", "the channel stays open until the process ends: ", ErrorText(code));
        } else {
            ZcCloseComms();
        }
    }
    m_hName = gaizior::UniqueHandle();
}

bool IsIdInUse(std::uint16_t id) {
    return static_cast<bool>(gaizior::UniqueHandle(::OpenMutexA(SYNCHRONIZE, FALSE, NameOf(id).c_str())));
}

bool IsIdHeld(std::uint16_t id) {
    return IsIdInUse(id) || FindUser(id);
}

Failure SendFailure(const char* function, ZRErrors::ZRErrorT code, std::uint16_t destination) {
    const Waiting waiting = CountWaiting(destination);
    if (code == ZRErrors::e_Command_TimedOut && waiting.forAnybody >= kZcSlotCount) {
        return Fail(function, code, ExitOf(code),
                    "the channel is full: all " + std::to_string(kZcSlotCount) + " slots hold unread messages, " +
                        std::to_string(waiting.forId) + " of them for ID " + std::to_string(destination) +
                        ": 'bench channel doctor' tells what to do");
    }
    return ChannelFailure(function, code, "the message for ID " + std::to_string(destination) + " could not be sent");
}

Waiting CountWaiting(std::uint16_t id) {
    constexpr unsigned long kPatience = 100;
    const auto block = std::make_unique<ZcChannel>();
    Waiting waiting{0, 0};
    if (ZcSnapshot(block.get(), kPatience) == ZRErrors::e_General_NoError) {
        for (const ZcMessageSlot& slot : block->slots) {
            waiting.forAnybody += slot.taken == 1 ? 1 : 0;
            waiting.forId += slot.taken == 1 && slot.dest_id == id ? 1 : 0;
        }
    }
    return waiting;
}

} // namespace apps
