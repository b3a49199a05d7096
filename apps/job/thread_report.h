#pragma once

#include "apps/job/message.h"
#include "apps/support/watched_lock.h"

#include <set>
#include <vector>

namespace apps {

/// A thread of a process, as it is at a moment.
struct ThreadState {
    std::string name; ///< one word
    int id = 0;
    int parent = 0; ///< the parent's id; 0: none
    int priority = 0;
    bool alive = false;
    bool ending = false;
    std::string awaits;   ///< the lock that it waits for; empty: none
    int milliseconds = 0; ///< that it has waited
};

/// A lock of that process and who holds it.
struct LockState {
    std::string name;     ///< one word
    int owner = 0;        ///< the holder's thread id; 0: it is free
    int milliseconds = 0; ///< that it has been held
    std::string locker;   ///< the name under which it was locked
};

struct ThreadReport {
    int process = 0;
    std::vector<ThreadState> threads; ///< parents before their children
    std::vector<LockState> locks;
};

/// Neither waits for any lock of ours.
ThreadState Examine(Worker& worker);
LockState Examine(const WatchedLock& lock);

/// The replies that carry a report, one for each thread and each lock, without sender.
std::vector<Message> MakeThreadReplies(const ThreadReport& report, std::int32_t request);

/// Puts a report together from its replies.
class ThreadReportReader {
public:
    explicit ThreadReportReader(std::int32_t request) : m_nRequest(request) {}

    /// Takes a reply; one that is damaged, known already or another request's is passed over.
    void Add(const Message& reply);
    int Received() const {
        return static_cast<int>(m_received.size());
    }
    /// How many replies there are in all; 0 before the first.
    int Expected() const {
        return m_nExpected;
    }
    bool IsWhole() const {
        return m_nExpected > 0 && Received() == m_nExpected;
    }
    const ThreadReport& Report() const {
        return m_report;
    }

private:
    std::int32_t m_nRequest;
    int m_nExpected = 0;
    std::set<int> m_received;
    ThreadReport m_report;
};

} // namespace apps
