#pragma once

/// @file
/// The log file: where the log stream's lines go in an application.

#include "gaizior/logging/log_stream.h"
#include "gaizior/platform/export.h"

#include <ostream>

namespace gaizior {
class LogLine;
} // namespace gaizior

/// The log file of the process. Making one installs it as the log stream's hooks: every line below the debug level is
/// appended to the file behind a tag of time, level, thread and priority, and the file begins with a header.
///
///     ZRLogFileC log("logs/imager.log", true, true, false); // early in main(): logs/imager_Mon.log on a Monday
///     ZRLogFileC::SetDebugLevel(2);
///
/// The file is opened, appended to in one piece and closed for every line, so it may be renamed or deleted at any time.
/// A daily log has a file for each day of the week, next to each other, and changes it at local midnight. A line that
/// cannot be written is dropped, and standard error tells that; whoever logs never notices. Line feeds become the
/// line ends of the system's text files.
///
/// All but the objects belongs to the class: there is one log in a process. Hooks stay installed for good; when an
/// object goes it takes the name with it, and lines are dropped from then on, until another name is set. Any thread may
/// call any static function at any time, an object is made once, before threads log.
class GAIZIOR_API ZRLogFileC {
public:
    /// Installs the hooks and sets the name.
    /// @param name path of the file, which may separate with backslashes or slashes, or the root of a daily log's
    ///   names: "_Mon" is put before the first full stop behind the last separator, "_Mon.txt" at the end where there
    ///   is none. Null: nothing is written until a name is set.
    /// @param autoDelete deletes an older file before the first line; that of a daily log only if it was last written
    ///   on another day. These days are those of Universal time, a decision of this system.
    /// @param daily whether there is a file for each day of the week.
    /// @param teeCerr whether lines are copied to standard error, without their tags.
    ZRLogFileC(const char* const name, bool autoDelete, bool daily, bool teeCerr);
    /// Installs the hooks. Nothing is written until SetName. The header asks this object for its extra line.
    explicit ZRLogFileC(bool teeCerr);
    ZRLogFileC(const char*) = delete; // would be a flag
    ZRLogFileC(const ZRLogFileC&) = delete;
    ZRLogFileC& operator=(const ZRLogFileC&) = delete;
    /// Waits, 60 s at most, until the line that is being written is, and takes the name away. A derived class's object
    /// is asked for no more extra lines only from here on: threads that log end before it.
    virtual ~ZRLogFileC();

    /// Sets the name as the constructor does. A header begins the file unless it is the one that is written already.
    static void SetName(const char* const name, bool autoDelete, bool daily);
    /// The hook for the name: sets `name` and keeps auto-delete and daily as they are; null makes today's name of the
    /// present root.
    static void SetLogName(char* name);
    /// @returns the path of the file, null where there is none. The text is the library's; it stays until a name is set
    ///   or an object goes, and is not changed by midnight.
    static const char* GetLogName();

    /// The debug level, at first 1: lines of lower levels pass. They are the hooks for the level.
    /// @{
    static unsigned GetDebugLevel();
    static void SetDebugLevel(unsigned level);
    /// @}

    /// Whether lines are copied to standard error; what the last constructor was given, at first they are.
    static void SetTeeCerr(bool isOn);
    /// Whether lines begin with a tag; at first they do.
    static void SetTagLog(bool isOn);
    /// Whether tags show the date; at first they do not.
    static void SetTagLogShowDate(bool isOn);

    /// The hook for lines, one at a time for all threads; does nothing while there is no name. Waits for other lines
    /// for 60 s, then standard error tells that the line is dropped. A box that is shown on Windows keeps others
    /// waiting until it is answered; on Linux it does not.
    /// @param level the line's, for its tag.
    /// @param mode the sum of what is to be done: 1 WriteToFile, 2 WriteToImmediate, 4 WriteToSystem, 8 WriteToUser.
    /// @param text the caller's, ends with a line feed; null is none.
    static void DebugOut(unsigned level, int mode, char* text);
    /// Appends one line to the file, behind its tag and, where it is the first, the header.
    static void WriteToFile(unsigned level, char* text);
    /// Shows the text in a message box and waits for the answer. The one for the system is modal, with a stop icon.
    /// @{
    static void WriteToImmediate(unsigned level, char* text);
    static void WriteToUser(unsigned level, char* text);
    static void WriteToSystem(unsigned level, char* text);
    /// @}
    /// Writes the tag that a line of this thread has at this moment, nothing when tags are off; the stream's format
    /// stays and has no say. @returns `stream`.
    static std::ostream& TagLog(std::ostream& stream, unsigned level);

protected:
    /// The extra line of the header; asked on the thread that logs, whose own lines go to standard error meanwhile.
    /// @returns null for none; else a text of the object's.
    virtual const char* GetExtraHeaderInfo();

private:
    friend class gaizior::LogLine;

    ZRLogStreamC m_log;
};
