#pragma once

#include <filesystem>
#include <string>

namespace apps {

/// A file in a new folder that its user alone can reach; removed at the end. What a killed process has left among the
/// temporary files goes when the next one makes its own there.
class ScratchFile {
public:
    /// A file among the temporary ones.
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
    std::filesystem::path m_folder; ///< its own; empty where none could be made
    std::filesystem::path m_path;
};

/// Reads a whole file as it is. @returns whether that succeeded.
bool ReadFile(const std::string& path, std::string& contents);

} // namespace apps
