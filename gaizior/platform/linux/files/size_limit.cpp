#include "gaizior/platform/linux/files/size_limit.h"

#include <cerrno>
#include <ctime>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace gaizior::platform {
namespace {

sigset_t SizeSignal() {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGXFSZ);
    return signals;
}

void GetSizeLimit(rlimit& limit) {
#ifdef SYS_getrlimit
    // What the C library calls looks for the process first, which costs a tenth of opening, writing and closing a file.
    ::syscall(SYS_getrlimit, RLIMIT_FSIZE, &limit);
#else
    ::getrlimit(RLIMIT_FSIZE, &limit);
#endif
}

} // namespace

NoSizeSignal::NoSizeSignal() {
    rlimit limit{};
    GetSizeLimit(limit);
    m_bBlocks = limit.rlim_cur != RLIM_INFINITY;
    if (m_bBlocks) {
        const sigset_t signals = SizeSignal();
        ::pthread_sigmask(SIG_BLOCK, &signals, &m_before);
    }
}

NoSizeSignal::~NoSizeSignal() {
    if (m_bBlocks) {
        const int error = errno;
        const sigset_t signals = SizeSignal();
        const timespec now{};
        while (::sigtimedwait(&signals, nullptr, &now) == SIGXFSZ) {
        }
        ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
        errno = error;
    }
}

} // namespace gaizior::platform
