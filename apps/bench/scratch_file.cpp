#include "apps/bench/scratch_file.h"

#include "gaizior/config/file_utils.h"
#include "gaizior/platform/windows_api.h"

#include <fstream>
#include <sstream>
#include <system_error>

#undef CopyFile // here the name is the class's own

namespace apps {

namespace {

namespace fs = std::filesystem;

/// A new folder for this user alone among the temporary files; empty when none can be made.
fs::path MakePrivateFolder() {
    constexpr int kTries = 100; // so many may be left of killed processes with the same ID
    std::error_code error;
    const std::string stem =
        (fs::temp_directory_path(error) / ("gaizior-bench-" + std::to_string(::GetCurrentProcessId()))).string();
    for (int i = 0; i < kTries; ++i) {
        const fs::path folder = stem + '-' + std::to_string(i);
        if (fs::create_directory(folder, error)) { // what another user has put there is not taken
            fs::permissions(folder, fs::perms::owner_all, error);
            return folder;
        }
    }
    return {};
}

} // namespace

ScratchFile::ScratchFile()
    : m_folder(MakePrivateFolder()), m_path(m_folder.empty() ? fs::path() : m_folder / "scratch") {}

ScratchFile::ScratchFile(const std::string& target)
    : m_target(target), m_path(target + '.' + std::to_string(::GetCurrentProcessId()) + ".tmp") {}

ScratchFile::~ScratchFile() {
    std::error_code none;
    fs::remove(m_path, none);
    if (!m_folder.empty()) {
        fs::remove(m_folder, none);
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
    std::ostringstream text;
    text << file.rdbuf();
    contents = text.str();
    return file.is_open() && !file.bad();
}

} // namespace apps
