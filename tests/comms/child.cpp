// The program that the survival tests start and kill. Its words are:
//   crash WHAT N IDS   opens the channel, posts a message for each digit in IDS, then dies at the N-th crash point of
//                      WHAT: send, take, open (again, which throws messages away), create (without having opened)
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
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace gaizior::test {
namespace {

using ZRErrors::ZRErrorT;

void Must(ZRErrorT error, const char* what) {
    if (error != ZRErrors::e_General_NoError) {
        throw std::runtime_error(std::string(what) + " failed with " + std::to_string(error) + ", system error " +
                                 std::to_string(ZcGetCommsOSError()));
    }
}

/// A shortened wait for the mutex may be too short where many want it.
template <typename Call>
void Insist(const Call& call, const char* what) {
    ZRErrorT error = ZRErrors::e_Command_TimedOut;
    for (int attempts = 0; attempts < 1000 && error == ZRErrors::e_Command_TimedOut; ++attempts) {
        error = call();
    }
    Must(error, what);
}

void Open(unsigned id) {
    Insist([id] { return ZcOpenComms(static_cast<std::uint16_t>(id)); }, "open");
}

void Crash(const std::string& what, unsigned point, const std::string& ids) {
    char buffer[256];
    seams::SetTimeDivisor(1000);
    if (what != "create") {
        Open(what == "take" ? kVictimId : kFillerId);
    }
    for (std::size_t i = 0; i < ids.size(); ++i) {
        const int digit = ids[i] - '0';
        Must(ZcSendMessage(FillText(i).c_str(), INFINITE, static_cast<std::uint16_t>(10 + digit)), "send");
    }
    seams::CrashAfter(point);
    if (what == "send") {
        Must(ZcSendMessage(kSentByVictim.c_str(), INFINITE, kSurvivorId), "send");
    } else if (what == "take") {
        ZcReceiveMessage(buffer, sizeof(buffer), 0);
    } else {
        Open(kVictimId);
    }
    seams::CrashAfter(0);
}

/// One of kGatheringSize processes that do everything at the same moment. Each message that arrives proves that its
/// sender has the same block.
void Gather(unsigned index, unsigned rounds) {
    const SharedView<Gathering> gathering(kGatheringName);
    const auto next = static_cast<std::uint16_t>(kFirstSoakId + (index + 1) % kGatheringSize);
    unsigned target = 0;
    const auto meet = [&] {
        target += kGatheringSize;
        ++gathering->arrived;
        while (gathering->arrived < target) {
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
        Must(ZcSendMessage(text.c_str(), INFINITE, next), "send");
        Insist([&] { return ZcReceiveMessage(buffer, sizeof(buffer), 2000); }, "receive");
        if (text != buffer) {
            throw std::runtime_error("received " + std::string(buffer) + " instead of " + text);
        }
        meet();
        ZcCloseComms();
    }
}

/// One of the processes of a soak: sends to the others and receives from them at the same time.
class Soaker {
public:
    explicit Soaker(unsigned index) : m_index(index) {
        s_pSoaker = this;
    }

    void Run() {
        seams::SetTimeDivisor(100);
        ZRDBNewRegisterCallback(&TakeLine);
        ZRDBSetLevel(5);
        unsigned number = 0;
        if (Ledger::Lane* const lane = Parse(m_desk.buffer, number)) {
            Advance(lane->states[number], Ledger::Found);
        }
        Open(kFirstSoakId + m_index);
        m_desk.isOpen = 1;
        std::thread sender(&Soaker::SendAll, this);
        while (!m_ledger->stop) {
            const ZRErrorT error = ZcReceiveMessage(m_desk.buffer, sizeof(m_desk.buffer), 1000);
            if (error == ZRErrors::e_General_NoError) {
                Enter(m_desk.buffer);
            } else if (error != ZRErrors::e_Command_TimedOut) {
                Must(error, "receive");
            }
        }
        sender.join();
    }

private:
    /// Every message tells all about itself, so that a damaged one is seen.
    static std::string TextOf(unsigned from, unsigned number) {
        std::string text = std::to_string(from) + ' ' + std::to_string(number) + ' ';
        return text.append(number * 7 % (255 - text.size()), static_cast<char>('a' + number % 26));
    }

    /// @returns whether the message was not that far yet.
    static bool Advance(std::atomic<std::uint8_t>& state, Ledger::State next) {
        std::uint8_t before = state;
        while (before < next && !state.compare_exchange_weak(before, next)) {
        }
        return before < next;
    }

    /// A number whose send was begun before this process was killed is not used again: it may be there.
    void SendAll() {
        Ledger::Lane& lane = m_ledger->lanes[m_index];
        while (lane.begun < m_ledger->count && !m_ledger->stop) {
            const unsigned number = lane.begun++;
            const std::string text = TextOf(m_index, number);
            const auto to = static_cast<std::uint16_t>(kFirstSoakId + Ledger::AddresseeOf(m_index, number));
            ZRErrorT error = ZRErrors::e_Command_TimedOut; // the pool is often full
            while (error == ZRErrors::e_Command_TimedOut && !m_ledger->stop) {
                error = ZcSendMessage(text.c_str(), INFINITE, to);
            }
            if (error == ZRErrors::e_General_NoError) {
                Advance(lane.states[number], Ledger::Sent);
            }
        }
    }

    /// The lane of a message for this process, null for one that nobody can have sent.
    Ledger::Lane* Parse(const std::string& text, unsigned& number) const {
        unsigned from = 0;
        const bool isOne = std::sscanf(text.c_str(), "%u %u", &from, &number) == 2 && from < Ledger::kProcesses &&
                           number < Ledger::kMost && Ledger::AddresseeOf(from, number) == m_index &&
                           text == TextOf(from, number);
        return isOne ? &m_ledger->lanes[from] : nullptr;
    }

    void Enter(const std::string& text) {
        unsigned number = 0;
        Ledger::Lane* const lane = Parse(text, number);
        if (!lane || !Advance(lane->states[number], Ledger::Came) || number < lane->next[m_index]) {
            std::fprintf(stderr, "damaged, repeated or too late: <%s>\n", text.c_str());
            ++m_ledger->faults;
        } else {
            lane->next[m_index] = number + 1;
        }
    }

    /// An open tells each message that it throws away.
    static void TakeLine(int, int, const char* line) {
        const std::string text(line);
        const std::string begin = "Message = <";
        if (text.starts_with(begin)) {
            s_pSoaker->Enter(text.substr(begin.size(), text.rfind('>') - begin.size()));
        }
    }

    static inline Soaker* s_pSoaker = nullptr;
    const unsigned m_index;
    const SharedView<Ledger> m_ledger{kLedgerName};
    Ledger::Desk& m_desk = m_ledger->desks[m_index];
};

void Run(const std::vector<std::string>& words) {
    const auto number = [&words](std::size_t i) { return static_cast<unsigned>(std::stoul(words.at(i))); };
    if (words.at(1) == "crash") {
        Crash(words.at(2), number(3), words.size() > 4 ? words[4] : "");
    } else if (words[1] == "gather") {
        Gather(number(2), number(3));
    } else {
        Soaker(number(2)).Run();
    }
}

} // namespace
} // namespace gaizior::test

int main(int count, char** arguments) {
    const gaizior::test::Watchdog watchdog(std::chrono::minutes(9));
    try {
        gaizior::test::Run({arguments, arguments + count});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "comms_child: %s\n", error.what());
        return 1;
    }
    return 0;
}
