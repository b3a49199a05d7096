#include "tests/support/scratch.h"

#include <cstdlib>
#include <random>
#include <system_error>

namespace gaizior::test {
namespace {

void SetVariable(const char* name, const char* value) {
#ifdef _WIN32
    ::_putenv_s(name, value ? value : "");
#else
    value ? ::setenv(name, value, 1) : ::unsetenv(name);
#endif
}

} // namespace

ScratchFolder::ScratchFolder() {
    std::random_device random;
    do {
        m_path = std::filesystem::temp_directory_path() / ("gaizior-test-" + std::to_string(random()));
    } while (!std::filesystem::create_directory(m_path));
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

ScopedVariable::ScopedVariable(const char* name, const char* value) : m_name(name) {
    const char* before = std::getenv(name);
    m_bWasSet = before != nullptr;
    m_before = before ? before : "";
    SetVariable(name, value);
}

ScopedVariable::~ScopedVariable() {
    SetVariable(m_name.c_str(), m_bWasSet ? m_before.c_str() : nullptr);
}

} // namespace gaizior::test
