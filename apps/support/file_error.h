#pragma once

#include "gaizior/errors/error_codes.h"

#include <string>

namespace apps {

/// The text of a system's error about a file, whose path stands where the system's text has "%1".
std::string FileErrorText(ZRErrors::ZRErrorT code, const std::string& path);

} // namespace apps
