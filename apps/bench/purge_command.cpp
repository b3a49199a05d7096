#include "apps/bench/channel_look.h"
#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "apps/bench/question.h"
#include "apps/support/channel_id.h"
#include "apps/support/channel_users.h"

#include <array>
#include <cstdio>
#include <memory>

namespace apps {
namespace {

constexpr const char* kFunction = "PurgeCommand(): ";

using Texts = std::array<char[kZcMessageSize], kZcSlotCount>;

/// Whoever has the ID reads its messages, and loses those that are thrown away.
Outcome RefuseWhereInUse(std::uint16_t id) {
    std::vector<ZcUserT> users;
    if (const auto code = ListUsers(users); code != ZRErrors::e_General_NoError && !IsAbsent(code)) {
        return ChannelFailure(kFunction, code, "who has ID " + std::to_string(id) + " is not known");
    }
    const std::optional<ZcUserT> user = FindUser(id);
    if (!user && !IsIdInUse(id)) {
        return std::nullopt;
    }
    return Fail(kFunction, kDeviceBusy, Exit::kFailed,
                "communications ID " + std::to_string(id) + " is in use by " +
                    (user ? UserText(*user) : "another process") + ", which reads its messages: end that first");
}

/// Has a person agree, who is told how many there are. `count` becomes the most that may be thrown away.
Outcome Confirm(std::uint16_t id, unsigned& count, const Interrupt& interrupt) {
    const auto look = std::make_unique<Look>();
    if (Outcome failure = TakeLook(*look, interrupt.Event())) {
        return failure;
    }
    count = 0;
    for (const ZcMessageSlot& slot : look->block.slots) {
        count += slot.taken == 1 && slot.dest_id == id ? 1 : 0;
    }
    const std::string number = std::to_string(id);
    switch (count == 0 ? Reply::kYes
                       : Ask("throw away " + Counted(count, "message") + " for ID " + number + "?", interrupt)) {
    case Reply::kYes:
        return std::nullopt;
    case Reply::kNo:
        return Fail(kFunction, kUserAborted, Exit::kFailed, "nothing was thrown away");
    default:
        return Fail(kFunction, kUserAborted, Exit::kFailed, "interrupted: nothing was thrown away");
    }
}

void Print(std::uint16_t id, const Texts& texts, unsigned count) {
    std::printf("%s for ID %u thrown away%s\n", Counted(count, "message").c_str(), unsigned{id}, count == 0 ? "" : ":");
    for (unsigned i = 0; i < count; ++i) {
        std::printf("  %s\n", Printable(texts[i]).c_str());
    }
}

std::string AsJson(std::uint16_t id, const Texts& texts, unsigned count) {
    JsonArray messages;
    for (unsigned i = 0; i < count; ++i) {
        messages.Add(JsonText(texts[i]));
    }
    return JsonObject().Number("id", id).Value("texts", messages.Json()).Json();
}

} // namespace

Outcome PurgeCommand(const PurgeOptions& options, const Interrupt& interrupt) {
    if (!options.yes && !CanAsk()) {
        return Fail(kFunction, kInvalidParameter, Exit::kUsage,
                    "there is no terminal on which to ask before messages are thrown away: add --yes");
    }
    if (Outcome failure = RefuseWhereInUse(options.id)) {
        return failure;
    }
    unsigned count = kZcSlotCount;
    if (!options.yes) {
        if (Outcome failure = Confirm(options.id, count, interrupt)) {
            return failure;
        }
        if (Outcome failure = RefuseWhereInUse(options.id)) { // the question may have stood for long
            return failure;
        }
    }
    const auto texts = std::make_unique<Texts>();
    if (const auto code = ZcPurge(options.id, kLockTimeout, texts->data(), count, &count);
        code != ZRErrors::e_General_NoError) {
        return CannotRead(kFunction, code);
    }
    if (options.json) {
        std::printf("%s\n", AsJson(options.id, *texts, count).c_str());
    } else {
        Print(options.id, *texts, count);
    }
    return std::nullopt;
}

} // namespace apps
