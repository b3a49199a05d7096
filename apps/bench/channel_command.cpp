#include "apps/bench/channel_look.h"
#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "apps/support/channel_id.h"
#include "gaizior/comms/channel.h"
#include "gaizior/comms/channel_status.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <utility>

namespace apps {
namespace {

/// A slot's text, however damaged its slot is.
std::string_view TextOf(const ZcMessageSlot& slot) {
    const std::string_view all(slot.msg, sizeof(slot.msg));
    return all.substr(0, all.find('\0'));
}

std::map<unsigned, int> CountById(const Look& look) {
    std::map<unsigned, int> counts;
    for (unsigned i = 0; i < look.findings.nQueued; ++i) {
        ++counts[look.block.slots[look.findings.anOrder[i]].dest_id];
    }
    return counts;
}

std::string LookAsJson(const Look& look) {
    JsonArray ids;
    for (const auto& [id, count] : CountById(look)) {
        ids.Add(JsonObject().Number("id", id).Number("messages", count).Json());
    }
    JsonArray queue;
    for (unsigned i = 0; i < look.findings.nQueued; ++i) {
        const unsigned slot = look.findings.anOrder[i];
        const ZcMessageSlot& message = look.block.slots[slot];
        queue.Add(JsonObject().Number("slot", slot).Number("id", message.dest_id).Text("text", TextOf(message)).Json());
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
    for (const auto& [id, count] : CountById(look)) {
        std::printf("%5u  %8d\n", id, count);
    }
    std::printf("\n slot  for ID  message (oldest first)\n");
    constexpr std::size_t kBeforeText = 15;
    const std::size_t columns = OutputColumns();
    for (unsigned i = 0; i < look.findings.nQueued; ++i) {
        const unsigned slot = look.findings.anOrder[i];
        const ZcMessageSlot& message = look.block.slots[slot];
        const std::string text = Printable(TextOf(message));
        std::printf("%5u  %6u  %s\n", slot, unsigned{message.dest_id},
                    Shortened(text, columns > kBeforeText ? columns - kBeforeText : 1).c_str());
    }
}

std::string LocalTime() {
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%02u:%02u:%02u.%03u", unsigned{now.wHour}, unsigned{now.wMinute},
                  unsigned{now.wSecond}, unsigned{now.wMilliseconds});
    return text.data();
}

/// A message as one JSON object; its fields too where it is a whole packet.
JsonObject MessageAsJson(unsigned id, std::string_view text) {
    JsonObject object;
    object.Number("id", id).Text("text", text);
    Message message;
    if (Decode(text, message) == ZRErrors::e_General_NoError) {
        object.Number("type", message.type).Number("code", message.code).Number("sender", message.id);
        object.Number("value", message.value).Text("string", message.text).Text("qualifier", message.qualifier);
    }
    return object;
}

void PrintMessage(unsigned id, std::string_view text, bool json) {
    std::printf("%s\n", json ? MessageAsJson(id, text).Json().c_str() : Printable(text).c_str());
    std::fflush(stdout);
}

/// Takes and prints one message for the own ID.
Outcome ReceiveOne(std::uint16_t id, double seconds, bool json, const Interrupt& interrupt) {
    constexpr const char* kFunction = "ReceiveOne(): ";
    constexpr ULONGLONG kPeriod = 100; // Ctrl-C is noticed as late as this
    const ULONGLONG end = ::GetTickCount64() + static_cast<ULONGLONG>(seconds * 1000);
    for (ULONGLONG now = 0; now < end;) {
        now = ::GetTickCount64();
        const ULONGLONG left = now < end ? end - now : 0;
        std::array<char, kMaxMessage + 1> buffer{};
        const auto code =
            ZcReceiveMessageAtOnce(buffer.data(), buffer.size(), static_cast<DWORD>(std::min(left, kPeriod)));
        if (code == ZRErrors::e_General_NoError) {
            PrintMessage(id, buffer.data(), json);
            return std::nullopt;
        }
        if (code != ZRErrors::e_Command_TimedOut) {
            return Fail(kFunction, code, Exit::kFailed, "the channel cannot be read: " + ErrorText(code));
        }
        if (interrupt.IsSet()) {
            return Fail(kFunction, kUserAborted, Exit::kFailed, "interrupted while waiting for a message");
        }
    }
    return Fail(kFunction, ZRErrors::e_Command_TimedOut, Exit::kTimedOut,
                "no message came for ID " + std::to_string(id) +
                    " in time: --id chooses another ID, 'bench channel "
                    "status' shows what waits for whom");
}

/// Rests between two looks. What is received at once is gone in microseconds: so the next post wakes the watcher too.
/// Where messages wait, or what has woken it was nothing, the event stays set and tells no more: then `posted` is null.
/// @returns what a wait for the two returns.
DWORD Rest(HANDLE interrupt, HANDLE posted) {
    constexpr DWORD kPeriod = 20;
    const std::array<HANDLE, 2> handles = {interrupt, posted};
    return ::WaitForMultipleObjects(posted ? 2 : 1, handles.data(), FALSE, kPeriod);
}

/// Prints what came into the pool and what was taken from it between two looks. A receiver that waits takes a message
/// long before the next look, but its text stays behind in the free slot.
class Watcher {
public:
    explicit Watcher(bool json) : m_bJson(json) {}

    /// What lies in free slots at the first look is old.
    void Begin(const ZcChannel& block) {
        for (unsigned slot = 0; slot < kZcSlotCount; ++slot) {
            m_before[slot] = EntryOf(block.slots[slot]);
            if (m_before[slot].taken) {
                Print("sent", slot, m_before[slot]);
            }
        }
    }

    /// @returns whether there was anything to print.
    bool Compare(const ZcChannel& block) {
        bool isChanged = false;
        for (unsigned slot = 0; slot < kZcSlotCount; ++slot) {
            const Entry now = EntryOf(block.slots[slot]);
            const Entry before = std::exchange(m_before[slot], now);
            const bool same = now.id == before.id && now.text == before.text;
            isChanged |= !same || now.taken != before.taken;
            if (before.taken && !(same && now.taken)) {
                Print("taken", slot, before);
            }
            if (!same || (now.taken && !before.taken)) {
                Print("sent", slot, now);
                if (!now.taken) {
                    Print("taken", slot, now);
                }
            }
        }
        return isChanged;
    }

    /// The channel is gone, and its messages with it.
    void Forget() {
        m_before = {};
    }

private:
    struct Entry {
        bool taken = false;
        unsigned id = 0;
        std::string text;
    };

    static Entry EntryOf(const ZcMessageSlot& slot) {
        return {slot.taken != 0, slot.dest_id, std::string(TextOf(slot))};
    }

    void Print(const char* what, unsigned slot, const Entry& entry) const {
        const std::string time = LocalTime();
        if (m_bJson) {
            JsonObject line = MessageAsJson(entry.id, entry.text);
            line.Text("event", what).Text("time", time).Number("slot", slot);
            std::printf("%s\n", line.Json().c_str());
        } else {
            char head[64];
            std::snprintf(head, sizeof(head), "%s %-5s slot %3u for %5u  ", time.c_str(), what, slot, entry.id);
            const std::string line = Shortened(head + Printable(entry.text), OutputColumns());
            const bool taken = what[0] == 't';
            std::printf("%s\n", taken ? Painted(Stream::kOutput, Colour::kFaint, line).c_str() : line.c_str());
        }
        std::fflush(stdout);
    }

    bool m_bJson;
    std::array<Entry, kZcSlotCount> m_before; ///< the slots at the last look
};

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
    if (!IsConsistent(*look)) {
        return Fail("StatusCommand(): ", kInvalidData, Exit::kFailed,
                    "the message channel is damaged: 'bench channel doctor --repair' puts it in order");
    }
    return std::nullopt;
}

Outcome SendCommand(const SendOptions& options, const Interrupt& interrupt) {
    constexpr const char* kFunction = "SendCommand(): ";
    if (options.text.size() > kMaxMessage) {
        return Fail(kFunction, ZRErrors::e_Buffer_TooSmall, Exit::kUsage,
                    "the message has " + std::to_string(options.text.size()) + " characters, the channel carries " +
                        std::to_string(kMaxMessage) + ": shorten it");
    }
    const auto look = std::make_unique<Look>();
    if (Outcome failure = TakeLook(*look)) {
        return failure;
    }
    ChannelId channel;
    if (Outcome failure = channel.Open(options.id)) {
        return failure;
    }
    if (const auto code = ZcSendMessage(options.text.c_str(), kLockTimeout, options.to);
        code != ZRErrors::e_General_NoError) {
        return SendFailure(kFunction, code, options.to);
    }
    return options.wait > 0 ? ReceiveOne(options.id, options.wait, options.json, interrupt) : std::nullopt;
}

Outcome ReceiveCommand(const ReceiveOptions& options, const Interrupt& interrupt) {
    ChannelId channel;
    Outcome failure = channel.Open(options.id);
    for (int i = 0; i < options.count && !failure; ++i) {
        failure = ReceiveOne(options.id, options.timeout, options.json, interrupt);
    }
    return failure;
}

Outcome WatchCommand(const WatchOptions& options, const Interrupt& interrupt) {
    const ULONGLONG begin = ::GetTickCount64();
    const auto look = std::make_unique<Look>();
    ZcViewerC viewer;
    Watcher watcher(options.json);
    bool first = true;
    bool absenceTold = false;
    DWORD woken = WAIT_TIMEOUT;
    while (woken != WAIT_OBJECT_0) {
        Presence presence{};
        if (Outcome failure = TakeLook(viewer, *look, presence)) {
            return failure;
        }
        const bool absent = presence == Presence::kAbsent;
        if (absent && !absenceTold) {
            std::fputs("bench: no process has the message channel open, waiting for one\n", stderr);
            std::fflush(stderr);
        }
        absenceTold = absent;
        bool isChanged = true;
        if (absent) {
            watcher.Forget();
        } else if (first) {
            watcher.Begin(look->block);
        } else {
            isChanged = watcher.Compare(look->block);
        }
        first = false;
        if (options.seconds > 0 && static_cast<double>(::GetTickCount64() - begin) >= options.seconds * 1000) {
            break;
        }
        const bool isToldOfPosts = look->block.nMessages == 0 && (woken == WAIT_TIMEOUT || isChanged);
        woken = Rest(interrupt.Event(), isToldOfPosts ? viewer.GetEvent() : nullptr);
    }
    return std::nullopt;
}

} // namespace apps
