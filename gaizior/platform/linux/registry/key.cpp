#include "gaizior/platform/linux/registry/key.h"

#include "gaizior/platform/linux/objects/object.h"
#include "gaizior/platform/linux/system/last_error.h"

#include <array>
#include <cstdlib>
#include <utility>

#include <pwd.h>
#include <unistd.h>

namespace gaizior::platform {
namespace {

using KeyPointer = std::shared_ptr<const Key>;

constexpr char kMachinesFolder[] = "/var/lib";
constexpr char kOurFolder[] = "/gaizior/registry/";

std::string Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "";
}

/// From the list of users; empty for one who is not in it.
std::string ListedHome() {
    std::array<char, 16384> buffer;
    passwd entry{};
    passwd* found = nullptr;
    return ::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found ? found->pw_dir : "";
}

/// Relative paths in the variables are ignored, as the rules for these folders have it. Empty where none is known.
std::string UsersFolder() {
    if (std::string folder = Variable("XDG_CONFIG_HOME"); folder.starts_with('/')) {
        return folder;
    }
    std::string home = Variable("HOME");
    if (!home.starts_with('/')) {
        home = ListedHome();
    }
    return home.starts_with('/') ? home + "/.config" : "";
}

/// A level's folder, where the environment says at this moment; null with the last error set where none is known.
KeyPointer RootOf(HKEY handle) {
    const bool isUsers = handle == HKEY_CURRENT_USER;
    std::string folder = Variable("GAIZIOR_REGISTRY_DIR");
    if (!folder.empty()) {
        if (!GetFullPath(folder.c_str(), folder)) { // an open key stays where it is
            return nullptr;
        }
        folder += isUsers ? "/user/" : "/machine/";
    } else {
        folder = isUsers ? UsersFolder() : kMachinesFolder;
        if (folder.empty()) {
            return FailNull(ERROR_PATH_NOT_FOUND);
        }
        folder += kOurFolder;
    }
    return std::make_shared<const Key>(Key{.folder = std::move(folder),
                                           .access = KEY_ALL_ACCESS,
                                           .files = isUsers ? FileAccess::Private : FileAccess::Default,
                                           .isRoot = true});
}

bool IsRoot(HKEY handle) {
    return handle == HKEY_CURRENT_USER || handle == HKEY_LOCAL_MACHINE;
}

} // namespace

HKEY NewKeyHandle(Key key) {
    auto pointer = std::make_unique<KeyPointer>(std::make_shared<const Key>(std::move(key)));
    Object* const object = NewObject(Kind::Key, 0);
    if (!object) {
        return nullptr;
    }
    const ObjectLock lock(*object);
    lock->context = pointer.release();
    lock->release = [](void* context) { delete static_cast<KeyPointer*>(context); };
    return static_cast<HKEY>(HandleOf(*object));
}

KeyPointer KeyOf(HKEY handle, REGSAM wanted) {
    if (IsRoot(handle)) {
        return RootOf(handle);
    }
    const ObjectLock lock{Reference(handle)};
    if (!lock || lock.GetKind() != Kind::Key) {
        return FailNull(ERROR_INVALID_HANDLE);
    }
    const KeyPointer& key = *static_cast<const KeyPointer*>(lock->context);
    return (key->access & wanted) == wanted ? key : FailNull(ERROR_ACCESS_DENIED);
}

bool CloseKey(HKEY handle) {
    if (IsRoot(handle)) {
        return true;
    }
    ObjectLock lock{Reference(handle)};
    if (!lock || lock.GetKind() != Kind::Key) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    lock.Clear(kOpen);
    return true;
}

} // namespace gaizior::platform
