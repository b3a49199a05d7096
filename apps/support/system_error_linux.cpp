#include "apps/support/system_error.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>

#include <fcntl.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace apps {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kDeleted = " (deleted)"; // what the kernel tells behind a path that leads there no more

/// Where the platform layer has the files.
fs::path FolderOfObjects(bool& isChosen) {
    const char* const chosen = std::getenv("GAIZIOR_SHM_DIR");
    isChosen = chosen && *chosen;
    std::error_code error;
    const fs::path folder = isChosen ? chosen : "/dev/shm";
    fs::path whole = fs::weakly_canonical(folder, error);
    return error ? folder : whole;
}

/// The user's name, or its number where it has none.
std::string UserName(uid_t user) {
    const passwd* const entry = ::getpwuid(user);
    return entry ? entry->pw_name : std::to_string(user);
}

FolderState StateOf(const fs::path& folder, std::string& owner) {
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0) {
        return errno == EACCES ? FolderState::kForbidden : FolderState::kMissing;
    }
    owner = UserName(status.st_uid);
    if (!S_ISDIR(status.st_mode)) {
        return FolderState::kNoFolder;
    }
    // A folder that can only be read is told by the error itself.
    const bool isForbidden = ::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0 && errno == EACCES;
    return isForbidden ? FolderState::kForbidden : FolderState::kUsable;
}

ObjectFile LookAtFile(const fs::path& path, std::size_t size) {
    ObjectFile file;
    file.path = path.string();
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0) {
        file.owner = status.st_uid == ::geteuid() ? "" : UserName(status.st_uid);
        const auto length = static_cast<std::size_t>(status.st_size);
        file.isStrange = !S_ISREG(status.st_mode) || (length != 0 && length != size);
    }
    return file;
}

std::string ProgramOf(unsigned process) {
    std::string program;
    std::ifstream name("/proc/" + std::to_string(process) + "/comm");
    std::getline(name, program);
    return program;
}

/// Notes a process, which may have a file open more than once, with the file that one of its descriptors leads to.
void Note(std::string_view target, unsigned process, std::vector<ObjectFile>& files) {
    const bool isRemoved = target.ends_with(kDeleted);
    target.remove_suffix(isRemoved ? kDeleted.size() : 0);
    const auto file = std::ranges::find(files, target, &ObjectFile::path);
    if (file == files.end() || (file->isRemoved && !isRemoved)) {
        return;
    }
    if (isRemoved && !file->isRemoved) { // those who use what is there now have nothing to do with it
        file->isRemoved = true;
        file->users.clear();
    }
    if (std::ranges::find(file->users, process, &ObjectUser::process) == file->users.end()) {
        file->users.push_back({process, ProgramOf(process)});
    }
}

void NoteFilesOf(unsigned process, std::vector<ObjectFile>& files) {
    std::error_code error;
    for (fs::directory_iterator entry("/proc/" + std::to_string(process) + "/fd", error);
         !error && entry != fs::directory_iterator(); entry.increment(error)) {
        std::error_code unreadable;
        const std::string target = fs::read_symlink(entry->path(), unreadable).string();
        if (!unreadable) {
            Note(target, process, files);
        }
    }
}

/// Other users' processes show their files to root alone.
void FindUsers(std::vector<ObjectFile>& files) {
    const auto self = static_cast<unsigned>(::getpid());
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        unsigned id = 0;
        const auto [end, bad] = std::from_chars(name.data(), name.data() + name.size(), id);
        if (bad == std::errc() && *end == '\0' && id != self) {
            NoteFilesOf(id, files);
        }
    }
}

} // namespace

ObjectPlace LookAtObjects(const std::vector<ObjectName>& names) {
    ObjectPlace place;
    place.user = UserName(::geteuid());
    const fs::path folder = FolderOfObjects(place.isChosen);
    place.folder = folder.string();
    place.state = StateOf(folder, place.folderOwner);
    rlimit limit{};
    const bool hasLimit = ::getrlimit(RLIMIT_FSIZE, &limit) == 0;
    for (const ObjectName& object : names) {
        place.files.push_back(LookAtFile(folder / object.name, object.size));
        place.isSizeLimited = place.isSizeLimited || (hasLimit && object.size > limit.rlim_cur);
    }
    FindUsers(place.files);
    return place;
}

std::string ContinueCommand(unsigned process) {
    return "kill -CONT " + std::to_string(process);
}

std::string KillCommand(unsigned process) {
    return "kill -9 " + std::to_string(process);
}

} // namespace apps
