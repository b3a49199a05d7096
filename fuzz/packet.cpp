// Packet texts of 8 and 16 bits.

#include "gaizior/comms/packet.h"

#include <cstdlib>
#include <cstring>
#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    // The first two bytes choose the sizes of the buffers; two NULs end a text of either kind.
    const auto stringSize = static_cast<unsigned short>(data[0]);
    const auto qualifierSize = static_cast<unsigned short>(data[1]);
    const std::size_t length = size - 2;
    const std::unique_ptr<unsigned short[]> text(new unsigned short[length / 2 + 2]());
    std::memcpy(text.get(), data + 2, length);
    const std::unique_ptr<char[]> string(new char[stringSize]);
    const std::unique_ptr<char[]> qualifier(new char[qualifierSize]);
    long type = 0;
    long code = 0;
    long value = 0;
    unsigned short id = 0;
    const ZRErrors::ZRErrorT error = ZRExtractMessage(text.get(), &type, &code, &id, &value, string.get(), stringSize,
                                                      qualifier.get(), qualifierSize);
    if (error == ZRErrors::e_General_NoError && (std::memchr(string.get(), 0, stringSize) == nullptr ||
                                                 std::memchr(qualifier.get(), 0, qualifierSize) == nullptr)) {
        std::abort();
    }
    return 0;
}
