#pragma once

#include "gaizior/comms/channel_block.h"

#include <cerrno>
#include <system_error>

#include <boost/interprocess/ipc/message_queue.hpp>
#include <fcntl.h>
#include <mqueue.h>

/// Other ways to hand a text on, of which a process that is forked has a share. Their names are gone as soon as they
/// are made.
namespace benchmarks {

inline constexpr std::size_t kTextSize = kZcMessageSize - 1;

class BoostQueue {
public:
    BoostQueue() {
        boost::interprocess::message_queue::remove(kName);
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
    static constexpr const char* kName = "gaizior_benchmark";

    boost::interprocess::message_queue m_queue{boost::interprocess::open_or_create, kName, kZcSlotCount, kTextSize};
};

class PosixQueue {
public:
    PosixQueue() {
        mq_attr attributes{};
        attributes.mq_maxmsg = 10; // what everybody may have
        attributes.mq_msgsize = kTextSize;
        m_queue = ::mq_open(kName, O_RDWR | O_CREAT | O_CLOEXEC, 0600, &attributes);
        if (m_queue < 0) {
            throw std::system_error(errno, std::generic_category(), "mq_open");
        }
        ::mq_unlink(kName);
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
    static constexpr const char* kName = "/gaizior_benchmark";

    mqd_t m_queue;
};

} // namespace benchmarks
