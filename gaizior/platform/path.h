#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace gaizior {

/// The path as the system wants it: on both systems paths may separate with backslashes or slashes. Any thread.
std::string ToSystemPath(std::string_view path);

/// The folder that a system path names its file in, with the separator at its end; empty for a bare name. Any thread.
std::string_view FolderOf(std::string_view path);

/// A path with a separator at its end, so that a name can be appended; an empty one stays empty. Any thread.
std::string WithSeparator(std::string_view folder);

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
