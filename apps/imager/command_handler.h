#pragma once

#include "apps/imager/engine.h"
#include "apps/job/message.h"

#include <optional>
#include <string_view>
#include <vector>

namespace apps {

/// A message and the communications ID that it goes to.
struct Outgoing {
    std::uint16_t destination;
    Message message;
};

/// No communications ID: the destination of an answer to whoever named none.
inline constexpr std::uint16_t kNobody = 0;

/// Turns the texts that the imager receives into operations of its engine and says what is to be sent back. Knows
/// neither channel nor clock. Not for several threads at once.
class CommandHandler {
public:
    /// `ownId`: the imager's communications ID.
    explicit CommandHandler(std::uint16_t ownId) : m_nOwnId(ownId) {}

    /// Whom an answer to a message of that sender goes to: kNobody where it names none, or the imager itself.
    std::uint16_t AddresseeOf(std::uint16_t sender) const {
        return sender == m_nOwnId ? kNobody : sender;
    }
    /// The word to a client that the imager is there: a reply to a status command that nobody had to send.
    Outgoing Greeting(std::uint16_t clientId) const;

    /// Carries a received text out. Every command is answered to the sender that it names: status, stop and what is
    /// refused at once, the others when they are done. A text that is no command is answered with a code. Only replies
    /// and progress are not: two imagers that answered each other's replies would never stop. The report of threads is
    /// not among them: it is to come also when this cannot be reached.
    std::vector<Outgoing> Handle(std::string_view packet);

    /// Lets the engine's time pass; the reply to an operation that ended in it.
    std::vector<Outgoing> Advance(double seconds);

    /// What was exposed since this was last asked, oldest first.
    std::vector<Exposure> TakeExposures() {
        return m_engine.TakeExposures();
    }

    /// Whether an operation that somebody asked for is under way.
    bool IsAtWork() const {
        return m_asked.has_value();
    }
    /// How far the running operation is, for whoever asked for it.
    std::optional<Outgoing> Progress() const;

    /// Ends a running operation; its reply, with kJobStopped.
    std::vector<Outgoing> Halt();

    /// Whether a stop command came.
    bool IsStopped() const {
        return m_bStopped;
    }

private:
    /// Who waits for the end of the running operation, and of which.
    struct Asked {
        std::uint16_t sender;
        std::int32_t code;
    };

    ZRErrors::ZRErrorT Begin(const Message& command);
    Outgoing MakeReply(std::uint16_t destination, std::int32_t command, ZRErrors::ZRErrorT code) const;
    Outgoing MakeRefusal(std::uint16_t destination, std::int32_t command, ZRErrors::ZRErrorT code,
                         std::string reason) const;
    std::vector<Outgoing> EndOperation(ZRErrors::ZRErrorT code);
    std::string Describe() const;

    Engine m_engine;
    std::uint16_t m_nOwnId;
    std::optional<Asked> m_asked;
    bool m_bStopped = false;
};

} // namespace apps
