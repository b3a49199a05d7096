#pragma once

/// @file
/// The names of days and months, and the stamps of log lines.

#include "gaizior/platform/export.h"
#include "gaizior/platform/windows_api.h"

#include <ostream>

/// "Sun" to "Sat": the names of the week days 0 to 6.
extern GAIZIOR_API const char* const DayOfWeek[7];
/// "Jan" to "Dec": the names of the months 1 to 12. At 0 stands "???".
extern GAIZIOR_API const char* const MonthOfYear[13];

/// Stamps of the present local time. Any thread may call any of it.
class GAIZIOR_API ZRLogUtilsC {
public:
    /// The tables above, as members.
    /// @{
    static const char* const (&DayOfWeek)[7];
    static const char* const (&MonthOfYear)[13];
    /// @}

    /// Writes "09:05:03.042 ", with the blank at its end; the stream's format stays and has no say. @returns `stream`.
    static std::ostream& TimeStamp(std::ostream& stream);
    /// Writes " 07\01\2004 ", day, month, year, with both blanks; the stream's format stays and has no say.
    /// @returns `stream`.
    static std::ostream& DateStamp(std::ostream& stream);
    /// Tells today's name of DayOfWeek, which is the library's.
    /// @param now receives the local time; may be null.
    static const char* GetDayOfWeek(SYSTEMTIME* const now);
};
