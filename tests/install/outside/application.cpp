/// An application as a host's developer writes one: a loader puts plates onto a stacker, an exposer takes them from
/// there to the drum, and the machine that both belong to stops them first when Ctrl-C comes.
///
/// application          runs until Ctrl-C
/// application raise    presses Ctrl-C itself when the exposer needs the drum

#include <gaizior/gaizior.h>
#include <gaizior/platform/windows_api.h>

#include <csignal>
#include <cstdio>
#include <string_view>

namespace {

constexpr unsigned long kStopTimeout = 5000; // milliseconds, all of them
constexpr unsigned long kLockTimeout = 2000;
constexpr unsigned long kNoLimit = 0xFFFFFFFF;

HANDLE g_hInterrupted = nullptr;

void PrintLogLine(unsigned /*level*/, int /*mode*/, char* line) {
    std::fputs(line, stderr);
}
unsigned LogLevel() {
    return 1; // errors
}

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

/// A thread that works at the stacker.
class WorkerC : public ZRThreadC {
public:
    WorkerC(const char* name, ZRThreadC* parent, StackerC* stacker) : ZRThreadC(name, parent, kStopTimeout, 0) {
        m_stacker.Attach(stacker);
    }
    StackerC& Stacker() const {
        return static_cast<StackerC&>(m_stacker.GetObject());
    }

private:
    ZRCommObjectPtrC m_stacker;
};

class LoaderC : public WorkerC {
public:
    LoaderC(ZRThreadC* parent, StackerC* stacker) : WorkerC("loader", parent, stacker) {}
    ~LoaderC() override {
        stop();
    }

    ZRErrors::ZRErrorT run() override {
        while (::WaitForSingleObject(GetEndEvent(), 10) == WAIT_TIMEOUT) {
            if (!Stacker().Change("LoaderC::run(): ", 1)) {
                return ZRErrors::e_Command_Aborted;
            }
        }
        return ZRErrors::e_General_NoError;
    }
};

class ExposerC : public WorkerC {
public:
    ExposerC(ZRThreadC* parent, StackerC* stacker, ZRCriticalSectionC* drum, bool isToPressCtrlC)
        : WorkerC("exposer", parent, stacker), m_pDrum(drum), m_bIsToPressCtrlC(isToPressCtrlC) {}
    ~ExposerC() override {
        stop();
    }

    /// Waits for the drum as long as it takes; being asked to end, it waits no longer.
    ZRErrors::ZRErrorT run() override {
        while (!Stacker().Change("ExposerC::run(): ", -1)) {
            if (::WaitForSingleObject(GetEndEvent(), 10) != WAIT_TIMEOUT) {
                return ZRErrors::e_General_NoError;
            }
        }
        if (m_bIsToPressCtrlC) {
            PressCtrlC();
        }
        ZRCriticalSectionC::ZRCriticalSectionUserC user(m_pDrum);
        m_result = user.EnterCriticalSection("ExposerC::run(): ", GetEndEvent(), kNoLimit);
        return m_result;
    }
    /// What became of its wait for the drum; to be asked when it has ended.
    ZRErrors::ZRErrorT Result() const {
        return m_result;
    }

private:
    ZRCriticalSectionC* m_pDrum;
    bool m_bIsToPressCtrlC;
    ZRErrors::ZRErrorT m_result = ZRErrors::e_General_NoError;
};

/// The root of the tree. It keeps the drum, as if a service engineer had a hand in it, until it is asked to end.
class MachineC : public ZRThreadC {
public:
    explicit MachineC(ZRCriticalSectionC* drum) : ZRThreadC("machine", nullptr, kStopTimeout, 0), m_pDrum(drum) {}
    ~MachineC() override {
        stop();
    }

    ZRErrors::ZRErrorT run() override {
        ZRCriticalSectionC::ZRCriticalSectionUserC user(m_pDrum);
        if (const auto code = user.EnterCriticalSection("MachineC::run(): ", kLockTimeout)) {
            return code;
        }
        ::SetEvent(m_hReady);
        ::WaitForSingleObject(GetEndEvent(), INFINITE);
        return ZRErrors::e_General_NoError;
    }

    HANDLE m_hReady = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);

private:
    ZRCriticalSectionC* m_pDrum;
};

bool Run(bool isToPressCtrlC) {
    ZRCriticalSectionC drum;
    MachineC machine(&drum);
    auto* const stacker = new StackerC; // goes with the last of the two that use it
    LoaderC loader(&machine, stacker);
    ExposerC exposer(&machine, stacker, &drum, isToPressCtrlC);
    if (machine.start() || ::WaitForSingleObject(machine.m_hReady, kStopTimeout) != WAIT_OBJECT_0 || exposer.start() ||
        loader.start()) {
        return false;
    }
    std::printf("machine: thread %u and its children run\n", machine.GetThreadID());
    ::WaitForSingleObject(g_hInterrupted, INFINITE);
    const ZRErrors::ZRErrorT code = machine.stop();
    std::printf("machine: stopped: %s\n", ZRErrToStr(code));
    std::printf("exposer: ended: %s\n", ZRErrToStr(exposer.Result()));
    ::CloseHandle(machine.m_hReady);
    return code == ZRErrors::e_General_NoError && exposer.Result() == ZRErrors::e_CriticalSection_KillSignalled;
}

} // namespace

int main(int argc, char** argv) {
    const ZRLogStreamC hooks(&PrintLogLine, nullptr, nullptr, &LogLevel);
    g_hInterrupted = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    ::SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
    const bool isDone = Run(argc > 1 && std::string_view(argv[1]) == "raise");
    ::SetConsoleCtrlHandler(OnConsoleEvent, FALSE);
    return isDone ? 0 : 1;
}
