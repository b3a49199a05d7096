// The program that the survival tests start and kill. Its words are:
//   crash WHAT N IDS   opens the channel, posts a message for each digit in IDS, then dies at the N-th crash point of
//                      WHAT: send, take, open (again, which throws messages away), create (without having opened)
//   gather I ROUNDS    opens and closes the channel again and again at the same moment as its siblings
//   soak I             exchanges messages with its siblings until the ledger says stop
// It ends with 0 when all went well; it says on standard error what did not, and ends with 1.

#include "gaizior/comms/channel.h"
#include "gaizior/comms/channel_status.h"
#include "gaizior/logging/debug_print.h"
#include "gaizior/platform/crash_point.h"
#include "gaizior/platform/timing.h"
#include "tests/comms/survival.h"
#include "tests/support/shared_view.h"
#include "tests/support/watchdog.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
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
void Open(std::uint16_t id) {
    ZRErrorT error = ZRErrors::e_Command_TimedOut;
    for (int attempts = 0; attempts < 1000 && error == ZRErrors::e_Command_TimedOut; ++attempts) {
        error = ZcOpenComms(id);
    }
    Must(error, "open");
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
class Gatherer {
public:
    Gatherer(unsigned index, unsigned rounds) : m_index(index), m_rounds(rounds) {}

    void Run() {
        seams::SetTimeDivisor(20);
        try {
            for (unsigned round = 0; round < m_rounds; ++round) {
                Meet();
                Round(std::to_string(round));
            }
        } catch (...) {
            m_gathering->failed = 1;
            throw;
        }
    }

private:
    static std::uint16_t IdOf(unsigned index) {
        return static_cast<std::uint16_t>(kFirstSoakId + index % kGatheringSize);
    }

    void Round(const std::string& text) {
        Open(IdOf(m_index));
        Meet();
        Must(ZcSendMessage(text.c_str(), INFINITE, IdOf(m_index + 1)), "send");
        char buffer[256];
        ZRErrorT error = ZRErrors::e_Command_TimedOut; // also where the mutex is not free for a moment
        for (int attempts = 0; attempts < 100 && error == ZRErrors::e_Command_TimedOut; ++attempts) {
            error = ZcReceiveMessage(buffer, sizeof(buffer), 2000);
        }
        Must(error, "receive");
        if (text != buffer) {
            throw std::runtime_error("received " + std::string(buffer) + " instead of " + text);
        }
        Meet();
        ZcFindingsT findings;
        Must(ZcSnapshot(m_block.get(), INFINITE), "snapshot");
        Must(ZcExamine(m_block.get(), &findings), findings.szDamage);
        if (findings.nTaken != 0) {
            throw std::runtime_error("messages are left");
        }
        Meet();
        ZcCloseComms();
    }

    void Meet() {
        m_target += kGatheringSize;
        ++m_gathering->arrived;
        while (m_gathering->arrived < m_target) {
            if (m_gathering->failed) {
                throw std::runtime_error("another one has failed");
            }
            ::Sleep(0);
        }
    }

    const unsigned m_index;
    const unsigned m_rounds;
    unsigned m_target = 0;
    const SharedView<Gathering> m_gathering{kGatheringName};
    const std::unique_ptr<ZcChannel> m_block = std::make_unique<ZcChannel>();
};

/// One of the processes of a soak: sends to the others and receives from them at the same time.
class Soaker {
public:
    explicit Soaker(unsigned index) : m_index(index) {
        s_pSoaker = this;
        m_desk.isOpen = 0;
    }

    void Run() {
        seams::SetTimeDivisor(100);
        ZRDBNewRegisterCallback(&TakeLine);
        ZRDBSetLevel(5);
        if (const std::optional<Number> held = Parse(m_desk.buffer)) {
            m_ledger->lanes[held->from][m_index].found[held->number] = 1;
        }
        Open(IdOf(m_index));
        m_desk.isOpen = 1;
        std::thread sender(&Soaker::SendAll, this);
        while (!m_ledger->stop) {
            ReceiveOne();
        }
        sender.join();
    }

private:
    static std::uint16_t IdOf(unsigned index) {
        return static_cast<std::uint16_t>(kFirstSoakId + index);
    }

    /// Every message tells all about itself, so that a damaged one is seen.
    static std::string TextOf(unsigned from, unsigned to, unsigned number) {
        std::string text = std::to_string(from) + ' ' + std::to_string(to) + ' ' + std::to_string(number) + ' ';
        return text.append(number * 7 % (255 - text.size()), static_cast<char>('a' + number % 26));
    }

    void SendAll() {
        for (bool sent = true; sent && !m_ledger->stop;) {
            sent = false;
            for (unsigned to = 0; to < Ledger::kProcesses; ++to) {
                sent = (to != m_index && SendNext(to)) || sent;
            }
        }
    }

    /// A number whose send was begun before this process was killed is not used again: it may be there.
    bool SendNext(unsigned to) {
        Ledger::Lane& lane = m_ledger->lanes[m_index][to];
        const std::uint32_t number = lane.begun;
        if (number >= m_ledger->count) {
            return false;
        }
        lane.begun = number + 1;
        const std::string text = TextOf(m_index, to, number);
        ZRErrorT error = ZRErrors::e_Command_TimedOut; // the pool is often full
        while (error == ZRErrors::e_Command_TimedOut && !m_ledger->stop) {
            error = ZcSendMessage(text.c_str(), INFINITE, IdOf(to));
        }
        lane.sent[number] = error == ZRErrors::e_General_NoError;
        return true;
    }

    void ReceiveOne() {
        const ZRErrorT error = ZcReceiveMessage(m_desk.buffer, sizeof(m_desk.buffer), 1000);
        if (error == ZRErrors::e_General_NoError) {
            Enter(m_desk.buffer);
        } else if (error != ZRErrors::e_Command_TimedOut) {
            Must(error, "receive");
        }
    }

    struct Number {
        unsigned from;
        unsigned number;
    };

    std::optional<Number> Parse(const std::string& text) const {
        unsigned from = 0;
        unsigned to = 0;
        unsigned number = 0;
        if (std::sscanf(text.c_str(), "%u %u %u", &from, &to, &number) != 3 || from >= Ledger::kProcesses ||
            to != m_index || number >= Ledger::kMost || text != TextOf(from, to, number)) {
            return std::nullopt;
        }
        return Number{from, number};
    }

    void Enter(const std::string& text) {
        const std::optional<Number> came = Parse(text);
        if (!came) {
            std::fprintf(stderr, "damaged: <%s>\n", text.c_str());
            ++m_ledger->damaged;
            return;
        }
        Ledger::Lane& lane = m_ledger->lanes[came->from][m_index];
        ++lane.came[came->number];
        if (came->number < lane.next) {
            ++lane.disorder;
        } else {
            lane.next = came->number + 1;
        }
    }

    /// An open tells each message that it throws away.
    static void TakeLine(int, int, const char* line) {
        const std::string text(line);
        const std::string begin = "Message = <";
        if (text.compare(0, begin.size(), begin) == 0) {
            s_pSoaker->Enter(text.substr(begin.size(), text.rfind('>') - begin.size()));
        }
    }

    static inline Soaker* s_pSoaker = nullptr;
    const unsigned m_index;
    const SharedView<Ledger> m_ledger{kLedgerName};
    Ledger::Desk& m_desk = m_ledger->desks[m_index];
};

void Run(const std::vector<std::string>& words) {
    const std::string& what = words.at(1);
    if (what == "crash") {
        Crash(words.at(2), static_cast<unsigned>(std::stoul(words.at(3))), words.size() > 4 ? words[4] : "");
    } else if (what == "gather") {
        Gatherer(static_cast<unsigned>(std::stoul(words.at(2))), static_cast<unsigned>(std::stoul(words.at(3)))).Run();
    } else {
        Soaker(static_cast<unsigned>(std::stoul(words.at(2)))).Run();
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
