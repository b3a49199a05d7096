#pragma once

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
};

/// Reads it; a missing file is none, what is wrong with one stands in the log. `program`: what is the product unless
/// the file names one.
Branding ReadBranding(const char* program);

} // namespace apps
