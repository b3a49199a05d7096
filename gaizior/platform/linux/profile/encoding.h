#pragma once

#include <string>
#include <string_view>

namespace gaizior::platform {

/// What a settings file is made of, as its first two bytes tell.
enum class ProfileEncoding { Bytes, LittleEndianUnits, BigEndianUnits };

ProfileEncoding EncodingOf(std::string_view file);

/// The text of a file: bytes as they are, 16-bit units as UTF-8, half a pair of units as if it were a character. A mark
/// at the beginning stays. What is encoded again is the same file.
std::string DecodeProfile(std::string file, ProfileEncoding encoding);

/// The file of a text; a byte that is no UTF-8 becomes the unit of its value.
std::string EncodeProfile(std::string text, ProfileEncoding encoding);

} // namespace gaizior::platform
