#pragma once

#include <filesystem>
#include <string>

namespace gaizior::test {

/// A new empty folder of this test's own, removed with all its contents at the end.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    const std::filesystem::path& Path() const {
        return m_path;
    }
    /// The path of a file in it, as text.
    std::string File(const char* name) const {
        return (m_path / name).string();
    }

private:
    std::filesystem::path m_path;
};

/// Sets an environment variable (null: removes it) and puts the old value back at the end.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const char* value);
    ~ScopedVariable();
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    std::string m_name;
    std::string m_before;
    bool m_bWasSet;
};

/// The names of the machine's shared objects, kept apart from every other test's: on Linux a shared-memory folder of
/// its own. Windows has no such thing; test programs that use machine-wide names run one at a time there. What programs
/// leave, and on Linux what they remember, is kept apart too.
struct PrivateNames : ScratchFolder {
    const ScopedVariable variable{"GAIZIOR_SHM_DIR", Path().string().c_str()};
    const ScratchFolder records;
    const ScopedVariable state{"GAIZIOR_STATE_DIR", records.Path().string().c_str()};
    const ScopedVariable registry{"GAIZIOR_REGISTRY_DIR", records.File("registry").c_str()};
};

} // namespace gaizior::test
