#pragma once

#include "gaizior/platform/windows_api.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <ios>
#include <string>
#include <system_error>

/// A file of this process's own, for readers that want one; it goes with the process.
class ScratchFile {
public:
    explicit ScratchFile(const char* name)
        : m_path((std::filesystem::temp_directory_path() /
                  ("gaizior-fuzz-" + std::to_string(::GetCurrentProcessId()) + '-' + name))
                     .string()) {}
    ~ScratchFile() {
        Remove();
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    /// Makes these bytes its contents. @returns its path.
    const char* With(const std::uint8_t* data, std::size_t size) const {
        Remove(); // file systems flush what is written over
        std::ofstream(m_path, std::ios::binary)
            .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
        return m_path.c_str();
    }

private:
    void Remove() const {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }

    std::string m_path;
};
