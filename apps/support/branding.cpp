#include "apps/support/branding.h"

#include "apps/support/places.h"
#include "gaizior/config/ini_file.h"

#include <filesystem>

namespace apps {
namespace {

constexpr const char* kManufacturer = "gaizior";
constexpr const char* kSupport = "support@localhost";

} // namespace

std::string BrandingPath() {
    return ProgramPath().replace_filename(ZRIniFileC::OEM_CONFIG_INI_FILE).string();
}

Branding ReadBranding(const std::string& path, const char* product) {
    using Ini = ZRIniFileC;
    Branding branding{kManufacturer, product, kSupport, {}, {}, ZRErrors::e_General_NoError};
    std::error_code none;
    if (!std::filesystem::exists(path, none)) {
        return branding;
    }
    Ini file(path.c_str(), 1);
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
        branding.code = file.Read(section, key, &otherwise, read);
        if (branding.code != ZRErrors::e_General_NoError) {
            break;
        }
        value = static_cast<const char*>(read);
    }
    return branding;
}

} // namespace apps
