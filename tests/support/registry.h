#pragma once

#include "gaizior/platform/windows_api.h"
#include "tests/support/scratch.h"

#include <string>

namespace gaizior::test {

/// A registry of this test's own, gone at the end: on Linux in a folder of its own, on Windows below a key of its own
/// in that of the company.
class PrivateRegistry : public ScratchFolder {
public:
    PrivateRegistry() = default;
    ~PrivateRegistry() {
#ifdef _WIN32
        ::RegDeleteTreeA(HKEY_CURRENT_USER, Path().c_str());
        ::RegDeleteTreeA(HKEY_LOCAL_MACHINE, Path().c_str());
#endif
    }
    PrivateRegistry(const PrivateRegistry&) = delete;
    PrivateRegistry& operator=(const PrivateRegistry&) = delete;
    /// The first part of a product's key that is this test's.
    const std::string& Product() const {
        return m_product;
    }
    /// The path of that key under either level.
    std::string Path() const {
        return "SOFTWARE\\Korvane Designs\\" + m_product;
    }
    /// Where its files are on Linux.
    const std::filesystem::path& Folder() const {
        return ScratchFolder::Path();
    }

private:
    const ScopedVariable m_variable{"GAIZIOR_REGISTRY_DIR", Folder().string().c_str()};
    const std::string m_product = Folder().filename().string();
};

} // namespace gaizior::test
