// The XML form of a message.

#include "gaizior/comms/message.h"

#include <cstdint>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream stream(std::string(reinterpret_cast<const char*>(data), size));
    ZRCommMsgC message;
    while (stream >> message) {
        std::ostringstream written;
        written << message;
    }
    return 0;
}
