#include "benchmarks/compare.h"
#include "benchmarks/shared_folder.h"
#include "benchmarks/subjects.h"
#include "gaizior/comms/channel_objects.h"
#include "gaizior/comms/message_pool.h"
#include "gaizior/platform/timing.h"

#include <cerrno>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>

#include <boost/interprocess/ipc/message_queue.hpp>
#include <fcntl.h>
#include <mqueue.h>

namespace benchmarks {
namespace {

constexpr std::size_t kTextSize = kZcMessageSize - 1;
constexpr std::uint16_t kOwnId = 256;
constexpr std::uint16_t kOtherId = 257;
constexpr int kManyMessages = 100;
constexpr const char* kQueueName = "/gaizior_benchmark";

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

class BoostQueue {
public:
    BoostQueue() {
        boost::interprocess::message_queue::remove(kQueueName + 1);
    }
    ~BoostQueue() {
        boost::interprocess::message_queue::remove(kQueueName + 1);
    }
    void Send(const char* text) {
        m_queue.send(text, kTextSize, 0);
    }
    void Take(char* buffer) {
        boost::interprocess::message_queue::size_type size = 0;
        unsigned priority = 0;
        m_queue.receive(buffer, kTextSize, size, priority);
    }

private:
    boost::interprocess::message_queue m_queue{boost::interprocess::open_or_create, kQueueName + 1, kZcSlotCount,
                                               kTextSize};
};

class PosixQueue {
public:
    PosixQueue() {
        mq_attr attributes{};
        attributes.mq_maxmsg = 10; // what everybody may have
        attributes.mq_msgsize = kTextSize;
        m_queue = ::mq_open(kQueueName, O_RDWR | O_CREAT | O_CLOEXEC, 0600, &attributes);
        if (m_queue < 0) {
            throw std::system_error(errno, std::generic_category(), "mq_open");
        }
        ::mq_unlink(kQueueName);
    }
    PosixQueue(const PosixQueue&) = delete;
    PosixQueue& operator=(const PosixQueue&) = delete;
    ~PosixQueue() {
        ::mq_close(m_queue);
    }
    void Send(const char* text) {
        ::mq_send(m_queue, text, kTextSize, 0);
    }
    void Take(char* buffer) {
        ::mq_receive(m_queue, buffer, kTextSize, nullptr);
    }

private:
    mqd_t m_queue;
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
    const Batch empty = SendAndTake(channel, text);
    Compare("send and take 255 bytes", empty,
            {{"Boost.Interprocess message_queue", SendAndTake(boostQueue, text), 1.5},
             {"POSIX message queue", SendAndTake(posixQueue, text), 0.15}});
    UnpacedChannel own(kOwnId);
    Compare("100 more wait for the same addressee", SendAndTake(own, text), {{"empty pool", empty, 1.3}});
    UnpacedChannel others(kOtherId);
    Compare("100 more wait for another", SendAndTake(others, text), {{"empty pool", empty, 1.3}});
}

} // namespace benchmarks
