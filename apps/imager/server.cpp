#include "apps/imager/server.h"

#include "apps/support/process_events.h"
#include "gaizior/comms/channel.h"
#include "gaizior/errors/failure.h"
#include "gaizior/logging/log_stream.h"

#include <array>

namespace apps {
namespace {

constexpr DWORD kTick = 50;            // milliseconds between two looks at the engine
constexpr DWORD kProgressPeriod = 500; // a client takes at most ten messages a second
constexpr unsigned kMostUnread = 4;    // a client that does not read gets no more progress
constexpr std::size_t kOutboxLimit = 100;
constexpr DWORD kTimeForLastWords = 1000;
constexpr DWORD kPatienceForId = 5000; // an imager whose client died needs some 2 s to end

void Log(unsigned level, const char* function, const std::string& text) {
    ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
    log << ZRLevel(level) << function << text.c_str() << std::endl;
}

} // namespace

Server::Server(const ServerOptions& options)
    : m_options(options), m_hWake(::CreateEventA(nullptr, FALSE, FALSE, nullptr)),
      m_hEnd(::CreateEventA(nullptr, TRUE, FALSE, nullptr)), m_handler(options.id, options.clientId) {}

Outcome Server::Run() {
    constexpr const char* kFunction = "Server::Run(): ";
    if (Outcome failure = m_channel.Open(m_options.id, kPatienceForId)) {
        return failure;
    }
    const gaizior::UniqueHandle hThread(::CreateThread(nullptr, 0, &Server::ReceiveThread, this, 0, nullptr));
    if (!hThread) {
        return Fail(kFunction, gaizior::LastSystemError(), Exit::kFailed, "the receiving thread cannot be started");
    }
    if (m_options.greet) {
        Queue({m_handler.Greeting()});
    }
    Serve();
    ::SetEvent(m_hEnd.Get());
    ::WaitForSingleObject(hThread.Get(), INFINITE);
    SendLast();
    m_channel.Close();
    return m_failure;
}

DWORD Server::ReceiveThread(void* server) {
    static_cast<Server*>(server)->ReceiveUntilEnd();
    return 0;
}

void Server::ReceiveUntilEnd() {
    while (!IsSignalled(m_hEnd.Get())) {
        if (IsOutboxFull()) {
            // Commands wait in the channel until the answers to earlier ones have found room there.
            ::WaitForSingleObject(m_hEnd.Get(), kTick);
            continue;
        }
        std::array<char, kMaxMessage + 1> buffer{};
        const auto code = ZcReceiveMessage(buffer.data(), buffer.size(), 0);
        if (code == ZRErrors::e_Command_TimedOut) {
            continue;
        }
        const std::lock_guard lock(m_lock);
        if (code != ZRErrors::e_General_NoError) {
            m_failure = Fail("Server::ReceiveUntilEnd(): ", code, Exit::kFailed,
                             "the channel cannot be read: " + ErrorText(code));
            break;
        }
        Log(2, "Server::ReceiveUntilEnd(): ", std::string("received ") + buffer.data());
        for (Outgoing& answer : m_handler.Handle(buffer.data())) {
            m_outbox.push_back(std::move(answer));
        }
        ::SetEvent(m_hWake.Get());
    }
    ::SetEvent(m_hWake.Get());
}

void Server::Serve() {
    const std::array<HANDLE, 3> handles = {m_hWake.Get(), m_options.hInterrupt, m_options.hClientProcess};
    const DWORD count = m_options.hClientProcess ? 3 : 2;
    ULONGLONG last = ::GetTickCount64();
    ULONGLONG lastProgress = last;
    while (!IsToEnd()) {
        const DWORD woken = ::WaitForMultipleObjects(count, handles.data(), FALSE, kTick);
        if (woken == WAIT_OBJECT_0 + 1 || woken == WAIT_OBJECT_0 + 2) {
            Log(1, "Server::Serve(): ", woken == WAIT_OBJECT_0 + 1 ? "interrupted" : "the client's process has ended");
            break;
        }
        const ULONGLONG now = ::GetTickCount64();
        {
            const std::lock_guard lock(m_lock);
            const double seconds = static_cast<double>(now - last) / 1000.0 * m_options.speed;
            for (Outgoing& reply : m_handler.Advance(seconds)) {
                m_outbox.push_back(std::move(reply));
            }
        }
        last = now;
        Send();
        if (now - lastProgress >= kProgressPeriod) {
            lastProgress = now;
            SendProgress();
        }
    }
}

bool Server::IsToEnd() {
    const std::lock_guard lock(m_lock);
    return m_handler.IsStopped() || m_failure;
}

void Server::Send() {
    for (;;) {
        Outgoing next;
        {
            const std::lock_guard lock(m_lock);
            if (m_outbox.empty()) {
                return;
            }
            next = m_outbox.front();
        }
        std::string packet;
        if (const auto code = Encode(next.message, packet); code != ZRErrors::e_General_NoError) {
            gaizior::LogError("Server::Send(): ", "an answer cannot be put into a message: ", ErrorText(code));
        } else if (ZcSendMessage(packet.c_str(), 0, next.destination) != ZRErrors::e_General_NoError) {
            return;
        }
        const std::lock_guard lock(m_lock);
        m_outbox.pop_front();
    }
}

void Server::SendProgress() {
    std::optional<Outgoing> progress;
    {
        const std::lock_guard lock(m_lock);
        progress = m_handler.Progress();
        if (!progress || !m_outbox.empty()) {
            return;
        }
    }
    if (CountWaiting(progress->destination).forId < kMostUnread) {
        Queue({std::move(*progress)});
        Send();
    }
}

void Server::SendLast() {
    Queue(m_handler.Halt());
    const ULONGLONG end = ::GetTickCount64() + kTimeForLastWords;
    while (!IsSignalled(m_options.hClientProcess) && ::GetTickCount64() < end) {
        Send();
        if (m_outbox.empty()) {
            return;
        }
        ::Sleep(kTick);
    }
    Log(1, "Server::SendLast(): ", std::to_string(m_outbox.size()) + " answers found no reader");
}

void Server::Queue(std::vector<Outgoing> messages) {
    const std::lock_guard lock(m_lock);
    for (Outgoing& message : messages) {
        m_outbox.push_back(std::move(message));
    }
}

bool Server::IsOutboxFull() {
    const std::lock_guard lock(m_lock);
    return m_outbox.size() >= kOutboxLimit;
}

} // namespace apps
