#include "benchmarks/compare.h"
#include "benchmarks/queues.h"
#include "benchmarks/shared_folder.h"
#include "benchmarks/subjects.h"
#include "gaizior/comms/channel_objects.h"
#include "gaizior/comms/message_pool.h"
#include "gaizior/platform/timing.h"

#include <memory>
#include <mutex>
#include <string>

namespace benchmarks {
namespace {

constexpr std::uint16_t kOwnId = 256;
constexpr std::uint16_t kOtherId = 257;
constexpr int kManyMessages = 100;

/// Sends and takes as ZcSendMessage and ZcReceiveMessage do, without the sleeps that pace the receivers.
class UnpacedChannel {
public:
    UnpacedChannel() {
        m_pObjects->mutex.Create();
        m_pObjects->event = gaizior::UniqueHandle(::CreateEventA(nullptr, TRUE, FALSE, gaizior::kChannelEventName));
        m_pObjects->section.Create();
        gaizior::MessagePool::Initialise(*m_pObjects->section.Block());
    }
    /// A hundred messages wait in it.
    explicit UnpacedChannel(std::uint16_t addressee) : UnpacedChannel() {
        for (int i = 0; i < kManyMessages; ++i) {
            Send("waiting", addressee);
        }
    }

    void Send(const char* text, std::uint16_t destination) {
        const auto objects = Current();
        {
            gaizior::ChannelLock lock = objects->Lock("Send", INFINITE);
            gaizior::MessagePool pool(*objects->section.Block());
            pool.Post(text, destination);
            lock.NoteRepair(pool.Report());
        }
        ::SetEvent(objects->event.Get());
    }

    void Take(char* buffer, std::size_t size) {
        const auto objects = Current();
        gaizior::WaitFor(objects->event.Get(), INFINITE);
        gaizior::ChannelLock lock = objects->Lock("Take", INFINITE);
        gaizior::MessagePool pool(*objects->section.Block());
        pool.Take(kOwnId, buffer, size);
        lock.NoteRepair(pool.Report());
        if (pool.IsEmpty()) {
            ::ResetEvent(objects->event.Get());
        }
    }

private:
    /// The process's channel may be closed while others use it.
    std::shared_ptr<gaizior::ChannelObjects> Current() {
        const std::lock_guard lock(m_lock);
        return m_pObjects;
    }

    SharedFolder m_folder;
    std::mutex m_lock;
    std::shared_ptr<gaizior::ChannelObjects> m_pObjects = std::make_shared<gaizior::ChannelObjects>();
};

template <typename Queue>
Batch SendAndTake(Queue& queue, const std::string& text) {
    return Repeat([&queue, &text] {
        char buffer[kZcMessageSize];
        queue.Send(text.c_str());
        queue.Take(buffer);
        Keep(buffer);
    });
}

Batch SendAndTake(UnpacedChannel& channel, const std::string& text) {
    return Repeat([&channel, &text] {
        char buffer[kZcMessageSize];
        channel.Send(text.c_str(), kOwnId);
        channel.Take(buffer, sizeof(buffer));
        Keep(buffer);
    });
}

} // namespace

void Channel() {
    const std::string text(kTextSize, 'x');
    UnpacedChannel channel;
    BoostQueue boostQueue;
    PosixQueue posixQueue;
    const Batch ours = SendAndTake(channel, text);
    const Batch boost = SendAndTake(boostQueue, text);
    const Batch posix = SendAndTake(posixQueue, text);
    Compare("send and take 255 bytes, without the pace", ours,
            {{"Boost.Interprocess message_queue", boost, 1.5}, {"POSIX message queue", posix, 0.15}});
    Compare("the same with cold caches", Cold(ours),
            {{"Boost.Interprocess message_queue", Cold(boost), 0}, {"POSIX message queue", Cold(posix), 0}});
    UnpacedChannel own(kOwnId);
    Compare("with 100 slots in use, same addressee", SendAndTake(own, text), {{"the empty pool", ours, 1.3}});
    UnpacedChannel others(kOtherId);
    Compare("with 100 slots in use, another addressee", SendAndTake(others, text), {{"the empty pool", ours, 1.3}});
}

} // namespace benchmarks
