#include "apps/bench/channel_look.h"
#include "apps/bench/commands.h"
#include "apps/bench/message_output.h"
#include "apps/bench/message_watcher.h"
#include "apps/job/message_text.h"
#include "apps/support/channel_id.h"
#include "apps/support/channel_users.h"
#include "apps/support/patience.h"
#include "gaizior/comms/channel.h"
#include "gaizior/comms/channel_status.h"
#include "gaizior/comms/channel_users.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <memory>

namespace apps {
namespace {

std::string LookAsJson(const Look& look) {
    JsonArray ids;
    for (const auto& [id, count] : CountById(look.block)) {
        ids.Add(JsonObject().Number("id", id).Number("messages", count).Json());
    }
    JsonArray queue;
    for (unsigned i = 0; i < look.findings.nQueued; ++i) {
        const unsigned slot = look.findings.anOrder[i];
        const ZcMessageSlot& message = look.block.slots[slot];
        JsonObject entry;
        entry.Number("slot", slot).Number("id", message.dest_id).Text("text", TextOf(message));
        queue.Add(entry.TextOrNull("words", MessageText(TextOf(message))).Json());
    }
    JsonObject object;
    object.Bool("consistent", IsConsistent(look)).Number("messages", look.block.nMessages);
    object.Number("taken", look.findings.nTaken).Number("slots", kZcSlotCount);
    object.Number("first", look.block.start_of_list).Number("last", look.block.end_of_list);
    if (IsConsistent(look)) {
        object.Null("damage");
    } else {
        object.Text("damage", look.findings.szDamage);
    }
    return object.Value("ids", ids.Json()).Value("queue", queue.Json()).Json();
}

void PrintLook(const Look& look) {
    std::printf("message channel: %u of %u slots taken, %s\n", unsigned{look.findings.nTaken}, unsigned{kZcSlotCount},
                IsConsistent(look) ? Painted(Stream::kOutput, Colour::kGood, "consistent").c_str()
                                   : Painted(Stream::kOutput, Colour::kBad, "DAMAGED").c_str());
    if (!IsConsistent(look)) {
        std::printf("damage: %s\n", Printable(look.findings.szDamage).c_str());
    }
    if (look.findings.nQueued == 0) {
        return;
    }
    std::printf("\n   ID  messages\n");
    for (const auto& [id, count] : CountById(look.block)) {
        std::printf("%5u  %8u\n", id, count);
    }
    std::printf("\n slot  for ID  message (oldest first)\n");
    for (unsigned i = 0; i < look.findings.nQueued; ++i) {
        const unsigned slot = look.findings.anOrder[i];
        const ZcMessageSlot& message = look.block.slots[slot];
        char head[64];
        std::snprintf(head, sizeof(head), "%5u  %6u  ", slot, unsigned{message.dest_id});
        std::printf("%s\n", MessageLine(head, TextOf(message), OutputColumns()).c_str());
    }
}

void PrintMessage(unsigned id, std::string_view packet, bool json) {
    if (json) {
        std::printf("%s\n", MessageAsJson(id, packet).Text("time", ExactTimeText(Now())).Json().c_str());
    } else {
        std::printf("%s\n", MessageLine({}, packet, kAnyColumns).c_str());
    }
    std::fflush(stdout);
}

/// Takes and prints one message for the own ID.
Outcome ReceiveOne(std::uint16_t id, double seconds, bool json, const Interrupt& interrupt, std::string& packet) {
    constexpr const char* kFunction = "ReceiveOne(): ";
    constexpr DWORD kPeriod = 100; // Ctrl-C is noticed as late as this
    const auto milliseconds = static_cast<DWORD>(seconds * 1000);
    Patience patience(milliseconds);
    do {
        std::array<char, kMaxMessage + 1> buffer{};
        const auto code = ZcReceiveMessageAtOnce(buffer.data(), buffer.size(), std::min(milliseconds, kPeriod));
        if (code == ZRErrors::e_General_NoError) {
            packet = buffer.data();
            PrintMessage(id, packet, json);
            return std::nullopt;
        }
        if (code != ZRErrors::e_Command_TimedOut) {
            return CannotRead(kFunction, code);
        }
        if (interrupt.IsSet()) {
            return Fail(kFunction, kUserAborted, Exit::kFailed, "interrupted while waiting for a message");
        }
    } while (!patience.IsExhausted());
    return Fail(kFunction, ZRErrors::e_Command_TimedOut, Exit::kTimedOut,
                (milliseconds == 0 ? "no message waits for ID " + std::to_string(id)
                                   : "no message came for ID " + std::to_string(id) + " within " + patience.Text()) +
                    ": --id chooses another ID, 'bench channel status' shows what waits for whom");
}

const char* EventName(MessageEvent event) {
    return event == MessageEvent::kWaiting ? "waiting" : event == MessageEvent::kSent ? "sent" : "taken";
}

void PrintSeen(const SeenMessage& seen, bool json) {
    const char* const what = EventName(seen.event);
    if (json) {
        JsonObject line = MessageAsJson(seen.id, seen.text);
        line.Text("event", what).TextOrNull("time", seen.time == 0 ? "" : ExactTimeText(seen.time));
        std::printf("%s\n", line.Number("slot", seen.slot).Json().c_str());
    } else {
        char head[64];
        std::snprintf(head, sizeof(head), "%s %-7s slot %3u for %5u  ", ClockText(seen.time, Now(), true).c_str(), what,
                      seen.slot, seen.id);
        const std::string line = MessageLine(head, seen.text, OutputColumns());
        const bool isTaken = seen.event == MessageEvent::kTaken;
        std::printf("%s\n", isTaken ? Painted(Stream::kOutput, Colour::kFaint, line).c_str() : line.c_str());
    }
    std::fflush(stdout);
}

/// What will become of a message is told where it is not what was meant.
void WarnOfStrayMessage(const SendOptions& options) {
    const std::string to = std::to_string(options.to);
    std::vector<ZcUserT> users;
    if (ListUsers(users) == ZRErrors::e_General_NoError && !IsIdHeld(options.to)) {
        Warn("nobody has ID " + to +
             ": the message waits, and whoever opens the channel under that ID "
             "throws it away");
    }
    Message message;
    const bool isCommand = Decode(options.text, message) == ZRErrors::e_General_NoError && message.type == kCommand;
    if (isCommand && message.id != options.id) {
        const std::string own = std::to_string(options.id);
        Warn("the text names " + std::to_string(message.id) + " as its sender, where the answer goes: write " + own +
             ", which is the own ID, or choose that one with --id");
    }
}

/// Takes messages until one is not the progress of what was asked for. A refusal is a failure.
Outcome ReceiveAnswer(const SendOptions& options, const Interrupt& interrupt) {
    Message answer;
    do {
        std::string packet;
        if (Outcome failure = ReceiveOne(options.id, options.wait, options.json, interrupt, packet)) {
            return failure;
        }
        answer = {};
        Decode(packet, answer);
    } while (answer.type == kProgress);
    if (answer.type == kReply && answer.value != ZRErrors::e_General_NoError) {
        const std::string code = std::to_string(answer.value);
        return Fail("ReceiveAnswer(): ", static_cast<ZRErrors::ZRErrorT>(answer.value), Exit::kFailed,
                    "the answer is a refusal with code " + code + ": 'bench error " + code + "' explains it");
    }
    return std::nullopt;
}

} // namespace

Outcome StatusCommand(const StatusOptions& options) {
    const auto look = std::make_unique<Look>();
    if (Outcome failure = TakeLook(*look)) {
        return failure;
    }
    if (options.json) {
        std::printf("%s\n", LookAsJson(*look).c_str());
    } else {
        PrintLook(*look);
    }
    return DamageFailure("StatusCommand(): ", *look);
}

Outcome SendCommand(const SendOptions& options, const Interrupt& interrupt) {
    constexpr const char* kFunction = "SendCommand(): ";
    if (options.text.size() > kMaxMessage) {
        return Fail(kFunction, ZRErrors::e_Buffer_TooSmall, Exit::kUsage,
                    "the message has " + std::to_string(options.text.size()) + " bytes, the channel carries " +
                        std::to_string(kMaxMessage) + ": shorten it");
    }
    const auto look = std::make_unique<Look>();
    if (Outcome failure = TakeLook(*look, interrupt.Event())) {
        return failure;
    }
    ChannelId channel;
    if (Outcome failure = channel.Open(options.id, {.forLock = kLockTimeout, .hInterrupt = interrupt.Event()})) {
        return failure;
    }
    WarnOfStrayMessage(options);
    if (const auto code = ZcSendMessage(options.text.c_str(), kLockTimeout, options.to);
        code != ZRErrors::e_General_NoError) {
        return SendFailure(kFunction, code, options.to);
    }
    return options.wait > 0 ? ReceiveAnswer(options, interrupt) : std::nullopt;
}

Outcome ReceiveCommand(const ReceiveOptions& options, const Interrupt& interrupt) {
    ChannelId channel;
    Outcome failure = channel.Open(
        options.id, {.forLock = static_cast<DWORD>(options.timeout * 1000), .hInterrupt = interrupt.Event()});
    if (const unsigned purged = failure ? 0 : ZcGetPurgedCount(); purged > 0) {
        std::fprintf(stderr, "bench: %s that waited for ID %u %s thrown away when it was opened\n",
                     Counted(purged, "message").c_str(), unsigned{options.id}, purged == 1 ? "was" : "were");
        std::fflush(stderr);
    }
    for (int i = 0; i < options.count && !failure; ++i) {
        std::string packet;
        failure = ReceiveOne(options.id, options.timeout, options.json, interrupt, packet);
    }
    return failure;
}

Outcome WatchCommand(const WatchOptions& options, const Interrupt& interrupt) {
    const ULONGLONG begin = ::GetTickCount64();
    const auto isOver = [&] {
        return options.seconds > 0 && static_cast<double>(::GetTickCount64() - begin) >= options.seconds * 1000;
    };
    const auto watcher = std::make_unique<MessageWatcher>();
    bool isAbsenceTold = false;
    do {
        Outcome failure = watcher->TakeLook();
        PrintTakeover(watcher->LastLook());
        if (!failure && watcher->IsThere() && watcher->LastLook().block.magic != kZcMagic) {
            failure = DamageFailure("WatchCommand(): ", watcher->LastLook());
        }
        if (failure) {
            return failure;
        }
        if (!watcher->IsThere() && !isAbsenceTold) {
            std::fputs("bench: no process has the message channel open, waiting for one\n", stderr);
            std::fflush(stderr);
        }
        isAbsenceTold = !watcher->IsThere();
        for (const SeenMessage& seen : watcher->Seen()) {
            PrintSeen(seen, options.json);
        }
    } while (!isOver() && !watcher->Rest(interrupt.Event()));
    return std::nullopt;
}

} // namespace apps
