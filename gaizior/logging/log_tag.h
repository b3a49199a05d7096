#pragma once

#include "gaizior/platform/windows_api.h"

#include <string>

/// What stands before the text of a line in a log file. Any thread may call any of it.
namespace gaizior {

/// "09:05:03.042 ".
void AppendTimeStamp(std::string& line, const SYSTEMTIME& time);
/// " 07\01\2004 ": day, month, year.
void AppendDateStamp(std::string& line, const SYSTEMTIME& time);
/// "09:05:03.042 000 0x0a1c 0x00 ": the time, behind it the date where it is wanted; the level; the calling thread and
/// its priority, whose negative values are those of 32 bits.
void AppendTag(std::string& line, unsigned level, const SYSTEMTIME& time, bool withDate);

} // namespace gaizior
