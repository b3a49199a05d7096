#include "apps/support/version.h"

namespace apps {

std::string VersionText(std::string_view program, std::string_view loaded, std::string_view built) {
    std::string text = std::string(program).append(" (gaizior) ").append(loaded);
    return loaded == built ? text : text.append(", built with ").append(built);
}

} // namespace apps
