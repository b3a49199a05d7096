#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace benchmarks {

/// A folder for files on disk, removed with all that is in it.
class ScratchFolder {
public:
    ScratchFolder() : m_path((std::filesystem::temp_directory_path() / "gaizior-benchmark-XXXXXX").string()) {
        if (!::mkdtemp(m_path.data())) {
            throw std::system_error(errno, std::generic_category(), m_path);
        }
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    const std::string& Path() const {
        return m_path;
    }

private:
    std::string m_path;
};

} // namespace benchmarks
