#pragma once

#include "gaizior/comms/channel_users.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace apps {

/// All who have the channel open, as ZcListUsers has them, and as it returns.
ZRErrors::ZRErrorT ListUsers(std::vector<ZcUserT>& users);

/// The process other than this one that has the channel open under an ID, the latest if there are several; nothing
/// where there is none or it is not known.
std::optional<ZcUserT> FindUser(std::uint16_t id);

/// "imager (process 4711, since 02:14)", with the date where that is not today's; fit for a terminal.
std::string UserText(const ZcUserT& user);

} // namespace apps
