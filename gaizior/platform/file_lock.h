#pragma once

#include "gaizior/platform/file_handle.h"
#include "gaizior/platform/windows_api.h"

namespace gaizior {

/// Keeps everybody else who asks for it, in any thread or process, from changing a file that is read and then replaced.
/// The files of one folder share their lock, so it holds for files that do not exist yet, and leaves nothing behind. It
/// ends with its holder's death, on Linux with that of the children too that it has forked meanwhile. Whoever does not
/// ask is not kept away. For local disks.
class FileLock {
public:
    FileLock() = default;
    ~FileLock() {
        Release();
    }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    /// Waits for the lock of the file that `path` leads to. Who has it does not ask for it again, nor for that of
    /// another file: each would wait for itself or for each other.
    /// @param milliseconds how long to wait; INFINITE for ever.
    /// @returns false with 1460 when others kept it all the time, 3 where the folder is missing, 5 where it may not be
    ///          read (on Windows: where another user holds the lock), 8 without memory.
    bool Acquire(const char* path, DWORD milliseconds);
    /// On the thread that took it.
    void Release();

private:
    FileHandle m_lock;
};

} // namespace gaizior
