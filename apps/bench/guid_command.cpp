#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "gaizior/values/guid.h"

#include <cstdio>
#include <sstream>

namespace apps {
namespace {

void Print(const std::string& guid, bool json) {
    std::printf("%s\n", json ? JsonObject().Text("guid", guid).Json().c_str() : guid.c_str());
}

std::string TextOf(const GuidC& guid) {
    std::ostringstream text;
    text << guid;
    return text.str();
}

} // namespace

Outcome NewGuidCommand(const NewGuidOptions& options) {
    GuidC guid;
    if (const ZRErrors::ZRErrorT error = guid.CreateGUID(); error != ZRErrors::e_General_NoError) {
        return Fail("NewGuidCommand(): ", error, Exit::kFailed, "the system makes no GUID: " + ErrorText(error));
    }
    Print(TextOf(guid), options.json);
    return std::nullopt;
}

Outcome CheckGuidCommand(const CheckGuidOptions& options) {
    GuidC guid;
    if (const ZRErrors::ZRErrorT error = guid.FromString(options.text.c_str()); error != ZRErrors::e_General_NoError) {
        return Fail("CheckGuidCommand(): ", error, Exit::kFailed,
                    "'" + options.text + "' is no GUID: it needs 8, 4, 4, 4 and 12 hexadecimal digits between hyphens");
    }
    Print(TextOf(guid), options.json);
    return std::nullopt;
}

} // namespace apps
