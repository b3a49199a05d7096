#include "apps/bench/scratch_file.h"

#include "gaizior/config/file_utils.h"
#include "gaizior/platform/unique_handle.h"
#include "gaizior/platform/windows_api.h"

#include <array>
#include <charconv>
#include <fstream>
#include <string_view>
#include <system_error>

#undef CopyFile // here the name is the class's own

namespace apps {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kName = "gaizior-bench-"; // behind it the process's ID

bool IsGone(DWORD process) {
    const gaizior::UniqueHandle handle(::OpenProcess(SYNCHRONIZE, FALSE, process));
    return !handle && ::GetLastError() == ERROR_INVALID_PARAMETER;
}

/// Removes what killed processes have left.
void Sweep(const fs::path& folder) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        const char* const end = name.data() + name.size();
        DWORD process = 0;
        if (name.starts_with(kName) && std::from_chars(name.data() + kName.size(), end, process).ec == std::errc() &&
            IsGone(process)) {
            std::error_code notOurs;
            fs::remove_all(entry->path(), notOurs);
        }
    }
}

/// Where the folders for this process's temporary files begin; empty where the system knows no place for them.
fs::path TemporaryStem() {
    std::error_code error;
    const fs::path folder = fs::temp_directory_path(error);
    if (error) {
        return {};
    }
    Sweep(folder);
    return folder / (std::string(kName) + std::to_string(::GetCurrentProcessId()));
}

/// A new folder for this user alone; empty when none can be made.
fs::path MakePrivateFolder(const fs::path& stem) {
    constexpr int kTries = 100; // so many may be left of killed processes with the same ID
    std::error_code error;
    for (int i = 0; i < kTries && !stem.empty(); ++i) {
        fs::path folder = stem.string() + '-' + std::to_string(i);
        if (fs::create_directory(folder, error)) { // what another user has put there is not taken
            fs::permissions(folder, fs::perms::owner_all, error);
            return folder;
        }
    }
    return {};
}

} // namespace

ScratchFile::ScratchFile()
    : m_folder(MakePrivateFolder(TemporaryStem())), m_path(m_folder.empty() ? fs::path() : m_folder / "scratch") {}

ScratchFile::ScratchFile(const std::string& target)
    : m_target(target), m_folder(MakePrivateFolder(target + ".tmp-" + std::to_string(::GetCurrentProcessId()))),
      m_path(m_folder.empty() ? fs::path() : m_folder / "scratch") {}

ScratchFile::~ScratchFile() {
    std::error_code none;
    if (!m_folder.empty()) {
        fs::remove_all(m_folder, none);
    }
}

bool ScratchFile::Write(const std::string& contents) const {
    std::ofstream file(m_path, std::ios::binary);
    file << contents;
    file.close();
    return !file.fail();
}

bool ScratchFile::Save() const {
    return ZRFileUtilsC::CopyFile(Path().c_str(), m_target.c_str(), 0) != 0;
}

bool ReadFile(const std::string& path, std::string& contents) {
    std::ifstream file(path, std::ios::binary);
    std::array<char, 65536> piece{};
    contents.clear();
    while (file.read(piece.data(), piece.size()) || file.gcount() > 0) {
        contents.append(piece.data(), static_cast<std::size_t>(file.gcount()));
    }
    return file.eof() && !file.bad();
}

} // namespace apps
