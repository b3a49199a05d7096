#include "gaizior/platform/process_account.h"

#include "gaizior/platform/unique_handle.h"

#include <array>

std::string gaizior::AccountOf(DWORD processId) {
    const UniqueHandle process(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    HANDLE opened = nullptr;
    if (!process || !::OpenProcessToken(process.Get(), TOKEN_QUERY, &opened)) {
        return {};
    }
    const UniqueHandle token(opened);
    alignas(TOKEN_USER) std::array<char, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> user{};
    std::array<char, 256> name{}, domain{};
    DWORD size = user.size(), nameSize = name.size(), domainSize = domain.size();
    SID_NAME_USE use{};
    const bool isKnown = ::GetTokenInformation(token.Get(), TokenUser, user.data(), size, &size) &&
                         ::LookupAccountSidA(nullptr, reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid,
                                             name.data(), &nameSize, domain.data(), &domainSize, &use);
    return isKnown ? name.data() : std::string();
}
