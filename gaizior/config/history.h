#pragma once

/// @file
/// A log of events that never grows beyond a number of lines.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"
#include "gaizior/threads/critical_section.h"
#include "gaizior/values/string.h"

#include <cstddef>
#include <fstream>
#include <memory>
#include <string>

/// A text file of events, one line each, of which only the newest are kept: an application derives its own history from
/// this and decides what a line says. The file begins with four header lines, then come the data lines, oldest first:
///
///     0x00000001
///     First created: (mm/dd/yyyy): 11/22/2026 08:15:00
///     date	time	plate	result
///
///     11/22/2026	08:16:31	A1 cyan	exposed
///
/// A line is a data line by its look: its third character is '/', and it is not the file's first. When lines are cut
/// off at the front, header and data lines of one or two characters lose these, a decision of this system.
///
/// The file is opened and closed for each operation. What cuts lines off replaces it as a whole: whoever is killed, and
/// whatever fails, all lines are there or all but the oldest, and nothing is left beside it; only a killed process may
/// leave a temporary file. Several objects and processes may log to one file. Any thread may call what is here;
/// failures are logged and returned, and put nothing on the error stack.
class GAIZIOR_API ZRHistoryC {
public:
    class HistoryEnumeratorC;

    /// A history without a file.
    ZRHistoryC();
    /// A history of the same file and limit, with a lock of its own; the other must not be created meanwhile.
    ZRHistoryC(const ZRHistoryC& other);
    ZRHistoryC& operator=(const ZRHistoryC&) = delete;
    virtual ~ZRHistoryC();

    /// @returns what reads the data lines that the file has now; one without memory says so (2001).
    HistoryEnumeratorC GetEnumerator();

protected:
    /// Names the file and makes it where there is none. One that exists stays as it is, its column headings too. Once a
    /// file is named, with or without success, this does nothing.
    /// @param path the file; copied.
    /// @param columnHeadings behind date and time in the header, apart by tabs; null for none.
    /// @param maxLines how many data lines are kept; with 0 a line goes as soon as it has come.
    /// @returns 0; 1001 e_File_OpenFailed and 2055 e_File_WriteFailed when the file cannot be made, 2001 without
    ///   memory; what the lock returns.
    virtual ZRErrors::ZRErrorT Create(const char* path, const char* columnHeadings, unsigned int maxLines);

    /// Appends a data line, of the local date and time, and cuts the oldest ones beyond the limit off. That these could
    /// not be cut off, 60 s of waiting for other processes included, is logged and no failure of this.
    /// @param text what the line says. It is stored as it is: a line feed begins a line of its own. Null is empty.
    /// @returns 0; 1000 e_File_InvalidName before Create, 1001 e_File_OpenFailed, 2055 e_File_WriteFailed (then nothing
    ///   of the line is in the file), 2001 without memory (the same); what the lock returns.
    ZRErrors::ZRErrorT LogIt(const char* text);

    /// @returns the file's path, which stays; empty before Create, or when the lock fails. The object's.
    const char* GetFilePath();

private:
    class TextStream;

    ZRErrors::ZRErrorT TruncateLog();
    unsigned int CountDataLines(std::string& contents);
    ZRErrors::ZRErrorT CopyNewest(std::string& contents, unsigned int count, std::fstream& out);
    ZRErrors::ZRErrorT KeepNewest(std::string& contents, unsigned int count);

    /// Begins a scan anew.
    ZRErrors::ZRErrorT SeekToData();
    /// Moves to the beginning of the next data line.
    ZRErrors::ZRErrorT SeekToData(std::fstream& in);
    /// The same; with `copy` what is passed goes to `out`.
    ZRErrors::ZRErrorT SeekToData(std::fstream& in, std::fstream& out, int copy);
    /// @param in where to read.
    /// @param out takes what is passed.
    /// @param state how many characters of the present line have been looked at, 0 to 3.
    /// @param copy 0: `out` is left alone.
    /// @returns 0 at a data line; 2007 e_File_EndOfFile at the end, 2056 e_File_ReadFailed, 2055 e_File_WriteFailed.
    static ZRErrors::ZRErrorT SeekToData(std::fstream& in, std::fstream& out, unsigned int& state, int copy);

    ZRCString m_strFilePath;
    unsigned int m_nScanState = 0;
    unsigned int m_nMaxLines = 0;
    ZRCriticalSectionC m_CS; ///< held by all that uses the scan state, and while the file is changed
};

/// Reads the data lines that a history's file had when this was made, oldest first; the file is not kept open. A copy
/// goes on by itself from where the original stands. One thread at a time uses an object.
class GAIZIOR_API ZRHistoryC::HistoryEnumeratorC {
public:
    /// A copy stands where the other one does.
    /// @{
    HistoryEnumeratorC(const HistoryEnumeratorC& other);
    HistoryEnumeratorC& operator=(const HistoryEnumeratorC& other);
    /// @}
    virtual ~HistoryEnumeratorC();

    /// Reads the next data line.
    /// @param line receives it, without its line end; emptied where there is none.
    /// @returns 0; 2007 e_File_EndOfFile behind the last line, or when the file could not be opened, which was logged;
    ///   2056 e_File_ReadFailed when it could not be read, and 2001 when memory did not suffice for that, once; 2001
    ///   without memory for the line, which can be read again.
    virtual ZRErrors::ZRErrorT NextElement(ZRCString& line);

protected:
    friend class ZRHistoryC;

    /// Reads the file; without it the enumerator stands at its end.
    explicit HistoryEnumeratorC(const char* path);
    /// Makes the enumerator stand at its end.
    virtual void SetEnded();

private:
    ZRErrors::ZRErrorT ReadLine(ZRCString& line);

    std::shared_ptr<std::string> m_pContents; ///< shared by copies, and not changed; null at the end
    std::size_t m_nPosition = 0;
    ZRErrors::ZRErrorT m_nError; ///< what is to be told at the end, the first time
};
