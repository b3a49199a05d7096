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

/// Turns the texts that the imager receives into operations of its engine and says what is to be sent back. Knows
/// neither channel nor clock. Not for several threads at once.
class CommandHandler {
public:
    /// `ownId`: the imager's communications ID. `clientId`: who is told when the imager is ready, and who gets the
    /// answer to a message that is too damaged to tell its sender.
    CommandHandler(std::uint16_t ownId, std::uint16_t clientId) : m_nOwnId(ownId), m_nClientId(clientId) {}

    /// Whom an answer to a command goes to: its sender, or the client where it names none.
    std::uint16_t AddresseeOf(const Message& command) const {
        return command.id == 0 || command.id == m_nOwnId ? m_nClientId : command.id;
    }
    /// The word that the imager is there: a reply to a status command that nobody had to send.
    Outgoing Greeting() const;

    /// Carries a received text out. Every command is answered: status, stop and what is refused at once, the others
    /// when they are done. A text that is no command is answered with a code. Only replies and progress are not: two
    /// imagers that answered each other's replies would never stop. The report of threads is not among them: it is to
    /// come also when this cannot be reached.
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
    std::uint16_t m_nClientId;
    std::optional<Asked> m_asked;
    bool m_bStopped = false;
};

} // namespace apps
