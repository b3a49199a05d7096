#pragma once

#include "gaizior/errors/error_codes.h"

#include <string>

namespace apps {

/// How the maker of a machine has named the system and its mail: "oemconfig.ini" beside the programs, which
/// 'bench ini encode' makes. What is not told there is the system's own.
struct Branding {
    std::string manufacturer;
    std::string product;
    std::string recipients; ///< of a mail to the support
    std::string addresses;
    std::string subject;
    ZRErrors::ZRErrorT code; ///< other than 0: the file could not be read
};

/// Reads such a file; a missing one is none, and no failure. `product`: its name unless the
/// file tells another.
Branding ReadBranding(const std::string& path, const char* product);
/// The path of the one beside the running program.
std::string BrandingPath();

} // namespace apps
