#pragma once

/// @file
/// Small configuration files of labels with numbers.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"

#include <memory>
#include <string>

/// Reads and rewrites a file in which a label, the token, is followed by numbers. The file is kept in memory from
/// OpenFileName to CloseFile, which writes it back where asked to. There are no comments, quotes or sections: whatever
/// is not looked for is carried along, and an unchanged file is saved with the bytes that it had.
///
/// A token is any text. It is found at its first occurrence, in upper and lower case as written, also inside of a
/// longer word and not beyond a NUL. The numbers behind it stand apart by blanks, tabs and line ends; they have a sign,
/// digits with a point, and an exponent, as far as they need them. Nothing else is a number, hexadecimal digits, "inf"
/// and "nan" included, and a sign of equality or a comma ends the reading. The process's locale has no say.
///
/// Failures are logged and returned, and put nothing on the error stack. A copy shares what was read and opened, and is
/// independent from then on. One thread at a time uses an object.
class GAIZIOR_API ZRReadCfgC {
public:
    /// Nothing is open.
    ZRReadCfgC();
    /// A copy has what the other one has read and opened.
    /// @{
    ZRReadCfgC(const ZRReadCfgC& other);
    ZRReadCfgC& operator=(const ZRReadCfgC& other);
    /// @}
    /// Forgets the file without writing it back.
    virtual ~ZRReadCfgC();

    /// Loads a file. One that was open is forgotten, without being written back; the places at which reading and
    /// writing go on stay, a decision of this system.
    /// @param fileName the file; copied.
    /// @returns 0; else the object is as it was: 1001 e_File_OpenFailed, also for a folder, 2056 e_File_ReadFailed,
    ///   also for more than 1 GiB, 2001 without memory.
    ZRErrors::ZRErrorT OpenFileName(const char* fileName);

    /// Reads the numbers behind a token.
    /// @param token the text to be found; the caller's.
    /// @param values receives the numbers; those before one that cannot be read are stored, that one is left alone.
    /// @param count how many of them.
    /// @param continueSearch 0 looks from the beginning of the file on. Any other value looks behind what was read
    ///   last, so that tokens are read in the order in which they stand, and the same token several times.
    /// @returns 0; 2007 e_File_EndOfFile where there is no token, without a log line; 2056 e_File_ReadFailed when
    ///   something else than a number follows, or the end; then reading goes on behind the token. 1001
    ///   e_File_OpenFailed when nothing is open, 2006 e_Arguments_Bad for a null, 2001 without memory.
    ZRErrors::ZRErrorT ReadToken(const char* token, double* const values, unsigned int count, int continueSearch);

    /// Writes a line, the token and its numbers with six digits each, in the place of the one that has the token, or
    /// behind everything else. The line is put over the old one from the token on: where it is as long, the rest of the
    /// file follows unchanged; where it is shorter, an empty line is left behind it; where it is longer, what it covers
    /// of the next lines is lost, up to a line end. That is a decision of this system.
    /// @param token the text to be found; the caller's.
    /// @param values the numbers.
    /// @param count how many of them.
    /// @param continueSearch 0 looks from the beginning of the file on, any other value behind what was written last.
    /// @returns 0; 1001 e_File_OpenFailed when nothing is open, 2006 e_Arguments_Bad for a null or a number that is not
    ///   finite, 2001 without memory.
    ZRErrors::ZRErrorT WriteToken(const char* token, const double* const values, unsigned int count,
                                  int continueSearch);

    /// Forgets the file, in any case.
    /// @param writeBack other than 0: it is saved first, up to a NUL, with the line ends that it had (where it had
    ///   none, the system's). The old file or the new one is there, whole, whatever fails.
    /// @returns 0, also when nothing is open, which is logged; 1001 e_File_OpenFailed when no file can be made, or the
    ///   old one not be changed; 2055 e_File_WriteFailed; 2001 without memory.
    ZRErrors::ZRErrorT CloseFile(int writeBack);

private:
    ZRErrors::ZRErrorT _ReadToken(const char* token, double* const values, unsigned int count, int continueSearch);
    ZRErrors::ZRErrorT _WriteToken(const char* token, const double* const values, unsigned int count,
                                   int continueSearch);
    const char* Find(const char* token, unsigned int position) const;
    void SetContents(std::string contents);
    ZRErrors::ZRErrorT Save() const;

    std::shared_ptr<const std::string> m_pContents; ///< its lines end with line feeds; null when nothing is open
    std::shared_ptr<const std::string> m_pFileName;
    unsigned int m_nReadPosition = 0;  ///< where a continued read looks; may lie beyond the contents
    unsigned int m_nWritePosition = 0; ///< the same for a write
    unsigned int m_nLength = 0;        ///< of the contents, a NUL behind them included
    bool m_bWindowsLineEnds = false;   ///< what the line feeds stand for in the file
};
