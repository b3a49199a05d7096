#pragma once

#include <filesystem>
#include <string>

namespace apps {

/// A file of bench's own beside another one, which it may take the place of; removed at the end.
class ScratchFile {
public:
    enum class Access { kDefault, kUserAlone };

    explicit ScratchFile(const std::string& path, Access access = Access::kDefault);
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
    std::filesystem::path m_path;
};

/// Reads a whole file as it is. @returns whether that succeeded.
bool ReadFile(const std::string& path, std::string& contents);

} // namespace apps
