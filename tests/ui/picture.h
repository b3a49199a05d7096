#pragma once

#include "gaizior/platform/windows_api.h"

namespace gaizior::test {

/// Writes what a window shows to a file, as PNG. @returns how many colours that has.
std::size_t WritePicture(HWND window, const wchar_t* path);

} // namespace gaizior::test
