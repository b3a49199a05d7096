#include "apps/support/channel_users.h"

#include "apps/support/text.h"
#include "gaizior/platform/windows_api.h"

#include <algorithm>
#include <array>
#include <ctime>

namespace apps {
namespace {

/// Local time: "02:14", or "2026-11-21 02:14" for another day than today.
std::string MomentText(long long moment) {
    const auto time = static_cast<std::time_t>(moment / 1000);
    const std::time_t now = std::time(nullptr);
    std::array<char, 32> today{}, text{};
    const auto format = [](std::array<char, 32>& to, const char* how, std::time_t when) {
        const std::tm* const local = std::localtime(&when);
        return local ? std::strftime(to.data(), to.size(), how, local) : 0;
    };
    format(today, "%Y-%m-%d ", now);
    format(text, "%Y-%m-%d %H:%M", time);
    const std::string whole = text.data();
    const std::string day = today.data();
    return whole.starts_with(day) ? whole.substr(day.size()) : whole;
}

} // namespace

ZRErrors::ZRErrorT ListUsers(std::vector<ZcUserT>& users) {
    constexpr unsigned kMost = 64;
    users.resize(kMost);
    unsigned found = 0;
    const ZRErrors::ZRErrorT code = ZcListUsers(users.data(), kMost, &found);
    users.resize(std::min(found, kMost));
    return code;
}

std::optional<ZcUserT> FindUser(std::uint16_t id) {
    std::vector<ZcUserT> users;
    ListUsers(users);
    std::optional<ZcUserT> found;
    for (const ZcUserT& user : users) {
        if (user.nID == id && user.nState != kZcUserGone && user.nProcess != ::GetCurrentProcessId()) {
            found = user;
        }
    }
    return found;
}

std::string UserText(const ZcUserT& user) {
    const std::string program = user.szProgram[0] ? Printable(user.szProgram) : "a program";
    const std::string since = user.nSince ? ", since " + MomentText(user.nSince) : "";
    return program + " (process " + std::to_string(user.nProcess) + since + ")";
}

} // namespace apps
