#pragma once

#include "gaizior/platform/linux/profile/profile.h"

#include <memory>

namespace gaizior::platform {

constexpr std::size_t kLargestProfile = 4 << 20; // bytes

/// What the file says now. The last files that were read are remembered, each until it changes. Any thread.
/// @returns null, with the last error, when it cannot be read.
std::shared_ptr<const Profile> ReadProfile(const char* path);

/// Forgets all files.
void ForgetProfiles();

} // namespace gaizior::platform
