#include "gaizior/platform/mutex_owner.h"

#include "gaizior/platform/linux/names/named_object.h"
#include "gaizior/platform/linux/system/last_error.h"

#include <array>
#include <sstream>

#include <fcntl.h>

namespace gaizior {
namespace {

using platform::NamedObject;

/// The beginning of what the kernel tells of a process or thread; empty when there is none.
std::istringstream Told(DWORD id, const char* what) {
    const platform::UniqueFd file(::open(("/proc/" + std::to_string(id) + "/" + what).c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 1024> text;
    const ssize_t length = ::read(file.Get(), text.data(), text.size());
    return std::istringstream(std::string(text.data(), length > 0 ? static_cast<std::size_t>(length) : 0));
}

/// The process that a thread belongs to; 0 when there is no such thread.
DWORD ProcessOf(DWORD thread) {
    std::istringstream status = Told(thread, "status");
    for (std::string word; status >> word;) {
        DWORD process = 0;
        if (word == "Tgid:" && status >> process) {
            return process;
        }
    }
    return 0;
}

std::string ProgramOf(DWORD process) {
    std::istringstream name = Told(process, "comm");
    std::string program;
    std::getline(name, program);
    return program;
}

} // namespace

bool QueryMutexOwner(HANDLE mutex, MutexOwner& owner) {
    const std::shared_ptr<NamedObject> named = platform::NamedOf(mutex, platform::Kind::NamedMutex);
    if (!named) {
        return false;
    }
    const platform::RobustMutex::Owner ids = named->Mutex().CurrentOwner();
    owner = {};
    owner.isHeld = ids.thread != 0;
    owner.isAbandoned = ids.hasDied;
    if (owner.isHeld) {
        owner.thread = ids.thread;
        owner.process = ProcessOf(ids.thread);
        owner.program = ProgramOf(owner.process);
        owner.since = ids.since;
    }
    return true;
}

} // namespace gaizior
