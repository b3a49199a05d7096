#include "apps/job/imager_client.h"

#include "apps/support/process_events.h"
#include "gaizior/comms/channel.h"
#include "gaizior/logging/log_stream.h"

#include <array>

namespace apps {
namespace {

constexpr unsigned long kSendTimeout = 2000;

} // namespace

Outcome ImagerClient::WaitUntilReady() {
    Message greeting;
    return WaitForReply(kStatus, greeting, {});
}

Outcome ImagerClient::Command(const Message& command, Message& reply, const ProgressHandler& onProgress) {
    if (Outcome failure = Send(command)) {
        return failure;
    }
    if (Outcome failure = WaitForReply(command.code, reply, onProgress)) {
        return failure;
    }
    if (reply.value != ZRErrors::e_General_NoError) {
        const auto code = static_cast<ZRErrors::ZRErrorT>(reply.value);
        return Fail("ImagerClient::Command(): ", code, Exit::kFailed,
                    "the imager refused '" + CommandName(command.code) + "': " + ErrorText(code) +
                        (reply.qualifier.empty() ? "" : " (" + reply.qualifier + ")"));
    }
    return std::nullopt;
}

bool ImagerClient::StopAndWait(DWORD milliseconds) {
    const bool told = !Send(MakeStopCommand());
    const ULONGLONG end = ::GetTickCount64() + milliseconds;
    while (told && !IsSignalled(m_watched.hImager) && ::GetTickCount64() < end) {
        Message ignored;
        bool received = false;
        if (Receive(ignored, received)) {
            break;
        }
    }
    return IsSignalled(m_watched.hImager);
}

Outcome ImagerClient::Send(Message message) {
    constexpr const char* kFunction = "ImagerClient::Send(): ";
    message.id = m_channel.Id();
    std::string packet;
    if (const auto code = Encode(message, packet); code != ZRErrors::e_General_NoError) {
        return Fail(kFunction, kMessageNotMade, Exit::kFailed,
                    "the command '" + CommandName(message.code) + "' cannot be put into a message: " + ErrorText(code));
    }
    const auto code = ZcSendMessage(packet.c_str(), kSendTimeout, m_nImagerId);
    return code == ZRErrors::e_General_NoError ? Outcome() : SendFailure(kFunction, code, m_nImagerId);
}

Outcome ImagerClient::WaitForReply(std::int32_t code, Message& reply, const ProgressHandler& onProgress) {
    ULONGLONG lastHeard = ::GetTickCount64();
    while (::GetTickCount64() - lastHeard < m_nSilenceLimit) {
        Message message;
        bool received = false;
        if (Outcome failure = Receive(message, received)) {
            return failure;
        }
        if (!received) {
            // Looked at only when nothing waits: a reply that was sent before the imager ended counts.
            if (Outcome failure = CheckWatched()) {
                return failure;
            }
            continue;
        }
        lastHeard = ::GetTickCount64();
        if (message.type == kProgress && onProgress) {
            onProgress(message);
        }
        if (message.type == kReply && message.code == code) {
            reply = std::move(message);
            return std::nullopt;
        }
        if (IsSignalled(m_watched.hInterrupt)) {
            return CheckWatched();
        }
    }
    return Silence("answer '" + CommandName(code) + "'");
}

Outcome ImagerClient::Receive(Message& message, bool& received) {
    std::array<char, kMaxMessage + 1> buffer{};
    const auto code = ZcReceiveMessage(buffer.data(), buffer.size(), 0);
    received = false;
    if (code == ZRErrors::e_Command_TimedOut) {
        return std::nullopt;
    }
    if (code != ZRErrors::e_General_NoError) {
        return Fail("ImagerClient::Receive(): ", code, Exit::kFailed,
                    "the channel cannot be read: " + ErrorText(code) + " (operating-system error " +
                        std::to_string(ZcGetCommsOSError()) + ")");
    }
    received = Decode(buffer.data(), message) == ZRErrors::e_General_NoError && message.id == m_nImagerId;
    if (!received) {
        ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
        log << ZRLevel(1) << ZRWarningMark << "ImagerClient::Receive(): passed over: " << buffer.data() << std::endl;
    }
    return std::nullopt;
}

Outcome ImagerClient::CheckWatched() const {
    constexpr const char* kFunction = "ImagerClient::CheckWatched(): ";
    if (IsSignalled(m_watched.hInterrupt)) {
        return Fail(kFunction, kUserAborted, Exit::kFailed, "interrupted");
    }
    if (IsSignalled(m_watched.hImager)) {
        DWORD exitCode = 0;
        ::GetExitCodeProcess(m_watched.hImager, &exitCode);
        return Fail(kFunction, kImagerDied, Exit::kFailed,
                    "the imager ended unexpectedly with exit code " + std::to_string(exitCode));
    }
    return std::nullopt;
}

Failure ImagerClient::Silence(const std::string& awaited) const {
    return Fail("ImagerClient::WaitForReply(): ", ZRErrors::e_Command_TimedOut, Exit::kTimedOut,
                "the imager (ID " + std::to_string(m_nImagerId) + ") did not " + awaited + " within " +
                    std::to_string(m_nSilenceLimit / 1000) +
                    " s: 'bench channel status' shows what waits for it, --timeout gives it more time");
}

} // namespace apps
