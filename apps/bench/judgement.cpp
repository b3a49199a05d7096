#include "apps/bench/judgement.h"

#include "apps/bench/output.h"
#include "apps/support/channel_users.h"
#include "apps/support/system_error.h"

#include <algorithm>
#include <map>

namespace apps {
namespace {

constexpr long long kLongWait = 60'000; // ms
constexpr unsigned kManySlots = kZcSlotCount * 3 / 4;
constexpr const char* kWho = "bench channel who";

std::string PurgeCommand(unsigned id) {
    return "bench channel purge --id " + std::to_string(id);
}

/// The command that lets a process that was stopped go on, where this system has one.
std::string WakeCommand(unsigned process) {
    const std::string command = ContinueCommand(process);
    return command.empty() ? KillCommand(process) : command;
}

/// What helps with one who does not do its work: empty where its process has not been stopped.
template <typename IsMeant>
std::string CommandForStopped(const Symptoms& symptoms, IsMeant isMeant) {
    const auto user = std::ranges::find_if(
        symptoms.users, [&](const ZcUserT& each) { return each.nState == kZcUserStopped && isMeant(each); });
    return user == symptoms.users.end() ? "" : WakeCommand(user->nProcess);
}

std::string CommandForHolder(const Symptoms& symptoms) {
    const unsigned process = symptoms.holder.nProcess;
    if (process == 0) {
        return kWho;
    }
    const std::string command =
        CommandForStopped(symptoms, [&](const ZcUserT& user) { return user.nProcess == process; });
    return command.empty() ? KillCommand(process) : command;
}

/// For messages that wait for that ID.
std::string CommandForReceiver(const Symptoms& symptoms, unsigned id) {
    if (symptoms.areUsersKnown && !symptoms.heldIds.contains(id)) {
        return PurgeCommand(id);
    }
    const std::string command = CommandForStopped(symptoms, [&](const ZcUserT& user) { return user.nID == id; });
    return command.empty() ? kWho : command;
}

void JudgeLock(const Symptoms& symptoms, std::vector<Finding>& findings) {
    const ZcHolderT& holder = symptoms.holder;
    if (!holder.bHeld) {
        return;
    }
    const std::string since = holder.nSince == 0 ? "" : " for " + Span(std::max(symptoms.now - holder.nSince, 0LL));
    findings.push_back(
        {kLockFinding, HolderText(holder) + " has held the channel's lock" + since, CommandForHolder(symptoms)});
}

void JudgeUser(const ZcUserT& user, const Symptoms& symptoms, std::vector<Finding>& findings) {
    const std::string id = std::to_string(user.nID);
    if (user.nState == kZcUserStopped) {
        findings.push_back({kStoppedFinding, UserText(user) + ", which has ID " + id + ", was stopped by a signal",
                            WakeCommand(user.nProcess)});
    }
    if (user.nState == kZcUserGone && !symptoms.heldIds.contains(user.nID)) {
        const bool isImager = std::string_view(user.szProgram).starts_with("imager");
        findings.push_back({kGoneFinding, UserText(user) + ", which had ID " + id + ", ended without giving it back",
                            isImager ? "bench imager start --id " + id : kWho});
    }
}

void JudgePool(const Symptoms& symptoms, const std::map<unsigned, unsigned>& counts, std::vector<Finding>& findings) {
    const unsigned taken = symptoms.look->findings.nTaken;
    if (taken < kManySlots || counts.empty()) {
        return;
    }
    const auto& [id, count] = *std::ranges::max_element(counts, {}, [](const auto& entry) { return entry.second; });
    findings.push_back({kPoolFinding,
                        std::to_string(taken) + " of " + std::to_string(kZcSlotCount) + " slots are taken, " +
                            std::to_string(count) + " of them for ID " + std::to_string(id),
                        CommandForReceiver(symptoms, id)});
}

void JudgeMessages(const Symptoms& symptoms, std::vector<Finding>& findings) {
    const Look& look = *symptoms.look;
    const auto counts = CountById(look.block);
    JudgePool(symptoms, counts, findings);
    for (const auto& [id, count] : counts) {
        if (symptoms.areUsersKnown && !symptoms.heldIds.contains(id)) {
            findings.push_back({kUnheldFinding,
                                Counted(count, "message") + (count == 1 ? " waits" : " wait") + " for ID " +
                                    std::to_string(id) + ", which nobody has",
                                PurgeCommand(id)});
        }
    }
    if (const auto posted = OldestPosted(symptoms); posted && symptoms.now - *posted > kLongWait) {
        const unsigned id = look.block.slots[look.findings.anOrder[0]].dest_id;
        findings.push_back(
            {kOldFinding,
             "the oldest message has waited for ID " + std::to_string(id) + " for " + Span(symptoms.now - *posted),
             CommandForReceiver(symptoms, id)});
    }
}

} // namespace

std::vector<Finding> Judge(const Symptoms& symptoms) {
    std::vector<Finding> findings;
    JudgeLock(symptoms, findings);
    for (const ZcUserT& user : symptoms.users) {
        JudgeUser(user, symptoms, findings);
    }
    if (!symptoms.look) {
        return findings;
    }
    if (!IsConsistent(*symptoms.look)) {
        findings.push_back({kDamageFinding, Printable(symptoms.look->findings.szDamage), kRepairCommand});
    } else {
        JudgeMessages(symptoms, findings);
    }
    return findings;
}

const Finding* FindKind(const std::vector<Finding>& findings, std::string_view kind) {
    const auto finding = std::ranges::find(findings, kind, &Finding::kind);
    return finding == findings.end() ? nullptr : &*finding;
}

std::optional<long long> OldestPosted(const Symptoms& symptoms) {
    if (!symptoms.look || symptoms.look->findings.nQueued == 0) {
        return std::nullopt;
    }
    const long long posted = symptoms.postedAt[symptoms.look->findings.anOrder[0]];
    return posted == 0 ? std::nullopt : std::optional(posted);
}

bool IsFull(const Look& look) {
    return look.findings.nTaken == kZcSlotCount;
}

} // namespace apps
