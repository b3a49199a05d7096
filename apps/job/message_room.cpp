#include "apps/job/message_room.h"

#include "apps/job/message.h"

#include <limits>

namespace apps {
namespace {

bool Fits(Message message) {
    message.id = std::numeric_limits<std::uint16_t>::max(); // the longest
    std::string packet;
    return Encode(message, packet) == ZRErrors::e_General_NoError;
}

} // namespace

bool FitsMessage(const Plate& plate) {
    Message message = MakeLoadCommand(plate);
    message.text += " state=unloading seconds=999.99"; // an answer has these beside what the command has
    return Fits(std::move(message));
}

bool FitsMessage(const Job& job) {
    return Fits(MakeExposeCommand(job));
}

} // namespace apps
