#include "gaizior/platform/process_account.h"

#include <array>

#include <pwd.h>
#include <sys/stat.h>

std::string gaizior::AccountOf(DWORD processId) {
    struct stat status {};
    if (::stat(("/proc/" + std::to_string(processId)).c_str(), &status) != 0) {
        return {};
    }
    std::array<char, 4096> texts;
    passwd account{};
    passwd* found = nullptr;
    ::getpwuid_r(status.st_uid, &account, texts.data(), texts.size(), &found);
    return found ? found->pw_name : std::to_string(status.st_uid);
}
