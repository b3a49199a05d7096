#pragma once

#include "gaizior/platform/linux/names/name_file.h"
#include "gaizior/platform/linux/names/sync_file.h"
#include "gaizior/platform/linux/objects/object.h"

#include <memory>

/// What processes share under a name, and the handles that lead there.
namespace gaizior::platform {

/// How long another process may take to make, remove or look at a name.
inline constexpr DWORD kLongestPassing = 5000; // ms

/// A named event, mutex or section, or an unnamed section, as this process holds it: all its handles share one.
class NamedObject {
public:
    /// What becomes of a name that nobody uses.
    struct Beginning {
        std::size_t size;   ///< of its file
        std::uint64_t bits; ///< kManual, kSignalled; a mutex without this one belongs to the calling thread
    };

    /// Opens the object of that name, or begins it unless `beginning` is null. `existed` tells whether somebody used
    /// the name already. Waits for another process that is about to make, remove or look at it, but not for ever.
    /// @returns null with the last error set: ERROR_INVALID_HANDLE where the name is another kind's, ERROR_BUSY where
    ///          that process did not go on, ERROR_FILE_NOT_FOUND, or what opening and making a file can give.
    static std::shared_ptr<NamedObject> Open(Kind kind, const char* name, const Beginning* beginning, bool& existed,
                                             DWORD longestPassing = kLongestPassing);

    explicit NamedObject(NameFile file) : m_file(std::move(file)) {}
    NamedObject(const NamedObject&) = delete;
    NamedObject& operator=(const NamedObject&) = delete;
    ~NamedObject();

    int File() const {
        return m_file.Descriptor();
    }
    void GiveUpName() {
        m_file.GiveUp();
    }
    SharedEvent& Event() const {
        return m_pSync->event;
    }
    RobustMutex& Mutex() const {
        return m_pSync->mutex;
    }

    // Of an event or a mutex; see there.
    std::uint32_t Turn() const {
        return Event().Turn();
    }
    Take TryTake(Kind kind, std::uint32_t turn);
    /// @returns 0 or a Windows error number.
    DWORD ReleaseMutex();
    FutexWord PrepareSleep(Kind kind, std::uint32_t turn) const;
    void RemindOfSleepers(Kind kind) const;
    void PassWakeOn(Kind kind) const;

    // While the process forks. `self` keeps others from closing the object in between.
    void PrepareFork(std::shared_ptr<NamedObject> self);
    void ContinueInParent();
    void ContinueInChild();

private:
    /// One try; `standing` tells how it ended.
    static std::shared_ptr<NamedObject> TryOpen(Kind kind, const std::string& path, const Beginning* beginning,
                                                Standing& standing);
    bool Begin(Kind kind, const Beginning& beginning);
    bool Adopt(Kind kind);
    bool Map();
    Take TakeMutex();

    NameFile m_file;
    SyncFile* m_pSync = nullptr; ///< null for a section
    std::shared_ptr<NamedObject> m_pForking;
    std::atomic<int> m_nAcquired{0}; ///< how often threads of this process hold the mutex
};

// What a section's handle allows; in its word, above the kind.
inline constexpr std::uint64_t kMayRead = 1u << 16;
inline constexpr std::uint64_t kMayWrite = 1u << 17;
inline constexpr std::uint64_t kMayAll = kMayRead | kMayWrite;
static_assert(kMayRead >> kKindShift > 0xFF);

/// The named object that an open handle of that kind leads to. @returns null with ERROR_INVALID_HANDLE for any other,
/// ERROR_ACCESS_DENIED for one that does not allow what is wanted.
std::shared_ptr<NamedObject> NamedOf(HANDLE handle, Kind kind, std::uint64_t wanted = 0);
/// A handle for a named object; null with the last error set, as always when `named` is null. Nothing else sets it.
HANDLE NewNamedHandle(Kind kind, std::shared_ptr<NamedObject> named, std::uint64_t allowed = 0);
/// A handle for a new or existing named object; sets the last error to 0 or ERROR_ALREADY_EXISTS.
HANDLE CreateNamedHandle(Kind kind, const char* name, const NamedObject::Beginning& beginning,
                         std::uint64_t allowed = 0);
/// The same for an event or a mutex.
HANDLE CreateSyncHandle(Kind kind, const char* name, std::uint64_t bits);
/// A handle for an existing named object; leaves the last error alone. Null with the last error set.
HANDLE OpenNamedHandle(Kind kind, const char* name, std::uint64_t allowed = 0, DWORD longestPassing = kLongestPassing);

} // namespace gaizior::platform
