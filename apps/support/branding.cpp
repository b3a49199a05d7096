#include "apps/support/branding.h"

#include "apps/support/places.h"
#include "gaizior/config/ini_file.h"

#include <filesystem>

namespace apps {
namespace {

constexpr const char* kManufacturer = "gaizior";
constexpr const char* kSupport = "support@localhost";

} // namespace

Branding ReadBranding(const char* program) {
    using Ini = ZRIniFileC;
    Branding branding{kManufacturer, program, kSupport, {}, {}};
    const std::filesystem::path path = ProgramPath().replace_filename(Ini::OEM_CONFIG_INI_FILE);
    std::error_code none;
    if (!std::filesystem::exists(path, none)) {
        return branding;
    }
    Ini file(path.string().c_str(), 1);
    const struct {
        const char *section, *key;
        std::string& value;
    } settings[] = {{Ini::MANUFACTURER, Ini::MANUFACTURER, branding.manufacturer},
                    {Ini::MANUFACTURER, Ini::PRODUCT, branding.product},
                    {Ini::MAIL, Ini::RECIPIENTS, branding.recipients},
                    {Ini::MAIL, Ini::ADDRESSES, branding.addresses},
                    {Ini::MAIL, Ini::SUBJECT, branding.subject}};
    for (const auto& [section, key, value] : settings) {
        const CString otherwise(value.c_str());
        CString read;
        if (file.Read(section, key, &otherwise, read) != ZRErrors::e_General_NoError) {
            break; // damaged: the log tells it
        }
        value = static_cast<const char*>(read);
    }
    return branding;
}

} // namespace apps
