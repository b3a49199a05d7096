#include "gaizior/platform/error_keeper.h"
#include "gaizior/platform/linux/names/named_object.h"
#include "gaizior/platform/linux/system/suspension.h"
#include "gaizior/platform/names.h"
#include "gaizior/platform/no_throw.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include <dirent.h>
#include <sys/stat.h>

namespace gaizior {
namespace {

using namespace platform;

/// Whether those who used it, or its maker, who writes the magic last, may have died over this file.
bool IsLeftOverEvent(int file) {
    SyncHeader header{};
    if (ReadHeader(file, header)) {
        return header.kind == static_cast<std::uint32_t>(Kind::NamedEvent);
    }
    struct stat status {};
    const bool hasSize = ::fstat(file, &status) == 0 && (status.st_size == 0 || status.st_size == sizeof(SyncFile));
    return hasSize && header.magic[0] == 0;
}

bool IsNumber(std::string_view text) {
    constexpr std::size_t kMostDigits = 5;
    return !text.empty() && text.size() <= kMostDigits &&
           std::ranges::all_of(text, [](char digit) { return digit >= '0' && digit <= '9'; });
}

struct CloseFolder {
    void operator()(DIR* folder) const {
        ::closedir(folder);
    }
};

void Sweep(std::string_view prefix) {
    const std::string path = FolderOfNames();
    UniqueFd file(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, CloseFolder> folder(file ? ::fdopendir(file.Get()) : nullptr);
    if (!folder) {
        return;
    }
    file.Release(); // the folder's now
    while (const dirent* const entry = ::readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        if (name.starts_with(prefix) && IsNumber(name.substr(prefix.size()))) {
            RemoveLeftOver(path + "/" + entry->d_name, &IsLeftOverEvent);
        }
    }
}

} // namespace

HANDLE TryOpenEvent(const char* name) {
    return OpenNamedHandle(Kind::NamedEvent, name, 0, 0);
}

void RemoveUnusedEvents(const char* prefix) {
    const ErrorKeeper keeper;
    const InsideLayer inside; // a thread that is suspended at a door would keep others out
    NoThrow([&] {
        Sweep(prefix);
        return true;
    });
}

} // namespace gaizior
