#include "apps/imager/server.h"

#include "apps/job/thread_report.h"
#include "apps/support/process_events.h"
#include "apps/support/text.h"
#include "gaizior/comms/channel.h"
#include "gaizior/comms/channel_block.h"
#include "gaizior/errors/failure.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace apps {
namespace {

constexpr DWORD kTick = 50;                           // milliseconds between two looks at the engine
constexpr DWORD kReceivePeriod = 100;                 // the channel is looked at so often in any case
constexpr DWORD kProgressPeriod = 500;                // a client may take at most ten messages a second
constexpr unsigned kMostUnread = 4;                   // a client that does not read gets no more progress
constexpr unsigned kMostAnswers = 20;                 // nor more answers than these
constexpr unsigned kMostForAbsent = kZcSlotCount / 2; // so full is the pool where absent ones get none at all
constexpr std::size_t kOutboxLimit = 100;
constexpr DWORD kTimeForLastWords = 1000;
constexpr DWORD kTimeToSendDirectly = 500;
constexpr DWORD kPatienceWhenStuck = 100;
constexpr DWORD kPatienceForId = 5000; // an imager whose client died needs some 2 s to end

} // namespace

Server::Server(const ServerOptions& options)
    : m_options(options), m_hWake(::CreateEventA(nullptr, FALSE, FALSE, nullptr)),
      m_hWork(::CreateEventA(nullptr, TRUE, FALSE, nullptr)), m_handler(options.id),
      m_sender("sender", nullptr, [this](Worker& self) { return Send(self); }),
      m_receiver("receiver", &m_sender, [this](Worker& self) { return Receive(self); }),
      m_engine("engine", &m_sender, [this](Worker& self) { return Simulate(self); }) {}

Outcome Server::Run() {
    if (Outcome failure = m_channel.Open(m_options.id, {.forId = kPatienceForId, .hInterrupt = m_options.hInterrupt})) {
        return failure;
    }
    if (m_options.clientId != kNobody) {
        Put({m_handler.Greeting(m_options.clientId)});
    }
    Outcome failure = Start();
    if (!failure) {
        failure = WaitForEnd();
    }
    m_sender.End();
    Tell(m_handler.TakeExposures()); // nobody else is left
    m_channel.Close();
    return m_failure ? m_failure : failure;
}

Outcome Server::Start() {
    for (Worker* worker : {&m_sender, &m_engine, &m_receiver}) {
        if (const auto code = worker->start(); code != ZRErrors::e_General_NoError) {
            return Fail("Server::Start(): ", code, Exit::kFailed,
                        std::string("the thread '") + worker->GetSafeThreadName() +
                            "' cannot be started: " + ErrorText(code));
        }
    }
    return std::nullopt;
}

Outcome Server::WaitForEnd() {
    constexpr const char* kFunction = "Server::WaitForEnd(): ";
    const std::array<HANDLE, 5> handles = {m_receiver.GetThread(), m_engine.GetThread(), m_sender.GetThread(),
                                           m_options.hInterrupt, m_options.hClientProcess};
    constexpr std::array<const char*, 5> kWhat = {"the thread 'receiver' has ended", "the thread 'engine' has ended",
                                                  "the thread 'sender' has ended", "interrupted",
                                                  "the client's process has ended"};
    const DWORD count = m_options.hClientProcess ? 5 : 4;
    DWORD woken = WAIT_TIMEOUT;
    while (woken == WAIT_TIMEOUT) { // the thread sanitizer keeps a signal back during one long wait
        woken = ::WaitForMultipleObjects(count, handles.data(), FALSE, 4 * kProgressPeriod);
    }
    if (woken >= count) {
        const ZRErrors::ZRErrorT code = gaizior::LastSystemError();
        return Fail(kFunction, code, Exit::kFailed, "the end cannot be waited for: " + ErrorText(code));
    }
    gaizior::LogAt(1, kFunction, kWhat.at(woken));
    DWORD exitCode = 0;
    if (woken < 3 && ::GetExitCodeThread(handles.at(woken), &exitCode) && exitCode != ZRErrors::e_General_NoError) {
        const auto code = static_cast<ZRErrors::ZRErrorT>(exitCode);
        return Fail(kFunction, code, Exit::kFailed, std::string(kWhat.at(woken)) + " with: " + ErrorText(code));
    }
    return std::nullopt;
}

ZRErrors::ZRErrorT Server::Receive(Worker& self) {
    constexpr const char* kFunction = "Server::Receive(): ";
    bool isToGoOn = true;
    while (isToGoOn && !self.IsEndEventSignalled()) {
        if (m_nWaiting >= kOutboxLimit) {
            // Commands wait in the channel until the answers to earlier ones have found room there.
            self.Rest(kTick);
            continue;
        }
        std::array<char, kMaxMessage + 1> buffer{};
        const auto code = ZcReceiveMessageAtOnce(buffer.data(), buffer.size(), kReceivePeriod);
        if (code == ZRErrors::e_Command_TimedOut) {
            continue;
        }
        if (code != ZRErrors::e_General_NoError) {
            m_failure = Fail(kFunction, code, Exit::kFailed, "the channel cannot be read: " + ErrorText(code));
            break;
        }
        gaizior::LogAt(2, kFunction, "received ", Printable(buffer.data()));
        isToGoOn = Handle(self, buffer.data());
    }
    return ZRErrors::e_General_NoError;
}

bool Server::Handle(Worker& self, const char* packet) {
    constexpr const char* kFunction = "Server::Handle(): ";
    Message command;
    const bool isCommand = Decode(packet, command) == ZRErrors::e_General_NoError && command.type == kCommand;
    if (isCommand && command.code == kThreads) {
        ReportThreads(command);
        return true;
    }
    LockUser engine(m_engineLock, &self, kFunction);
    LockUser outbox(m_outboxLock, &self, kFunction);
    // Who waited in vain waits less the next time: a hanging imager still tells quickly that it hangs.
    const DWORD patience = std::exchange(m_bStuck, false) ? kPatienceWhenStuck : kPatienceForLock;
    for (LockUser* const user : {&engine, &outbox}) {
        const auto code = user->Enter(patience);
        if (code != ZRErrors::e_General_NoError) {
            m_bStuck = true;
            const bool isStop = isCommand && command.code == kStop;
            if (isCommand) {
                const char* const end = isStop ? "; it stops all the same" : "; 'bench imager threads' tells more";
                SendDirectly({m_handler.AddresseeOf(command.id),
                              {kReply,
                               command.code,
                               m_options.id,
                               static_cast<std::int32_t>(code),
                               {},
                               user->Obstacle() + end}});
            }
            return !isStop;
        }
    }
    Put(m_handler.Handle(packet));
    NoteWork();
    return !m_handler.IsStopped();
}

/// Whatever hangs here, this tells it.
void Server::ReportThreads(const Message& command) {
    constexpr const char* kFunction = "Server::ReportThreads(): ";
    const std::uint16_t asker = m_handler.AddresseeOf(command.id);
    if (!IsIdHeld(asker)) { // what nobody takes would fill the channel
        gaizior::LogAt(1, kFunction, "nobody has the ID ", unsigned{asker}, " any more");
        return;
    }
    ThreadReport report;
    report.process = static_cast<int>(::GetCurrentProcessId());
    for (Worker* worker : {&m_sender, &m_receiver, &m_engine}) {
        report.threads.push_back(Examine(*worker));
    }
    for (const WatchedLock* lock : {&m_engineLock, &m_outboxLock}) {
        report.locks.push_back(Examine(*lock));
    }
    for (Message& reply : MakeThreadReplies(report, command.value)) {
        reply.id = m_options.id;
        SendDirectly({asker, std::move(reply)});
    }
}

bool Server::IsToBeSent(const Outgoing& message) {
    constexpr const char* kFunction = "Server::IsToBeSent(): ";
    const std::string answer = "the answer to '" + CommandName(message.message.code) + "' ";
    if (message.destination == kNobody) {
        gaizior::LogAt(1, kFunction, answer, "is for nobody: no sender was named");
        return false;
    }
    const Waiting waiting = CountWaiting(message.destination);
    const bool isUnread = waiting.forId >= kMostAnswers;
    const bool isToBeSent = !isUnread && (waiting.forAnybody < kMostForAbsent || IsIdHeld(message.destination));
    if (!isToBeSent) {
        gaizior::LogError(kFunction, answer, "for ID ", unsigned{message.destination}, " is thrown away: ",
                          isUnread ? "it reads none" : "nobody has that ID, and the channel fills");
    }
    return isToBeSent;
}

void Server::SendDirectly(const Outgoing& message) {
    if (!IsToBeSent(message)) {
        return;
    }
    std::string packet;
    ZRErrors::ZRErrorT code = Encode(message.message, packet);
    if (code == ZRErrors::e_General_NoError) {
        code = ZcSendMessage(packet.c_str(), kTimeToSendDirectly, message.destination);
    }
    if (code != ZRErrors::e_General_NoError) {
        gaizior::LogError("Server::SendDirectly(): ", "an answer for ID ", unsigned{message.destination},
                          " is lost: ", ErrorText(code));
    }
}

ZRErrors::ZRErrorT Server::Simulate(Worker& self) {
    ULONGLONG last = ::GetTickCount64();
    while (self.Rest(kTick)) {
        if (!IsSignalled(m_hWork.Get())) { // no time passes for an engine at rest
            self.WaitForSingleObject(m_hWork.Get(), INFINITE);
            last = ::GetTickCount64();
            continue;
        }
        const ULONGLONG now = ::GetTickCount64();
        Tell(Advance(self, static_cast<double>(now - last) / 1000.0 * m_options.speed));
        last = now;
    }
    return ZRErrors::e_General_NoError;
}

std::vector<Exposure> Server::Advance(Worker& self, double seconds) {
    constexpr const char* kFunction = "Server::Simulate(): ";
    LockUser engine(m_engineLock, &self, kFunction);
    LockUser outbox(m_outboxLock, &self, kFunction);
    if (!Take(engine, self) || !Take(outbox, self)) {
        return {}; // it is asked to end
    }
    Put(m_handler.Advance(seconds));
    NoteWork();
    return m_handler.TakeExposures();
}

void Server::Tell(const std::vector<Exposure>& exposures) const {
    if (m_options.onExposure) {
        std::ranges::for_each(exposures, m_options.onExposure);
    }
}

ZRErrors::ZRErrorT Server::Send(Worker& self) {
    SendWaiting(self);
    if (!m_options.hang.empty()) {
        Hang(self);
    }
    ULONGLONG lastProgress = ::GetTickCount64();
    while (!self.IsEndEventSignalled()) {
        const bool isAtWork = IsSignalled(m_hWork.Get());
        self.WaitForSingleObject(m_hWake.Get(), m_nWaiting > 0 ? kTick : isAtWork ? kProgressPeriod : INFINITE);
        SendWaiting(self);
        const ULONGLONG now = ::GetTickCount64();
        if (!isAtWork) {
            lastProgress = now;
        } else if (now - lastProgress >= kProgressPeriod) {
            lastProgress = now;
            SendProgress(self);
        }
    }
    SendLast(self);
    return ZRErrors::e_General_NoError;
}

void Server::SendWaiting(Worker& self) {
    constexpr const char* kFunction = "Server::SendWaiting(): ";
    while (m_nWaiting > 0) {
        Outgoing next;
        {
            LockUser outbox(m_outboxLock, &self, kFunction);
            if (!Take(outbox, self)) {
                return;
            }
            next = m_outbox.front(); // nobody else takes one out
        }
        std::string packet;
        if (const auto code = Encode(next.message, packet); code != ZRErrors::e_General_NoError) {
            gaizior::LogError(kFunction, "an answer cannot be put into a message: ", ErrorText(code));
        } else if (IsToBeSent(next) &&
                   ZcSendMessage(packet.c_str(), 0, next.destination) != ZRErrors::e_General_NoError) {
            return;
        }
        LockUser outbox(m_outboxLock, &self, kFunction);
        if (!Take(outbox, self)) {
            return;
        }
        m_outbox.pop_front();
        m_nWaiting = m_outbox.size();
    }
}

void Server::SendProgress(Worker& self) {
    constexpr const char* kFunction = "Server::SendProgress(): ";
    const auto takeProgress = [&]() -> std::optional<Outgoing> {
        LockUser engine(m_engineLock, &self, kFunction);
        return Take(engine, self) ? m_handler.Progress() : std::nullopt;
    };
    const std::optional<Outgoing> progress = takeProgress();
    if (!progress || CountWaiting(progress->destination).forId >= kMostUnread) {
        return;
    }
    LockUser engine(m_engineLock, &self, kFunction);
    LockUser outbox(m_outboxLock, &self, kFunction);
    if (!Take(engine, self) || !Take(outbox, self) || !m_outbox.empty()) {
        return;
    }
    // Taken anew: the operation may have ended meanwhile.
    if (std::optional<Outgoing> present = m_handler.Progress()) {
        Put({std::move(*present)});
    }
}

void Server::SendLast(Worker& self) {
    constexpr const char* kFunction = "Server::SendLast(): ";
    {
        LockUser engine(m_engineLock, &self, kFunction);
        LockUser outbox(m_outboxLock, &self, kFunction);
        if (Take(engine, self) && Take(outbox, self)) {
            Put(m_handler.Halt());
        }
    }
    const ULONGLONG end = ::GetTickCount64() + kTimeForLastWords;
    while (!IsSignalled(m_options.hClientProcess) && ::GetTickCount64() < end) {
        SendWaiting(self);
        if (m_nWaiting == 0) {
            return;
        }
        ::Sleep(kTick);
    }
    gaizior::LogAt(1, kFunction, m_nWaiting.load(), " answers found no reader");
}

void Server::Hang(Worker& self) {
    LockUser user(m_options.hang == m_engineLock.Name() ? m_engineLock : m_outboxLock, &self, "Server::Hang(): ");
    if (Take(user, self)) {
        ::SetEvent(m_hWork.Get()); // the engine comes to wait for it
        ::WaitForSingleObject(self.EndEvent(), INFINITE);
    }
}

bool Server::Take(LockUser& user, Worker& self) {
    bool isTold = false;
    auto code = user.Enter(kPatienceForLock);
    while (code == ZRErrors::e_CriticalSection_TimeOut) {
        if (!std::exchange(isTold, true)) {
            std::fprintf(stderr, "imager: the thread '%s' hangs: %s\n", self.GetSafeThreadName(),
                         user.Obstacle().c_str());
        }
        code = user.Enter(kPatienceForLock);
    }
    return code == ZRErrors::e_General_NoError;
}

void Server::Put(std::vector<Outgoing> messages) {
    for (Outgoing& message : messages) {
        m_outbox.push_back(std::move(message));
    }
    m_nWaiting = m_outbox.size();
    if (!messages.empty()) {
        ::SetEvent(m_hWake.Get());
    }
}

void Server::NoteWork() {
    if (!m_handler.IsAtWork()) {
        ::ResetEvent(m_hWork.Get());
    } else if (!IsSignalled(m_hWork.Get())) {
        ::SetEvent(m_hWork.Get());
        ::SetEvent(m_hWake.Get());
    }
}

} // namespace apps
