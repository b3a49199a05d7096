#include "apps/support/channel_id.h"

#include "gaizior/comms/channel.h"
#include "gaizior/comms/channel_status.h"
#include "gaizior/errors/folded_code.h"

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

Outcome ChannelId::Open(std::uint16_t id, DWORD patience, HANDLE hInterrupt) {
    constexpr const char* kFunction = "ChannelId::Open(): ";
    constexpr DWORD kPause = 100;
    const std::string number = std::to_string(id);
    const std::string name = NameOf(id);
    DWORD error = TakeName(name);
    for (DWORD waited = 0; error == ERROR_ALREADY_EXISTS && waited < patience; waited += kPause) {
        if (hInterrupt && ::WaitForSingleObject(hInterrupt, kPause) == WAIT_OBJECT_0) {
            return Fail(kFunction, kUserAborted, Exit::kFailed, "interrupted");
        }
        if (!hInterrupt) {
            ::Sleep(kPause);
        }
        error = TakeName(name);
    }
    if (error == ERROR_ALREADY_EXISTS) {
        return Fail(kFunction, kDeviceBusy, Exit::kFailed,
                    "communications ID " + number +
                        " is in use by another process: end that or choose another ID with --id");
    }
    if (error != ERROR_SUCCESS) {
        const ZRErrors::ZRErrorT code = gaizior::FoldSystemError(error);
        return Fail(kFunction, code, Exit::kFailed,
                    "communications ID " + number + " cannot be reserved under the name " + name + ": " +
                        ErrorText(code));
    }
    if (const auto code = ZcOpenComms(id); code != ZRErrors::e_General_NoError) {
        m_hName = gaizior::UniqueHandle();
        return Fail(kFunction, code, ExitOf(code),
                    "the message channel cannot be opened under ID " + number + ": " + ErrorText(code) +
                        " (operating-system error " + std::to_string(ZcGetCommsOSError()) +
                        "): end the processes that use it and try again");
    }
    m_nId = id;
    m_bOpen = true;
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
        ZcCloseComms();
    }
    m_hName = gaizior::UniqueHandle();
}

bool IsIdInUse(std::uint16_t id) {
    return static_cast<bool>(gaizior::UniqueHandle(::OpenMutexA(SYNCHRONIZE, FALSE, NameOf(id).c_str())));
}

Failure SendFailure(const char* function, ZRErrors::ZRErrorT code, std::uint16_t destination) {
    const Waiting waiting = CountWaiting(destination);
    if (waiting.forAnybody >= kZcSlotCount) {
        return Fail(function, code, ExitOf(code),
                    "the channel is full: all " + std::to_string(kZcSlotCount) + " slots hold unread messages, " +
                        std::to_string(waiting.forId) + " of them for ID " + std::to_string(destination) +
                        "; 'bench channel status' shows whose they are");
    }
    return Fail(function, code, ExitOf(code),
                "the message for ID " + std::to_string(destination) + " could not be sent: " + ErrorText(code));
}

Waiting CountWaiting(std::uint16_t id) {
    constexpr unsigned long kLockTimeout = 100;
    const auto block = std::make_unique<ZcChannel>();
    Waiting waiting{0, 0};
    if (ZcSnapshot(block.get(), kLockTimeout) == ZRErrors::e_General_NoError) {
        for (const ZcMessageSlot& slot : block->slots) {
            waiting.forAnybody += slot.taken == 1 ? 1 : 0;
            waiting.forId += slot.taken == 1 && slot.dest_id == id ? 1 : 0;
        }
    }
    return waiting;
}

} // namespace apps
