#include "gaizior/platform/linux/system/errno_map.h"
#include "gaizior/platform/linux/system/last_error.h"
#include "gaizior/platform/linux/system/message_texts.h"

#include <algorithm>
#include <string_view>

namespace {

using gaizior::platform::ErrnoMapping;
using gaizior::platform::Fail;
using gaizior::platform::FindMessageText;

static_assert(std::ranges::all_of(gaizior::platform::kErrnoMap,
                                  [](const ErrnoMapping& row) { return !FindMessageText(row.error).empty(); }),
              "every number that an errno value can become has a text");

} // namespace

inline namespace gaizior_windows_api {

DWORD FormatMessageA(DWORD flags, const void* /*source*/, DWORD messageId, DWORD /*language*/, char* buffer, DWORD size,
                     void* /*arguments*/) {
    const bool oneLine = (flags & FORMAT_MESSAGE_MAX_WIDTH_MASK) == FORMAT_MESSAGE_MAX_WIDTH_MASK;
    const bool ignoreInserts = (flags & FORMAT_MESSAGE_IGNORE_INSERTS) != 0;
    const DWORD others = flags & ~(FORMAT_MESSAGE_IGNORE_INSERTS | (oneLine ? FORMAT_MESSAGE_MAX_WIDTH_MASK : 0));
    if (others != FORMAT_MESSAGE_FROM_SYSTEM || !buffer) {
        Fail(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const std::string_view text = FindMessageText(messageId);
    if (text.empty()) {
        Fail(ERROR_MR_MID_NOT_FOUND);
        return 0;
    }
    if (!ignoreInserts && text.find('%') != std::string_view::npos) {
        Fail(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const std::string_view end = oneLine ? " " : "\r\n";
    const std::size_t length = text.size() + end.size();
    if (length >= size) {
        Fail(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    *std::ranges::copy(end, std::ranges::copy(text, buffer).out).out = '\0';
    return static_cast<DWORD>(length);
}

} // namespace gaizior_windows_api
