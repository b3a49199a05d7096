#pragma once

#include "apps/imager/command_handler.h"
#include "apps/support/channel_id.h"
#include "apps/support/failure.h"
#include "gaizior/platform/unique_handle.h"

#include <deque>
#include <mutex>

namespace apps {

struct ServerOptions {
    std::uint16_t id = kBenchId + 1;
    std::uint16_t clientId = kBenchId;
    bool greet = false;              ///< tell the client when the imager is ready
    double speed = 1;                ///< how many seconds of the engine pass in one
    HANDLE hClientProcess = nullptr; ///< the imager ends with it; null: nobody's. Borrowed
    HANDLE hInterrupt = nullptr;     ///< set to end the imager. Borrowed
};

/// The imager process behind its channel: one thread receives, the caller's drives the engine and sends.
class Server {
public:
    explicit Server(const ServerOptions& options);

    /// Opens the channel and serves until a stop command, an interrupt or the client's end; the channel is closed in
    /// every case. @returns nothing, or why it could not be opened or read.
    Outcome Run();

private:
    static DWORD ReceiveThread(void* server);
    void ReceiveUntilEnd();
    void Serve();
    bool IsToEnd();
    /// Sends what waits; what finds no room stays for the next time.
    void Send();
    void SendProgress();
    void SendLast();
    void Queue(std::vector<Outgoing> messages);
    bool IsOutboxFull();

    ServerOptions m_options;
    ChannelId m_channel;
    gaizior::UniqueHandle m_hWake; ///< auto-reset: something waits to be sent, or to be ended
    gaizior::UniqueHandle m_hEnd;  ///< manual-reset: the receiving thread is to end
    std::mutex m_lock;             ///< guards what follows
    CommandHandler m_handler;
    std::deque<Outgoing> m_outbox;
    Outcome m_failure;
};

} // namespace apps
