// The program that the survival tests start and kill. Its words are:
//   crash WHAT N IDS   opens the channel, posts a message for each digit in IDS, then dies at the N-th crash point of
//                      WHAT: send, take, take-at-once, open (again, which throws messages away), create (without having
//                      opened)
//   gather I ROUNDS    opens and closes the channel again and again at the same moment as its siblings
//   soak I             exchanges messages with its siblings until the ledger says stop
// It ends with 0 when all went well; it says on standard error what did not, and ends with 1.

#include "gaizior/comms/channel.h"
#include "gaizior/logging/debug_print.h"
#include "gaizior/platform/crash_point.h"
#include "gaizior/platform/timing.h"
#include "tests/comms/survival.h"
#include "tests/support/shared_view.h"
#include "tests/support/watchdog.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace gaizior::test {
namespace {

using ZRErrors::ZRErrorT;

/// Says what went wrong and ends the process.
void Fail(const std::string& what) {
    std::fprintf(stderr, "comms_child: %s, system error %u\n", what.c_str(), ZcGetCommsOSError());
    std::_Exit(1);
}

/// Calls until it is done: a shortened wait for the mutex may be too short where many want it.
template <typename Call>
void Insist(const Call& call, const char* what) {
    ZRErrorT error = ZRErrors::e_Command_TimedOut;
    for (int attempts = 0; attempts < 1000 && error == ZRErrors::e_Command_TimedOut; ++attempts) {
        error = call();
    }
    if (error != ZRErrors::e_General_NoError) {
        Fail(what + (" failed with " + std::to_string(error)));
    }
}

void Open(unsigned id) {
    Insist([id] { return ZcOpenComms(static_cast<std::uint16_t>(id)); }, "open");
}

void Send(const std::string& text, unsigned id) {
    Insist([&] { return ZcSendMessage(text.c_str(), INFINITE, static_cast<std::uint16_t>(id)); }, "send");
}

void Crash(const std::string& what, unsigned point, const std::string& ids) {
    seams::SetTimeDivisor(1000);
    if (what != "create") {
        Open(what.starts_with("take") ? kVictimId : kFillerId);
    }
    for (std::size_t i = 0; i < ids.size(); ++i) {
        Send(FillText(i), static_cast<unsigned>(10 + ids[i] - '0'));
    }
    seams::CrashAfter(point);
    if (what == "send") {
        Send(kSentByVictim, kSurvivorId);
    } else if (what.starts_with("take")) {
        char buffer[256];
        (what == "take" ? ZcReceiveMessage : ZcReceiveMessageAtOnce)(buffer, sizeof(buffer), 0);
    } else {
        Open(kVictimId);
    }
    seams::CrashAfter(0);
}

/// One of kGatheringSize processes that do everything at the same moment. Each message that arrives proves that its
/// sender has the same block.
void Gather(unsigned index, unsigned rounds) {
    const SharedView<Gathering> arrived(kGatheringName);
    auto meet = [&, target = 0u]() mutable {
        target += kGatheringSize;
        ++*arrived;
        while (*arrived < target) {
            ::Sleep(0);
        }
    };
    seams::SetTimeDivisor(20);
    for (unsigned round = 0; round < rounds; ++round) {
        meet();
        Open(kFirstSoakId + index);
        meet();
        const std::string text = std::to_string(round);
        char buffer[256];
        Send(text, kFirstSoakId + (index + 1) % kGatheringSize);
        Insist([&] { return ZcReceiveMessage(buffer, sizeof(buffer), 2000); }, "receive");
        if (text != buffer) {
            Fail("received " + std::string(buffer) + " instead of " + text);
        }
        meet();
        ZcCloseComms();
    }
}

// What follows is one of the processes of a soak: it sends to the others and receives from them at the same time.

unsigned g_index; ///< which of them it is
Ledger* g_pLedger;

unsigned AddresseeOf(unsigned from, unsigned number) {
    return (from + 1 + number % 2) % Ledger::kProcesses;
}

/// Every message tells all about itself, so that a damaged one is seen.
std::string TextOf(unsigned from, unsigned number) {
    std::string text = std::to_string(from) + ' ' + std::to_string(number) + ' ';
    return text.append(std::size_t{number} * 7 % (255 - text.size()), static_cast<char>('a' + number % 26));
}

/// A number whose send was begun before this process was killed is not used again: it may be there.
void SendAll() {
    Ledger::Lane& lane = g_pLedger->lanes[g_index];
    while (lane.begun < g_pLedger->count && !g_pLedger->stop) {
        const unsigned number = lane.begun++;
        const std::string text = TextOf(g_index, number);
        const auto to = static_cast<std::uint16_t>(kFirstSoakId + AddresseeOf(g_index, number));
        ZRErrorT error = ZRErrors::e_Command_TimedOut; // the pool is often full
        while (error == ZRErrors::e_Command_TimedOut && !g_pLedger->stop) {
            error = ZcSendMessage(text.c_str(), INFINITE, to);
        }
        if (error == ZRErrors::e_General_NoError) {
            lane.states[number] |= Ledger::kSent;
        }
    }
}

/// The lane of a message for this process, null for one that nobody can have sent.
Ledger::Lane* Parse(const std::string& text, unsigned& number) {
    unsigned from = 0;
    const bool isOne = std::sscanf(text.c_str(), "%u %u", &from, &number) == 2 && from < Ledger::kProcesses &&
                       number < Ledger::kMost && AddresseeOf(from, number) == g_index && text == TextOf(from, number);
    return isOne ? &g_pLedger->lanes[from] : nullptr;
}

void Enter(const std::string& text) {
    unsigned number = 0;
    Ledger::Lane* const lane = Parse(text, number);
    if (!lane || (lane->states[number].fetch_or(Ledger::kCame) & Ledger::kCame) || number < lane->next[g_index]) {
        std::fprintf(stderr, "damaged, repeated or too late: <%s>\n", text.c_str());
        ++g_pLedger->faults;
    } else {
        lane->next[g_index] = number + 1;
    }
}

/// An open tells each message that it throws away.
void TakeLine(int, int, const char* line) {
    const std::string text(line);
    const std::string begin = "Message = <";
    if (text.starts_with(begin)) {
        Enter(text.substr(begin.size(), text.rfind('>') - begin.size()));
    }
}

void Soak(unsigned index) {
    const SharedView<Ledger> ledger(kLedgerName);
    g_pLedger = ledger.Get();
    g_index = index;
    seams::SetTimeDivisor(100);
    ZRDBNewRegisterCallback(&TakeLine);
    ZRDBSetLevel(5);
    auto& buffer = ledger->buffers[index];
    unsigned number = 0;
    if (Ledger::Lane* const lane = Parse(buffer, number)) {
        lane->states[number] |= Ledger::kFound;
    }
    Open(kFirstSoakId + index);
    ledger->isOpen[index] = 1;
    std::thread sender(&SendAll);
    for (unsigned turn = 0; !ledger->stop; ++turn) {
        auto* const receive = turn % 2 == 0 ? &ZcReceiveMessage : &ZcReceiveMessageAtOnce;
        const ZRErrorT error = receive(buffer, sizeof(buffer), 1000);
        if (error == ZRErrors::e_General_NoError) {
            Enter(buffer);
        } else if (error != ZRErrors::e_Command_TimedOut) {
            Fail("receive failed with " + std::to_string(error));
        }
    }
    sender.join();
}

} // namespace
} // namespace gaizior::test

int main(int count, char** arguments) {
    using namespace gaizior::test;
    const Watchdog watchdog(std::chrono::minutes(9));
    const std::vector<std::string> words(arguments, arguments + count);
    const auto number = [&words](std::size_t i) { return static_cast<unsigned>(std::stoul(words.at(i))); };
    if (words.at(1) == "crash") {
        Crash(words.at(2), number(3), words.size() > 4 ? words[4] : "");
    } else if (words[1] == "gather") {
        Gather(number(2), number(3));
    } else {
        Soak(number(2));
    }
    return 0;
}
