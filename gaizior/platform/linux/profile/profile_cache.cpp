#include "gaizior/platform/linux/profile/profile_cache.h"

#include "gaizior/platform/files.h"
#include "gaizior/platform/fork.h"
#include "gaizior/platform/linux/profile/encoding.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace gaizior::platform {
namespace {

struct Remembered {
    std::string path;
    FileStatus status;
    std::shared_ptr<const Profile> profile;
};

Mutex g_lock;
const KeepAcrossFork g_keepLock(g_lock);

/// The latest first. Never destroyed: static objects may read settings at the end.
std::array<Remembered, 4>& Files() GAIZIOR_REQUIRES(g_lock) {
    static auto* const s_files = new std::array<Remembered, 4>;
    return *s_files;
}

std::uint64_t Ticks(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

bool IsSame(const FileStatus& left, const FileStatus& right) {
    return left.id == right.id && left.device == right.device && left.size == right.size &&
           Ticks(left.lastChange) == Ticks(right.lastChange);
}

/// Whether a later change will show in the file's time. The clock of a file system goes by ticks of some milliseconds,
/// on some by whole seconds, and two changes in one tick look alike.
bool IsSettled(const FILETIME& lastChange, const FILETIME& now) {
    constexpr std::uint64_t kSecond = 10'000'000, kTick = kSecond / 20;
    const std::uint64_t change = Ticks(lastChange);
    return change + (change % kSecond == 0 ? 2 * kSecond : kTick) < Ticks(now);
}

std::shared_ptr<const Profile> Recall(const char* path, const FileStatus& status) {
    const MutexLock lock(g_lock);
    auto& files = Files();
    const auto found = std::ranges::find_if(files, [&](const Remembered& it) { return it.profile && it.path == path; });
    if (found == files.end() || !IsSame(found->status, status)) {
        return nullptr;
    }
    std::rotate(files.begin(), found, found + 1);
    return files.front().profile;
}

/// The first place is for the latest; what falls out is destroyed when the lock is free.
void Remember(Remembered file) {
    const MutexLock lock(g_lock);
    auto& files = Files();
    auto place = std::ranges::find(files, file.path, &Remembered::path);
    place = place == files.end() ? place - 1 : place;
    std::swap(*place, file);
    std::rotate(files.begin(), place, place + 1);
}

} // namespace

std::shared_ptr<const Profile> ReadProfile(const char* path) {
    FILETIME now{};
    FileStatus status{};
    ::GetSystemTimeAsFileTime(&now);
    if (!QueryFile(path, status)) {
        return nullptr;
    }
    if (std::shared_ptr<const Profile> profile = Recall(path, status)) {
        return profile;
    }
    std::string contents;
    if (!ReadWholeFile(path, contents, kLargestProfile)) {
        return nullptr;
    }
    const ProfileEncoding encoding = EncodingOf(contents);
    auto profile = std::make_shared<const Profile>(DecodeProfile(std::move(contents), encoding));
    if (IsSettled(status.lastChange, now)) {
        Remember({path, status, profile});
    }
    return profile;
}

void ForgetProfiles() {
    std::array<Remembered, 4> forgotten;
    const MutexLock lock(g_lock);
    Files().swap(forgotten);
}

} // namespace gaizior::platform
