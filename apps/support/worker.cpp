#include "apps/support/worker.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace apps {
namespace {

constexpr DWORD kStopTimeout = 5000; // more than all that a body may wait for once it is asked to end

} // namespace

Worker::Worker(const char* name, Worker* parent, Body body)
    : ZRThreadC(name, parent, kStopTimeout, 0), m_body(std::move(body)) {}

Worker::~Worker() {
    End();
    if (!m_bHasEnded) {
        std::fprintf(stderr, "the thread '%s' did not end within %lu s\n", GetSafeThreadName(), kStopTimeout / 1000UL);
        std::_Exit(EXIT_FAILURE);
    }
}

void Worker::End() {
    if (!GetThread() || !m_bHasEnded) {
        return;
    }
    for (ZRThreadC* child = FindChild(nullptr); child; child = FindChild(child)) {
        static_cast<Worker*>(child)->NotifyEnd();
    }
    for (ZRThreadC* child = FindChild(nullptr); child; child = FindChild(child)) {
        static_cast<Worker*>(child)->End();
    }
    NotifyEnd();
    m_bHasEnded = ::WaitForSingleObject(GetThread(), kStopTimeout) == WAIT_OBJECT_0;
    if (m_bHasEnded) {
        stop();
    }
}

Worker::Wait Worker::Awaited() const {
    const WatchedLock* const lock = m_pAwaited;
    // The lock is read first and stored last: the time is at worst that of a later wait, never of an earlier one.
    const ULONGLONG since = m_nAwaitedSince;
    return lock ? Wait{lock, ::GetTickCount64() - since} : Wait{};
}

} // namespace apps
