#include "apps/job/imager_client.h"

#include "apps/support/channel_access.h"
#include "apps/support/exit_text.h"
#include "apps/support/patience.h"
#include "apps/support/process_events.h"
#include "gaizior/comms/channel.h"
#include "gaizior/logging/log_stream.h"

#include <array>
#include <utility>

namespace apps {
namespace {

constexpr unsigned long kSendTimeout = 2000;
constexpr unsigned long kReceivePeriod = 100; // the receiver's end is noticed as late as this

/// Why the imager did not do what it was told. One that somebody ends breaks off what it is at.
Failure Refusal(const Message& reply) {
    const auto code = static_cast<ZRErrors::ZRErrorT>(reply.value);
    const std::string command = "'" + CommandName(reply.code) + "'";
    return Fail("ImagerClient::Command(): ", code, Exit::kFailed,
                (code == kJobStopped ? "the imager was told to end and broke off " : "the imager refused ") + command +
                    ": " + ErrorText(code) + (reply.qualifier.empty() ? "" : " (" + reply.qualifier + ")"));
}

} // namespace

ImagerClient::ImagerClient(std::uint16_t imagerId, DWORD silenceLimit)
    : m_nImagerId(imagerId), m_nSilenceLimit(silenceLimit), m_hArrived(::CreateEventA(nullptr, FALSE, FALSE, nullptr)),
      m_receiver("receiver", nullptr, [this](Worker& self) { return ReceiveAll(self); }) {}

Outcome ImagerClient::Open(std::uint16_t id, DWORD patience) {
    if (Outcome failure = m_channel.Open(id, {patience, m_nSilenceLimit, m_watched.hInterrupt})) {
        return failure;
    }
    const auto code = m_receiver.start();
    return code == ZRErrors::e_General_NoError ? Outcome()
                                               : Fail("ImagerClient::Open(): ", code, Exit::kFailed,
                                                      "the receiving thread cannot be started: " + ErrorText(code));
}

void ImagerClient::Close() {
    m_receiver.End();
    m_channel.Close();
}

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
        return Refusal(reply);
    }
    return std::nullopt;
}

bool ImagerClient::StopAndWait(DWORD milliseconds) {
    const bool told = !Send(MakeStopCommand());
    return ::WaitForSingleObject(m_watched.hImager, told ? milliseconds : 0) == WAIT_OBJECT_0;
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
    Patience patience(m_nSilenceLimit);
    for (;;) {
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
            if (patience.IsExhausted()) {
                return Silence("answer '" + CommandName(code) + "'", patience);
            }
            continue;
        }
        patience.Renew();
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
}

ZRErrors::ZRErrorT ImagerClient::ReceiveAll(Worker& self) {
    constexpr const char* kFunction = "ImagerClient::ReceiveAll(): ";
    auto code = ZRErrors::e_General_NoError;
    while (code == ZRErrors::e_General_NoError && !self.IsEndEventSignalled()) {
        std::array<char, kMaxMessage + 1> buffer{};
        code = ZcReceiveMessageAtOnce(buffer.data(), buffer.size(), kReceivePeriod);
        if (code == ZRErrors::e_Command_TimedOut) {
            code = ZRErrors::e_General_NoError;
            ++m_nIdleCycles;
            continue;
        }
        Message message;
        if (code == ZRErrors::e_General_NoError &&
            (Decode(buffer.data(), message) != ZRErrors::e_General_NoError || message.id != m_nImagerId)) {
            ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
            log << ZRLevel(1) << ZRWarningMark << kFunction << "passed over: " << buffer.data() << std::endl;
            continue;
        }
        LockUser inbox(m_inboxLock, &self, kFunction);
        auto entered = inbox.Enter(kPatienceForLock);
        while (entered == ZRErrors::e_CriticalSection_TimeOut) { // logged with the holder
            entered = inbox.Enter(kPatienceForLock);
        }
        if (entered != ZRErrors::e_General_NoError) {
            return entered;
        }
        if (code == ZRErrors::e_General_NoError) {
            m_inbox.push_back(std::move(message));
        } else {
            m_receiverFailure = ChannelFailure(kFunction, code, "the message channel cannot be read");
        }
        ::SetEvent(m_hArrived.Get());
    }
    return code;
}

Outcome ImagerClient::Receive(Message& message, bool& received) {
    constexpr const char* kFunction = "ImagerClient::Receive(): ";
    constexpr DWORD kCycle = 200;
    received = false;
    for (int look = 0; look < 2 && !received; ++look) {
        if (look == 1) {
            const std::array<HANDLE, 2> handles = {m_hArrived.Get(), m_watched.hInterrupt};
            ::WaitForMultipleObjects(m_watched.hInterrupt ? 2 : 1, handles.data(), FALSE, kCycle);
        }
        LockUser inbox(m_inboxLock, nullptr, kFunction);
        if (const auto code = inbox.Enter(kPatienceForLock); code != ZRErrors::e_General_NoError) {
            return Fail(kFunction, code, Exit::kFailed, "what the imager sent cannot be read: " + inbox.Obstacle());
        }
        if (!m_inbox.empty()) {
            message = std::move(m_inbox.front());
            m_inbox.pop_front();
            received = true;
        } else if (m_receiverFailure) {
            return m_receiverFailure;
        }
    }
    return std::nullopt;
}

/// Whether the receiver has looked for messages once from beginning to end since the imager's process ended.
bool ImagerClient::IsDrained() {
    if (!m_nIdleAtDeath) {
        m_nIdleAtDeath = m_nIdleCycles;
    }
    return m_nIdleCycles - *m_nIdleAtDeath >= 2;
}

Outcome ImagerClient::CheckWatched() {
    constexpr const char* kFunction = "ImagerClient::CheckWatched(): ";
    if (IsSignalled(m_watched.hInterrupt)) {
        return Fail(kFunction, kUserAborted, Exit::kFailed, "interrupted");
    }
    if (IsSignalled(m_watched.hImager) && IsDrained()) {
        return Fail(kFunction, kImagerDied, Exit::kFailed,
                    "the imager " + ExitText(m_watched.hImager) + " while it was waited for");
    }
    if (!m_watched.hImager && !IsIdInUse(m_nImagerId) && IsDrained()) {
        return Fail(kFunction, kImagerDied, Exit::kFailed,
                    "the imager (ID " + std::to_string(m_nImagerId) +
                        ") has ended: 'bench log' shows what it logged, 'bench imager start" + IdWords(m_nImagerId) +
                        "' starts one");
    }
    return std::nullopt;
}

Failure ImagerClient::Silence(const std::string& awaited, const Patience& patience) const {
    return Fail("ImagerClient::WaitForReply(): ", ZRErrors::e_Command_TimedOut, Exit::kTimedOut,
                "the imager (ID " + std::to_string(m_nImagerId) + ") did not " + awaited + " within " +
                    patience.Text() + ": 'bench channel status' shows what waits for it, --timeout gives it more time");
}

} // namespace apps
