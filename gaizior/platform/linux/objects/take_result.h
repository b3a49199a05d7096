#pragma once

namespace gaizior::platform {

/// How a try to take an object ended.
enum class Take { No, Taken, Abandoned, Refused };

} // namespace gaizior::platform
