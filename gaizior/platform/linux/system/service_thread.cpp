#include "gaizior/platform/linux/system/service_thread.h"

#include <csignal>

#include <pthread.h>

namespace gaizior::platform {

int StartServiceThread(const char* name, void* (*run)(void*), void* argument) {
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread{};
    const int error = ::pthread_create(&thread, nullptr, run, argument);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (error == 0) {
        ::pthread_setname_np(thread, name);
        ::pthread_detach(thread);
    }
    return error;
}

} // namespace gaizior::platform
