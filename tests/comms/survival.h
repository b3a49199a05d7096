#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

/// What the survival tests and the processes that they start and kill have in common.
namespace gaizior::test {

// Communications IDs of the kill matrix; the last digit tells one from the other.
inline constexpr std::uint16_t kVictimId = 11;
inline constexpr std::uint16_t kSurvivorId = 12;
inline constexpr std::uint16_t kFillerId = 14;

/// The i-th message of a fill, as long as a message can be.
inline std::string FillText(std::size_t i) {
    std::string text = "message " + std::to_string(i) + ' ';
    return text.append(255 - text.size(), static_cast<char>('a' + i % 26));
}

inline const std::string kSentByVictim(255, 's');

/// Where processes that open the channel at once wait for each other: how often one has arrived.
using Gathering = std::atomic<std::uint32_t>;
inline constexpr const char* kGatheringName = "Gathering";
inline constexpr unsigned kGatheringSize = 8;

/// Who has sent and received what in a soak. It belongs to the test, so it outlives the processes that keep it.
struct Ledger {
    static constexpr unsigned kProcesses = 3;
    static constexpr unsigned kMost = 20'000; ///< messages from one process, to the two others in turn

    // What became of a message.
    static constexpr std::uint8_t kSent = 1;  ///< the send has returned
    static constexpr std::uint8_t kFound = 2; ///< it was in the buffer of a process that was killed
    static constexpr std::uint8_t kCame = 4;  ///< it was received, or thrown away by an open

    /// What one process sends; messages are numbered from 0.
    struct Lane {
        std::atomic<std::uint32_t> begun;                        ///< sends that were begun
        std::array<std::atomic<std::uint32_t>, kProcesses> next; ///< for each addressee the newest that came, plus 1
        std::array<std::atomic<std::uint8_t>, kMost> states;
    };

    std::uint32_t count; ///< messages for each lane
    std::atomic<std::uint32_t> stop;
    std::atomic<std::uint32_t> faults; ///< messages that came twice, too late or as nobody had sent them
    std::array<std::atomic<std::uint8_t>, kProcesses> isOpen; ///< 1 from an open of the channel until the kill
    char buffers[kProcesses][256];                            ///< what each process receives into
    std::array<Lane, kProcesses> lanes;
};
inline constexpr const char* kLedgerName = "Ledger";
inline constexpr std::uint16_t kFirstSoakId = 21;

} // namespace gaizior::test
