#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace benchmarks {

/// A folder of its own for the named objects that are made while it is there; it takes with it what is left in it.
class SharedFolder {
public:
    SharedFolder() : m_path("/dev/shm/gaizior-benchmark-XXXXXX") {
        if (!::mkdtemp(m_path.data())) {
            throw std::system_error(errno, std::generic_category(), m_path);
        }
        ::setenv("GAIZIOR_SHM_DIR", m_path.c_str(), 1);
    }
    SharedFolder(const SharedFolder&) = delete;
    SharedFolder& operator=(const SharedFolder&) = delete;
    ~SharedFolder() {
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
