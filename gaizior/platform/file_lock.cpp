#include "gaizior/platform/file_lock.h"

#include "gaizior/platform/file_call.h"
#include "gaizior/platform/file_system.h"

namespace gaizior {

bool FileLock::Acquire(const char* path, DWORD milliseconds) {
    Release();
    m_lock = OnPath(path, [&](const std::string& it) { return file_system::Lock(it, milliseconds); });
    return static_cast<bool>(m_lock);
}

void FileLock::Release() {
    if (m_lock) {
        file_system::Unlock(m_lock);
        m_lock = FileHandle();
    }
}

} // namespace gaizior
