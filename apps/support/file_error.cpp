#include "apps/support/file_error.h"

#include "apps/support/failure.h"

namespace apps {

std::string FileErrorText(ZRErrors::ZRErrorT code, const std::string& path) {
    constexpr std::string_view kFile = "%1";
    std::string text = ErrorText(code);
    const std::size_t at = text.find(kFile);
    return at == text.npos ? text : text.replace(at, kFile.size(), path);
}

} // namespace apps
