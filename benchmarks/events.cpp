#include "benchmarks/results.h"
#include "benchmarks/shared_folder.h"
#include "benchmarks/signals.h"
#include "benchmarks/subjects.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>

namespace benchmarks {
namespace {

constexpr std::size_t kMany = 8;

void OneThread() {
    EventSignal event;
    SemaphoreSignal<false> semaphore;
    Compare("set an event and wait for it", Repeat([&] {
                event.Set();
                event.Wait();
            }),
            {{"sem_t", Repeat([&] {
                  semaphore.Set();
                  semaphore.Wait();
              }),
              1.0}});
    Compare("create and close an event", Repeat([] { EventSignal created; }),
            {{"malloc, mutex, free", Repeat([] {
                  void* const memory = std::malloc(sizeof(std::mutex));
                  std::mutex* const created = new (memory) std::mutex;
                  Keep(*created);
                  created->~mutex();
                  std::free(memory);
              }),
              5.0},
             {"mutex, condition variable and flag on the heap", Repeat([] {
                  const auto created = std::make_unique<ConditionSignal>();
                  Keep(*created);
              }),
              5.0}});
}

/// Eight of each, of which the last one is set: for good, or by each operation, whose wait takes it back.
class AnyOfMany {
public:
    explicit AnyOfMany(bool isSetForGood) : m_epoll(::epoll_create1(EPOLL_CLOEXEC)) {
        for (std::size_t i = 0; i < kMany; ++i) {
            const bool isSet = isSetForGood && i == kLast;
            m_owned[i] = gaizior::UniqueHandle(::CreateEventA(nullptr, isSetForGood, isSet, nullptr));
            m_events[i] = m_owned[i].Get();
            m_flags[i] = isSet;
            m_files[i] = {::eventfd(isSet, EFD_CLOEXEC), POLLIN, 0};
            epoll_event interest{.events = EPOLLIN, .data = {.fd = m_files[i].fd}};
            ::epoll_ctl(m_epoll, EPOLL_CTL_ADD, m_files[i].fd, &interest);
        }
    }
    AnyOfMany(const AnyOfMany&) = delete;
    AnyOfMany& operator=(const AnyOfMany&) = delete;
    ~AnyOfMany() {
        ::close(m_epoll);
        for (const pollfd& file : m_files) {
            ::close(file.fd);
        }
    }

    void SetEvent() {
        ::SetEvent(m_events[kLast]);
    }
    void WaitForEvents() {
        ::WaitForMultipleObjects(kMany, m_events.data(), FALSE, INFINITE);
    }

    void SetFlag() {
        {
            const std::lock_guard lock(m_mutex);
            m_flags[kLast] = true;
        }
        m_condition.notify_one();
    }
    void WaitForFlag() {
        std::unique_lock lock(m_mutex);
        m_condition.wait(lock, [&] { return FirstSet() != m_flags.end(); });
    }
    void TakeFlag() {
        std::unique_lock lock(m_mutex);
        m_condition.wait(lock, [&] { return FirstSet() != m_flags.end(); });
        *FirstSet() = false;
    }

    void WriteFile() {
        ::eventfd_write(m_files[kLast].fd, 1);
    }
    void Poll() {
        ::poll(m_files.data(), m_files.size(), -1);
    }
    void PollAndRead() {
        Poll();
        Read(std::ranges::find(m_files, POLLIN, &pollfd::revents)->fd);
    }
    int Epoll() {
        epoll_event found{};
        ::epoll_wait(m_epoll, &found, 1, -1);
        return found.data.fd;
    }
    void EpollAndRead() {
        Read(Epoll());
    }

private:
    static constexpr std::size_t kLast = kMany - 1;

    static void Read(int file) {
        eventfd_t value = 0;
        ::eventfd_read(file, &value);
    }
    bool* FirstSet() {
        return std::ranges::find(m_flags, true);
    }

    std::array<gaizior::UniqueHandle, kMany> m_owned;
    std::array<HANDLE, kMany> m_events;
    std::mutex m_mutex;
    std::condition_variable m_condition;
    std::array<bool, kMany> m_flags;
    std::array<pollfd, kMany> m_files;
    int m_epoll;
};

void AnyOfEight() {
    AnyOfMany set(true);
    Compare("wait for any of 8, the last one set", Repeat([&] { set.WaitForEvents(); }),
            {{"condition variable over 8 flags", Repeat([&] { set.WaitForFlag(); }), 1.0},
             {"eight eventfds with poll", Repeat([&] { set.Poll(); }), 0.05},
             {"eight eventfds with epoll", Repeat([&] { set.Epoll(); }), 0}});
    AnyOfMany taken(false);
    Compare("set the last of 8, wait for any of them", Repeat([&] {
                taken.SetEvent();
                taken.WaitForEvents();
            }),
            {{"condition variable over 8 flags", Repeat([&] {
                  taken.SetFlag();
                  taken.TakeFlag();
              }),
              1.0},
             {"eight eventfds: write, poll, read", Repeat([&] {
                  taken.WriteFile();
                  taken.PollAndRead();
              }),
              0.05},
             {"eight eventfds: write, epoll, read", Repeat([&] {
                  taken.WriteFile();
                  taken.EpollAndRead();
              }),
              0}});
}

void BetweenThreads() {
    Results::All().SetPlace("Two threads of one process, both on core 0");
    Table<EventSignal> events;
    Table<ConditionSignal> conditions;
    const PartnerThread eventPartner(events);
    const PartnerThread conditionPartner(conditions);
    Compare("ping-pong of events", events.Play(), {{"condition variable", conditions.Play(), 1.1}});
}

void BetweenProcesses(const char* place, unsigned core) {
    Results::All().SetPlace(place);
    const SharedFolder folder;
    Table<EventSignal> events{EventSignal("ping"), EventSignal("pong")};
    const Shared<Table<SemaphoreSignal<true>>> semaphores;
    const PartnerProcess eventPartner(core, [&] { events.AnswerOnce(); });
    const PartnerProcess semaphorePartner(core, [&] { (*semaphores).AnswerOnce(); });
    Compare("ping-pong of named events", events.Play(), {{"sem_t in shared memory", (*semaphores).Play(), 1.1}});
}

} // namespace

void Events() {
    OneThread();
    AnyOfEight();
    BetweenThreads();
    BetweenProcesses("Two processes, both on core 0", 0);
    if (UsableCores() > 1) {
        BetweenProcesses("Two processes, on the cores 0 and 1", 1);
    }
}

} // namespace benchmarks
