#pragma once

#include "gaizior/platform/windows_api.h"
#include "tests/support/scratch.h"

#include <string>

namespace gaizior::test {

/// A registry of this test's own, gone at the end: on Linux in its folder, on Windows below its key of the company's.
struct PrivateRegistry : ScratchFolder {
    PrivateRegistry() = default;
    PrivateRegistry(const PrivateRegistry&) = delete;
    PrivateRegistry& operator=(const PrivateRegistry&) = delete;
    ~PrivateRegistry() {
#ifdef _WIN32
        ::RegDeleteTreeA(HKEY_CURRENT_USER, keyPath.c_str());
        ::RegDeleteTreeA(HKEY_LOCAL_MACHINE, keyPath.c_str());
#endif
    }

    const ScopedVariable variable{"GAIZIOR_REGISTRY_DIR", Path().string().c_str()};
    const std::string product = Path().filename().string(); ///< the first part of the paths of its keys
    const std::string keyPath = "SOFTWARE\\Korvane Designs\\" + product;
};

} // namespace gaizior::test
