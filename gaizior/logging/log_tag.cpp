#include "gaizior/logging/log_tag.h"

#include "gaizior/platform/threads.h"

#include <charconv>
#include <iterator>

namespace gaizior {
namespace {

void AppendNumber(std::string& line, DWORD value, std::size_t width, int base = 10) {
    char digits[12];
    const std::size_t length = static_cast<std::size_t>(
        std::to_chars(std::begin(digits), std::end(digits), value, base).ptr - std::begin(digits));
    line.append(length < width ? width - length : 0, '0').append(digits, length);
}

} // namespace

void AppendTimeStamp(std::string& line, const SYSTEMTIME& time) {
    AppendNumber(line, time.wHour, 2);
    AppendNumber(line += ':', time.wMinute, 2);
    AppendNumber(line += ':', time.wSecond, 2);
    AppendNumber(line += '.', time.wMilliseconds, 3);
    line += ' ';
}

void AppendDateStamp(std::string& line, const SYSTEMTIME& time) {
    AppendNumber(line += ' ', time.wDay, 2);
    AppendNumber(line += '\\', time.wMonth, 2);
    AppendNumber(line += '\\', time.wYear, 4);
    line += ' ';
}

void AppendTag(std::string& line, unsigned level, const SYSTEMTIME& time, bool withDate) {
    AppendTimeStamp(line, time);
    if (withDate) {
        AppendDateStamp(line, time);
    }
    AppendNumber(line, level, 3);
    AppendNumber(line += " 0x", CurrentThreadId(), 4, 16);
    AppendNumber(line += " 0x", static_cast<DWORD>(CurrentThreadPriority()), 2, 16);
    line += ' ';
}

} // namespace gaizior
