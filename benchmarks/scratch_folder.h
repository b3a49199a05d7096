#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace benchmarks {

/// A folder for files, on the disk unless a parent is told; removed with all that is in it.
class ScratchFolder {
public:
    explicit ScratchFolder(const std::filesystem::path& parent = std::filesystem::temp_directory_path())
        : m_path((parent / "gaizior-benchmark-XXXXXX").string()) {
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
