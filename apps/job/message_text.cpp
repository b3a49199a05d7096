#include "apps/job/message_text.h"

#include "apps/support/failure.h"
#include "apps/support/text.h"

#include <algorithm>
#include <array>

namespace apps {
namespace {

constexpr std::int32_t kNoCommand = 0; // refused as what it is not

bool IsKnown(std::int32_t command) {
    return command >= kStatus && command <= kThreads;
}

std::string Quoted(std::string_view name) {
    return "'" + std::string(name) + "'";
}

/// The value with that before it, or nothing where the text has no such key.
std::string After(const char* before, std::string_view value) {
    return value.empty() ? "" : before + std::string(value);
}

std::string SeparationsText(const Job& job) {
    std::string text;
    for (const Separation& separation : job.separations) {
        text += (text.empty() ? "" : ", ") + separation.name;
        text += separation.copies != 1 ? " x " + std::to_string(separation.copies) : "";
    }
    return text;
}

std::string LoadText(const Message& command) {
    const std::optional<Plate> plate = ReadLoadCommand(command);
    return plate ? "asks to load a plate of " + PlateText(*plate) : "asks to load a plate that is not told rightly";
}

std::string ExposeText(const Message& command) {
    const std::optional<Job> job = ReadExposeCommand(command);
    return "asks to expose " + Quoted(command.qualifier) +
           (job ? " (" + SeparationsText(*job) + ") at " + std::to_string(job->resolution) + " dpi"
                : std::string(", which is not told rightly"));
}

std::string CommandText(const Message& command) {
    switch (command.code) {
    case kStatus:
        return "asks for the state";
    case kLoad:
        return LoadText(command);
    case kExpose:
        return ExposeText(command);
    case kUnload:
        return "asks to unload the plate";
    case kStop:
        return "asks the imager to stop";
    case kThreads:
        return "asks for the threads";
    default:
        return "sends an unknown command, " + std::to_string(command.code);
    }
}

std::string RefusalText(const Message& reply) {
    const auto code = static_cast<ZRErrors::ZRErrorT>(reply.value);
    const std::string command = reply.code == kNoCommand ? "a message" : Quoted(CommandName(reply.code));
    return (code == kJobStopped ? " broke off " : " refused ") + command + ": " +
           (reply.qualifier.empty() ? ErrorText(code) : std::to_string(reply.value) + " " + reply.qualifier);
}

std::string StateText(const Message& reply) {
    const std::optional<Plate> plate = ReadReportedPlate(reply);
    return After(": state ", FindParameter(reply.text, "state")) +
           (plate ? ", plate " + PlateText(*plate) : ", no plate");
}

std::string PartText(const Message& reply) {
    return " reports" + After(" the thread ", FindParameter(reply.text, "thread")) +
           After(" the lock ", FindParameter(reply.text, "lock")) +
           After(", part ", FindParameter(reply.text, "part")) + After(" of ", FindParameter(reply.text, "parts"));
}

std::string SecondsText(const Message& reply) {
    const std::string_view seconds = FindParameter(reply.text, "seconds");
    return seconds.empty() ? "" : After(" in ", seconds) + " s";
}

std::string ReplyText(const Message& reply) {
    if (reply.value != ZRErrors::e_General_NoError) {
        return RefusalText(reply);
    }
    constexpr std::array<const char*, 3> kDone = {" has loaded the plate", " has exposed the job",
                                                  " has unloaded the plate"};
    switch (reply.code) {
    case kStatus:
        return StateText(reply);
    case kStop:
        return " stops";
    case kThreads:
        return PartText(reply);
    default:
        return kDone.at(static_cast<std::size_t>(reply.code - kLoad)) + SecondsText(reply);
    }
}

std::string ProgressText(const Message& progress) {
    const char* const doing = progress.code == kLoad     ? " loads"
                              : progress.code == kExpose ? " exposes"
                              : progress.code == kUnload ? " unloads"
                                                         : " works";
    return doing + (": " + std::to_string(std::clamp(progress.value, 0, 1000) / 10)) + " %" +
           After(", plate ", FindParameter(progress.text, "plate")) +
           After(" of ", FindParameter(progress.text, "plates")) +
           After(", ", FindParameter(progress.text, "separation"));
}

std::string TextOf(const Message& message) {
    const std::string imager = "imager " + std::to_string(message.id);
    if (message.type == kCommand) {
        return (message.id == 0 ? "somebody without ID" : std::to_string(message.id)) + " " + CommandText(message);
    }
    if (message.type == kReply && (IsKnown(message.code) || message.value != ZRErrors::e_General_NoError)) {
        return imager + ReplyText(message);
    }
    return message.type == kProgress && IsKnown(message.code) ? imager + ProgressText(message) : "";
}

} // namespace

std::string MessageText(std::string_view packet) {
    Message message;
    return Decode(packet, message) == ZRErrors::e_General_NoError ? MessageText(message) : "";
}

std::string MessageText(const Message& message) {
    return Printable(TextOf(message));
}

} // namespace apps
