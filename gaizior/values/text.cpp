#include "gaizior/values/text.h"

#include "gaizior/values/ascii.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

namespace gaizior {
namespace {

constexpr std::uint32_t kFirstNotAscii = 128;

/// Converts the units that `unitAt` gives up to a zero, and looks at `limit` at most; see UnitsToAscii.
template <typename UnitAt>
std::optional<std::size_t> ToAscii(char* dst, std::size_t len, std::size_t limit, UnitAt unitAt) {
    std::size_t i = 0;
    for (; i < limit; ++i) {
        const std::uint32_t unit = unitAt(i);
        if (unit >= kFirstNotAscii) {
            return std::nullopt;
        }
        if (i < len) {
            dst[i] = static_cast<char>(unit);
        }
        if (unit == 0) {
            break;
        }
    }
    return i;
}

} // namespace

std::optional<std::size_t> UnitsToAscii(char* dst, std::size_t len, const void* units, std::size_t limit) {
    const auto* bytes = static_cast<const unsigned char*>(units);
    return ToAscii(dst, len, limit, [=](std::size_t i) { return bytes[2 * i] + 256u * bytes[2 * i + 1]; });
}

} // namespace gaizior

using namespace gaizior;

ZRErrors::ZRErrorT TchrToAscii(char* dst, const char* src, unsigned int len) {
    if (!dst || !src) {
        return ZRErrors::e_General_NoError;
    }
    const std::string_view text(src);
    if (std::any_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= kFirstNotAscii; })) {
        return ZRErrors::e_Name_NotAscii;
    }
    const std::size_t copied = text.copy(dst, len);
    std::memset(dst + copied, 0, len - copied);
    return ZRErrors::e_General_NoError;
}

ZRErrors::ZRErrorT WsToAscii(char* dst, const wchar_t* src, unsigned int len) {
    if (!dst || !src) {
        return ZRErrors::e_General_NoError;
    }
    const auto unitAt = [=](std::size_t i) { return static_cast<std::uint32_t>(src[i]); };
    return ToAscii(dst, len, std::numeric_limits<std::size_t>::max(), unitAt) ? ZRErrors::e_General_NoError
                                                                              : ZRErrors::e_Name_NotAscii;
}

const char* UiStrStr(const char* text, const char* pattern) {
    if (!text || !pattern || *text == 0 || *pattern == 0) {
        return nullptr;
    }
    const std::string_view haystack(text);
    const std::string_view needle(pattern);
    const auto found = std::search(haystack.begin(), haystack.end(), needle.begin(), needle.end(),
                                   [](char a, char b) { return ToLowerAscii(a) == ToLowerAscii(b); });
    return found == haystack.end() ? nullptr : text + (found - haystack.begin());
}
