#pragma once

/// @file
/// Measuring time, and dates.
///
/// Whole seconds are counted from the beginning of 1601, as FILETIME counts 100 ns. Conversions know neither locale nor
/// zone, reach as far as the system's own (FILETIME up to 0x7FFFFFFFFFFFFFFF, in the year 30828; SYSTEMTIME up to the
/// end of 30827) and answer with zeros what lies beyond. Any thread may call any function.

#include "gaizior/logging/log_utils.h" // the names of days and months
#include "gaizior/platform/export.h"
#include "gaizior/platform/windows_api.h"

#include <cstdint>
#include <ctime>
#include <ostream>

/// A stamp of the system's high-resolution counter: measures what time has passed, and what is left of a time-out.
///
///     const RealSecondsC start;
///     while (const unsigned long left = start.NextTimeOut(5000)) { ... wait for at most `left` milliseconds ... }
///
/// The counter is monotonic and stands in no relation to the date. Any thread may read a stamp that none changes.
class GAIZIOR_API RealSecondsC {
public:
    /// Stamps the present value of the counter.
    RealSecondsC();
    /// Takes a value that QueryPerformanceCounter gave.
    RealSecondsC(const LARGE_INTEGER& count);

    /// Stamps the present value again.
    void Reset();
    /// @returns the stamp in seconds of the counter.
    double Time() const;
    /// @returns the seconds since the stamp; 0.0 for a stamp in the future.
    double Ago() const;
    /// @returns what is left of a time-out of `ms` milliseconds that began at the stamp: 0 only when it has run out,
    ///   else at least 1 and below 0xFFFFFFFF. An `ms` of 0, and one from 0xFFFFFFFF on, which has no end, comes back
    ///   unchanged.
    unsigned long NextTimeOut(const unsigned long& ms) const;

    /// Writes "TIME (AGO mSec ago)", the time in seconds, as the stream formats real numbers.
    friend GAIZIOR_API std::ostream& operator<<(std::ostream& stream, const RealSecondsC& stamp);

private:
    LARGE_INTEGER m_liCount;
};

/// The local clock in milliseconds. Any thread.
class GAIZIOR_API ZRTimeC {
public:
    /// @returns the milliseconds since the beginning of 1601, in local time: it jumps where the clock or the zone is
    ///   changed.
    static std::int64_t GetTimeMS();
    /// @returns a - b.
    static std::int64_t Difference(std::int64_t a, std::int64_t b);
};

/// Splits a number of seconds; what is shorter than a millisecond is dropped. All are 0 for a number that is negative,
/// none at all, or of more days than `days` can hold.
GAIZIOR_API void Split(double seconds, unsigned int& days, unsigned int& hours, unsigned int& minutes,
                       unsigned int& secs, unsigned int& ms);
/// The same without the days, a decision of this system: whole days are lost, and `hours` stays below 24.
GAIZIOR_API void Split(double seconds, unsigned int& hours, unsigned int& minutes, unsigned int& secs,
                       unsigned int& ms);

/// @returns whether both halves are 0.
GAIZIOR_API bool IsZero(const FILETIME& time);
/// @returns the whole seconds, rounded to the nearest; half a second counts as one.
GAIZIOR_API std::uint64_t ToSeconds(const FILETIME& time);
/// @returns the whole seconds, rounded as above; 0 for what is no date.
GAIZIOR_API std::uint64_t ToSeconds(const SYSTEMTIME& time);
/// @returns the file time; zeros for more seconds than it can hold.
GAIZIOR_API FILETIME ToFileTime(const std::uint64_t& seconds);
/// @returns the date; zeros for seconds beyond the last date.
GAIZIOR_API SYSTEMTIME ToSystemTime(const std::uint64_t& seconds);
/// Takes the fields over as they are, the milliseconds as 0. @returns zeros when one does not fit.
GAIZIOR_API SYSTEMTIME ToSystemTime(const std::tm& time);

/// The present Universal and local time, to the millisecond. They stand beside the system's functions of these names,
/// which fill in a record that they are given.
/// @{
GAIZIOR_API SYSTEMTIME GetSystemTime();
GAIZIOR_API SYSTEMTIME GetLocalTime();
GAIZIOR_API FILETIME GetSystemTimeAsFileTime();
GAIZIOR_API FILETIME GetLocalTimeAsFileTime();
/// @}
/// The same in whole seconds, rounded to the nearest.
/// @{
GAIZIOR_API std::uint64_t GetSystemTimeInSeconds();
GAIZIOR_API std::uint64_t GetLocalTimeInSeconds();
/// @}

/// Writes "Wed Jan 07 09:05:03.042 2004", the same in every locale and whatever the stream's flags are; "???" stands
/// for a day or a month without a name. The stream's fill character is '0' afterwards, a decision of this system.
GAIZIOR_API std::ostream& operator<<(std::ostream& stream, const SYSTEMTIME& time);
/// The same for a file time, or "Invalid File Time" where there is no such date.
GAIZIOR_API std::ostream& operator<<(std::ostream& stream, const FILETIME& time);
