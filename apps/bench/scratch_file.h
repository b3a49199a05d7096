#pragma once

#include <filesystem>
#include <string>

namespace apps {

/// A file of bench's own; removed at the end.
class ScratchFile {
public:
    /// A file that its user alone can reach.
    ScratchFile();
    /// A file beside another one, which it may take the place of.
    explicit ScratchFile(const std::string& target);
    ~ScratchFile();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    std::string Path() const {
        return m_path.string();
    }
    /// Gives it other contents. @returns whether that succeeded.
    bool Write(const std::string& contents) const;
    /// Makes the other file a whole copy of this one, or leaves it as it was. @returns whether that succeeded.
    bool Save() const;

private:
    std::string m_target;
    std::filesystem::path m_folder; ///< its own, if it has one
    std::filesystem::path m_path;
};

/// Reads a whole file as it is. @returns whether that succeeded.
bool ReadFile(const std::string& path, std::string& contents);

} // namespace apps
