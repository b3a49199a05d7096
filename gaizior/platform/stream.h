#pragma once

#include <cstdio>

/// The C library's streams, as both systems have them.
namespace gaizior {

/// Opens a file as the C library does, under its system path and out of reach of child processes; on Linux it never
/// takes the place of a standard stream that the host has closed. Any thread.
/// @param mode as for fopen; 'b' among its letters keeps line ends as they are.
/// @returns null with errno set when that fails, or when `path` or `mode` is null or empty; else the caller's to close.
std::FILE* OpenFile(const char* path, const char* mode);

/// Whether a stream's file is a regular one, and no pipe, device or folder.
bool IsRegularFile(std::FILE* file);

/// Keeps line ends as they are from here on, as if the file had been opened with 'b'. A stream that has been read must
/// be placed anew before it is read again.
void KeepLineEnds(std::FILE* file);

} // namespace gaizior
