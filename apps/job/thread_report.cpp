#include "apps/job/thread_report.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace apps {
namespace {

constexpr int kMostReplies = 100;
constexpr std::size_t kLongestLocker = 100;

int ToInt(ULONGLONG number) {
    return static_cast<int>(std::min<ULONGLONG>(number, std::numeric_limits<int>::max()));
}

/// 0, an ordinary one, for a thread that is no more.
int PriorityOf(Worker& worker) {
    const int priority = ::GetThreadPriority(worker.GetThread());
    return priority == THREAD_PRIORITY_ERROR_RETURN ? THREAD_PRIORITY_NORMAL : priority;
}

std::string Word(const char* key, int value) {
    return std::string(" ") + key + "=" + std::to_string(value);
}

std::string ThreadText(const ThreadState& thread) {
    std::string text = " thread=" + thread.name + Word("id", thread.id) + Word("parent", thread.parent) +
                       Word("priority", thread.priority) + Word("alive", thread.alive) + Word("ending", thread.ending);
    return thread.awaits.empty() ? text : text + " awaits=" + thread.awaits + Word("ms", thread.milliseconds);
}

std::string LockText(const LockState& lock) {
    return " lock=" + lock.name + Word("owner", lock.owner) + Word("ms", lock.milliseconds);
}

/// Reads numbers out of a reply's words and remembers whether all of them were there.
class NumberReader {
public:
    explicit NumberReader(std::string_view text) : m_text(text) {}

    int Read(const char* key, Range range = {0, std::numeric_limits<int>::max()}) {
        const std::optional<int> number = ParseNumber(FindParameter(m_text, key));
        m_bWhole = m_bWhole && number && range.Holds(*number);
        return number.value_or(0);
    }
    bool IsWhole() const {
        return m_bWhole;
    }

private:
    std::string_view m_text;
    bool m_bWhole = true;
};

std::optional<ThreadState> ReadThread(std::string_view text) {
    NumberReader numbers(text);
    ThreadState thread;
    thread.name = FindParameter(text, "thread");
    thread.id = numbers.Read("id");
    thread.parent = numbers.Read("parent");
    thread.priority = numbers.Read("priority", {THREAD_PRIORITY_IDLE, THREAD_PRIORITY_TIME_CRITICAL});
    thread.alive = numbers.Read("alive") != 0;
    thread.ending = numbers.Read("ending") != 0;
    thread.awaits = FindParameter(text, "awaits");
    if (!thread.awaits.empty()) {
        thread.milliseconds = numbers.Read("ms");
    }
    return numbers.IsWhole() ? std::optional(std::move(thread)) : std::nullopt;
}

std::optional<LockState> ReadLock(std::string_view text, const std::string& locker) {
    NumberReader numbers(text);
    LockState lock{std::string(FindParameter(text, "lock")), numbers.Read("owner"), numbers.Read("ms"), locker};
    return numbers.IsWhole() && !lock.name.empty() ? std::optional(std::move(lock)) : std::nullopt;
}

} // namespace

ThreadState Examine(Worker& worker) {
    ZRThreadC* const parent = worker.GetParent();
    const Worker::Wait wait = worker.Awaited();
    return {worker.GetSafeThreadName(),
            ToInt(worker.GetThreadID()),
            parent ? ToInt(parent->GetThreadID()) : 0,
            PriorityOf(worker),
            worker.IsAlive(),
            worker.IsEndEventSignalled() != 0,
            wait.lock ? wait.lock->Name() : "",
            ToInt(wait.milliseconds)};
}

LockState Examine(const WatchedLock& lock) {
    const WatchedLock::Hold hold = lock.Holder();
    return {lock.Name(), ToInt(hold.thread), ToInt(hold.milliseconds), LockerText(hold.locker)};
}

std::vector<Message> MakeThreadReplies(const ThreadReport& report, std::int32_t request) {
    const std::string count = std::to_string(report.threads.size() + report.locks.size());
    std::vector<Message> replies;
    const auto add = [&](const std::string& text, const std::string& qualifier) {
        Message reply;
        reply.type = kReply;
        reply.code = kThreads;
        reply.text = "request=" + std::to_string(request) + " part=" + std::to_string(replies.size() + 1) +
                     " parts=" + count + Word("process", report.process) + text;
        reply.qualifier = qualifier.substr(0, kLongestLocker);
        replies.push_back(std::move(reply));
    };
    for (const ThreadState& thread : report.threads) {
        add(ThreadText(thread), {});
    }
    for (const LockState& lock : report.locks) {
        add(LockText(lock), lock.locker);
    }
    return replies;
}

void ThreadReportReader::Add(const Message& reply) {
    NumberReader numbers(reply.text);
    const int request = numbers.Read("request", {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()});
    const int parts = numbers.Read("parts", {1, kMostReplies});
    const int part = numbers.Read("part", {1, parts});
    const int process = numbers.Read("process");
    if (!numbers.IsWhole() || request != m_nRequest || (m_nExpected != 0 && parts != m_nExpected) ||
        m_received.contains(part)) {
        return;
    }
    if (std::optional<LockState> lock = ReadLock(reply.text, reply.qualifier)) {
        m_report.locks.push_back(std::move(*lock));
    } else if (std::optional<ThreadState> thread = ReadThread(reply.text)) {
        m_report.threads.push_back(std::move(*thread));
    } else {
        return;
    }
    m_nExpected = parts;
    m_report.process = process;
    m_received.insert(part);
}

} // namespace apps
