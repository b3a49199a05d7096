// Texts of GUIDs, alone and in a stream.

#include "gaizior/values/guid.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {

void Expect(bool isTrue) {
    if (!isTrue) {
        std::abort();
    }
}

/// What was read is written as the same text, but for braces and in lower case.
void ExpectText(const GuidC& guid, std::string text) {
    std::erase_if(text, [](char character) { return character == '{' || character == '}'; });
    std::ranges::transform(text, text.begin(), [](unsigned char digit) { return std::tolower(digit); });
    std::ostringstream written;
    Expect(guid.ToString(written, false) == ZRErrors::e_General_NoError && written.str() == text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    GuidC guid;
    if (guid.FromString(text.c_str()) == ZRErrors::e_General_NoError) {
        ExpectText(guid, text.c_str());
    }
    std::istringstream stream(text);
    const bool isRead = static_cast<bool>(stream >> guid);
    stream.clear();
    const std::size_t close = text.find('}', text.find('{'));
    const std::size_t end = close == std::string::npos ? size : close + 1;
    Expect(stream.tellg() == static_cast<std::streamoff>(end));
    if (isRead) {
        ExpectText(guid, text.substr(0, end));
    }
    return 0;
}
