#pragma once

#include "apps/imager/command_handler.h"
#include "apps/support/channel_id.h"
#include "apps/support/failure.h"
#include "apps/support/watched_lock.h"
#include "apps/support/worker.h"
#include "gaizior/platform/unique_handle.h"

#include <array>
#include <atomic>
#include <deque>
#include <functional>

namespace apps {

struct ServerOptions {
    std::uint16_t id = kBenchId + 1;
    std::uint16_t clientId = kNobody; ///< who is told when the imager is ready
    double speed = 1;                 ///< how many seconds of the engine pass in one
    HANDLE hClientProcess = nullptr;  ///< the imager ends with it; null: nobody's. Borrowed
    HANDLE hInterrupt = nullptr;      ///< set to end the imager. Borrowed
    /// Told of each plate that was exposed or spoiled, on one of the server's threads, which holds no lock; may be
    /// empty.
    std::function<void(const Exposure&)> onExposure;
    std::string hang; ///< the lock that is taken and kept, one of kLockNames; empty: none
};

/// The locks of an imager, in the order in which who needs both takes them: the engine's and the outbox's.
inline constexpr std::array<const char*, 2> kLockNames = {"engine", "outbox"};

/// The imager process behind its channel. Its threads are a tree, of which children end first:
///
///     sender          sends what stands in the outbox, and progress; has the last word
///       receiver      takes commands from the channel and has them carried out
///       engine        lets the engine's time pass
///
/// A command and its answer, an operation's end and its reply, are one step under both locks. The report of threads is
/// the receiver's alone and waits for neither.
class Server {
public:
    explicit Server(const ServerOptions& options);

    /// Opens the channel and serves until a stop command, an interrupt or the client's end; the channel is closed in
    /// every case. @returns nothing, or why it could not be opened or read, or a thread started.
    Outcome Run();

private:
    Outcome Start();
    /// Until a thread has ended or somebody wants the end. @returns the failure of a thread that broke off.
    Outcome WaitForEnd();

    ZRErrors::ZRErrorT Receive(Worker& self);
    ZRErrors::ZRErrorT Simulate(Worker& self);
    ZRErrors::ZRErrorT Send(Worker& self);
    /// One step of Simulate. @returns what was exposed in it.
    std::vector<Exposure> Advance(Worker& self, double seconds);

    /// @returns whether the imager goes on.
    bool Handle(Worker& self, const char* packet);
    void ReportThreads(const Message& command);
    void SendDirectly(const Outgoing& message);
    /// Whether an answer is worth the room that it takes in the channel: what nobody reads would fill it. Logged where
    /// it is not.
    static bool IsToBeSent(const Outgoing& message);
    /// Sends what waits; what finds no room stays for the next time. What nobody reads is thrown away.
    void SendWaiting(Worker& self);
    void SendProgress(Worker& self);
    void SendLast(Worker& self);
    /// Keeps the lock that options.hang names until the thread is asked to end.
    void Hang(Worker& self);
    /// Enters however long it takes, which is told. @returns false when the thread is asked to end.
    bool Take(LockUser& user, Worker& self);
    /// Tells onExposure. The caller holds no lock.
    void Tell(const std::vector<Exposure>& exposures) const;
    /// The caller holds the outbox's lock.
    void Put(std::vector<Outgoing> messages);
    /// Keeps in mind, and tells the sender, whether the engine is at work. The caller holds its lock.
    void NoteWork();

    ServerOptions m_options;
    ChannelId m_channel;
    gaizior::UniqueHandle m_hWake; ///< auto-reset: something waits to be sent, or the engine begins
    gaizior::UniqueHandle m_hWork; ///< manual: the engine is at work
    WatchedLock m_engineLock{kLockNames[0]};
    CommandHandler m_handler;                ///< guarded by m_engineLock
    WatchedLock m_outboxLock{kLockNames[1]}; ///< entered after m_engineLock where both are needed
    std::deque<Outgoing> m_outbox;           ///< guarded by m_outboxLock
    std::atomic<std::size_t> m_nWaiting{0};  ///< its size
    Outcome m_failure;                       ///< the receiver's, until that has ended
    bool m_bStuck = false;                   ///< the receiver's: it waited for a lock in vain
    Worker m_sender;                         // the threads end before what they use
    Worker m_receiver;
    Worker m_engine;
};

} // namespace apps
