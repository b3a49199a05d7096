#include "gaizior/logging/log_tag.h"

#include "gaizior/platform/threads.h"

#include <string_view>

namespace gaizior {
namespace {

// Every line pays for its tag: it is put together in place.

constexpr std::size_t kLongestStamp = 32;
constexpr std::size_t kLongestTag = 2 * kLongestStamp + 40;

char* Put(char* to, std::string_view text) {
    return to + text.copy(to, text.size());
}

/// The number with as many zeros before it as make up `width`.
template <DWORD Base>
char* PutNumber(char* to, DWORD value, unsigned width) {
    char digits[10];
    unsigned length = 0;
    for (; value > 0 || length < width; value /= Base) {
        digits[length++] = "0123456789abcdef"[value % Base];
    }
    while (length > 0) {
        *to++ = digits[--length];
    }
    return to;
}

char* PutTimeStamp(char* to, const SYSTEMTIME& time) {
    to = PutNumber<10>(to, time.wHour, 2);
    to = PutNumber<10>(Put(to, ":"), time.wMinute, 2);
    to = PutNumber<10>(Put(to, ":"), time.wSecond, 2);
    to = PutNumber<10>(Put(to, "."), time.wMilliseconds, 3);
    return Put(to, " ");
}

char* PutDateStamp(char* to, const SYSTEMTIME& time) {
    to = PutNumber<10>(Put(to, " "), time.wDay, 2);
    to = PutNumber<10>(Put(to, "\\"), time.wMonth, 2);
    to = PutNumber<10>(Put(to, "\\"), time.wYear, 4);
    return Put(to, " ");
}

} // namespace

void AppendTimeStamp(std::string& line, const SYSTEMTIME& time) {
    char stamp[kLongestStamp];
    line.append(stamp, PutTimeStamp(stamp, time));
}

void AppendDateStamp(std::string& line, const SYSTEMTIME& time) {
    char stamp[kLongestStamp];
    line.append(stamp, PutDateStamp(stamp, time));
}

void AppendTag(std::string& line, unsigned level, const SYSTEMTIME& time, bool withDate) {
    char tag[kLongestTag];
    char* end = PutTimeStamp(tag, time);
    if (withDate) {
        end = PutDateStamp(end, time);
    }
    end = PutNumber<10>(end, level, 3);
    end = PutNumber<16>(Put(end, " 0x"), CurrentThreadId(), 4);
    end = PutNumber<16>(Put(end, " 0x"), static_cast<DWORD>(CurrentThreadPriority()), 2);
    line.append(tag, Put(end, " "));
}

} // namespace gaizior
