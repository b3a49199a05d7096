// Encoded files: each comes back as it was, and none that was changed does.

#include "gaizior/values/encoded_text.h"

#include <cstdint>
#include <cstdlib>

namespace {

constexpr GUID kKey = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};

void Expect(bool isTrue) {
    if (!isTrue) {
        std::abort();
    }
}

/// Whether it is taken for an encoded file; its text is then a part of it.
bool IsTaken(std::string file) {
    std::string_view text;
    const bool isTaken = gaizior::DecodeText(file, kKey, text) == ZRErrors::e_General_NoError;
    Expect(!isTaken || (text.data() > file.data() && text.data() + text.size() < file.data() + file.size()));
    return isTaken;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    IsTaken(bytes);
    const std::string file = gaizior::EncodeText(bytes, kKey, {});
    std::string decoded = file;
    std::string_view text;
    Expect(gaizior::DecodeText(decoded, kKey, text) == ZRErrors::e_General_NoError && text == bytes);
    IsTaken(file + bytes);
    std::string changed = file;
    for (const char byte : bytes.substr(0, 8)) {
        const std::size_t at = static_cast<unsigned char>(byte) * file.size() / 256;
        changed[at] = static_cast<char>(changed[at] ^ 1);
        Expect(changed == file || !IsTaken(changed));
        Expect(!IsTaken(file.substr(0, at)));
    }
    return 0;
}
