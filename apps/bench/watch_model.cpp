#include "apps/bench/watch_model.h"

#include "apps/bench/output.h"
#include "apps/job/message.h"
#include "apps/job/message_text.h"

#include <algorithm>
#include <map>
#include <utility>

namespace apps {
namespace {

constexpr std::size_t kKept = 1000; // messages; no terminal shows more

bool IsSame(const ZcUserT& a, const ZcUserT& b) {
    return a.nID == b.nID && a.nProcess == b.nProcess && a.nSince == b.nSince;
}

const ZcUserT* FindSame(const std::vector<ZcUserT>& users, const ZcUserT& user) {
    const auto found = std::ranges::find_if(users, [&](const ZcUserT& other) { return IsSame(user, other); });
    return found == users.end() ? nullptr : &*found;
}

std::string Parameter(const Message& message, const char* before, const char* key) {
    const std::string_view value = FindParameter(message.text, key);
    return value.empty() ? "" : before + Printable(value);
}

std::string StepText(const Message& progress) {
    const std::string plate = Parameter(progress, "plate ", "plate");
    return plate + Parameter(progress, " of ", "plates") + Parameter(progress, plate.empty() ? "" : ", ", "separation");
}

/// "loading", "exposing", "unloading"; at rest it is "loaded" and so on.
bool IsBusy(const WatchedImager& imager) {
    return imager.state.ends_with("ing");
}

/// Only a few replies name the plate; the others still tell whether one is there.
void NotePlate(WatchedImager& imager, const Message& message) {
    const std::optional<Plate> plate = ReadReportedPlate(message);
    const bool isNamed =
        message.type == kReply && message.value == 0 && (message.code == kStatus || message.code == kLoad);
    if (!plate) {
        imager.plate.clear();
    } else if (isNamed) {
        imager.plate = Printable(PlateText(*plate));
    } else if (imager.plate.empty()) {
        imager.plate = FormatSize(plate->size);
    }
}

void NoteImager(WatchedImager& imager, const Message& message) {
    const std::string state = Parameter(message, "", "state");
    if (message.id != imager.id || message.type == kCommand || state.empty()) {
        return;
    }
    imager.state = state;
    imager.isLost = false;
    NotePlate(imager, message);
    if (message.type == kProgress) {
        imager.permille = message.value;
        imager.step = StepText(message);
    } else if (!IsBusy(imager)) { // else a refusal in the middle of another operation
        imager.permille.reset();
        imager.step.clear();
    }
}

void Append(std::deque<NotedMessage>& messages, NotedMessage message) {
    if (message.progressOf != 0 && !messages.empty() && messages.back().progressOf == message.progressOf) {
        messages.pop_back();
    }
    messages.push_back(std::move(message));
    if (messages.size() > kKept) {
        messages.pop_front();
    }
}

const char* EventOf(const ZcUserT* before, const ZcUserT& now) {
    if (before && before->nState == now.nState) {
        return nullptr;
    }
    return now.nState == kZcUserGone      ? "gone"
           : now.nState == kZcUserStopped ? "stopped"
           : before                       ? "continued"
                                          : "opened";
}

} // namespace

const ZcUserT* FindHolder(const std::vector<ZcUserT>& users, unsigned id) {
    const auto found =
        std::ranges::find_if(users, [&](const ZcUserT& user) { return user.nID == id && user.nState != kZcUserGone; });
    return found == users.end() ? nullptr : &*found;
}

NotedMessage Noted(const SeenMessage& seen) {
    NotedMessage noted{seen.time, MessageText(seen.text)};
    if (noted.text.empty()) {
        noted.text = "for " + std::to_string(seen.id) + ": " + Printable(seen.text);
        return noted;
    }
    Message message;
    if (Decode(seen.text, message) == ZRErrors::e_General_NoError) {
        noted.isFailure = message.type == kReply && message.value != ZRErrors::e_General_NoError;
        noted.progressOf = message.type == kProgress ? message.id : 0;
    }
    return noted;
}

std::string TroubleText(const Watched& watched) {
    return !watched.trouble.empty() ? watched.trouble
           : !watched.isThere       ? "no process has the message channel open, waiting for one"
           : watched.taken >= kNearlyAllSlots
               ? std::to_string(watched.taken) + " of " + std::to_string(kZcSlotCount) +
                     " slots are taken, and without a free one nobody can send: 'bench channel doctor' tells more"
               : "";
}

void NoteQueues(Watched& watched, const Look& look, const std::array<long long, kZcSlotCount>& postTimes) {
    std::map<unsigned, WatchedQueue> queues;
    for (unsigned i = 0; i < look.findings.nQueued; ++i) {
        const unsigned slot = look.findings.anOrder[i];
        const unsigned id = look.block.slots[slot].dest_id;
        WatchedQueue& queue = queues.try_emplace(id, WatchedQueue{id, 0, postTimes.at(slot)}).first->second;
        ++queue.messages;
    }
    watched.taken = look.findings.nTaken;
    watched.queues.clear();
    for (const auto& [id, queue] : queues) {
        watched.queues.push_back(queue);
    }
}

void NoteMessages(Watched& watched, const std::vector<SeenMessage>& seen) {
    for (const SeenMessage& one : seen) {
        if (one.event == MessageEvent::kTaken) {
            continue;
        }
        Message message;
        if (Decode(one.text, message) == ZRErrors::e_General_NoError) {
            NoteImager(watched.imager, message);
        }
        NotedMessage noted = Noted(one);
        if (noted.isFailure) {
            watched.failure = noted;
        }
        Append(watched.messages, std::move(noted));
    }
}

void NoteFailure(Watched& watched, const std::string& text) {
    watched.failure = NotedMessage{watched.now, text, true, 0};
    Append(watched.messages, *watched.failure);
}

void NoteUsers(Watched& watched, std::vector<ZcUserT> users) {
    WatchedImager& imager = watched.imager;
    const ZcUserT* const before = FindHolder(watched.users, imager.id);
    const ZcUserT* const now = FindHolder(users, imager.id);
    if (before && (!now || !IsSame(*before, *now))) {
        imager.isLost = IsBusy(imager);
        imager.permille.reset();
        if (!imager.isLost) {
            imager.state.clear();
            imager.plate.clear();
        }
    }
    watched.users = std::move(users);
}

std::string StateText(const ZcUserT& user, long long now) {
    return user.nState == kZcUserGone      ? "gone without closing the channel"
           : user.nState == kZcUserStopped ? "stopped by a signal"
           : user.nWaitingSince != 0       ? "waits for the lock since " + ClockText(user.nWaitingSince, now)
                                           : "runs";
}

std::vector<UserChange> ChangesOf(const std::vector<ZcUserT>& before, const std::vector<ZcUserT>& after) {
    std::vector<UserChange> changes;
    for (const ZcUserT& user : before) {
        if (!FindSame(after, user)) {
            changes.push_back({"closed", user});
        }
    }
    for (const ZcUserT& user : after) {
        if (const char* event = EventOf(FindSame(before, user), user)) {
            changes.push_back({event, user});
        }
    }
    return changes;
}

} // namespace apps
