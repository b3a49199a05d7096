#pragma once

#include "gaizior/platform/export.h"
#include "gaizior/platform/printf_format.h"

#include <cstdarg>
#include <cstdio>

/// @file
/// Text files, narrow or "Unicode": 16-bit little-endian units behind the byte-order mark FF FE, the same on both
/// systems. Between bytes and units the value counts and no locale: byte 0xE9 is unit 0x00E9, and '?' stands for a unit
/// that is no byte. Nothing here logs. Any thread may call any of it; a stream belongs to one at a time.
extern "C" {

/// Opens a text file. Paths may separate with slashes or backslashes; children do not inherit the file. The file is
/// opened once, so that it may be a pipe, which is never Unicode; only a regular file that is opened for nothing but
/// appending is looked into by a second stream.
/// @param path the file; the caller's.
/// @param mode as for fopen: without 'b' Windows writes a narrow file's line feeds as carriage return and line feed,
///        and reads such a pair as a line feed. A Unicode file is read and written as if it held 'b', but Windows may
///        cut a last byte 1A off a file that is opened without 'b' for reading and writing.
/// @param isUnicode mode without 'w': receives 1 when the file begins with FF FE, else 0 (also for the reversed mark);
///        the stream of a Unicode file then stands behind its mark. With 'w': 1 on entry writes the mark. May be null.
/// @returns the stream, the caller's to close; null (errno tells why, `isUnicode` is left alone) when it cannot be
///          opened or the mark cannot be written.
GAIZIOR_API std::FILE* FOpen(const char* path, const char* mode, int* isUnicode);

/// Tells by its first two bytes what a file is; the stream stays where it is.
/// @returns 1 for FF FE, -1 for the reversed mark FE FF, 0 for all else: null, too short, unreadable or without
///          positions.
GAIZIOR_API int FileIsUnicode(std::FILE* file);

/// Reads a line: all up to and including the line feed, n - 1 characters at most. Its last line feed becomes a NUL; a
/// carriage return before it stays, except where the C library takes it away: see FOpen's mode.
/// @param buf receives the line and a NUL; the caller's. Units of a Unicode file become bytes.
/// @param n the size of `buf` in bytes.
/// @param file a stream of FOpen's.
/// @param isUnicode what FOpen has told: 0 reads bytes, else 16-bit units.
/// @returns `buf`; null at the end of the file, on an error, for a null `buf` or `file` and for n = 0.
GAIZIOR_API char* FGets(char* buf, unsigned int n, std::FILE* file, int isUnicode);

/// Writes what C99's printf makes of the arguments; numbers look as the process's C locale has them.
/// @param file a stream of FOpen's.
/// @param size characters that the formatted text may have, its NUL included; one of `size` or more is not written.
/// @param isUnicode 0 writes bytes, and "%%" in the formatted text becomes "%" once more: the text is taken as a format
///        itself. That is a decision of this system. A '%' before anything else stays as it is. Else 16-bit units.
/// @param fmt the format, of which the arguments are the values.
/// @returns the number of bytes or units that the stream took, fewer units than the text has when it did not take all;
///          a negative number when it did not take all bytes, the text is too long or cannot be formatted, memory does
///          not suffice, or `file` or `fmt` is null. The stream keeps what it took until its buffer is full: that a
///          disk is full often shows only in what fflush and fclose return.
GAIZIOR_API int FPrint(std::FILE* file, int isUnicode, unsigned int size, const char* fmt, ...) GAIZIOR_PRINTF(4, 5);
/// The same with the values in a list.
GAIZIOR_API int vFPrint(std::FILE* file, int isUnicode, unsigned int size, const char* fmt, std::va_list arguments)
    GAIZIOR_PRINTF(4, 0);

} // extern "C"
