#pragma once

#include "gaizior/platform/linux/objects/object.h"
#include "gaizior/platform/linux/system/futex.h"
#include "gaizior/platform/linux/system/unique_fd.h"

#include <memory>
#include <string>

/// What processes share under a name: a file of the shared-memory folder. See docs/platform.md for its life.
namespace gaizior::platform {

enum class Take { No, Taken, Abandoned, Refused };

/// How long a thread sleeps on a named mutex before it looks again: a wake is lost with a process that dies between
/// being woken and taking the mutex.
inline constexpr DWORD kLongestMutexSleep = 100; // ms

/// A named event, mutex or section as this process holds it: all its handles and views share one.
class NamedObject {
public:
    enum class Mode { CreateOrOpen, Open };
    /// Lays out the mapped, zeroed file of a new event or mutex.
    struct SyncFile;

    /// `bits` of a new object: kManual, kSignalled (a mutex without it belongs to the calling thread). `existed` tells
    /// whether somebody held the name already.
    /// @returns null with the last error set.
    static std::shared_ptr<NamedObject> OpenSync(Kind kind, const char* name, Mode mode, std::uint64_t bits,
                                                 bool& existed);
    static std::shared_ptr<NamedObject> OpenSection(const char* name, Mode mode, std::size_t size, bool& existed);

    NamedObject(UniqueFd file, std::string path) : m_file(std::move(file)), m_path(std::move(path)) {}
    NamedObject(const NamedObject&) = delete;
    NamedObject& operator=(const NamedObject&) = delete;
    ~NamedObject();

    int File() const {
        return m_file.Get();
    }
    /// Says that this process does not use the name any more; the last that says so removes the file.
    void GiveUpName();

    /// Opens the file once more while the process forks, with a lock of its own, and gives that to the child: what
    /// parent and child share would be given up by whoever closes first. Without it the child cannot give up the name.
    void PrepareFork(std::shared_ptr<NamedObject> self);
    void ContinueInParent();
    void ContinueInChild();

    /// How often this event has been set; a manual-reset event lets everybody go who began to wait at another count.
    std::uint32_t Turn() const;
    /// @returns whether somebody sleeps: then it is not set before SetAndWakeSleepers.
    [[nodiscard]] bool SetEvent();
    void SetAndWakeSleepers() const;
    void ResetEvent();
    /// @returns 0 or a Windows error number.
    DWORD ReleaseMutex();
    Take TryTake(Kind kind, std::uint32_t turn);

    struct Owner {
        DWORD thread;       ///< 0 for none
        bool hasDied;       ///< and nobody has taken the mutex over yet
        std::int64_t since; ///< milliseconds since 1970; 0 where the file tells no moment that has been
    };
    /// Who has the mutex, at a glance.
    Owner MutexOwner() const;

    /// Announces a sleeper. @returns what to sleep on; its `word` is null when the object can be taken now.
    FutexWord PrepareSleep(Kind kind, std::uint32_t turn);
    /// Has whoever slept beside the caller woken when it gives back what it took: taking a mutex forgets its sleepers.
    void RemindOfSleepers(Kind kind) const;
    /// Passes on a wake that a sleeper got and did not use.
    void PassWakeOn(Kind kind) const;

private:
    static std::shared_ptr<NamedObject> Open(Kind kind, const char* name, Mode mode, std::size_t size,
                                             std::uint64_t bits, bool& existed);
    bool Begin(Kind kind, std::size_t size, std::uint64_t bits);
    bool Adopt(Kind kind);
    bool Map();
    bool LeadsHere() const;
    bool IsSet(std::uint32_t word, std::uint32_t turn) const;
    Take Taken(int result);
    std::atomic<std::uint32_t>& MutexWord() const;

    UniqueFd m_file;
    std::string m_path;
    UniqueFd m_fileForChild;
    std::shared_ptr<NamedObject> m_pForking; ///< itself, so that nobody closes it in between
    pid_t m_nProcess = ::getpid();           ///< who has the right to give the lock up
    SyncFile* m_pSync = nullptr;
    std::atomic<int> m_nAcquired{0}; ///< how often threads of this process hold the mutex
};

/// The named object that an open handle of that kind leads to; null, with the last error set, for any other.
std::shared_ptr<NamedObject> NamedOf(HANDLE handle, Kind kind);
/// A handle for a named object; sets the last error to 0 or ERROR_ALREADY_EXISTS.
HANDLE NewNamedHandle(Kind kind, std::shared_ptr<NamedObject> named, bool existed);
/// A handle for an existing named object; null with the last error set.
HANDLE OpenNamedHandle(Kind kind, const char* name);

} // namespace gaizior::platform
