#pragma once

#include "apps/job/message.h"
#include "apps/support/channel_id.h"
#include "apps/support/failure.h"
#include "gaizior/platform/windows_api.h"

#include <functional>

namespace apps {

/// Commands an imager over the channel. Not for several threads at once.
class ImagerClient {
public:
    using ProgressHandler = std::function<void(const Message& progress)>;

    /// What is watched beside the channel while the client waits; null handles are not. Borrowed.
    struct Watched {
        HANDLE hImager = nullptr;    ///< the imager's process
        HANDLE hInterrupt = nullptr; ///< set when the user wants no more
    };

    /// `silenceLimit`: milliseconds without a word from the imager after which a wait is given up.
    ImagerClient(std::uint16_t imagerId, DWORD silenceLimit) : m_nImagerId(imagerId), m_nSilenceLimit(silenceLimit) {}

    /// Opens the channel under `id`. The imager's ID must not be the same.
    Outcome Open(std::uint16_t id) {
        return m_channel.Open(id);
    }
    void Close() {
        m_channel.Close();
    }
    void Watch(const Watched& watched) {
        m_watched = watched;
    }

    /// Waits until the imager says that it is there.
    Outcome WaitUntilReady();

    /// Sends a command and waits for its reply; progress goes to `onProgress`, which may be empty.
    /// @returns nothing when the imager did what it was told; a failure with the imager's own code when it refused;
    ///          e_Command_TimedOut, kImagerDied or kUserAborted when no reply came.
    Outcome Command(const Message& command, Message& reply, const ProgressHandler& onProgress = {});

    /// Tells the imager to end and reads on, so that nothing of its stays in the channel, until its process has
    /// ended. @returns whether it has within `milliseconds`.
    bool StopAndWait(DWORD milliseconds);

private:
    Outcome Send(Message message);
    Outcome WaitForReply(std::int32_t code, Message& reply, const ProgressHandler& onProgress);
    /// One message from the imager, if one comes within one cycle of the channel (some 200 ms).
    Outcome Receive(Message& message, bool& received);
    Outcome CheckWatched() const;
    Failure Silence(const std::string& awaited) const;

    ChannelId m_channel;
    std::uint16_t m_nImagerId;
    DWORD m_nSilenceLimit;
    Watched m_watched;
};

} // namespace apps
