/// An application as a host's developer writes one: a loader puts plates onto a stacker, an exposer takes them from
/// there to the drum, and the machine that both belong to stops them first when Ctrl-C comes.
///
/// application          runs until Ctrl-C
/// application raise    presses Ctrl-C itself when the exposer needs the drum

#include <gaizior/gaizior.h>
#include <gaizior/platform/windows_api.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <string_view>
#include <utility>

namespace {

using UserT = ZRCriticalSectionC::ZRCriticalSectionUserC;
using ZRErrors::ZRErrorT;

constexpr unsigned long kStopTimeout = 5000; // milliseconds, all of them
constexpr unsigned long kLockTimeout = 2000;
constexpr unsigned long kNoLimit = 0xFFFFFFFF;

HANDLE g_hInterrupted = nullptr;

BOOL OnConsoleEvent(DWORD /*event*/) {
    return ::SetEvent(g_hInterrupted);
}

/// Without a console there is no Ctrl-C that could be pressed.
void PressCtrlC() {
#ifdef _WIN32
    if (!::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0)) {
        ::SetEvent(g_hInterrupted);
    }
#else
    std::raise(SIGINT);
#endif
}

/// The plates between loader and exposer, deleted with the last reference to it.
class StackerC : public ZRCommObjectC {
public:
    StackerC() : ZRCommObjectC("stacker", true) {}
    ~StackerC() override {
        std::printf("stacker: %d plates are left\n", m_nPlates);
    }

    bool Change(const char* who, int plates) {
        if (Lock(who, kLockTimeout, nullptr) != ZRErrors::e_General_NoError) {
            return false;
        }
        const bool isPossible = m_nPlates + plates >= 0;
        m_nPlates += isPossible ? plates : 0;
        return Unlock() == ZRErrors::e_General_NoError && isPossible;
    }

private:
    int m_nPlates = 0;
};

/// A thread of this application, with its body. It is stopped before anything that the body uses goes.
class WorkerC : public ZRThreadC {
public:
    using BodyT = std::function<ZRErrorT(HANDLE endEvent)>;

    WorkerC(const char* name, ZRThreadC* parent, BodyT body)
        : ZRThreadC(name, parent, kStopTimeout, 0), m_body(std::move(body)) {}
    ~WorkerC() override {
        stop();
    }
    ZRErrorT run() override {
        return m_body(GetEndEvent());
    }

private:
    BodyT m_body;
};

bool Run(bool isToPressCtrlC) {
    auto* const stacker = new StackerC;
    ZRCommObjectPtrC reference;
    reference.Attach(stacker);
    ZRCriticalSectionC drum;
    const HANDLE ready = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    ZRErrorT exposed = ZRErrors::e_General_NoError;
    // The root of the tree keeps the drum, as if a service engineer had a hand in it, until it is asked to end.
    WorkerC machine("machine", nullptr, [&](HANDLE endEvent) {
        UserT user(&drum);
        const ZRErrorT code = user.EnterCriticalSection("machine: ", kLockTimeout);
        ::SetEvent(ready);
        ::WaitForSingleObject(endEvent, INFINITE);
        return code;
    });
    WorkerC loader("loader", &machine, [&](HANDLE endEvent) {
        while (::WaitForSingleObject(endEvent, 10) == WAIT_TIMEOUT) {
            stacker->Change("loader: ", 1);
        }
        return ZRErrors::e_General_NoError;
    });
    // Waits for a plate and for the drum as long as it takes; being asked to end, it waits no longer.
    WorkerC exposer("exposer", &machine, [&](HANDLE endEvent) {
        while (!stacker->Change("exposer: ", -1)) {
            if (::WaitForSingleObject(endEvent, 10) != WAIT_TIMEOUT) {
                return ZRErrors::e_General_NoError;
            }
        }
        if (isToPressCtrlC) {
            PressCtrlC();
        }
        UserT user(&drum);
        return exposed = user.EnterCriticalSection("exposer: ", endEvent, kNoLimit);
    });
    if (machine.start() || ::WaitForSingleObject(ready, kStopTimeout) != WAIT_OBJECT_0 || exposer.start() ||
        loader.start()) {
        return false;
    }
    std::printf("machine: thread %u and its children run\n", machine.GetThreadID());
    ::WaitForSingleObject(g_hInterrupted, INFINITE);
    const ZRErrorT code = machine.stop();
    std::printf("machine: stopped: %s\n", ZRErrToStr(code));
    std::printf("exposer: ended: %s\n", ZRErrToStr(exposed));
    ::CloseHandle(ready);
    return code == ZRErrors::e_General_NoError && exposed == ZRErrors::e_CriticalSection_KillSignalled;
}

} // namespace

int main(int argc, char** argv) {
    const ZRLogStreamC errorsOnly([](unsigned, int, char* line) { std::fputs(line, stderr); }, nullptr, nullptr,
                                  [] { return 1u; });
    g_hInterrupted = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    ::SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
    const bool isDone = Run(argc > 1 && std::string_view(argv[1]) == "raise");
    ::SetConsoleCtrlHandler(OnConsoleEvent, FALSE);
    return isDone ? 0 : 1;
}
