#include "apps/bench/message_output.h"

#include "apps/job/message.h"
#include "apps/job/message_text.h"
#include "apps/support/failure.h"

#include <algorithm>

namespace apps {

JsonObject MessageAsJson(unsigned id, std::string_view packet) {
    JsonObject object;
    object.Number("id", id).Text("text", packet).TextOrNull("words", MessageText(packet));
    Message message;
    if (Decode(packet, message) == ZRErrors::e_General_NoError) {
        object.Number("type", message.type).Number("code", message.code).Number("sender", message.id);
        return object.Number("value", message.value).Text("string", message.text).Text("qualifier", message.qualifier);
    }
    object.Null("type").Null("code").Null("sender");
    return object.Null("value").Null("string").Null("qualifier");
}

std::string MessageLine(const std::string& head, std::string_view packet, std::size_t columns) {
    const std::string words = MessageText(packet);
    const std::string front = words.empty() ? head : head + words + "  ";
    const std::string line = Shortened(front + Printable(packet), columns);
    const std::size_t split = words.empty() ? line.size() : std::min(front.size(), line.size());
    const std::string rest = line.substr(split);
    return line.substr(0, split) + (rest.empty() ? "" : Painted(Stream::kOutput, Colour::kFaint, rest));
}

} // namespace apps
