#pragma once

#include "gaizior/platform/windows_api.h"

#include <cstddef>

namespace gaizior::test {

/// Writes what a window shows to a file, as PNG.
/// @returns how many colours there are inside `part`, a control of it; 0 when the file cannot be written.
std::size_t WritePicture(HWND window, HWND part, const wchar_t* path);

} // namespace gaizior::test
