#include "gaizior/logging/log_utils.h"

#include "gaizior/logging/log_tag.h"
#include "gaizior/platform/timing.h"

#include <string>

namespace {

std::ostream& Write(std::ostream& stream, void (*append)(std::string& line, const SYSTEMTIME& time)) {
    std::string stamp;
    append(stamp, gaizior::LocalNow());
    return stream.write(stamp.data(), static_cast<std::streamsize>(stamp.size()));
}

} // namespace

const char* const DayOfWeek[7] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
const char* const MonthOfYear[13] = {"???", "Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

const char* const (&ZRLogUtilsC::DayOfWeek)[7] = ::DayOfWeek;
const char* const (&ZRLogUtilsC::MonthOfYear)[13] = ::MonthOfYear;

std::ostream& ZRLogUtilsC::TimeStamp(std::ostream& stream) {
    return Write(stream, &gaizior::AppendTimeStamp);
}

std::ostream& ZRLogUtilsC::DateStamp(std::ostream& stream) {
    return Write(stream, &gaizior::AppendDateStamp);
}

const char* ZRLogUtilsC::GetDayOfWeek(SYSTEMTIME* const now) {
    const SYSTEMTIME time = gaizior::LocalNow();
    if (now) {
        *now = time;
    }
    return ::DayOfWeek[time.wDayOfWeek];
}
