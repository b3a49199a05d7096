#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

/// What the survival tests and the processes that they start and kill have in common.
namespace gaizior::test {

// Communications IDs of the kill matrix; a fill names the addressees of its messages by their last digit.
inline constexpr std::uint16_t kVictimId = 11;
inline constexpr std::uint16_t kSurvivorId = 12;
inline constexpr std::uint16_t kFillerId = 14;

/// The i-th message of a fill, as long as a message can be.
inline std::string FillText(std::size_t i) {
    std::string text = "message " + std::to_string(i) + ' ';
    return text.append(255 - text.size(), static_cast<char>('a' + i % 26));
}

inline const std::string kSentByVictim(255, 's');

/// Where processes that open the channel at once wait for each other.
struct Gathering {
    std::atomic<std::uint32_t> arrived;
};
inline constexpr const char* kGatheringName = "Gathering";
inline constexpr unsigned kGatheringSize = 8;

/// Who has sent and received what in a soak. It belongs to the test, so it outlives the processes that keep it.
struct Ledger {
    static constexpr unsigned kProcesses = 3;
    static constexpr unsigned kMost = 20'000; ///< messages from one process, to the two others in turn

    /// What became of a message; it only goes on.
    enum State : std::uint8_t {
        Unknown,
        Sent,  ///< the send has returned
        Found, ///< it was in the buffer of a process that was killed
        Came,  ///< it was received, or thrown away by an open
    };

    /// What one process sends; messages are numbered from 0.
    struct Lane {
        std::atomic<std::uint32_t> begun;                        ///< sends that were begun
        std::array<std::atomic<std::uint32_t>, kProcesses> next; ///< for each addressee the newest that came, plus 1
        std::array<std::atomic<std::uint8_t>, kMost> states;
    };

    /// What a process leaves behind when it is killed.
    struct Desk {
        std::atomic<std::uint8_t> isOpen; ///< 1 from when it has opened the channel until it is killed
        char buffer[256];                 ///< what it receives into
    };

    static unsigned AddresseeOf(unsigned from, unsigned number) {
        return (from + 1 + number % 2) % kProcesses;
    }

    std::uint32_t count; ///< messages for each lane
    std::atomic<std::uint32_t> stop;
    std::atomic<std::uint32_t> faults; ///< messages that came twice, too late or as nobody had sent them
    std::array<Desk, kProcesses> desks;
    std::array<Lane, kProcesses> lanes;
};
inline constexpr const char* kLedgerName = "Ledger";
inline constexpr std::uint16_t kFirstSoakId = 21;

} // namespace gaizior::test
