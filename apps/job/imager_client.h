#pragma once

#include "apps/job/message.h"
#include "apps/support/channel_id.h"
#include "apps/support/failure.h"
#include "apps/support/watched_lock.h"
#include "apps/support/worker.h"
#include "gaizior/platform/unique_handle.h"

#include <atomic>
#include <deque>
#include <functional>

namespace apps {

class Patience;

/// Commands an imager over the channel. A thread of its own takes what the imager sends, so that whoever waits here is
/// free for Ctrl-C and for a display. Not for several threads at once.
class ImagerClient {
public:
    using ProgressHandler = std::function<void(const Message& progress)>;

    /// What is watched beside the channel while the client waits. Borrowed.
    struct Watched {
        HANDLE hImager = nullptr;    ///< the imager's process; where it is null, its ID is watched
        HANDLE hInterrupt = nullptr; ///< set when the user wants no more; null: nothing is
    };

    /// `silenceLimit`: milliseconds without a word from the imager after which a wait is given up.
    ImagerClient(std::uint16_t imagerId, DWORD silenceLimit);

    /// Opens the channel under `id`, waiting up to `patience` milliseconds for another process to give it up, and
    /// begins to receive. The imager's ID must not be the same.
    Outcome Open(std::uint16_t id, DWORD patience = 0);
    void Close();
    void Watch(const Watched& watched) {
        m_watched = watched;
    }

    /// Waits until the imager says that it is there.
    Outcome WaitUntilReady();

    /// Sends a command and waits for its reply; progress goes to `onProgress`, which may be empty.
    /// @returns nothing when the imager did what it was told; a failure with the imager's own code when it refused;
    ///          e_Command_TimedOut, kImagerDied or kUserAborted when no reply came.
    Outcome Command(const Message& command, Message& reply, const ProgressHandler& onProgress = {});

    /// Waits for one more reply to a command that is answered by several; failures as with Command.
    Outcome NextReply(std::int32_t code, Message& reply) {
        return WaitForReply(code, reply, {});
    }

    /// Tells the imager to end and waits for that, while the receiver reads on, so that nothing of the imager's stays
    /// in the channel. @returns whether it has ended within `milliseconds`.
    bool StopAndWait(DWORD milliseconds);

private:
    Outcome Send(Message message);
    Outcome WaitForReply(std::int32_t code, Message& reply, const ProgressHandler& onProgress);
    /// The body of the receiver.
    ZRErrors::ZRErrorT ReceiveAll(Worker& self);
    /// One message from the imager, if one comes within 200 ms. Ctrl-C ends the wait.
    Outcome Receive(Message& message, bool& received);
    Outcome CheckWatched();
    bool IsDrained();
    Failure Silence(const std::string& awaited, const Patience& patience) const;

    ChannelId m_channel;
    std::uint16_t m_nImagerId;
    DWORD m_nSilenceLimit;
    Watched m_watched;
    gaizior::UniqueHandle m_hArrived; ///< auto-reset: something came, or the receiver has ended
    WatchedLock m_inboxLock{"inbox"};
    std::deque<Message> m_inbox;            ///< guarded by m_inboxLock
    Outcome m_receiverFailure;              ///< guarded by m_inboxLock
    std::atomic<unsigned> m_nIdleCycles{0}; ///< how often the receiver found nothing
    std::optional<unsigned> m_nIdleAtDeath; ///< the same when the imager's process was found ended
    Worker m_receiver;                      // ends before what it uses
};

} // namespace apps
