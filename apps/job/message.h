#pragma once

#include "apps/job/job.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace apps {

/// What a message is. A command asks; exactly one reply answers it; progress may come in between.
enum MessageType : std::int32_t { kCommand = 1, kReply = 2, kProgress = 3 };

/// What a command asks for; its reply and its progress carry the same code.
enum CommandCode : std::int32_t {
    kStatus = 1,  ///< report the state
    kLoad = 2,    ///< put the plate that is told onto the drum
    kExpose = 3,  ///< expose a job: one plate for each copy of each separation
    kUnload = 4,  ///< take the plate from the drum
    kStop = 5,    ///< end a running operation and the imager
    kThreads = 6, ///< report every thread and lock, each in a reply of its own (thread_report.h)
};

/// Communications IDs when nothing else is asked for; an imager's is its client's plus one.
inline constexpr std::uint16_t kBenchId = 100;
inline constexpr std::uint16_t kServiceId = 110;
/// " --id 201", or nothing for the usual imager: what stands behind a command that is told.
std::string IdWords(std::uint16_t imagerId);
/// The longest message that the channel carries.
inline constexpr std::size_t kMaxMessage = 255;

/// A message between bench and imager, whole and checked. Its text form is a packet.
struct Message {
    std::int32_t type = 0;
    std::int32_t code = 0;
    std::uint16_t id = 0;   ///< the sender's communications ID, to which a reply goes
    std::int32_t value = 0; ///< command: its number; reply: a ZRErrorT; progress: done, in thousandths
    std::string text;       ///< "key=value key=value", never with ';'
    std::string qualifier;  ///< words for people: a job's or a plate's name, the reason of a refusal
};

/// The packet text of a message. @returns 0; e_Buffer_TooSmall or e_Buffer_Overflowed when it has more than 255
/// characters; kInvalidParameter for a text with ';', which would end it early.
ZRErrors::ZRErrorT Encode(const Message& message, std::string& packet);

/// Reads a packet text and stores only what is whole. @returns 0 or kInvalidData: too long, fewer than five
/// separators, or one of the first four fields is no number in its range.
ZRErrors::ZRErrorT Decode(std::string_view packet, Message& message);

/// The ID that stands where a packet names its sender, however damaged the rest is; 0 where none stands there.
std::uint16_t NamedSender(std::string_view packet);

/// The value behind `key` in a text of "key=value" words; empty when it is not there.
std::string_view FindParameter(std::string_view text, std::string_view key);

/// Tells what is known of a plate beside its size: words behind the text, and as qualifier its name and, behind a tab,
/// its calibration.
void AddPlateDetails(Message& message, const Plate& plate);

/// A word for a command's code, "command 17" for one that nobody knows.
std::string CommandName(std::int32_t code);

Message MakeStatusCommand();
Message MakeLoadCommand(const Plate& plate);
Message MakeExposeCommand(const Job& job);
Message MakeUnloadCommand();
Message MakeStopCommand();
/// `request` comes back in every reply, so that those to another request are told apart.
Message MakeThreadsCommand(std::int32_t request);

/// Which plate a load command asks for; nothing when its size is not there, or a word is unknown, damaged or there
/// twice. Whether it is in range says CheckPlate.
std::optional<Plate> ReadLoadCommand(const Message& message);
/// What an expose command asks for, without the plate; nothing when it is not all there.
std::optional<Job> ReadExposeCommand(const Message& message);
/// The plate that a reply to status or load reports; nothing where it reports none.
std::optional<Plate> ReadReportedPlate(const Message& reply);

} // namespace apps
