#include "gaizior/threads/critical_section.h"

#include "gaizior/errors/failure.h"
#include "gaizior/platform/threads.h"
#include "gaizior/platform/timing.h"

#include <algorithm>
#include <array>
#include <new>

namespace {

using ZRErrors::ZRErrorT;

constexpr unsigned int kNoTag = 0xFFFFFFFF;
constexpr std::uint32_t kMostLocks = 0xFFFFFFFF;
constexpr const char* kNoMemory = "there is no memory for this message";
constexpr const char* kEnter = "ZRCriticalSectionC::EnterCriticalSection(): ";
constexpr const char* kLeave = "ZRCriticalSectionC::LeaveCriticalSection(): ";

ZRCriticalSectionC* SectionIn(void** cell) {
    return cell ? static_cast<ZRCriticalSectionC*>(*cell) : nullptr;
}

} // namespace

/// What the functions with cells use of a section. Functions of C cannot be its friends: that declares them anew, and
/// the compiler of a program for Windows then complains that they are imported no more.
struct gaizior::SectionInCell {
    static ZRCriticalSectionC* Make(int showMessageBoxes) {
        return new (std::nothrow) ZRCriticalSectionC(showMessageBoxes);
    }
    static ZRErrorT Enter(ZRCriticalSectionC& section, const char* locker, unsigned int tag, unsigned long timeoutMs) {
        return section.EnterCriticalSection(locker, timeoutMs, TRUE, tag);
    }
    static ZRErrorT Leave(ZRCriticalSectionC& section, const char* locker, unsigned int tag) {
        unsigned int count = 0;
        return section.LeaveCriticalSection(locker, &count, tag);
    }
};

ZRCriticalSectionC::ZRCriticalSectionC(int messageBoxLogging)
    : m_hSemaphore(::CreateSemaphoreA(nullptr, 0, 1, nullptr)), m_bMessageBoxLogging(messageBoxLogging) {}

ZRCriticalSectionC::ZRCriticalSectionC(const ZRCriticalSectionC& other)
    : m_lSectionLock(other.m_lSectionLock.load()), m_hSemaphore(other.m_hSemaphore),
      m_dwCurrentOwnerTID(other.m_dwCurrentOwnerTID.load()), m_nLockCount(other.m_nLockCount.load()),
      m_pOwnerName(other.m_pOwnerName.load()), m_nOwnerTag(other.m_nOwnerTag.load()),
      m_bMessageBoxLogging(other.m_bMessageBoxLogging), m_bIsShared(true) {
    other.m_bIsShared = true;
}

ZRCriticalSectionC::~ZRCriticalSectionC() {
    if (GetLockCount() != 0) {
        Report(&ZRCriticalSectionC::LogError,
               "ZRCriticalSectionC::~ZRCriticalSectionC(): Critical section being deleted with imbalanced lock count: ",
               *this);
    }
    if (m_hSemaphore) {
        ::CloseHandle(m_hSemaphore);
        m_hSemaphore = nullptr;
    }
}

const char* ZRCriticalSectionC::GetSafeOwnerName() const {
    const char* const name = m_pOwnerName.load(std::memory_order_relaxed);
    return name ? name : "unknown";
}

/// Takes the lock word if it is free; an owner that enters again has it, and only reads. An owner id that another
/// thread is changing is never the caller's. The word is read sequentially consistent, as waiters are counted.
inline bool ZRCriticalSectionC::TryTake(std::uint32_t self) {
    std::int32_t before = m_lSectionLock.load();
    if (before == 0 && m_lSectionLock.compare_exchange_strong(before, 1)) {
        return true;
    }
    return m_dwCurrentOwnerTID.load(std::memory_order_relaxed) == self;
}

inline void ZRCriticalSectionC::Record(const char* locker, unsigned int nTag, std::uint32_t count) {
    m_pOwnerName.store(locker, std::memory_order_relaxed);
    m_nOwnerTag.store(nTag, std::memory_order_relaxed);
    m_nLockCount.store(count, std::memory_order_relaxed);
}

/// What a thread that has the lock word records.
inline ZRErrorT ZRCriticalSectionC::Hold(std::uint32_t self, const char* locker, unsigned int nTag) {
    const std::uint32_t count = GetLockCount();
    if (count == 0) {
        m_dwCurrentOwnerTID.store(self, std::memory_order_relaxed);
    } else if (count == kMostLocks || GetOwnerTID() != self) [[unlikely]] {
        return HoldBesides(locker, nTag);
    }
    Record(locker, nTag, count + 1);
    return ZRErrors::e_General_NoError;
}

inline ZRErrorT ZRCriticalSectionC::EnterCriticalSection(const char* const locker, void* hKillEvent,
                                                         unsigned long dwTimeout, int bLogTimeOut, unsigned int nTag) {
    const std::uint32_t self = gaizior::CurrentThreadId();
    if (TryTake(self)) [[likely]] {
        return Hold(self, locker, nTag);
    }
    const ZRErrorT code = WaitUntilTaken(self, locker, hKillEvent, dwTimeout, bLogTimeOut);
    return code == ZRErrors::e_General_NoError ? Hold(self, locker, nTag) : code;
}

ZRErrorT ZRCriticalSectionC::WaitUntilTaken(std::uint32_t self, const char* locker, void* hKillEvent,
                                            unsigned long dwTimeout, int bLogTimeOut) {
    // Counted before the next look at the lock word, as a leave looks for waiters after it has freed that: one of the
    // two sees the other.
    struct Counted {
        explicit Counted(std::atomic<std::int32_t>& waiters) : count(waiters) {
            ++count;
        }
        Counted(const Counted&) = delete;
        Counted& operator=(const Counted&) = delete;
        ~Counted() {
            --count;
        }
        std::atomic<std::int32_t>& count;
    } const counted(m_nWaiters);

    const std::array<HANDLE, 2> handles = {m_hSemaphore, hKillEvent};
    while (!TryTake(self)) {
        switch (gaizior::WaitForAny(hKillEvent ? 2 : 1, handles.data(), gaizior::ToTimeout(dwTimeout))) {
        case WAIT_OBJECT_0:
            break;
        case WAIT_OBJECT_0 + 1:
            Report(&ZRCriticalSectionC::LogError, kEnter, ", locker: ", locker, ", kill event signalled:");
            return ZRErrors::e_CriticalSection_KillSignalled;
        case WAIT_TIMEOUT:
            if (bLogTimeOut) {
                Report(&ZRCriticalSectionC::LogError, kEnter, ", locker: ", locker,
                       ", timed out waiting to obtain critical section, already owned by thread ID:", GetOwnerTID(),
                       ", owner name: ", GetSafeOwnerName());
            }
            return ZRErrors::e_CriticalSection_TimeOut;
        default: {
            // Tried again without limit, as a decision of this system: a lock that was asked for is not given up.
            const ZRErrorT error = gaizior::LastSystemError();
            Report(&ZRCriticalSectionC::LogError, kEnter, ", locker: ", locker,
                   ", error waiting on m_hSemaphore:", gaizior::CodeText(error));
        }
        }
    }
    return ZRErrors::e_General_NoError;
}

/// A hold that cannot be counted, or is another thread's.
ZRErrorT ZRCriticalSectionC::HoldBesides(const char* locker, unsigned int nTag) {
    const std::uint32_t count = GetLockCount();
    if (count == kMostLocks) {
        Report(&ZRCriticalSectionC::LogError, kEnter, "locker: ", locker,
               ", too many attempts to lock, last locked by: ", GetSafeOwnerName());
        return ZRErrors::e_CriticalSection_TooManyLocks;
    }
    // Only a section that was copied while it was held comes here; it goes on under its first owner's id.
    Report(&ZRCriticalSectionC::LogWarning, kEnter, "locker: ", locker ? locker : "unknown",
           ", additional enter attempted with non-original owner : ", GetSafeOwnerName());
    Record(locker, nTag, count + 1);
    return ZRErrors::e_General_NoError;
}

inline ZRErrorT ZRCriticalSectionC::LeaveCriticalSection(const char* const locker, unsigned int* const pnLockCount,
                                                         unsigned int /*nTag*/) {
    const std::uint32_t self = gaizior::CurrentThreadId();
    if (!pnLockCount || GetOwnerTID() != self || GetLockCount() == 0) [[unlikely]] {
        if (const ZRErrorT code = CheckLeave(self, locker, pnLockCount)) {
            return code;
        }
    }
    const std::uint32_t count = GetLockCount() - 1;
    m_nLockCount.store(count, std::memory_order_relaxed);
    if (pnLockCount) {
        *pnLockCount = count;
    }
    return count == 0 ? Release() : ZRErrors::e_General_NoError;
}

ZRErrorT ZRCriticalSectionC::CheckLeave(std::uint32_t self, const char* locker, const unsigned int* pnLockCount) {
    const auto warn = [this](const char* what) {
        Report(&ZRCriticalSectionC::LogWarning, kLeave, what, GetSafeOwnerName());
    };
    if (!pnLockCount) {
        warn(" - leave attempted with null lock count receiver : ");
    }
    if (GetLockCount() == 0) {
        warn(" - leave attempted with zero lock count : ");
    }
    if (GetOwnerTID() != self) {
        warn(" - leave attempted by non-owner : ");
        return ZRErrors::e_CriticalSection_NonOwnerLeave;
    }
    if (GetLockCount() == 0) {
        Report(&ZRCriticalSectionC::LogError, kLeave, "locker: ", locker,
               ", too many attempts to unlock, last locked by: ", GetSafeOwnerName());
        return ZRErrors::e_CriticalSection_TooManyUnlocks;
    }
    return ZRErrors::e_General_NoError;
}

/// The owner's id goes before the lock word: nobody else can have entered yet. The name stays, as a decision of this
/// system: messages tell who held the section last.
ZRErrorT ZRCriticalSectionC::Release() {
    ZRErrorT result = ZRErrors::e_General_NoError;
    m_dwCurrentOwnerTID.store(0, std::memory_order_relaxed);
    if (m_lSectionLock.exchange(0) != 1) {
        Report(&ZRCriticalSectionC::LogError, kLeave, "failed releasing m_lSectionLock: ");
        result = ZRErrors::e_CriticalSection_SectionLockReleaseFailed;
    }
    const ZRErrorT woken = m_nWaiters.load() != 0 || m_bIsShared.load() ? Wake() : ZRErrors::e_General_NoError;
    return woken != ZRErrors::e_General_NoError ? woken : result;
}

ZRErrorT ZRCriticalSectionC::Wake() {
    if (::ReleaseSemaphore(m_hSemaphore, 1, nullptr) || ::GetLastError() == ERROR_TOO_MANY_POSTS) {
        return ZRErrors::e_General_NoError;
    }
    const ZRErrorT error = gaizior::LastSystemError();
    Report(&ZRCriticalSectionC::LogError, kLeave, "failed releasing m_hSemaphore: ", gaizior::CodeText(error));
    return ZRErrors::e_CriticalSection_LockReleaseFailed;
}

template <class... Pieces>
void ZRCriticalSectionC::Report(void (ZRCriticalSectionC::*log)(std::strstream&), Pieces&&... pieces) {
    const gaizior::ErrorKeeper keeper;
    try {
        std::strstream text;
        text.imbue(std::locale::classic());
        (text << ... << gaizior::OrEmpty(pieces)) << std::ends;
        (this->*log)(text);
    } catch (const std::bad_alloc&) {
        std::array<char, 64> buffer{};
        std::strstream text(buffer.data(), buffer.size(), std::ios_base::out);
        text << kNoMemory << std::ends;
        (this->*log)(text);
    }
}

void ZRCriticalSectionC::LogError(std::strstream& text) {
    Tell(text, 0, ZRErrorMark, "ZRCriticalSectionC::LogError(): ");
}

void ZRCriticalSectionC::LogInfo(std::strstream& text) {
    Tell(text, 2, ZRInfoMark, "ZRCriticalSectionC::LogInfo(): ");
}

void ZRCriticalSectionC::LogWarning(std::strstream& text) {
    Tell(text, 1, ZRWarningMark, "ZRCriticalSectionC::LogWarning(): ");
}

void ZRCriticalSectionC::Tell(std::strstream& text, unsigned level, std::ostream& (*mark)(std::ostream&),
                              const char* caption) {
    const char* const line = text ? text.str() : kNoMemory;
    if (m_bMessageBoxLogging) {
        ::MessageBoxA(nullptr, line, caption, MB_OK | MB_TASKMODAL);
    } else {
        ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
        log << ZRLevel(level) << mark << line << std::endl;
    }
    text.freeze(false);
}

std::ostream& operator<<(std::ostream& stream, ZRCriticalSectionC& section) {
    const std::ios_base::fmtflags flags = stream.flags();
    const char* const owner = section.m_pOwnerName.load();
    stream << "ZRCriticalSectionC = {" << std::hex << "m_dwCurrentOwnerTID = " << section.GetOwnerTID() << ", "
           << std::dec << "m_hSemaphore = " << section.m_hSemaphore << ", m_nLockCount = " << section.GetLockCount()
           << ", m_pOwnerName = " << gaizior::OrEmpty(owner) << ", }";
    stream.flags(flags);
    return stream;
}

ZRLogStreamC& operator<<(ZRLogStreamC& log, ZRCriticalSectionC& section) {
    if (log.GetBuffer().IsValidDebugLevel()) {
        log.GetOstream() << section;
    }
    return log;
}

ZRErrorT ZRCriticalSectionC::ZRCriticalSectionUserC::EnterCriticalSection(const char* const locker, void* hKillEvent,
                                                                          unsigned long dwTimeout) {
    if (!m_pSection) {
        return ZRErrors::e_CriticalSectionUser_InvalidSection;
    }
    const ZRErrorT code = m_pSection->EnterCriticalSection(locker, hKillEvent, dwTimeout, TRUE, kNoTag);
    if (code == ZRErrors::e_General_NoError && m_nFirstLockCount == 0) {
        m_nFirstLockCount = m_pSection->GetLockCount();
    }
    return code;
}

ZRErrorT ZRCriticalSectionC::ZRCriticalSectionUserC::LeaveCriticalSection(const char* const locker) {
    if (!m_pSection) {
        return ZRErrors::e_CriticalSectionUser_InvalidSection;
    }
    unsigned int count = 0;
    return m_pSection->LeaveCriticalSection(locker, &count, kNoTag);
}

/// Enters once to learn whether the section is this thread's, and then leaves it as deep as the first enter found it.
ZRErrorT ZRCriticalSectionC::ZRCriticalSectionUserC::RollbackLockCount() {
    constexpr const char* kFunction = "ZRCriticalSectionC::ZRCriticalSectionUserC::RollbackLockCount(): ";
    if (!m_pSection) {
        return ZRErrors::e_CriticalSectionUser_InvalidSection;
    }
    ZRErrorT code = ZRErrors::e_General_NoError;
    unsigned int count = m_pSection->GetLockCount();
    if (m_nFirstLockCount != 0 && count >= m_nFirstLockCount && count != kMostLocks &&
        m_pSection->GetOwnerTID() == gaizior::CurrentThreadId()) {
        // As a rule it is the caller's: what was entered after the first goes in one step.
        m_pSection->Record(kFunction, kNoTag, m_nFirstLockCount);
    } else {
        code = m_pSection->EnterCriticalSection(kFunction, 0, TRUE, kNoTag);
        if (code == ZRErrors::e_CriticalSection_TimeOut) {
            return ZRErrors::e_General_NoError;
        }
        if (code != ZRErrors::e_General_NoError && m_nFirstLockCount != 0) {
            m_pSection->Report(&ZRCriticalSectionC::LogError, kFunction, "m_nFirstLockCount( ", m_nFirstLockCount,
                               " ) non-zero but we do not have ownership");
            return ZRErrors::e_CriticalSection_RollbackNotOwner;
        }
    }
    count = m_pSection->GetLockCount();
    while (count >= m_nFirstLockCount) {
        code = m_pSection->LeaveCriticalSection(kFunction, &count, kNoTag);
        if (code != ZRErrors::e_General_NoError) {
            m_pSection->Report(&ZRCriticalSectionC::LogError, kFunction, "failed");
            return code;
        }
        if (m_nFirstLockCount == 0) {
            break;
        }
    }
    if (m_nFirstLockCount == 0 && count != 0) {
        m_pSection->Report(&ZRCriticalSectionC::LogError, kFunction,
                           "Critcal Section was not locked but nLockCount is: ", count);
        return ZRErrors::e_General_NoError;
    }
    return code;
}

void** ZRCreateCriticalSection(int showMessageBoxes) {
    void** const cell = new (std::nothrow) void*(nullptr);
    if (cell) {
        ZRInitializeCriticalSectionEx(cell, showMessageBoxes);
    }
    return cell;
}

ZRErrorT ZRInitializeCriticalSectionEx(void** cell, int showMessageBoxes) {
    if (!cell) {
        return ZRErrors::e_Arguments_Bad;
    }
    *cell = gaizior::SectionInCell::Make(showMessageBoxes);
    return *cell ? ZRErrors::e_General_NoError : ZRErrors::e_Memory_AllocationFailed;
}

ZRErrorT ZREnterCriticalSectionEx(void** cell, const char* locker, unsigned int tag, unsigned long timeoutMs) {
    ZRCriticalSectionC* const section = SectionIn(cell);
    return section ? gaizior::SectionInCell::Enter(*section, locker, tag, timeoutMs) : ZRErrors::e_Arguments_Bad;
}

ZRErrorT ZRLeaveCriticalSectionEx(void** cell, const char* locker, unsigned int tag) {
    ZRCriticalSectionC* const section = SectionIn(cell);
    return section ? gaizior::SectionInCell::Leave(*section, locker, tag) : ZRErrors::e_Arguments_Bad;
}

ZRErrorT ZRDeleteCriticalSection(void** cell) {
    if (ZRCriticalSectionC* const section = SectionIn(cell)) {
        delete section;
        *cell = nullptr;
    }
    return ZRErrors::e_General_NoError;
}

ZRErrorT ZRDestroyCriticalSection(void** cell) {
    ZRDeleteCriticalSection(cell);
    delete cell;
    return ZRErrors::e_General_NoError;
}

unsigned int ZRCriticalSectionToString(void** cell, char* buffer, unsigned int size) {
    std::array<char, 64> text{};
    std::strstream stream(text.data(), text.size(), std::ios_base::out);
    stream.imbue(std::locale::classic());
    if (cell) {
        stream << *cell;
    } else {
        stream << "Invalid (NULL pointer).";
    }
    stream << std::ends;
    const auto length = static_cast<unsigned int>(stream.pcount());
    if (buffer) {
        std::copy_n(text.data(), std::min(size, length), buffer);
        std::fill(buffer + std::min(size, length), buffer + size, static_cast<char>(0xFF));
    }
    return length;
}
