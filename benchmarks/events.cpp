#include "benchmarks/shared_folder.h"
#include "benchmarks/signals.h"
#include "benchmarks/subjects.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include <poll.h>
#include <sys/eventfd.h>

namespace benchmarks {
namespace {

constexpr std::size_t kMany = 8;

void OneThread() {
    EventSignal event;
    SemaphoreSignal<false> semaphore;
    Compare("set an event, wait for it", Repeat([&] {
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
              5.0}});
}

/// Eight of each, the last one set and left so.
struct AnyOfMany {
    AnyOfMany() {
        for (std::size_t i = 0; i < kMany; ++i) {
            const bool isSet = i + 1 == kMany;
            owned[i] = gaizior::UniqueHandle(::CreateEventA(nullptr, TRUE, isSet, nullptr));
            events[i] = owned[i].Get();
            flags[i] = isSet;
            files[i] = {::eventfd(isSet, EFD_CLOEXEC), POLLIN, 0};
        }
    }
    AnyOfMany(const AnyOfMany&) = delete;
    AnyOfMany& operator=(const AnyOfMany&) = delete;
    ~AnyOfMany() {
        for (const pollfd& file : files) {
            ::close(file.fd);
        }
    }

    void WaitForEvents() {
        ::WaitForMultipleObjects(kMany, events.data(), FALSE, INFINITE);
    }
    void WaitForCondition() {
        std::unique_lock lock(mutex);
        condition.wait(lock, [&] { return std::ranges::find(flags, true) != flags.end(); });
    }
    void Poll() {
        ::poll(files.data(), files.size(), -1);
    }

    std::array<gaizior::UniqueHandle, kMany> owned;
    std::array<HANDLE, kMany> events;
    std::mutex mutex;
    std::condition_variable condition;
    std::array<bool, kMany> flags;
    std::array<pollfd, kMany> files;
};

void AnyOfEight() {
    AnyOfMany many;
    Compare("wait for any of 8, the last one set", Repeat([&] { many.WaitForEvents(); }),
            {{"condition variable", Repeat([&] { many.WaitForCondition(); }), 1.0},
             {"eventfd with poll", Repeat([&] { many.Poll(); }), 0.05}});
}

void BetweenThreads() {
    PrintPlace("two threads of one process, both on core 0");
    Table<EventSignal> events;
    Table<ConditionSignal> conditions;
    const PartnerThread eventPartner(events);
    const PartnerThread conditionPartner(conditions);
    Compare("ping-pong of events", events.Play(), {{"condition variable", conditions.Play(), 1.1}});
}

void BetweenProcesses(const char* place, unsigned core) {
    PrintPlace(place);
    const SharedFolder folder;
    Table<EventSignal> events{EventSignal("ping"), EventSignal("pong")};
    const Shared<Table<SemaphoreSignal<true>>> semaphores;
    const PartnerProcess eventPartner(events, core);
    const PartnerProcess semaphorePartner(*semaphores, core);
    Compare("ping-pong of named events", events.Play(), {{"sem_t in shared memory", (*semaphores).Play(), 1.1}});
}

} // namespace

void Events() {
    OneThread();
    AnyOfEight();
    BetweenThreads();
    BetweenProcesses("two processes, both on core 0", 0);
    BetweenProcesses("two processes, on the cores 0 and 1", 1);
}

} // namespace benchmarks
