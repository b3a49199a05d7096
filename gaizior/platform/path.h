#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace gaizior {

/// The path as the system wants it: on both systems paths may separate with backslashes or slashes. Any thread.
std::string ToSystemPath(std::string_view path);

/// Opens a file as the C library does, under its system path and out of reach of child processes; on Linux it never
/// takes the place of a standard stream that the host has closed. Any thread.
/// @param mode as for fopen; 'b' among its letters keeps line ends as they are.
/// @returns null with errno set when that fails, or when `path` or `mode` is null or empty; else the caller's to close.
std::FILE* OpenFile(const char* path, const char* mode);

} // namespace gaizior
