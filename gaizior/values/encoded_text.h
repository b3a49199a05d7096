#pragma once

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/windows_api.h"

#include <string>
#include <string_view>

namespace gaizior {

/// The bytes of an encoded file; docs/ini-format.md describes them. @param random what two files differ by.
std::string EncodeText(std::string text, const GUID& key, const GUID& random);

/// Decodes a file in place; `text` becomes the part of it that is the text.
/// @returns 0; 2002 e_Object_BadMagic for a file that is not encoded so; 2123 e_Object_InvalidData for one that is
///   damaged; 9400 e_Guid_Invalid for another key.
ZRErrors::ZRErrorT DecodeText(std::string& file, const GUID& key, std::string_view& text);

} // namespace gaizior
