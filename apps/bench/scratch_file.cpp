#include "apps/bench/scratch_file.h"

#include "gaizior/config/file_utils.h"
#include "gaizior/platform/windows_api.h"

#include <fstream>
#include <sstream>
#include <system_error>

#undef CopyFile // here the name is the class's own

namespace apps {

ScratchFile::ScratchFile(const std::string& path, Access access)
    : m_target(path), m_path(path + '.' + std::to_string(::GetCurrentProcessId()) + ".tmp") {
    std::error_code none;
    std::ofstream empty(m_path);
    if (access == Access::kUserAlone) {
        std::filesystem::permissions(m_path, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
                                     none);
    }
}

ScratchFile::~ScratchFile() {
    std::error_code none;
    std::filesystem::remove(m_path, none);
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
